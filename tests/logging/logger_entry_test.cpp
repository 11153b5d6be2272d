#include <gtest/gtest.h>

#include <future>
#include <regex>
#include <thread>

#include "logging/hook_mutex.h"
#include "logging/logger_fixture.h"
#include "platform/named_mutex.h"
#include "platform/process_info.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

class LoggerEntry : public LoggerTest {};

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

TEST_F(LoggerEntry, LevelOutsideTheNamesPrintsU) {
  WriteConfig({{L"FormatString", L"%L"}, {L"DebugAreas", L"A"}});
  TheLogger().Log(L"A", 7, L"m", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), std::vector<std::wstring>{L"U"});
}

TEST_F(LoggerEntry, EachLevelPrintsItsFirstLetter) {
  WriteConfig({{L"FormatString", L"%L"}});
  for (int level = 0; level <= 5; ++level) TheLogger().Log(L"A", level, L"m", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"R", L"F", L"E", L"W", L"I", L"D"}));
}

TEST_F(LoggerEntry, OnlyTheFirstOccurrenceOfATokenIsReplaced) {
  WriteConfig({{L"FormatString", L"%T|%T|%A %A"}});
  TheLogger().Log(L"Area", 4, L"m", L".\\t.cpp", 1);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(std::regex_match(Narrow(lines[0]), std::regex(R"(\d\d:\d\d:\d\d\.\d\d\d\|%T\|Area %A)")))
      << Narrow(lines[0]);
}

TEST_F(LoggerEntry, PercentSInsideTheMessageBecomesTheSessionId) {
  WriteConfig({{L"FormatString", L"%L %D %T %Z %A {%P-%t} %m"}});
  TheLogger().Log(L"A", 4, L"session %s here", L".\\t.cpp", 1);
  std::uint32_t session = 0;
  ASSERT_TRUE(platform::CurrentSessionId(session));
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  const std::wstring expectedEnd = L" session " + std::to_wstring(session) + L" here";
  EXPECT_EQ(lines[0].substr(lines[0].size() - expectedEnd.size()), expectedEnd) << Narrow(lines[0]);
}

TEST_F(LoggerEntry, DefaultTemplateFieldsParseBack) {
  WriteConfig({{L"FormatString", L"%L %D %T %Z %A {%P-%t} %m"}});
  TheLogger().Log(L"Area", 3, L"the message", L".\\t.cpp", 1);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  std::wstring path;
  ASSERT_EQ(platform::CurrentProcessPath(path), platform::ProcessPathResult::kFound);
  const std::string pattern =
      R"(W \d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d .+ Area \{)" +
      std::regex_replace(Narrow(path), std::regex(R"([\\^$.|?*+()\[\]{}])"), R"(\$&)") +
      R"(-\d+\} the message)";
  EXPECT_TRUE(std::regex_match(Narrow(lines[0]), std::regex(pattern))) << Narrow(lines[0]);
}

TEST_F(LoggerEntry, LongMessageLosesItsLastCharacter) {
  WriteConfig({{L"FormatString", L"%m"}});
  const std::wstring message(300, L'x');
  const std::wstring exact255(255, L'y');
  const std::wstring exact256(256, L'z');
  TheLogger().Log(L"A", 4, message.c_str(), L".\\t.cpp", 1);
  TheLogger().Log(L"A", 4, exact255.c_str(), L".\\t.cpp", 1);
  TheLogger().Log(L"A", 4, exact256.c_str(), L".\\t.cpp", 1);
  const std::wstring huge(12000, L'h');
  TheLogger().Log(L"A", 4, huge.c_str(), L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{std::wstring(299, L'x'), exact255, std::wstring(255, L'z'),
                                                std::wstring(9999, L'h')}));
}

TEST_F(LoggerEntry, LogLongAppendsTheValueAfterDataMarker) {
  WriteConfig({{L"FormatString", L"%L %D %T %Z %A {%P-%t} %m"}});
  TheLogger().LogLong(L"A", 4, L"count", 42, L".\\t.cpp", 1);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  const std::wstring end = L"} count;DATA#42";
  EXPECT_EQ(lines[0].substr(lines[0].size() - end.size()), end);
}

