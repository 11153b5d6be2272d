#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/stop_request.h"

#include <atomic>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<bool> gStopRequested{false};

BOOL WINAPI OnConsoleControl(DWORD event) {
  switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
    case CTRL_CLOSE_EVENT:
      gStopRequested.store(true);
      return TRUE;  // handled: the command stops by itself
    default:
      return FALSE;
  }
}

}  // namespace

void ListenForStopRequests() { SetConsoleCtrlHandler(OnConsoleControl, TRUE); }

bool StopRequested() { return gStopRequested.load(); }

void RequestStop() { gStopRequested.store(true); }

}  // namespace Tavro_KVO_Util::platform
