#include <gtest/gtest.h>

#include "logging/free_space_probe.h"
#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

class LoggerFile : public LoggerTest {
 protected:
  std::filesystem::path Backup(int number) const {
    return LogDirectory() / ("test.log." + std::to_string(number));
  }
  void WriteBackup(int number, const std::wstring& line) const {
    testing::WriteBytes(Backup(number), testing::Utf16LeBytes(line + L"\r\n"));
  }
  // A log file already at its maximum size (the test sets MaxLogFileSize to 10 bytes).
  void WriteFullLog(const std::wstring& line) const {
    std::filesystem::create_directories(LogDirectory());
    testing::WriteBytes(LogFile(), testing::Utf16LeBytes(line + L"\r\n"));
  }
};

TEST_F(LoggerFile, EmptyLocationAndNameWriteKvoLogInTheWorkingDirectory) {
  WriteConfig({{L"LogFileLocation", L""}, {L"LogFileName", L""}});
  const auto previous = std::filesystem::current_path();
  std::filesystem::create_directories(mDir.path() / "work");
  std::filesystem::current_path(mDir.path() / "work");
  TheLogger().Log(L"A", 4, L"here", L".\\t.cpp", 1);
  SingletonManager::Instance().DeleteAll();
  std::filesystem::current_path(previous);
  EXPECT_EQ(Lines(mDir.path() / "work" / "KVO.log"), std::vector<std::wstring>{L"I A here"});
}

TEST_F(LoggerFile, FullFileRollsIntoBackupsShiftingUpToTheFirstGap) {
  WriteConfig({{L"MaxLogFileBackups", L"3"}, {L"MaxLogFileSize", L"10"}});
  WriteFullLog(L"current");
  WriteBackup(1, L"old one");
  WriteBackup(2, L"old two");
  TheLogger().Log(L"A", 4, L"fresh", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A fresh"});
  EXPECT_EQ(testing::ReadBytes(LogFile()).substr(0, 2), "\xFF\xFE");
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"old one"});
  EXPECT_EQ(Lines(Backup(3)), std::vector<std::wstring>{L"old two"});
}

TEST_F(LoggerFile, MissingBackupNumberStopsTheShiftThere) {
  WriteConfig({{L"MaxLogFileBackups", L"3"}, {L"MaxLogFileSize", L"10"}});
  WriteFullLog(L"current");
  WriteBackup(1, L"old one");
  WriteBackup(3, L"old three");
  TheLogger().Log(L"A", 4, L"fresh", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A fresh"});
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"old one"});
  EXPECT_EQ(Lines(Backup(3)), std::vector<std::wstring>{L"old three"});
}

TEST_F(LoggerFile, AllBackupsPresentDropsTheOldest) {
  WriteConfig({{L"MaxLogFileBackups", L"2"}, {L"MaxLogFileSize", L"10"}});
  WriteFullLog(L"current");
  WriteBackup(1, L"old one");
  WriteBackup(2, L"old two");
  TheLogger().Log(L"A", 4, L"fresh", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"old one"});
  EXPECT_FALSE(std::filesystem::exists(Backup(3)));
}

TEST_F(LoggerFile, NoBackupsEmptiesTheFileAndTheNextLineHasNoByteOrderMark) {
  WriteConfig({{L"MaxLogFileBackups", L"0"}, {L"MaxLogFileSize", L"10"}});
  WriteFullLog(L"current");
  TheLogger().Log(L"A", 4, L"fresh", L".\\t.cpp", 1);
  EXPECT_EQ(testing::ReadBytes(LogFile()), testing::Utf16Bytes(L"I A fresh\r\n", false, /*withMark=*/false));
  EXPECT_FALSE(std::filesystem::exists(Backup(1)));
}

