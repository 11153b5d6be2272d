// Platform service: the system's event log.
//
// Windows: the Application event log. The source is registered under HKLM
// "SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\<source>" with "EventMessageFile"
// (the library's own module path) and "TypesSupported" 31 before every report; without the
// rights to do that nothing is reported. Records carry category 0, event id 1 and the message
// as the one insertion string. Linux: one syslog record (facility user, priority err, warning or
// info, the source name as ident, with the process id) sent to the syslog daemon's socket.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_EVENT_LOG_H
#define TAVROMEDIVANEUTIL_PLATFORM_EVENT_LOG_H

#include <string>

namespace Tavro_KVO_Util::platform {

// Event types as Windows numbers them.
constexpr unsigned short kEventError = 1;
constexpr unsigned short kEventWarning = 2;
constexpr unsigned short kEventInformation = 4;

// How a report registers its source (Windows; Linux's syslog has nothing to register).
enum class SourceRegistration {
  // The key's values are written before every report (kept: programs have always done so).
  kBeforeEveryReport,
  // The safe profile: once per process and source, and not at all when the key already holds
  // the right values, so that a source the installer registered works for standard users too.
  kOncePerProcess,
};

// Writes one record. False when nothing could be reported: on Windows when the source cannot be
// registered or the system refuses the record, on Linux when no syslog daemon takes the record
// (never visible to the logger's callers).
bool ReportEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType,
                 SourceRegistration registration = SourceRegistration::kBeforeEveryReport);

// Forgets which sources kOncePerProcess has registered, as a new process would (tests).
void ForgetSourceRegistrationsForTesting();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_EVENT_LOG_H
