#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/service_host.h"

#include <atomic>

#include "platform/stop_request.h"
#include "platform/win32/error_text.h"
#include "platform/win32/unique_owners.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

// ServiceMain and the control handler get no context of the caller's, so the one service of the
// process keeps its state here. RunAsService fills it before the dispatcher calls either.
struct ServiceState {
  std::wstring name;
  const std::function<int()>* work = nullptr;
  SERVICE_STATUS_HANDLE statusHandle = nullptr;  // not closed: the manager owns it
  std::atomic<int> exitCode{0};
  std::atomic<bool> ran{false};
};
ServiceState gService;

void ReportStatus(DWORD state, int exitCode = 0) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
  status.dwWin32ExitCode = exitCode == 0 ? NO_ERROR : ERROR_SERVICE_SPECIFIC_ERROR;
  status.dwServiceSpecificExitCode = static_cast<DWORD>(exitCode);
  // The shipper needs a moment to hear its last answers and save its cursor.
  status.dwWaitHint = state == SERVICE_STOP_PENDING ? 30000 : 0;
  SetServiceStatus(gService.statusHandle, &status);
}

DWORD WINAPI OnControl(DWORD control, DWORD /*eventType*/, void* /*eventData*/, void* /*context*/) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
      ReportStatus(SERVICE_STOP_PENDING);
      RequestStop();
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

void WINAPI ServiceMain(DWORD /*argc*/, wchar_t** /*argv*/) {
  gService.statusHandle =
      RegisterServiceCtrlHandlerExW(gService.name.c_str(), OnControl, /*lpContext=*/nullptr);
  if (gService.statusHandle == nullptr) return;
  ReportStatus(SERVICE_RUNNING);
  gService.exitCode = (*gService.work)();
  gService.ran = true;
  ReportStatus(SERVICE_STOPPED, gService.exitCode);
}

}  // namespace

ServiceRun RunAsService(const std::wstring& name, const std::function<int()>& work, int& exitCode,
                        std::string& why) {
  gService.name = name;
  gService.work = &work;
  SERVICE_TABLE_ENTRYW table[] = {{gService.name.data(), ServiceMain}, {nullptr, nullptr}};
  if (!StartServiceCtrlDispatcherW(table)) {
    const DWORD error = GetLastError();
    why = ErrorText(error);
    return error == ERROR_FAILED_SERVICE_CONTROLLER_CONNECT ? ServiceRun::kNotStartedByManager
                                                            : ServiceRun::kFailed;
  }
  exitCode = gService.exitCode;
  if (!gService.ran) {
    why = "the service control manager did not let the service start";
    return ServiceRun::kFailed;
  }
  return ServiceRun::kRan;
}

bool ReportServiceEvent(const std::wstring& source, const std::wstring& message, unsigned short eventType) {
  UniqueEventSource handle(RegisterEventSourceW(/*lpUNCServerName=*/nullptr, source.c_str()));
  if (!handle) return false;
  const wchar_t* strings[] = {message.c_str()};
  return ReportEventW(handle.get(), eventType, /*wCategory=*/0, /*dwEventID=*/1, /*lpUserSid=*/nullptr,
                      /*wNumStrings=*/1, /*dwDataSize=*/0, strings, /*lpRawData=*/nullptr) != FALSE;
}

}  // namespace Tavro_KVO_Util::platform
