// The logger's settings other than the write threshold, as one value that GetConfig replaces whole.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOGGER_SETTINGS_H
#define TAVROMEDIVANEUTIL_LOGGING_LOGGER_SETTINGS_H

#include <string>

#include "Logger.h"
#include "platform/object_access.h"

namespace Tavro_KVO_Util {

struct Logger::Settings {
  int SysDefaultLevel = 1;  // the most verbose level also copied to the event log (FATAL)
  bool WriteErrorsToEventLog = false;
  unsigned long long FreeSpaceMinimum = 1000000000ULL;
  long MaxLogFileBackups = 5;
  long MaxLogFileSize = 1000000000L;
  std::wstring FormatString = L"%L %D %T %Z %A {%P-%t} %m";
  bool pauseLogging = false;
  std::wstring LogFileLocation;  // at most 260 characters; fixed once it is not empty
  std::wstring LogFileName;      // at most 260 characters; "KVO.log" is filled in on first use
  bool SafeProfile = false;      // "/Tavro/MedivaneSDK/SafeProfile=true" (config/safe_profile.h)
  // Who may use the log lock and new log files: everyone, or in the safe profile SYSTEM,
  // Administrators and the group of ".../Logging/AccessGroup" (logging/log_access.h).
  platform::ObjectAccess Access;
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOGGER_SETTINGS_H
