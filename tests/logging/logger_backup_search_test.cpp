// Rolling and freeing space ask which numbered backups exist. With MaxLogFileBackups at its
// largest, asking about every number would mean billions of opens inside the machine-wide mutex;
// these tests hold the logger to the work of the backups that are really there, with the same
// files renamed and deleted as with a small maximum.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>

#include "logging/free_space_probe.h"
#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;
using Files = std::map<std::string, std::vector<std::wstring>>;

constexpr auto kEntryBudget = std::chrono::milliseconds(50);

class LoggerBackupSearch : public LoggerTest {
 protected:
  void WriteFile(const std::string& name, const std::wstring& line) const {
    std::filesystem::create_directories(LogDirectory());
    testing::WriteBytes(LogDirectory() / name, testing::Utf16LeBytes(line + L"\r\n"));
  }

  // Every file in the log folder with its lines.
  Files Folder() const {
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(LogDirectory())) {
      files[entry.path().filename().string()] = Lines(entry.path());
    }
    return files;
  }

  // Writes one entry and says how long it took. The logger is made beforehand (in Run), since
  // making it already looks at the files.
  std::chrono::steady_clock::duration TimedEntry() {
    Logger& logger = TheLogger();
    if (mSpace) mSpace->Set(10);  // short from now on: the entry has to free space
    const auto start = std::chrono::steady_clock::now();
    logger.Log(L"A", 4, L"fresh", L".\\t.cpp", 1);
    return std::chrono::steady_clock::now() - start;
  }

  // Runs `scenario` with `backups` as MaxLogFileBackups in a fresh log folder; the folder after it.
  template <typename Scenario>
  Files Run(const wchar_t* backups, const testing::Settings& more, Scenario scenario) {
    SingletonManager::Instance().DeleteAll();
    ResetLoggerProcessStateForTesting();
    std::filesystem::remove_all(LogDirectory());
    testing::Settings settings = more;
    settings[L"MaxLogFileBackups"] = backups;
    WriteConfig(settings);
    TheLogger();
    std::filesystem::remove_all(LogDirectory());
    scenario();
    SingletonManager::Instance().DeleteAll();
    return Folder();
  }

  std::unique_ptr<internal::FreeSpaceForTesting> mSpace;
};

TEST_F(LoggerBackupSearch, LowSpaceDeletesTheSameOldestBackupWithTheLargestMaximumQuickly) {
  // Free space stays short: the entry deletes one backup, rolls, and is dropped.
  mSpace = std::make_unique<internal::FreeSpaceForTesting>(1ULL << 40);
  const testing::Settings lowSpace{{L"FreeSpaceMinimum", L"1000"}, {L"ThresholdExceeded", L"deleteOld"}};
  std::chrono::steady_clock::duration took{};
  const auto scenario = [&] {
    WriteFile("test.log", L"current");
    WriteFile("test.log.1", L"old one");
    WriteFile("test.log.2", L"old two");
    WriteFile("test.log.3", L"old three");
    took = TimedEntry();
  };
  const Files small = Run(L"5", lowSpace, scenario);
  const Files largest = Run(L"2147483647", lowSpace, scenario);

  const Files expected{
      {"test.log.1", {L"current"}}, {"test.log.2", {L"old one"}}, {"test.log.3", {L"old two"}}};
  EXPECT_EQ(small, expected);
  EXPECT_EQ(largest, expected);
  EXPECT_LT(took, kEntryBudget);
}

TEST_F(LoggerBackupSearch, RollingShiftsTheSameBackupsWithTheLargestMaximumQuickly) {
  const testing::Settings full{{L"MaxLogFileSize", L"10"}};
  std::chrono::steady_clock::duration took{};
  const auto scenario = [&] {
    WriteFile("test.log", L"current");
    WriteFile("test.log.1", L"old one");
    WriteFile("test.log.2", L"old two");
    WriteFile("test.log.3", L"old three");
    took = TimedEntry();
  };
  const Files small = Run(L"5", full, scenario);
  const Files largest = Run(L"2147483647", full, scenario);

  const Files expected{{"test.log", {L"I A fresh"}},
                       {"test.log.1", {L"current"}},
                       {"test.log.2", {L"old one"}},
                       {"test.log.3", {L"old two"}},
                       {"test.log.4", {L"old three"}}};
  EXPECT_EQ(small, expected);
  EXPECT_EQ(largest, expected);
  EXPECT_LT(took, kEntryBudget);
}

TEST_F(LoggerBackupSearch, NamesThatOnlyLookLikeBackupsAreNotCounted) {
  // "test.log.02" and "test.log.x" are other files; backup 2 is missing, so the shift stops there.
  const testing::Settings full{{L"MaxLogFileSize", L"10"}};
  const Files after = Run(L"2147483647", full, [&] {
    WriteFile("test.log", L"current");
    WriteFile("test.log.1", L"old one");
    WriteFile("test.log.02", L"not a backup");
    WriteFile("test.log.x", L"not a backup either");
    WriteFile("test.log.3", L"old three");
    TimedEntry();
  });
  const Files expected{{"test.log", {L"I A fresh"}},
                       {"test.log.1", {L"current"}},
                       {"test.log.2", {L"old one"}},
                       {"test.log.02", {L"not a backup"}},
                       {"test.log.x", {L"not a backup either"}},
                       {"test.log.3", {L"old three"}}};
  EXPECT_EQ(after, expected);
}

TEST_F(LoggerBackupSearch, LowSpaceDeletesTheHighestBackupBeyondAGap) {
  // Backups 1 and 7 with maximum 9: 7 is the oldest and goes; 1 shifts to the gap at 2.
  mSpace = std::make_unique<internal::FreeSpaceForTesting>(1ULL << 40);
  const Files after = Run(L"9", {{L"FreeSpaceMinimum", L"1000"}, {L"ThresholdExceeded", L"deleteOld"}}, [&] {
    WriteFile("test.log", L"current");
    WriteFile("test.log.1", L"old one");
    WriteFile("test.log.7", L"old seven");
    WriteFile("test.log.12", L"beyond the maximum");
    TimedEntry();
  });
  const Files expected{
      {"test.log.1", {L"current"}}, {"test.log.2", {L"old one"}}, {"test.log.12", {L"beyond the maximum"}}};
  EXPECT_EQ(after, expected);
}

}  // namespace
}  // namespace Tavro_KVO_Util
