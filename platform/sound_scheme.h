// Platform service: the current user's sound scheme store, a hierarchy of keys that each hold one
// unnamed (default) text value with a type.
//
// Windows: the registry under HKEY_CURRENT_USER, so the system's sound settings see the entries.
// Linux: one file, "$XDG_CONFIG_HOME/TavroMedivane/sound-scheme.ini" ("$HOME/.config" when the
// variable is unset, empty or not an absolute path; both are read at every call), with the same
// key paths, value types and error codes. The file is text shaped like a .reg export: UTF-16LE
// with a byte order mark and CR LF line ends, as the library writes all its files (a file without
// the mark is read as UTF-8); a comment at the top says how to read it; then one section per key,
// parents included, and under it the default value with its type when the key has one:
//
//   [AppEvents\Schemes\Apps\Tavro Korvina\Error\.Current]
//   @=REG_EXPAND_SZ:%KVO_INSTALL_DIR%Sounds\Error.wav
//
// An empty section is a key without a value; another type is written as its number
// ("@=7:text"). In names and values "^" and four hex digits stand for one UTF-16 code unit: CR,
// LF, null and "^" itself are written so (^000D, ^000A, ^0000, ^005E), and so is a lone surrogate;
// nothing else is escaped and nothing is trimmed. A key keeps the spelling it was created with;
// subkeys are enumerated in the order of their names in upper case, as the registry orders them.
// Lines the reader does not understand are skipped (and gone after the next change).
//
// Every change on Linux reads the file, changes it in memory and writes it whole to
// "sound-scheme.ini.tmp.<pid>" (flushed to the disk), which is then renamed over the file, all
// under an exclusive flock on "sound-scheme.ini.lock" beside it; reads take the lock shared. So a
// crash never leaves half a scheme, and two processes writing at once lose nothing. New folders
// are made with mode 0700, the files with 0600. A change that fails leaves the file as it was,
// with these codes: EACCES, EPERM, EROFS, EISDIR -> 5 (ERROR_ACCESS_DENIED); ENOSPC, EDQUOT ->
// 112 (ERROR_DISK_FULL); ENOENT, ENOTDIR, and neither variable set -> 3 (ERROR_PATH_NOT_FOUND);
// ENAMETOOLONG -> 206; EMFILE, ENFILE -> 4; ENOMEM and a failed allocation -> 14
// (ERROR_OUTOFMEMORY); any other error -> 1016 (ERROR_REGISTRY_IO_FAILED).
//
// Where Linux differs from the registry: a key's handle holds its path, so a key deleted and
// created again is the same key to a handle opened before (the registry says kSchemeKeyDeleted
// there); the root ("") always exists, holds no value and cannot be deleted (kSchemeAccessDenied);
// a path with a leading or doubled "\\" is refused with 161 (ERROR_BAD_PATHNAME).
//
// Key paths are relative to the user's hive and use "\\" between names, as in the registry; names
// compare without regard to case. Results are Windows error codes on both systems (0 success). Each
// call checks the rights the registry checks on the handle: reading the value needs
// KEY_QUERY_VALUE, setting it KEY_SET_VALUE, enumerating KEY_ENUMERATE_SUB_KEYS (else
// kSchemeAccessDenied); a closed key gives 6 (ERROR_INVALID_HANDLE). Sizes count UTF-16 code
// units on both systems, so a character above U+FFFF counts twice on Linux as well.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_SOUND_SCHEME_H
#define TAVROMEDIVANEUTIL_PLATFORM_SOUND_SCHEME_H

#include <cstddef>
#include <memory>
#include <string>

namespace Tavro_KVO_Util::platform {

inline constexpr long kSchemeSuccess = 0;        // ERROR_SUCCESS
inline constexpr long kSchemeFileNotFound = 2;   // ERROR_FILE_NOT_FOUND: no such key
inline constexpr long kSchemeAccessDenied = 5;   // ERROR_ACCESS_DENIED: e.g. the key has subkeys
inline constexpr long kSchemeMoreData = 234;     // ERROR_MORE_DATA: the buffer is too small
inline constexpr long kSchemeNoMoreItems = 259;  // ERROR_NO_MORE_ITEMS: index past the last subkey
inline constexpr long kSchemeKeyDeleted = 1018;  // ERROR_KEY_DELETED: the open key was deleted

// Value types, numbered as the registry numbers them.
inline constexpr unsigned long kSchemeString = 1;        // REG_SZ: played as it stands
inline constexpr unsigned long kSchemeExpandString = 2;  // REG_EXPAND_SZ: %NAME% expanded first

// Access rights asked for when opening, as the registry numbers them.
inline constexpr unsigned long kSchemeReadAccess = 0x20019;    // KEY_READ
inline constexpr unsigned long kSchemeDeleteAccess = 0x2000E;  // KEY_WRITE | enumerate subkeys
inline constexpr unsigned long kSchemeAllAccess = 0xF003F;     // KEY_ALL_ACCESS

// An open key. Move-only; closes itself.
class SchemeKey {
 public:
  SchemeKey();
  ~SchemeKey();
  SchemeKey(SchemeKey&& other) noexcept;
  SchemeKey& operator=(SchemeKey&& other) noexcept;
  SchemeKey(const SchemeKey&) = delete;
  SchemeKey& operator=(const SchemeKey&) = delete;

  bool IsOpen() const;
  void Close();

  struct State;  // each system's own
  State* state() const { return mState.get(); }

 private:
  friend long CreateSchemeKey(const std::wstring& path, SchemeKey& key);
  friend long OpenSchemeKey(const std::wstring& path, unsigned long access, SchemeKey& key);
  std::unique_ptr<State> mState;
};

// Creates the key (and its missing parents) or opens it if it exists, non-volatile, all access
// (RegCreateKeyExW). On failure `key` is left closed.
long CreateSchemeKey(const std::wstring& path, SchemeKey& key);

// Opens an existing key with `access` (RegOpenKeyExW). kSchemeFileNotFound when it does not exist.
long OpenSchemeKey(const std::wstring& path, unsigned long access, SchemeKey& key);

// Sets the key's default value: `value` and one terminating null, (characters + 1) * 2 bytes,
// of `type` (RegSetValueExW).
long SetSchemeDefaultValue(const SchemeKey& key, unsigned long type, const std::wstring& value);

// Deletes the open key itself (RegDeleteKeyW with an empty subkey name). kSchemeAccessDenied when
// it still has subkeys. The handle's own rights do not matter: RegDeleteKeyW opens the key again
// for deletion, and Linux does the same.
long DeleteOpenSchemeKey(const SchemeKey& key);

// The name of the subkey at `index` (RegEnumKeyExW), at most `maxChars` characters including the
// terminator (kSchemeMoreData when longer); kSchemeNoMoreItems past the last one.
long EnumSchemeSubkey(const SchemeKey& key, unsigned long index, std::size_t maxChars, std::wstring& name);

// Reads the default value (RegQueryValueExW) into at most `maxBytes` bytes, terminator included
// (kSchemeMoreData when longer); kSchemeFileNotFound when the key has no default value. `value` is
// the text up to its first null; `type` its type. Linux leaves both as they were on failure.
long ReadSchemeDefaultValue(const SchemeKey& key, std::size_t maxBytes, unsigned long& type,
                            std::wstring& value);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_SOUND_SCHEME_H
