// Logger: where the log file is, rolling it into backups, and keeping free disk space.
//
// Everything here runs inside the machine-wide log mutex (or in the constructor), so rolling,
// trimming and deleting are serialised across processes.
#include <algorithm>
#include <cwchar>
#include <string>

#include "Logger.h"
#include "logging/event_log_report.h"
#include "logging/free_space_probe.h"
#include "logging/log_stream.h"
#include "logging/logger_process_state.h"
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

std::wstring Joined(const std::wstring& directory, const std::wstring& name) {
  return directory + platform::PathSeparator() + name;
}

// At most the first 260 characters of `text`.
std::wstring Limited260(const wchar_t* text) {
  std::size_t length = 0;
  while (length < 260 && text[length] != L'\0') ++length;
  return std::wstring(text, length);
}

std::wstring Backup(const wchar_t* path, long number) {
  return std::wstring(path) + L"." + std::to_wstring(number);
}

// Free bytes for the caller on the volume of `location`, reported once and taken as 0 on failure.
bool FreeSpace(const wchar_t* location, unsigned long long& freeBytes) {
  if (internal::ProbeFreeDiskSpace(location, freeBytes)) return true;
  ReportOnce(ProcessState().diskSpaceErrorReported, L"Error checking disk free space");
  freeBytes = 0;
  return false;
}

}  // namespace

wchar_t* Logger::GetLogFileName() {
  if (LogFileName[0] == L'\0') {
    if (LogFileLocation[0] != L'\0') {
      CopyPath(LogFileName, kDefaultLogFileName);
      CopyPath(mLogFilePath, Joined(LogFileLocation, LogFileName));
      if (!platform::PathExists(LogFileLocation) && !makenewdir(LogFileLocation)) {
        ReportOnce(ProcessState().directoryErrorReported, L"Error creating directory for logging");
        return nullptr;
      }
    } else {
      CopyPath(mLogFilePath, kDefaultLogFileName);
      CopyPath(LogFileName, kDefaultLogFileName);
    }
  }

  std::wstring directory = LogFileLocation;
  if (directory.empty() && !platform::CurrentDirectory(directory)) {
    ReportOnce(ProcessState().directoryErrorReported, L"Error getting working directory for logging");
    return nullptr;
  }
  CopyPath(mLogFilePath, Joined(directory, LogFileName));

  unsigned long long freeBytes = 0;
  FreeSpace(LogFileLocation, freeBytes);
  if (freeBytes <= FreeSpaceMinimum) {
    if (pauseLogging) {
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
    if (!DeleteOldFile()) return nullptr;
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
        const platform::LogFile created = logfilehandle(mLogFilePath, LOG_FILE_CREATE);
        return created.IsOpen() ? mLogFilePath : nullptr;
      }
      [[fallthrough]];
    case platform::FileSizeResult::kFailed:
      ReportOnce(ProcessState().sizeErrorReported, L"Error checking log file size");
      return nullptr;
  }
  // Tested before the entry is written: the file grows past the maximum by at most one entry.
  if (static_cast<long long>(size) < static_cast<long long>(MaxLogFileSize)) return mLogFilePath;
  if (MaxLogFileBackups == 0) {
    TrimLogFile();
  } else if (!SetRollingFileNames()) {
    ReportOnce(ProcessState().rollingErrorReported, L"Error setting rolling log file names");
    return nullptr;
  }
  return mLogFilePath;  // the next append makes a fresh file here, with a byte-order mark
}

bool Logger::SetRollingFileNames() {
  const long backups = MaxLogFileBackups;
  if (backups < 0) return true;
  // A missing backup number stops the shift: older backups beyond the gap stay untouched.
  long gap = 0;
  for (long k = 1; k <= backups; ++k) {
    if (!platform::CanOpenForReading(Backup(mLogFilePath, k))) {
      gap = k;
      break;
    }
  }
  if (gap == 0) {
    platform::DeleteFileAt(Backup(mLogFilePath, backups));
    gap = backups;
  }
  for (long k = gap; k >= 1; --k) {
    const std::wstring from = k == 1 ? std::wstring(mLogFilePath) : Backup(mLogFilePath, k - 1);
    if (!platform::RenameFile(from, Backup(mLogFilePath, k))) ProcessState().renameFailed = true;
  }
  return true;
}

bool Logger::DeleteOldFile() {
  if (MaxLogFileBackups < 1) return false;  // without backups no space can be freed
  long oldest = 0;
  for (long k = MaxLogFileBackups; k >= 1; --k) {
    if (platform::CanOpenForReading(Backup(mLogFilePath, k))) {
      oldest = k;
      break;
    }
  }
  if (oldest == 0) return false;
  if (!platform::DeleteFileAt(Backup(mLogFilePath, oldest))) {
    ReportOnce(ProcessState().deleteErrorReported, L"Error deleting old log files");
    return false;
  }
  SetRollingFileNames();  // also moves the current file to backup 1: a fresh file is started
  unsigned long long freeBytes = 0;
  if (!FreeSpace(LogFileLocation, freeBytes)) return false;
  return freeBytes > FreeSpaceMinimum;
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
