// The logger without a configuration file: every check of the file waits for it (kept), unless
// the safe profile is on, which looks for it at most once a second and never waits.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "logging/logger_fixture.h"
#include "support/environment.h"

namespace Tavro_KVO_Util {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using testing::LoggerTest;
using testing::ScopedEnvironmentVariable;

class LoggerSafeProfile : public LoggerTest {
 protected:
  std::filesystem::path ConfigFile() const { return mDir.path() / "Bin" / "TavroMedivane.cfg"; }

  // The time five level tests take; each one is a check of the configuration file.
  static Clock::duration FiveChecks(Logger& logger) {
    const auto start = Clock::now();
    for (int i = 0; i < 5; ++i) logger.IsThisLevelLoggable(L"Ward", 4);
    return Clock::now() - start;
  }
};

TEST_F(LoggerSafeProfile, OffEveryCheckWaitsASecondForAMissingFile) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  Logger& logger = TheLogger();
  const auto start = Clock::now();
  logger.IsThisLevelLoggable(L"Ward", 4);
  // Five attempts, each followed by a pause of 200 ms.
  EXPECT_GE(Clock::now() - start, milliseconds(950));
}

TEST_F(LoggerSafeProfile, OnFromTheEnvironmentAMissingFileCostsNoWaitAndIsLookedForAgainAfterASecond) {
  const ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  const auto start = Clock::now();
  Logger& logger = TheLogger();
  FiveChecks(logger);
  EXPECT_LT(Clock::now() - start, milliseconds(500));
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 5);

  WriteConfig({{L"DefaultLevel", L"WARN"}});
  std::this_thread::sleep_for(milliseconds(1100));
  EXPECT_FALSE(logger.IsThisLevelLoggable(L"Ward", 4));  // the file is read again: WARN
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 3);
}

TEST_F(LoggerSafeProfile, OnFromTheConfigurationItHoldsWhenTheFileGoesMissing) {
  const ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  testing::WriteBytes(ConfigFile(),
                      testing::Utf16LeBytes(L"/Tavro/MedivaneSDK/SafeProfile=true\r\n"
                                            L"/Tavro/MedivaneSDK/Logging/DefaultLevel=INFO\r\n"));
  Logger& logger = TheLogger();
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 4);
  std::filesystem::remove(ConfigFile());
  const auto first = Clock::now();
  logger.IsThisLevelLoggable(L"Ward", 4);  // finds the file gone, in one look
  EXPECT_LT(FiveChecks(logger) + (Clock::now() - first), milliseconds(500));
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 4);  // the settings it had stay
}

TEST_F(LoggerSafeProfile, AnyOtherValueOfTheSwitchKeepsTheWait) {
  const ScopedEnvironmentVariable other("KVO_SAFE_PROFILE", "yes");
  testing::WriteBytes(ConfigFile(), testing::Utf16LeBytes(L"/Tavro/MedivaneSDK/SafeProfile=TRUE\r\n"));
  Logger& logger = TheLogger();
  std::filesystem::remove(ConfigFile());
  const auto start = Clock::now();
  logger.IsThisLevelLoggable(L"Ward", 4);
  EXPECT_GE(Clock::now() - start, milliseconds(950));
}

}  // namespace
}  // namespace Tavro_KVO_Util
