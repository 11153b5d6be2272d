#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/stop_request.h"

#include <atomic>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<bool> gStopRequested{false};

// Set with the flag, so that a waiting thread wakes at once. Made on first use and kept for the
// life of the process: handlers may set it until the very end.
HANDLE StopEvent() {
  static const HANDLE event = CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE,
                                           /*bInitialState=*/FALSE, /*lpName=*/nullptr);
  return event;
}

void Record() {
  gStopRequested.store(true);
  if (StopEvent() != nullptr) SetEvent(StopEvent());
}

BOOL WINAPI OnConsoleControl(DWORD event) {
  switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
    case CTRL_CLOSE_EVENT:
      Record();
      return TRUE;  // handled: the command stops by itself
    default:
      return FALSE;
  }
}

}  // namespace

void ListenForStopRequests() {
  StopEvent();  // made before any handler can run
  SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

bool StopRequested() { return gStopRequested.load(); }

void RequestStop() { Record(); }

bool WaitForStopRequest(long milliseconds) {
  if (StopRequested()) return true;
  if (StopEvent() == nullptr) {  // no event to wait on: wait out the time, then look
    Sleep(static_cast<DWORD>(milliseconds));
    return StopRequested();
  }
  WaitForSingleObject(StopEvent(), static_cast<DWORD>(milliseconds));
  return StopRequested();
}

}  // namespace Tavro_KVO_Util::platform
