// Where the logger writes and how it formats entries, read from the shared configuration file.
//
// Logger keeps the path of its file to itself. The tool reads the same keys under
// "/Tavro/MedivaneSDK/Logging/" with the same limits and defaults and joins them the same way,
// so that it finds the file that a program started in the same working directory writes.
#ifndef MVUTIL_LOG_SETTINGS_H
#define MVUTIL_LOG_SETTINGS_H

#include <filesystem>
#include <string>

namespace mvutil {

struct LogSettings {
  // LogFileLocation (empty: the working directory), a separator and LogFileName (empty or
  // unreadable: "KVO.log").
  std::filesystem::path file;
  // FormatString; the logger's default when the key cannot be read.
  std::wstring format;
  // MaxLogFileBackups (default 5): the backups are file.1 (newest) to file.N.
  long maxBackups;
};

// Reads the default configuration file (see Config.h) without logging. A missing file gives the
// logger's defaults, as it does for the logger.
LogSettings ReadLogSettings();

}  // namespace mvutil

#endif  // MVUTIL_LOG_SETTINGS_H
