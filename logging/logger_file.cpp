// Logger: where the log file is, rolling it into backups, and keeping free disk space.
//
// Everything here runs inside the machine-wide log mutex (or in the constructor), so rolling,
// trimming and deleting are serialised across processes.
#include <algorithm>
#include <cwchar>
#include <string>

#include "Logger.h"
#include "logging/backup_files.h"
#include "logging/event_log_report.h"
#include "logging/free_space_probe.h"
#include "logging/log_stream.h"
#include "logging/logger_process_state.h"
#include "logging/logger_settings.h"
#include "platform/event_log.h"
#include "platform/log_file.h"
#include "platform/path.h"

namespace Tavro_KVO_Util {
namespace {

constexpr wchar_t kDefaultLogFileName[] = L"KVO.log";
constexpr std::size_t kPathCapacity = 261;

void CopyPath(wchar_t (&buffer)[kPathCapacity], const std::wstring& text) {
  const std::size_t length = std::min(text.size(), kPathCapacity - 1);
  text.copy(buffer, length);
  buffer[length] = L'\0';
}

// `directory`, the separator and `name` into `buffer`, cut at its capacity: the same text as
// directory + separator + name copied whole, without making that string first: every entry does this.
void CopyJoinedPath(wchar_t (&buffer)[kPathCapacity], const std::wstring& directory,
                    const std::wstring& name) {
  std::size_t length = directory.copy(buffer, kPathCapacity - 1);
  if (length < kPathCapacity - 1) buffer[length++] = platform::PathSeparator();
  length += name.copy(buffer + length, kPathCapacity - 1 - length);
  buffer[length] = L'\0';
}

// At most the first 260 characters of `text`.
std::wstring Limited260(const wchar_t* text) {
  std::size_t length = 0;
  while (length < 260 && text[length] != L'\0') ++length;
  return std::wstring(text, length);
}

// Free bytes for the caller on the volume of `location`, reported once and taken as 0 on failure.
bool FreeSpace(const std::wstring& location, unsigned long long& freeBytes) {
  if (internal::ProbeFreeDiskSpace(location, freeBytes)) return true;
  ReportOnce(ProcessState().diskSpaceErrorReported, L"Error checking disk free space");
  freeBytes = 0;
  return false;
}

}  // namespace

wchar_t* Logger::GetLogFileName() { return GetLogFileName(*CurrentSettings()); }

wchar_t* Logger::GetLogFileName(const Settings& settings) {
  const std::wstring& location = settings.LogFileLocation;
  static const std::wstring kDefaultName = kDefaultLogFileName;
  const std::wstring& name = settings.LogFileName.empty() ? kDefaultName : settings.LogFileName;
  if (settings.LogFileName.empty()) {
    // Filled in once and kept until the configuration names a file (or fails to).
    KeepDefaultLogFileName();
    if (!location.empty()) {
      CopyJoinedPath(mLogFilePath, location, name);
      if (!platform::PathExists(location) && !makenewdir(location.c_str())) {
        ReportOnce(ProcessState().directoryErrorReported, L"Error creating directory for logging");
        return nullptr;
      }
    } else {
      CopyPath(mLogFilePath, name);
    }
  }

  if (!location.empty()) {
    CopyJoinedPath(mLogFilePath, location, name);
  } else {
    std::wstring directory;
    if (!platform::CurrentDirectory(directory)) {
      ReportOnce(ProcessState().directoryErrorReported, L"Error getting working directory for logging");
      return nullptr;
    }
    CopyJoinedPath(mLogFilePath, directory, name);
  }

  unsigned long long freeBytes = 0;
  FreeSpace(location, freeBytes);
  if (freeBytes <= settings.FreeSpaceMinimum) {
    if (settings.pauseLogging) {
      if (!ProcessState().lowSpace) {
        ReportToEventLog(L"Not enough disk space for logging, will pause until space made available",
                         platform::kEventInformation);
      }
      ProcessState().lowSpace = true;
      return nullptr;  // the entry is dropped; logging resumes by itself once space returns
    }
    if (!ProcessState().lowSpace) {
      ReportToEventLog(
          L"Not enough disk space for logging, will try to free up enough disk space to continue",
          platform::kEventInformation);
    }
    ProcessState().lowSpace = true;
    if (!DeleteOldFile(settings)) return nullptr;
  } else {
    ProcessState().lowSpace = false;
  }

  unsigned long long size = 0;
  switch (platform::FileSize(mLogFilePath, size)) {
    case platform::FileSizeResult::kOk:
      break;
    case platform::FileSizeResult::kMissing:
      if (mInstance != nullptr) {
        // A new file starts with the byte-order mark; logfilehandle reports a failure once.
        const platform::LogFile created =
            logfilehandle(mLogFilePath, LOG_FILE_CREATE, platform::LogFileUse::kAppend, settings.Access);
        return created.IsOpen() ? mLogFilePath : nullptr;
      }
      [[fallthrough]];
    case platform::FileSizeResult::kFailed:
      ReportOnce(ProcessState().sizeErrorReported, L"Error checking log file size");
      return nullptr;
  }
  // Tested before the entry is written: the file grows past the maximum by at most one entry.
  if (static_cast<long long>(size) < static_cast<long long>(settings.MaxLogFileSize)) return mLogFilePath;
  if (settings.MaxLogFileBackups == 0) {
    TrimLogFile();
  } else if (!SetRollingFileNames(settings)) {
    ReportOnce(ProcessState().rollingErrorReported, L"Error setting rolling log file names");
    return nullptr;
  }
  return mLogFilePath;  // the next append makes a fresh file here, with a byte-order mark
}

bool Logger::SetRollingFileNames(const Settings& settings) {
  const long backups = settings.MaxLogFileBackups;
  if (backups < 0) return true;
  // A missing backup number stops the shift: older backups beyond the gap stay untouched.
  long gap = internal::FirstMissingBackup(mLogFilePath, backups);
  if (gap == 0) {
    platform::DeleteFileAt(internal::BackupPath(mLogFilePath, backups));
    gap = backups;
  }
  for (long k = gap; k >= 1; --k) {
    const std::wstring from = k == 1 ? std::wstring(mLogFilePath) : internal::BackupPath(mLogFilePath, k - 1);
    if (!platform::RenameFile(from, internal::BackupPath(mLogFilePath, k)))
      ProcessState().renameFailed = true;
  }
  return true;
}

bool Logger::DeleteOldFile(const Settings& settings) {
  if (settings.MaxLogFileBackups < 1) return false;  // without backups no space can be freed
  const long oldest = internal::OldestBackup(mLogFilePath, settings.MaxLogFileBackups);
  if (oldest == 0) return false;
  if (!platform::DeleteFileAt(internal::BackupPath(mLogFilePath, oldest))) {
    ReportOnce(ProcessState().deleteErrorReported, L"Error deleting old log files");
    return false;
  }
  SetRollingFileNames(settings);  // also moves the current file to backup 1: a fresh file is started
  unsigned long long freeBytes = 0;
  if (!FreeSpace(settings.LogFileLocation, freeBytes)) return false;
  return freeBytes > settings.FreeSpaceMinimum;
}

bool Logger::TrimLogFile() {
  // The emptied file still exists, so the next append gives it no byte-order mark (kept).
  return platform::TruncateFile(mLogFilePath);
}

long long Logger::GetDiskSpaceFree(const wchar_t* path) const {
  unsigned long long freeBytes = 0;
  FreeSpace(path != nullptr ? path : L"", freeBytes);
  return static_cast<long long>(freeBytes);
}

bool Logger::makenewdir(const wchar_t* path) const {
  if (path == nullptr || path[0] == L'\0') return true;
  const std::wstring whole = Limited260(path);
  const wchar_t separator = platform::PathSeparator();
  for (std::size_t i = 0; i <= whole.size(); ++i) {
    const wchar_t c = i < whole.size() ? whole[i] : L'\0';
    if (c != separator && c != L'\n' && c != L'\0') continue;
    bool alreadyExists = false;
    // Inner prefixes such as a bare drive ("C:") may fail; only the whole path must be made.
    if (!platform::MakeDirectory(whole.substr(0, i), alreadyExists) && !alreadyExists && c != separator) {
      return false;
    }
  }
  return true;
}

}  // namespace Tavro_KVO_Util