TEST_F(LoggerFile, PauseModeReportsLowSpaceOncePerEpisode) {
  WriteConfig({{L"ThresholdExceeded", L"pauseLogging"}, {L"FreeSpaceMinimum", L"18446744073709551615"}});
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"dropped 1", L".\\t.cpp", 1);
  logger.Log(L"A", 4, L"dropped 2", L".\\t.cpp", 1);
  const std::wstring pause = L"Not enough disk space for logging, will pause until space made available";
  EXPECT_EQ(EventMessages(), (std::vector<std::wstring>{pause}));
  WriteConfig({{L"ThresholdExceeded", L"pauseLogging"}, {L"FreeSpaceMinimum", L"0"}});
  logger.Log(L"A", 4, L"written", L".\\t.cpp", 1);
  WriteConfig({{L"ThresholdExceeded", L"pauseLogging"}, {L"FreeSpaceMinimum", L"18446744073709551615"}});
  logger.Log(L"A", 4, L"dropped 3", L".\\t.cpp", 1);
  EXPECT_EQ(EventMessages(), (std::vector<std::wstring>{pause, pause}));
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A written"});
  EXPECT_EQ(mEvents.Records()[0].eventType, 4);
}

TEST_F(LoggerFile, DeleteModeDropsTheOldestBackupPerEntryAndStartsAFreshFile) {
  WriteConfig({{L"MaxLogFileBackups", L"3"}, {L"FreeSpaceMinimum", L"18446744073709551615"}});
  WriteFullLog(L"current");
  WriteBackup(1, L"old one");
  WriteBackup(2, L"old two");
  // Making the logger checks the space once already: backup 2 goes, 1 becomes 2, the file 1.
  Logger& logger = TheLogger();
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"old one"});
  EXPECT_FALSE(std::filesystem::exists(LogFile()));
  // Space stays short whatever is deleted: each entry deletes the next oldest and is dropped.
  logger.Log(L"A", 4, L"dropped", L".\\t.cpp", 1);
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{L"Not enough disk space for logging, will try to free up "
                                      L"enough disk space to continue"});
  EXPECT_FALSE(std::filesystem::exists(LogFile()));
  EXPECT_FALSE(std::filesystem::exists(Backup(1)));
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"current"});
  EXPECT_FALSE(std::filesystem::exists(Backup(3)));
}

TEST_F(LoggerFile, FreeSpaceExactlyAtTheMinimumIsTooLittle) {
  internal::FreeSpaceForTesting freeSpace(5000000);
  WriteConfig({{L"ThresholdExceeded", L"pauseLogging"}, {L"FreeSpaceMinimum", L"5000000"}});
  Logger& logger = TheLogger();  // making the logger checks the space first and starts the episode
  logger.Log(L"A", 4, L"dropped at the minimum", L".\\t.cpp", 1);
  EXPECT_EQ(
      EventMessages(),
      std::vector<std::wstring>{L"Not enough disk space for logging, will pause until space made available"});
  EXPECT_FALSE(std::filesystem::exists(LogFile()));

  freeSpace.Set(5000001);  // one byte more than the minimum is enough
  logger.Log(L"A", 4, L"written one byte above", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A written one byte above"});
  EXPECT_EQ(EventMessages().size(), 1u);
}

TEST_F(LoggerFile, DeleteModeAtExactlyTheMinimumDeletesTheOldestBackup) {
  internal::FreeSpaceForTesting freeSpace(7000);
  WriteConfig({{L"MaxLogFileBackups", L"2"}, {L"FreeSpaceMinimum", L"7000"}});
  WriteFullLog(L"current");
  WriteBackup(1, L"old one");
  WriteBackup(2, L"old two");
  TheLogger();  // making the logger checks the space: backup 2 goes, 1 becomes 2, the file 1
  EXPECT_EQ(Lines(Backup(1)), std::vector<std::wstring>{L"current"});
  EXPECT_EQ(Lines(Backup(2)), std::vector<std::wstring>{L"old one"});
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{L"Not enough disk space for logging, will try to free up "
                                      L"enough disk space to continue"});
}

TEST_F(LoggerFile, LocationOfSeveralMissingDirectoriesIsMadeWhole) {
  const auto deep = mDir.path() / "a" / "b" / "c";
  WriteConfig({{L"LogFileLocation", deep.wstring()}});
  TheLogger().Log(L"A", 4, L"deep", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(deep / "test.log"), std::vector<std::wstring>{L"I A deep"});
}

}  // namespace
}  // namespace Tavro_KVO_Util
