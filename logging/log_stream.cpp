#include "logging/log_stream.h"

#include "logging/event_log_report.h"
#include "logging/logger_process_state.h"
#include "platform/event_log.h"

namespace Tavro_KVO_Util {

platform::LogFile OpenLog(const wchar_t* path, LogFileActionType action, platform::LogFileUse use,
                          const platform::ObjectAccess& access) {
  platform::LogFile file;
  if (path == nullptr || (action != LOG_FILE_APPEND && action != LOG_FILE_CREATE)) return file;
  bool created = false;
  int error = 0;
  if (!file.OpenAlways(path, created, error, use, access)) {
    ReportToEventLog(L"Error opening/creating log file.", platform::kEventError);
    return file;
  }
  if (created && !file.Write(std::string("\xFF\xFE", 2))) {
    ReportToEventLog(L"Error writing unicode BOM to log file", platform::kEventError);
  }
  return file;
}

platform::LogFile logfilehandle(const wchar_t* path, LogFileActionType action, platform::LogFileUse use,
                                const platform::ObjectAccess& access) {
  if (action == LOG_FILE_CLOSE || path == nullptr) return platform::LogFile();
  platform::LogFile file = OpenLog(path, action, use, access);
  // Shared with the create path of the file placement: one report per process.
  if (!file.IsOpen()) ReportOnce(ProcessState().openErrorReportedByOpen, L"Error opening log file");
  return file;
}

}  // namespace Tavro_KVO_Util
