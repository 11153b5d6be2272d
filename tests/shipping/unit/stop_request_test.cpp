// A stop request from outside (a signal, Ctrl+C, the service's stop control) and waiting for one.
#include "platform/stop_request.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace Tavro_KVO_Util::platform {
namespace {

using Clock = std::chrono::steady_clock;

// One test: a request is for the rest of the process, so the order of the steps matters.
TEST(StopRequest, AWaitEndsAfterItsTimeWithoutARequestAndSoonAfterOne) {
  ASSERT_FALSE(StopRequested());
  auto start = Clock::now();
  EXPECT_FALSE(WaitForStopRequest(60));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));

  std::thread requester([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RequestStop();
  });
  start = Clock::now();
  EXPECT_TRUE(WaitForStopRequest(30000));
  const auto waited = Clock::now() - start;
  requester.join();
  EXPECT_GE(waited, std::chrono::milliseconds(40));
  // The service's stop must not wait out its time (the installer starts it again soon after).
  EXPECT_LT(waited, std::chrono::seconds(5));
  EXPECT_TRUE(StopRequested());

  start = Clock::now();
  EXPECT_TRUE(WaitForStopRequest(30000));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
