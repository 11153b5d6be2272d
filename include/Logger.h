// Logger: the one shared, size-limited, rolling log of every program on the tablet.
//
// All processes append to one file (by default "KVO.log" in the working directory), UTF-16LE
// with a byte-order mark, one entry per CR LF line, formatted by a template (default
// "%L %D %T %Z %A {%P-%t} %m"). Writers are serialised machine-wide by a named mutex, waited for
// at most 1000 ms. The file rolls into numbered backups ("KVO.log.1" newest) at its maximum size,
// and a minimum of free disk space is kept by pausing or by deleting the oldest backup. Settings
// come from the keys under "/Tavro/MedivaneSDK/Logging/" of the shared configuration file and
// are re-read whenever that file changes. The logger's own failures go to the system event log,
// never into its own file.
//
// A missing configuration file makes every log call wait about a second. Each call checks the
// file's last-write time (a call below the threshold once, a written entry twice), and when the
// file is not there the check retries opening it five times 200 ms apart, so that a file that an
// editor is replacing is not taken as gone; the logger then keeps the settings it had (its
// defaults if it never read a file). `mvutil` warns when the file is missing.
//
// Levels: 0 REPORT (always written), 1 FATAL, 2 ERROR, 3 WARN, 4 INFO, 5 DEBUG. An entry is
// written when its level is at most the configured threshold, or when its area is one of the
// configured debug areas.
//
// Every entry point may be called from any thread and never fails visibly: nothing is returned
// and nothing is thrown, except "Auto lock failed." from OsAutoLock (see OsAutoLock.h). An entry
// for which memory runs out is dropped and reported once per process ("Out of memory while
// logging, the entry will not be logged"); one that does not fit on the disk is taken back whole,
// never left as a partial line, and reported once ("Error writing to log file, the entry will not
// be logged"). Each entry is built and placed with one copy of the settings, taken as it starts.
//
//   Logger* log = Logger::GetInstance();
//   if (log) log->LogFmt(L"MyApp", 4, L".\\main.cpp", __LINE__, L"Started %s", name);
#ifndef TAVROMEDIVANEUTIL_LOGGER_H
#define TAVROMEDIVANEUTIL_LOGGER_H

#include <atomic>
#include <cstdarg>
#include <memory>
#include <string>
#include <vector>

#include "OsCriticalSection.h"
#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class Config;

// How OpenLog opens a log file.
enum LogFileActionType {
  LOG_FILE_APPEND = 0,  // append one entry
  LOG_FILE_CLOSE = 1,   // close the process-wide log stream
  LOG_FILE_CREATE = 2,  // create the file (or open it for writing)
};

class TAVRO_KVO_UTIL_API Logger {
 public:
  // The process's logger, made on first use (it then reads its settings). Null only when it
  // cannot be allocated; callers test for null and skip logging. Not synchronised: the first call
  // must come before threads compete. The library deletes the logger when it unloads.
  static Logger* GetInstance();

  virtual ~Logger();
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  // Re-reads the logging settings when the configuration file changed (always when `force`).
  // False only when no configuration store could be made.
  bool GetConfig(bool force);

  // True when an entry of `level` in `area` would be written to the file. Also checks the
  // configuration file for changes first.
  bool IsThisLevelLoggable(const wchar_t* area, int level);

  // ---- Entry points: area, level, message, [value], source file (".\\Name.cpp"), line ----
  // The value is written behind the entry after ";DATA#".

  void Log(const wchar_t* area, int level, const wchar_t* message, const wchar_t* file, int line);
  void LogLong(const wchar_t* area, int level, const wchar_t* message, long value, const wchar_t* file,
               int line);
  void LogUnsignedLong(const wchar_t* area, int level, const wchar_t* message, unsigned long value,
                       const wchar_t* file, int line);
  // The value as "%f".
  void LogDouble(const wchar_t* area, int level, const wchar_t* message, double value, const wchar_t* file,
                 int line);
  // A null value writes no data.
  void LogString(const wchar_t* area, int level, const wchar_t* message, const wchar_t* value,
                 const wchar_t* file, int line);
  // The bytes as lower-case hexadecimal pairs, each followed by a space. A length below 1
  // writes nothing; a null buffer with a positive length writes ";DATA#" and nothing after it.
  void LogBuffer(const wchar_t* area, int level, const wchar_t* message, const void* buffer, int length,
                 const wchar_t* file, int line);

  // The same two calls for callers whose strings are UTF-16 `unsigned short` arrays.
  void Log(const unsigned short* area, int level, const unsigned short* message, const unsigned short* file,
           int line);
  void LogLong(const unsigned short* area, int level, const unsigned short* message, long value,
               const unsigned short* file, int line);

