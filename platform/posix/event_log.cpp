#include "platform/event_log.h"

#include <syslog.h>

#include <mutex>
#include <string>

#include "platform/posix/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

int SyslogPriority(unsigned short eventType) {
  switch (eventType) {
    case kEventError:
      return LOG_ERR;
    case kEventWarning:
      return LOG_WARNING;
    default:  // information, and the audit types Windows also has
      return LOG_INFO;
  }
}

}  // namespace

bool ReportEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType) {
  // openlog keeps the ident pointer rather than a copy, so the text must outlive the record; one
  // lock keeps concurrent reports from replacing it under each other.
  static std::mutex lock;
  static std::string ident;
  const std::lock_guard<std::mutex> guard(lock);
  ident = WideToUtf8(source);
  openlog(ident.c_str(), LOG_PID, LOG_USER);
  syslog(SyslogPriority(eventType), "%s", WideToUtf8(message).c_str());
  // Back to the defaults, so the host program's own syslog use is not left with our ident.
  closelog();
  // syslog reports no failure (without a daemon the record is silently dropped), so there is
  // nothing to return but success.
  return true;
}

}  // namespace Tavro_KVO_Util::platform
