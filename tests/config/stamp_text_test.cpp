// The stamp text that every Reload(false) compares: each thread renders a raw last-write time once
// per zone and reuses the text, which must always be the text a fresh rendering gives.
#include "config/stamp_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "FileModTime.h"
#include "config/config_test_peer.h"
#include "support/file_times.h"
#include "support/temp_dir.h"

#ifndef _WIN32
#include <ctime>

#include "support/environment.h"
#endif

namespace Tavro_KVO_Util {
namespace {

using internal::CurrentStampText;
using testing::ConfigFileTest;
using testing::TempDir;
using testing::Ticks;

// Whole seconds kept; the rest set to `milliseconds` and `ticks` of 100 ns.
void SetLastWriteBelowTheSecond(const std::filesystem::path& file, int milliseconds, int ticks) {
  testing::ChangeLastWrite(file, [&](Ticks t) {
    return std::chrono::floor<std::chrono::seconds>(t) + std::chrono::milliseconds(milliseconds) +
           Ticks(ticks);
  });
}

// What FileModTime records for `file` in `zone`, rendered from scratch.
std::wstring FreshStamp(const std::filesystem::path& file, const TimeZoneRecord& zone) {
  FileModTime stamp;
  EXPECT_TRUE(stamp.GetFSFModTime(file.wstring().c_str(), zone));
  return stamp.timeString;
}

std::wstring Text(const wchar_t* text) { return text == nullptr ? L"(null)" : text; }

TEST(StampText, IsTheTextFileModTimeRecords) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  FileModTime recorded;
  ASSERT_TRUE(recorded.Record(file.wstring().c_str()));
  EXPECT_EQ(Text(CurrentStampText(file.wstring().c_str(), recorded.timeZone)), recorded.timeString);
}

TEST(StampText, MissingFileHasNoText) {
  TempDir dir;
  EXPECT_EQ(CurrentStampText((dir.path() / "missing.cfg").wstring().c_str(), TimeZoneRecord{}), nullptr);
  EXPECT_EQ(CurrentStampText(nullptr, TimeZoneRecord{}), nullptr);
}

TEST(StampText, EveryMillisecondGivesItsOwnTextAndAnEarlierTimeItsEarlierText) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  const std::wstring path = file.wstring();
  testing::SetLastWriteMilliseconds(file, 100);
  FileModTime recorded;
  ASSERT_TRUE(recorded.Record(path.c_str()));
  const std::wstring at100 = Text(CurrentStampText(path.c_str(), recorded.timeZone));
  EXPECT_EQ(at100.substr(at100.size() - 4), L":100");

  testing::SetLastWriteMilliseconds(file, 101);
  const std::wstring at101 = Text(CurrentStampText(path.c_str(), recorded.timeZone));
  EXPECT_EQ(at101.substr(at101.size() - 4), L":101");
  EXPECT_EQ(at101, FreshStamp(file, recorded.timeZone));

  testing::SetLastWriteMilliseconds(file, 100);
  EXPECT_EQ(Text(CurrentStampText(path.c_str(), recorded.timeZone)), at100);
}

TEST(StampText, TimesWithinOneMillisecondGiveOneText) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  const std::wstring path = file.wstring();
  SetLastWriteBelowTheSecond(file, 250, 3000);
  FileModTime recorded;
  ASSERT_TRUE(recorded.Record(path.c_str()));
  SetLastWriteBelowTheSecond(file, 250, 6000);
  EXPECT_EQ(Text(CurrentStampText(path.c_str(), recorded.timeZone)), recorded.timeString);
}

TEST(StampText, MoreFilesThanAThreadRemembersAreEachRenderedRight) {
  TempDir dir;
  std::vector<std::filesystem::path> files;
  for (int i = 0; i < 9; ++i) {
    files.push_back(dir.WriteFile("f" + std::to_string(i) + ".cfg", "a=1"));
    testing::SetLastWriteMilliseconds(files.back(), 101 + i);
  }
  FileModTime zoneSource;
  ASSERT_TRUE(zoneSource.Record(files[0].wstring().c_str()));
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 9; ++i) {
      const std::wstring text = Text(CurrentStampText(files[i].wstring().c_str(), zoneSource.timeZone));
      EXPECT_EQ(text.substr(text.size() - 4), L":" + std::to_wstring(101 + i)) << "round " << round;
    }
  }
}

