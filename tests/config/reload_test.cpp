#include <gtest/gtest.h>

#include "Config.h"
#include "config/config_test_peer.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"
#include "support/environment.h"

#include <ctime>

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using testing::ConfigFileTest;

class ConfigReload : public ConfigFileTest {};

TEST_F(ConfigReload, UnchangedFileIsNotParsedAgain) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  EXPECT_TRUE(config->WasReloaded());
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_FALSE(config->WasReloaded());
  EXPECT_EQ(recorder.Messages(internal::kLevelDebug),
            (std::vector<std::wstring>{L"*** Config::Reload ***", L"*** Config::CfgFileModified ***",
                                       L"Time strings were same so return false as not to reparse"}));
}

TEST_F(ConfigReload, TouchedFileIsParsedAgain) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  WriteAnsi(L"a=2");
  ShiftLastWrite(std::chrono::seconds(2));
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(config->WasReloaded());
  std::wstring value;
  config->GetParameter(L"a", value);
  EXPECT_EQ(value, L"2");
  const auto debug = recorder.Messages(internal::kLevelDebug);
  EXPECT_NE(
      std::find(debug.begin(), debug.end(), L"Time strings were different so return true to force reparse"),
      debug.end());
}

TEST_F(ConfigReload, LastWriteTimeDifferingOnlyInMillisecondsCountsAsChanged) {
  WriteAnsi(L"a=1");
  SetLastWriteMilliseconds(100);
  const auto config = Open();
  SetLastWriteMilliseconds(101);
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(config->WasReloaded());
}

TEST_F(ConfigReload, ForcedReloadAlwaysParses) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  EXPECT_EQ(config->Reload(true), CFG_SUCCESS);
  EXPECT_TRUE(config->WasReloaded());
}

TEST_F(ConfigReload, MissingFileReadsAsChangedAndFailureLeavesStoreEmptyUntilFileReturns) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  const std::wstring stamp = ConfigTestPeer::Stamp(*config);
  std::filesystem::rename(File(), Dir().path() / "away.cfg");
  ReportRecorderForTesting recorder;
  EXPECT_EQ(config->Reload(false), CFG_FILE_OPEN_FAILED);
  EXPECT_FALSE(config->WasReloaded());
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  EXPECT_EQ(ConfigTestPeer::Stamp(*config), stamp);  // only a successful parse moves the stamp
  const auto debug = recorder.Messages(internal::kLevelDebug);
  EXPECT_NE(std::find(debug.begin(), debug.end(), L"GetFSFModTime failed so return true to force reparse"),
            debug.end());

  // The same file back with the same stamp: nothing tells the store to parse, so it stays empty.
  std::filesystem::rename(Dir().path() / "away.cfg", File());
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_FALSE(config->WasReloaded());
  EXPECT_TRUE(ConfigTestPeer::Map(*config).empty());
  // A forced reload refills it.
  EXPECT_EQ(config->Reload(true), CFG_SUCCESS);
  EXPECT_EQ(ConfigTestPeer::Map(*config).size(), 1u);
}

TEST_F(ConfigReload, StampUsesBlankPaddedSecondsAndMilliseconds) {
  WriteAnsi(L"a=1");
  const auto config = Open();
  const std::wstring stamp = ConfigTestPeer::Stamp(*config);
  // dd:mm:yyyy:hh:mm:ss:ms with blanks, not zeros, before single-digit seconds and milliseconds.
  ASSERT_GE(stamp.size(), 19u) << std::string(stamp.begin(), stamp.end());
  int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0, milli = 0;
  EXPECT_EQ(std::swscanf(stamp.c_str(), L"%d:%d:%d:%d:%d:%d:%d", &day, &month, &year, &hour, &minute, &second,
                         &milli),
            7);
  wchar_t expected[64];
  std::swprintf(expected, 64, L"%02d:%02d:%d:%02d:%02d:%2d:%2d", day, month, year, hour, minute, second,
                milli);
  EXPECT_EQ(stamp, expected);
}

#ifndef _WIN32
// Linux only: the process's zone can be switched with TZ. (On Windows the zone is machine-wide.)
TEST_F(ConfigReload, ChangingTheTimeZoneAloneIsNoChangeOfTheFile) {
  testing::ScopedEnvironmentVariable zone("TZ", std::string("UTC0"));
  tzset();
  WriteAnsi(L"a=1");
  const auto config = Open();
  const std::wstring stamp = ConfigTestPeer::Stamp(*config);
  {
    testing::ScopedEnvironmentVariable shifted("TZ", std::string("IST-5:30"));
    tzset();
    EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
    EXPECT_FALSE(config->WasReloaded());
    // A fresh stamp in the new zone does differ: it is the saved zone that keeps them equal.
    FileModTime fresh;
    ASSERT_TRUE(fresh.Record(FileName().c_str()));
    EXPECT_NE(std::wstring(fresh.timeString), stamp);
  }
  tzset();
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util
