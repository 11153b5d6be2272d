#include <gtest/gtest.h>

#include "logging/logger_fixture.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

class LoggerSettings : public LoggerTest {};

TEST_F(LoggerSettings, ReportLevelNameMeansErrorThreshold) {
  WriteConfig({{L"DefaultLevel", L"REPORT"}});
  Logger& logger = TheLogger();
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 2);
  logger.Log(L"KP", 1, L"fatal", L".\\t.cpp", 1);
  logger.Log(L"KP", 2, L"error", L".\\t.cpp", 2);
  logger.Log(L"KP", 3, L"warn", L".\\t.cpp", 3);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"F KP fatal", L"E KP error"}));
}

TEST_F(LoggerSettings, LowerCaseLevelNameLeavesTheThresholdAsItWas) {
  WriteConfig({{L"DefaultLevel", L"INFO"}});
  Logger& logger = TheLogger();
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 4);
  WriteConfig({{L"DefaultLevel", L"debug"}});
  EXPECT_TRUE(logger.GetConfig(false));
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 4);
}

TEST_F(LoggerSettings, DebugAreasAreSplitAndDeduplicatedInOrder) {
  WriteConfig({{L"DebugAreas", L"BN, Config,,BN"}});
  EXPECT_EQ(LoggerTestPeer::Areas(TheLogger()), (std::vector<std::wstring>{L"BN", L"Config"}));
}

TEST_F(LoggerSettings, DebugAreaIsWrittenAtEveryLevelOthersOnlyUpToTheThreshold) {
  WriteConfig({{L"DefaultLevel", L"WARN"}, {L"DebugAreas", L"BN"}});
  Logger& logger = TheLogger();
  EXPECT_TRUE(logger.IsThisLevelLoggable(L"BN", 5));
  EXPECT_FALSE(logger.IsThisLevelLoggable(L"KP", 5));
  EXPECT_TRUE(logger.IsThisLevelLoggable(L"KP", 0));
  EXPECT_TRUE(logger.IsThisLevelLoggable(L"KP", 3));
  EXPECT_TRUE(logger.IsThisLevelLoggable(L"KP", -1));
  EXPECT_FALSE(logger.IsThisLevelLoggable(L"bn", 5)) << "areas are case-sensitive";
}

TEST_F(LoggerSettings, MissingEventLogKeyKeepsThePreviousValueAndOtherCaseMeansFalse) {
  WriteConfig({{L"WriteErrorsToEventLog", L"true"}});
  Logger& logger = TheLogger();
  EXPECT_TRUE(LoggerTestPeer::WriteErrorsToEventLog(logger));
  WriteConfig({{L"WriteErrorsToEventLog", L""}});
  logger.GetConfig(false);
  EXPECT_TRUE(LoggerTestPeer::WriteErrorsToEventLog(logger));
  WriteConfig({{L"WriteErrorsToEventLog", L"True"}});
  logger.GetConfig(false);
  EXPECT_FALSE(LoggerTestPeer::WriteErrorsToEventLog(logger));
}

TEST_F(LoggerSettings, FreeSpaceMinimumTakesTheLeadingDigits) {
  WriteConfig({{L"FreeSpaceMinimum", L"12abc"}});
  EXPECT_EQ(LoggerTestPeer::FreeSpaceMinimum(TheLogger()), 12u);
}

TEST_F(LoggerSettings, OnlyTheFirstMissingKeyIsReportedOncePerProcess) {
  WriteConfig({{L"MaxLogFileSize", L""}, {L"FormatString", L""}});
  Logger& logger = TheLogger();
  logger.GetConfig(true);
  logger.GetConfig(true);
  // The second message is the logger's first look at a log file that does not exist yet: while
  // the logger is being made it does not create the file, and says so once per process.
  EXPECT_EQ(EventMessages(),
            (std::vector<std::wstring>{L"Error getting maximum log file size from Configuration",
                                       L"Error checking log file size"}));
  EXPECT_EQ(mEvents.Records()[0].eventType, 1);
}

TEST_F(LoggerSettings, LocationChangeIsReportedAtEachReloadAndIgnored) {
  WriteConfig();
  Logger& logger = TheLogger();
  mEvents.Clear();
  const std::wstring location = LoggerTestPeer::LogFileLocation(logger);
  WriteConfig({{L"LogFileLocation", (mDir.path() / "elsewhere").wstring()}});
  logger.GetConfig(false);
  logger.GetConfig(true);
  EXPECT_EQ(LoggerTestPeer::LogFileLocation(logger), location);
  const std::wstring info = L"LogFileLocation change does not affect a running program.";
  EXPECT_EQ(EventMessages(), (std::vector<std::wstring>{info, info}));
  EXPECT_EQ(mEvents.Records()[0].eventType, 4);
}

TEST_F(LoggerSettings, DefaultsApplyWithoutAConfigurationFile) {
  Logger& logger = TheLogger();
  EXPECT_EQ(LoggerTestPeer::DefaultLevel(logger), 5);
  EXPECT_EQ(LoggerTestPeer::SysDefaultLevel(logger), 1);
  EXPECT_FALSE(LoggerTestPeer::WriteErrorsToEventLog(logger));
  EXPECT_EQ(LoggerTestPeer::FreeSpaceMinimum(logger), 1000000000u);
  EXPECT_EQ(LoggerTestPeer::LogFileLocation(logger), L"");
}

TEST_F(LoggerSettings, GetInstanceRegistersTheLoggerForUnload) {
  Logger* logger = Logger::GetInstance();
  EXPECT_EQ(SingletonManager::Instance().mLogger, logger);
  EXPECT_EQ(Logger::mInstance, logger);
  EXPECT_EQ(Logger::GetInstance(), logger);
}

}  // namespace
}  // namespace Tavro_KVO_Util