TEST(StampText, AnotherThreadGetsTheSameText) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
  FileModTime recorded;
  ASSERT_TRUE(recorded.Record(file.wstring().c_str()));
  std::wstring seen;
  std::thread([&] { seen = Text(CurrentStampText(file.wstring().c_str(), recorded.timeZone)); }).join();
  EXPECT_EQ(seen, recorded.timeString);
}

#ifdef _WIN32
// On Windows the record is a TIME_ZONE_INFORMATION: a fixed bias and no daylight saving.
TimeZoneRecord ZoneMinutesEastOfUtc(int minutes) {
  TIME_ZONE_INFORMATION info{};
  info.Bias = -minutes;
  TimeZoneRecord zone{};
  std::memcpy(zone.bytes, &info, sizeof info);
  return zone;
}
#else
// On Linux the record is what the zone in force gives the file's time, so the zone is set by TZ.
TimeZoneRecord ZoneMinutesEastOfUtc(int minutes, const std::filesystem::path& file) {
  const std::string rule = "ZZZ-" + std::to_string(minutes / 60) + ":" + std::to_string(minutes % 60);
  testing::ScopedEnvironmentVariable zone("TZ", rule);
  tzset();
  FileModTime stamp;
  EXPECT_TRUE(stamp.Record(file.wstring().c_str()));
  return stamp.timeZone;
}
#endif

TEST(StampText, TheSameTimeInAnotherZoneIsRenderedInThatZone) {
  TempDir dir;
  const auto file = dir.WriteFile("a.cfg", "a=1");
#ifdef _WIN32
  const TimeZoneRecord utc = ZoneMinutesEastOfUtc(0);
  const TimeZoneRecord india = ZoneMinutesEastOfUtc(330);
#else
  const TimeZoneRecord utc = ZoneMinutesEastOfUtc(0, file);
  const TimeZoneRecord india = ZoneMinutesEastOfUtc(330, file);
  tzset();
#endif
  const std::wstring path = file.wstring();
  const std::wstring inUtc = Text(CurrentStampText(path.c_str(), utc));
  const std::wstring inIndia = Text(CurrentStampText(path.c_str(), india));
  EXPECT_NE(inUtc, inIndia);
  EXPECT_EQ(inUtc, FreshStamp(file, utc));
  EXPECT_EQ(inIndia, FreshStamp(file, india));
  // Asked again in the first zone, after the second: still the first zone's text.
  EXPECT_EQ(Text(CurrentStampText(path.c_str(), utc)), inUtc);
}

class ConfigStamp : public ConfigFileTest {};

TEST_F(ConfigStamp, TimeMovedWithinTheSameMillisecondIsNoChangeOfTheFile) {
  WriteAnsi(L"a=1");
  SetLastWriteBelowTheSecond(File(), 400, 1000);
  const auto config = Open();
  const std::wstring stamp = ConfigTestPeer::Stamp(*config);
  SetLastWriteBelowTheSecond(File(), 400, 9000);
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_FALSE(config->WasReloaded());
  EXPECT_EQ(ConfigTestPeer::Stamp(*config), stamp);
}

TEST_F(ConfigStamp, TimeMovedAwayAndBackIsNoChangeAndAnotherMillisecondIs) {
  WriteAnsi(L"a=1");
  SetLastWriteBelowTheSecond(File(), 400, 0);
  const auto config = Open();
  SetLastWriteBelowTheSecond(File(), 401, 0);
  SetLastWriteBelowTheSecond(File(), 400, 0);
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_FALSE(config->WasReloaded());
  SetLastWriteBelowTheSecond(File(), 401, 0);
  EXPECT_EQ(config->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(config->WasReloaded());
  EXPECT_EQ(ConfigTestPeer::Stamp(*config).substr(ConfigTestPeer::Stamp(*config).size() - 4), L":401");
}

TEST_F(ConfigStamp, TwoStoresOfOneFileSeeTheSameChange) {
  WriteAnsi(L"a=1");
  const auto first = Open();
  const auto second = Open(/*logging=*/false);
  WriteAnsi(L"a=2");
  ShiftLastWrite(std::chrono::seconds(2));
  EXPECT_EQ(first->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(first->WasReloaded());
  EXPECT_EQ(second->Reload(false), CFG_SUCCESS);
  EXPECT_TRUE(second->WasReloaded());
  EXPECT_EQ(ConfigTestPeer::Stamp(*first), ConfigTestPeer::Stamp(*second));
}

}  // namespace
}  // namespace Tavro_KVO_Util
