// Config: the shared configuration store of the product's programs.
//
// Reads one text file of `key=value` lines ("TavroMedivane.cfg"), keeps every line in file order
// so that the file can be written back with its comments, and keeps the effective value of each
// key (the last line's) in an ordered map for lookup. Keys are free text, matched exactly and
// case-sensitively; by convention they are slash-separated paths such as
// "/Tavro/MedivaneSDK/Logging/DefaultLevel", a section is any key prefix, and an array is a set of
// keys "section[n]...".
//
// File format: UTF-16LE or UTF-16BE with a byte-order mark, or 8-bit text in which every byte is
// the character of the same code; a UTF-8 byte-order mark is refused (CFG_FILE_UTF8). "//" starts
// a comment, only the first "=" splits, blanks (space, tab) around keys and values are dropped,
// CR is dropped wherever it stands. SetParameter rewrites the whole file as UTF-16LE.
//
// Where the file is: "%KVO_INSTALL_DIR%" + "Bin" + separator + "TavroMedivane.cfg" when the
// environment variable exists, otherwise the folder of the library itself. The second constructor
// and GetInstance(fileName, ...) choose another file.
//
// Two process-wide instances are reached through GetInstance: one logs its own work through the
// Logger (debug area "Config"), the other never logs. The library deletes them when it unloads.
//
// Threads: lookups take no lock. Callers that share an instance must not Reload it from one
// thread while another reads it. Only the file-time stamp is guarded by the critical section.
// Nothing is thrown, except "Auto lock failed." from OsAutoLock (see OsAutoLock.h).
#ifndef TAVROMEDIVANEUTIL_CONFIG_H
#define TAVROMEDIVANEUTIL_CONFIG_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "CFGStatus.h"
#include "FileModTime.h"
#include "OsCriticalSection.h"
#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

// What one line of the configuration file is.
enum ConfigLineType : std::int32_t {
  CFG_LINE_KEY_VALUE = 1,  // `key=value`, also with a blank value
  CFG_LINE_COMMENT = 2,    // starts with "//" after blanks
  CFG_LINE_BLANK = 3,      // empty or all blanks
  CFG_LINE_MALFORMED = 4,  // anything else
};

// One line of the file. For CFG_LINE_KEY_VALUE `key` and `value` are trimmed; for comment and
// malformed lines `key` holds the text that is written back; for blank lines both are empty.
struct ConfigLine {
  ConfigLineType type;
  std::wstring key;
  std::wstring value;
};

class TAVRO_KVO_UTIL_API Config {
 public:
  // Finds the default file (see above) and parses it. `logging`: the instance reports its work
  // through the Logger. `writable`: SetParameter may change the file. The instance is usable
  // whatever the parse gave: a missing or refused file leaves it empty.
  explicit Config(bool logging = true, bool writable = false);

  // Uses `path` when it can be opened for reading, otherwise the default file; then parses.
  Config(const wchar_t* path, bool logging, bool writable);

  // Nulls both mThisInstance and mThisInstanceNoLogging, whichever instance this is: destroying
  // one singleton orphans the other (callers then make it anew through GetInstance).
  virtual ~Config();

  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // Same as GetInstance(logging, false).
  static Config* GetInstance(bool logging);

  // The process-wide logging (`logging` true) or non-logging instance, made on first use. When
  // the existing instance was made with another `writable`, it is deleted and replaced, and
  // earlier pointers to it are dead. Returns null when the instance cannot be allocated. Not
  // synchronised: the first call must happen before threads compete.
  static Config* GetInstance(bool logging, bool writable);

  // The logging instance (made with `writable` when it does not exist yet), switched to the file
  // `fileName` in the folder of the default file (plain concatenation). When the path changes,
  // the next Reload(false) parses the new file; nothing is parsed here.
  static Config* GetInstance(const wchar_t* const fileName, bool writable);

  // Parses the file again when `force` is true, after construction or a change of file, or when
  // the file's last-write stamp differs from that of the last successful parse. Returns
  // CFG_SUCCESS, or the parse failure (CFG_FILE_OPEN_FAILED, CFG_FILE_UTF8), in which case the
  // store is left empty. Logs ERROR "Error parsing the Config file!" on failure.
  CFGStatus Reload(bool force);

  // True when the last Reload call parsed the file successfully.
  bool WasReloaded() const;

  // ---- String lookups ----

  // The effective (last) value of `key`. CFG_NOT_FOUND (value untouched) when the key is empty,
  // absent or its value blank.
  CFGStatus GetParameter(const std::wstring& key, std::wstring& value) const;