TEST_F(LoggerEntry, FileLineAndEmptyFieldsAreSubstituted) {
  WriteConfig({{L"FormatString", L"[%f][%l][%m][%A]"}});
  TheLogger().Log(L"A", 4, nullptr, nullptr, -7);
  TheLogger().Log(L"A", 4, L"", L".\\x.cpp", 12);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"[ ][-7][ ][A]", L"[.\\x.cpp][12][][A]"}));
}

// The entry points test the level before they write, so only the writer itself shows this.
TEST_F(LoggerEntry, ErrorBelowFileThresholdGoesOnlyToTheEventLogWhenSystemLevelAllows) {
  WriteConfig({{L"DefaultLevel", L"FATAL"},
               {L"DebugAreas", L""},
               {L"WriteErrorsToEventLog", L"true"},
               {L"SysDefaultLevel", L"ERROR"}});
  TheLogger();
  mEvents.Clear();  // making the logger reports the missing log file once
  LoggerTestPeer::WriteToLog(TheLogger(), L"A", 2, L"copied");
  EXPECT_EQ(EventMessages(), std::vector<std::wstring>{L"E A copied"});
  EXPECT_TRUE(Lines().empty()) << "the log file holds only its byte-order mark";

  mEvents.Clear();
  WriteConfig({{L"DefaultLevel", L"FATAL"},
               {L"DebugAreas", L""},
               {L"WriteErrorsToEventLog", L"true"},
               {L"SysDefaultLevel", L"FATAL"}});
  LoggerTestPeer::WriteToLog(TheLogger(), L"A", 2, L"nowhere");
  EXPECT_TRUE(EventMessages().empty());
  EXPECT_TRUE(Lines().empty());
}

// Takes the machine-wide log mutex through a handle of its own, tells `held` whether it got it,
// and keeps it until `release` is ready (1.5 s at most). `held` is set on every path: a holder
// that fails must make the test fail, not leave it waiting for a lock that never comes.
void HoldLogMutex(std::promise<bool>& held, std::future<void> release) {
  platform::NamedMutex other;
  platform::NamedMutexCreation creation;
  const platform::WaitResult taken =
      other.Create(HookMutex::kName, creation) ? other.Wait(1000) : platform::WaitResult::kFailed;
  held.set_value(taken == platform::WaitResult::kAcquired);
  if (taken == platform::WaitResult::kAcquired) release.wait_for(std::chrono::milliseconds(1500));
  // An abandoned lock is this thread's now too.
  if (taken == platform::WaitResult::kAcquired || taken == platform::WaitResult::kAbandoned) other.Release();
}

TEST_F(LoggerEntry, MutexHeldElsewhereDropsTheEntryWithTheTimeoutReport) {
  WriteConfig();
  Logger& logger = TheLogger();
  mEvents.Clear();  // making the logger reports the missing log file once
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  std::promise<bool> held;
  std::promise<void> release;
  std::thread holder(HoldLogMutex, std::ref(held), release.get_future());
  const bool holding = held.get_future().get();
  if (holding) logger.Log(L"A", 4, L"dropped", L".\\t.cpp", 1);
  release.set_value();
  holder.join();
  ASSERT_TRUE(holding) << "the holder thread could not take the log mutex";
  logger.Log(L"A", 4, L"after", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A before", L"I A after"}));
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{
                L"Timeout waiting for lock release waiting to log, the entry will not be logged"});
}

TEST_F(LoggerEntry, NewFileStartsWithByteOrderMarkAndExistingFileGetsNoSecond) {
  WriteConfig();
  TheLogger().Log(L"A", 4, L"one", L".\\t.cpp", 1);
  TheLogger().Log(L"A", 4, L"two", L".\\t.cpp", 1);
  EXPECT_EQ(testing::ReadBytes(LogFile()),
            std::string("\xFF\xFE") + testing::Utf16Bytes(L"I A one\r\nI A two\r\n", false, false));
}

}  // namespace
}  // namespace Tavro_KVO_Util
