#include "platform/stop_request.h"

#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace Tavro_KVO_Util::platform {
namespace {

std::atomic<bool> gStopRequested{false};

void OnStopSignal(int /*signal*/) { gStopRequested.store(true); }

}  // namespace

void ListenForStopRequests() {
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a wait in poll or sleep returns early, so the stop is seen at once.
  action.sa_flags = 0;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() { return gStopRequested.load(); }

void RequestStop() { gStopRequested.store(true); }

bool WaitForStopRequest(long milliseconds) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (!StopRequested() && std::chrono::steady_clock::now() < until) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return StopRequested();
}

}  // namespace Tavro_KVO_Util::platform
