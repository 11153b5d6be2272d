#include <gtest/gtest.h>

#include "Config.h"
#include "config/config_test_peer.h"
#include "logging/library_log.h"
#include "logging/log_levels.h"
#include "support/environment.h"
#include "support/local_file_time.h"

#include <cstdio>
#include <ctime>

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using testing::ConfigFileTest;

class ConfigReload : public ConfigFileTest {};

// The stamp the file's last-write time must give, from the local time the OS itself reports:
// "dd:mm:yyyy:hh:mm:ss:ms", with blanks rather than zeros before single-digit seconds and
// milliseconds.
std::wstring ExpectedStamp(const std::filesystem::path& file) {
  const testing::CalendarTime t = testing::LocalLastWrite(file);
  wchar_t text[64];
  std::swprintf(text, 64, L"%02d:%02d:%d:%02d:%02d:%2d:%2d", t.day, t.month, t.year, t.hour, t.minute,
                t.second, t.millisecond);
  return text;
}

// 25 November 2023, 20:07:05.004 UTC: a day that cannot pass for a month, single-digit seconds and
// milliseconds, and late enough that zones more than four hours east are on the next day.
constexpr testing::CalendarTime kLateInTheDayUtc{2023, 11, 25, 20, 7, 5, 4};

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
  EXPECT_EQ(ConfigTestPeer::Stamp(*config), ExpectedStamp(File()));
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

TEST_F(ConfigReload, StampIsTheLastWriteTimeInLocalTime) {
  WriteAnsi(L"a=1");
  testing::SetLastWriteUtc(File(), kLateInTheDayUtc);
  const auto config = Open();
  EXPECT_EQ(ConfigTestPeer::Stamp(*config), ExpectedStamp(File()));
}

TEST_F(ConfigReload, StampUsesBlankPaddedSecondsAndMilliseconds) {
  WriteAnsi(L"a=1");
  testing::SetLastWriteUtc(File(), kLateInTheDayUtc);
  const auto config = Open();
  const std::wstring stamp = ConfigTestPeer::Stamp(*config);
  ASSERT_GE(stamp.size(), 5u);
  // Every zone is whole quarter hours away from UTC: the seconds and milliseconds stay 5 and 4.
  EXPECT_EQ(stamp.substr(stamp.size() - 5), L" 5: 4");
}

#ifndef _WIN32
// Linux only: the process's zone can be switched with TZ. (On Windows the zone is machine-wide.)
TEST_F(ConfigReload, StampIsInTheZoneInForceNotInUtc) {
  {
    testing::ScopedEnvironmentVariable zone("TZ", std::string("IST-5:30"));
    tzset();
    WriteAnsi(L"a=1");
    testing::SetLastWriteUtc(File(), kLateInTheDayUtc);
    const auto config = Open();
    // 20:07:05 UTC is 01:37:05 on the next day five and a half hours east.
    EXPECT_EQ(ConfigTestPeer::Stamp(*config), L"26:11:2023:01:37: 5: 4");
    EXPECT_EQ(ConfigTestPeer::Stamp(*config), ExpectedStamp(File()));
  }
  tzset();
}

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
