#include "logging/logger_process_state.h"

#include "config/safe_profile.h"
#include "logging/event_log_report.h"
#include "logging/logger_internals.h"
#include "platform/event_log.h"

namespace Tavro_KVO_Util {
namespace {

LoggerProcessState gState;

}  // namespace

LoggerProcessState& ProcessState() { return gState; }

void ReportOnce(bool& reported, const wchar_t* message) {
  if (reported) return;
  reported = true;
  ReportToEventLog(message, platform::kEventError);
}

void ResetLoggerProcessStateForTesting() {
  gState = LoggerProcessState();
  internal::NoteSafeProfileInConfiguration(false);
  platform::ForgetSourceRegistrationsForTesting();
}

}  // namespace Tavro_KVO_Util