  // Copies the value into `buffer`. `*size`: in, the capacity in characters; out, the characters
  // needed including the NUL (0 when not found). A buffer whose capacity equals the value's
  // length is accepted and receives length + 1 characters (kept for old callers). A null
  // `buffer` asks for the size: CFG_BUFFER_TOO_SMALL with `*size` set. A null `size` gives
  // CFG_INVALID_PARAMETER and logs ERROR "Invalid parameter".
  CFGStatus GetParameter(const std::wstring& key, wchar_t* buffer, int* size) const;

  // Like the buffer getter above, but reloads first and answers from the FIRST line of `key` in
  // file order; a blank value succeeds with the empty string; `*size` must leave room for the
  // NUL. A null `size` gives CFG_INVALID_PARAMETER.
  CFGStatus GetParameterFromUnorderedMap(const std::wstring& key, wchar_t* buffer, unsigned long* size);

  // ---- Numeric lookups ----
  // Leading blanks, a sign and digits are read; trailing text is ignored ("12abc" gives 12) and
  // overflow is not reported. A result of zero is accepted only from the exact text "0":
  // "abc", "00", "-0", "0.0" give CFG_CONVERSION_FAILED. `value` is written only on success.

  CFGStatus GetParameter(const std::wstring& key, long& value) const;
  CFGStatus GetParameter(const std::wstring& key, double& value) const;
  // 32-bit unsigned conversion in `radix` (0: from the prefix, 0x hexadecimal, 0 octal; 2-36):
  // "-5" gives 4294967291 on every platform.
  CFGStatus GetParameter(const std::wstring& key, int radix, unsigned long& value) const;
  // 64-bit unsigned conversion in `radix`.
  CFGStatus GetParameter(const std::wstring& key, int radix, unsigned long long& value) const;

  // ---- Queries (results are added to the caller's container; existing entries stay) ----

  // Every key that starts with `section` (a plain prefix: "/A/B" also covers "/A/BC/x"), with its
  // value. CFG_NOT_FOUND when there is none. An empty `section` gives the whole map.
  CFGStatus GetSection(const std::wstring& section, std::map<std::wstring, std::wstring>& out) const;

  // As GetSection, with each key shortened to the text after its last "/"; keys without "/" or
  // ending in "/" are skipped; of two keys with the same last component the first in key order
  // wins. CFG_SUCCESS also when nothing was added.
  CFGStatus GetSectionWithShortKeys(const std::wstring& section,
                                    std::map<std::wstring, std::wstring>& out) const;

  // Keys under `section` whose last "/" component begins with `keyName`, with their values.
  CFGStatus GetMatchingKeys(const std::wstring& section, const std::wstring& keyName,
                            std::map<std::wstring, std::wstring>& out) const;

  // The distinct indices n of keys "section[n]...", in the order they first appear along the key
  // text (not numeric order), appended to `indices`. `section` must not be empty. A key whose
  // index is negative or not a number ("section[x]") makes this call never return: such keys
  // must not stand in a file queried this way (old behaviour, kept).
  CFGStatus GetArrayIndices(const std::wstring& section, std::vector<unsigned int>& indices) const;

  // ---- Writing ----

  // Sets the first line of `key` to `value` (or appends `key=value` as the last line), rewrites
  // the whole file as UTF-16LE and reparses it. CFG_WRITE_NOT_ALLOWED on a read-only instance;
  // CFG_INVALID_PARAMETER for an empty key or a null value; CFG_WRITE_FAILED when the file cannot
  // be written in 5 attempts 200 ms apart. An unchanged value returns CFG_SUCCESS without writing
  // and logs ERROR "Not updating the value as it was same." (always, also on a non-logging
  // instance). Write-back drops trailing comments on key lines and blanks around "=".
  CFGStatus SetParameter(const std::wstring& key, const wchar_t* value);

  static Config* mThisInstance;           // the logging singleton, or null
  static Config* mThisInstanceNoLogging;  // the non-logging singleton, or null

 private:
  CFGStatus ParseFile();
  CFGStatus FindKeyReturnVal(const std::wstring& key, std::wstring& value) const;
  bool CfgFileModified();
  bool UpdateUnorderedList(const std::wstring& key, const std::wstring& value);
  bool WriteFile();
  bool Lock();    // does nothing, returns true
  bool Unlock();  // does nothing, returns true
  void UseDefaultPath();
  void Log(int level, int line, const wchar_t* format, ...) const;
  void LogAlways(int level, int line, const wchar_t* format, ...) const;

  bool mLogging;
  bool mForceParse;
  bool mWasReloaded;
  FileModTime mFileTime;
  OsCriticalSection mCritSect;
  wchar_t mConfigDir[255];
  wchar_t mConfigFile[255];
  std::map<std::wstring, std::wstring> mConfigMap;
  std::vector<ConfigLine> mUnorderedList;
  bool mWritable;

  friend class ConfigTestPeer;  // white-box tests read the line records and paths
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_CONFIG_H
