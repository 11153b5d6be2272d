// Platform service: running as a system service.
//
// Windows: the service control manager starts the program. RunAsService connects to it, reports
// the service running, runs the work on the service's own thread, turns the manager's Stop and
// Shutdown requests into RequestStop() (platform/stop_request.h) and reports the service stopped
// with the work's exit code once the work returns. ReportServiceEvent writes to the Application
// event log under a source the installer registered: a service running as LocalService may not
// write the registry key that registering a source takes.
//
// Linux has no service control manager of this kind (systemd runs programs as they are), so both
// functions fail there and say so.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_SERVICE_HOST_H
#define TAVROMEDIVANEUTIL_PLATFORM_SERVICE_HOST_H

#include <functional>
#include <string>

namespace Tavro_KVO_Util::platform {

enum class ServiceRun {
  kRan,                  // the manager ran the work; exitCode holds what it returned
  kNotStartedByManager,  // the program was started some other way (from a console, say)
  kFailed,               // the manager refused, or there is none on this system
};

// Runs work() as the service `name` and returns once it has ended and the manager was told so.
// `why` says what went wrong for the other results. Call it once per process, from main.
ServiceRun RunAsService(const std::wstring& name, const std::function<int()>& work, int& exitCode,
                        std::string& why);

// Writes one record (category 0, event id 1, the message as its one insertion string) to the
// Application event log under `source`, registered beforehand. Event types as in
// platform/event_log.h. False when the source cannot be opened or the record is refused.
bool ReportServiceEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_SERVICE_HOST_H