  // printf-style, with the Windows wide conventions on every platform: "%s" is a wide string,
  // "%hs" a narrow one. A text that does not fit the buffer (which grows to 10000 characters), and
  // a format that yields nothing, are written as "LogFmtVA() failed, String too large." at level 2
  // instead; formatting stops at that limit, whatever widths or precisions the format asks for.
  void LogFmt(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format, ...);

  // The format is string `formatId` of the already loaded module "TavroMedivaneSDK.dll" (it is
  // not loaded here). When it cannot be loaded, "LoadString %d failed, Error %ld)." is written
  // at level 2 instead.
  void LogFmt(const wchar_t* area, int level, const wchar_t* file, int line, int formatId, ...);

  static Logger* mInstance;

 private:
  struct DebugArea {
    int enabled;
    std::wstring name;
  };
  // The settings an entry is written with (logging/logger_settings.h).
  struct Settings;
  using SettingsView = std::shared_ptr<const Settings>;

  Logger();

  void LogFmtVA(const wchar_t* area, int level, const wchar_t* file, int line, const wchar_t* format,
                va_list args);
  void WriteToLog(const wchar_t* area, int level, const wchar_t* message, const wchar_t* data,
                  const wchar_t* file, int line);
  void ConstructLogEntry(std::wstring& entry, const wchar_t* area, int level, const wchar_t* message,
                         const wchar_t* data, const wchar_t* file, int line, const wchar_t* processName,
                         const wchar_t* threadId) const;
  void ConstructLogEntry(std::wstring& entry, const Settings& settings, const wchar_t* area, int level,
                         const wchar_t* message, const wchar_t* data, const wchar_t* file, int line,
                         const wchar_t* processName, const wchar_t* threadId) const;
  void ProcessPathByPID(wchar_t* buffer, unsigned long size) const;
  void Log_Info(const wchar_t* entry);
  void Log_Info(const wchar_t* entry, const Settings& settings);
  // Log_Info after a writer died holding the log lock: the file's torn last line, if any, is cut
  // back to the last whole entry first.
  void Log_InfoAfterMending(const wchar_t* entry, const Settings& settings);
  void AppendEntry(const wchar_t* entry, const Settings& settings, bool mendFirst);

  wchar_t* GetLogFileName();
  wchar_t* GetLogFileName(const Settings& settings);
  bool makenewdir(const wchar_t* path) const;
  bool TrimLogFile();
  bool SetRollingFileNames(const Settings& settings);
  bool DeleteOldFile(const Settings& settings);
  long long GetDiskSpaceFree(const wchar_t* path) const;
  void KeepDefaultLogFileName();
  bool ReloadAtMostOnceASecond();

  bool AreaExists(const wchar_t* area) const;
  void ClearAreaList();
  void GetEventLogSetting(Settings& settings);
  void ReadSettings(Settings& settings);
  void ReadDebugAreas();
  // One consistent copy of the settings, taken under the lock.
  SettingsView CurrentSettings() const;

  // Every setting but the threshold, replaced whole (never changed in place) by GetConfig under
  // mCritSect. An entry takes one copy at its start and works from it to the end, so that a reload
  // on another thread can neither free text the entry is reading nor mix two configurations in
  // one line.
  SettingsView mSettings;
  // The write threshold, read without the lock by the level test of every call.
  std::atomic<int> DefaultLevel;
  wchar_t mLogFilePath[261];  // the current log file; used only inside the machine-wide log mutex
  std::vector<DebugArea> mDebugAreas;
  Config* mConfig;
  mutable OsCriticalSection mCritSect;
  // The safe profile's look for a missing configuration file (at most once a second): the
  // steady-clock millisecond of the last look that failed, 0 after one that succeeded. Only the
  // library makes a Logger, so its callers never depend on its size.
  std::atomic<long long> mConfigMissedAtMs;
  bool mSafeProfileFromEnvironment;  // KVO_SAFE_PROFILE=1 when the logger was made

  friend class LoggerInternals;  // the library's own classes report through LogFmtVA
  friend class LoggerTestPeer;   // white-box tests read the settings
};

}  // namespace Tavro_KVO_Util

// For callers that cannot use the class: creates the logger when needed, tests the level and
// writes one printf-style entry (Windows wide conventions). Exported under this plain name.
extern "C" TAVRO_KVO_UTIL_API void MV_LogFmt(const wchar_t* area, int level, const wchar_t* file, int line,
                                             const wchar_t* format, ...);

#endif  // TAVROMEDIVANEUTIL_LOGGER_H
