// The shared log across real processes: several writers at once through rolling, a lock held by
// another process past the wait, and a holder that dies with the lock.
//
// The children are this program started again (see support/child_process.h). They inherit
// KVO_INSTALL_DIR, so they read the test's configuration and write the test's log.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "logging/hook_mutex.h"
#include "logging/logger_fixture.h"
#include "platform/log_file.h"
#include "platform/process_info.h"
#include "support/child_process.h"
#include "support/environment.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ChildProcess;
using testing::LoggerTest;
using testing::WaitForFile;

constexpr int kWriters = 4;
constexpr int kEntriesPerWriter = 2000;
constexpr int kMaxLogFileSize = 64 * 1024;
constexpr int kBackups = 50;
constexpr int kHoldMilliseconds = 1500;
constexpr wchar_t kTornPart[] = L"I A half an ent";
constexpr wchar_t kWriterDied[] =
    L"A process died while it held the logging lock; the lock was taken over, a torn last line was cut "
    L"back to the last whole entry, and logging goes on";

// Exit codes of the children.
constexpr int kChildOk = 0;
constexpr int kChildBadArgument = 90;
constexpr int kChildNoLock = 91;
constexpr int kProbeTimedOut = 1;
constexpr int kProbeAbandoned = 2;
constexpr int kProbeFailed = 3;
// What WaitForExit gives for a killed child: Linux reports the signal (-1); Windows the code
// TerminateProcess was given.
#ifdef _WIN32
constexpr int kKilled = 137;
#else
constexpr int kKilled = -1;
#endif

std::filesystem::path InstallDirectory() {
  const char* dir = std::getenv("KVO_INSTALL_DIR");
  return dir != nullptr ? std::filesystem::path(dir) : std::filesystem::path();
}

// The point a lock-holding child has reached, as a file the parent waits for.
std::filesystem::path HeldSignal() { return InstallDirectory() / "lock-held"; }

void Signal(const std::filesystem::path& file) { std::ofstream(file) << "1"; }

// "write,K,N": writes N entries "P<K> #<i>", then exits with the number of event-log reports made
// while writing (each is also printed), so a dropped entry fails the parent's test.
int WriteEntries(int writer, int count) {
  internal::EventLogRecorderForTesting reports;
  Logger* logger = Logger::GetInstance();
  if (logger == nullptr) return kChildNoLock;
  // A writer that starts right after a roll sees no file yet and reports that once while the
  // logger is made (kept behaviour, tested elsewhere); only reports made while writing count.
  reports.Clear();
  for (int i = 0; i < count; ++i) {
    const std::wstring message = L"P" + std::to_wstring(writer) + L" #" + std::to_wstring(i);
    logger->Log(L"STRESS", 4, message.c_str(), L".\\stress.cpp", i);
  }
  const std::vector<std::wstring> messages = reports.Messages();
  for (const std::wstring& message : messages)
    std::fprintf(stderr, "writer %d: %ls\n", writer, message.c_str());
  return static_cast<int>(std::min<std::size_t>(messages.size(), 80));
}

// "hold": takes the log lock, signals, keeps it past the writers' wait, gives it back.
// "die": takes the log lock, signals, ends without giving it back.
int HoldLock(bool die) {
  platform::NamedMutex& mutex = HookMutex::Instance().Mutex();
  if (mutex.Wait(10000) != platform::WaitResult::kAcquired) return kChildNoLock;
  Signal(HeldSignal());
  // A crashing holder runs no destructors; a normal exit would give the lock back on unload.
  if (die) std::_Exit(kChildOk);
  std::this_thread::sleep_for(std::chrono::milliseconds(kHoldMilliseconds));
  mutex.Release();
  return kChildOk;
}

// "tear": takes the log lock, appends the first part of an entry without its line end, signals,
// and waits to be killed: a writer that dies in the middle of its entry.
int TearAndWait() {
  platform::NamedMutex& mutex = HookMutex::Instance().Mutex();
  if (mutex.Wait(10000) != platform::WaitResult::kAcquired) return kChildNoLock;
  platform::LogFile file;
  bool created = false;
  int error = 0;
  const std::filesystem::path log = InstallDirectory() / "logs" / "test.log";
  if (!file.OpenAlways(log.wstring().c_str(), created, error)) return kChildNoLock;
  if (!file.Append(testing::Utf16LeUnits(kTornPart))) return kChildNoLock;
  file.Close();
  Signal(HeldSignal());
  std::this_thread::sleep_for(std::chrono::seconds(60));
  return kChildOk;  // not reached: the parent kills it
}

// "probe": what a third process gets when it waits 200 ms for the lock.
int ProbeLock() {
  platform::NamedMutex& mutex = HookMutex::Instance().Mutex();
  switch (mutex.Wait(200)) {
    case platform::WaitResult::kAcquired:
      mutex.Release();
      return kChildOk;
    case platform::WaitResult::kTimedOut:
      return kProbeTimedOut;
    case platform::WaitResult::kAbandoned:
      mutex.Release();
      return kProbeAbandoned;
    case platform::WaitResult::kFailed:
      break;
  }
  return kProbeFailed;
}

int RunChild(const std::string& argument) {
  if (argument == "hold") return HoldLock(/*die=*/false);
  if (argument == "die") return HoldLock(/*die=*/true);
  if (argument == "probe") return ProbeLock();
  if (argument == "tear") return TearAndWait();
  int writer = 0;
  int count = 0;
  if (std::sscanf(argument.c_str(), "write,%d,%d", &writer, &count) == 2) return WriteEntries(writer, count);
  return kChildBadArgument;
}

// One entry of the stress log, parsed back from the template "%L|%p|%A|%P|%t|%m".
struct StressEntry {
  std::wstring level, processId, area, processPath, threadId, message;
};

bool ParseStressEntry(const std::wstring& line, StressEntry& entry) {
  std::vector<std::wstring> fields;
  std::size_t start = 0;
  for (int i = 0; i < 5; ++i) {
    const std::size_t bar = line.find(L'|', start);
    if (bar == std::wstring::npos) return false;
    fields.push_back(line.substr(start, bar - start));
    start = bar + 1;
  }
  fields.push_back(line.substr(start));
  entry = {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]};
  return true;
}

class LoggerProcesses : public LoggerTest {
 protected:
  std::filesystem::path Backup(int number) const {
    return LogDirectory() / ("test.log." + std::to_string(number));
  }
};

TEST_F(LoggerProcesses, FourWritersThroughRollingKeepEveryEntryExactlyOnceAndWhole) {
  WriteConfig({{L"MaxLogFileSize", std::to_wstring(kMaxLogFileSize)},
               {L"MaxLogFileBackups", std::to_wstring(kBackups)},
               {L"FormatString", L"%L|%p|%A|%P|%t|%m"}});

  std::vector<std::unique_ptr<ChildProcess>> writers;
  for (int k = 0; k < kWriters; ++k) {
    writers.push_back(std::make_unique<ChildProcess>("write," + std::to_string(k) + "," +
                                                     std::to_string(kEntriesPerWriter)));
    ASSERT_TRUE(writers.back()->Started());
  }
  std::map<std::wstring, int> writerOfProcess;
  for (int k = 0; k < kWriters; ++k) {
    EXPECT_EQ(writers[k]->WaitForExit(), kChildOk) << "writer " << k << " made event-log reports";
    writerOfProcess[std::to_wstring(writers[k]->Id())] = k;
  }

  // The backups are numbered without a gap, and none was deleted for want of room.
  int oldest = 0;
  while (std::filesystem::exists(Backup(oldest + 1))) ++oldest;
  ASSERT_GT(oldest, 10) << "the test should roll the file many times";
  ASSERT_LT(oldest, kBackups) << "backups were dropped; the test needs a bigger limit";
  EXPECT_FALSE(std::filesystem::exists(Backup(oldest + 2)));

  // Oldest first, each writer's entries must come in the order it wrote them, without a gap.
  std::vector<std::filesystem::path> files;
  for (int number = oldest; number >= 1; --number) files.push_back(Backup(number));
  files.push_back(LogFile());
  std::vector<int> nextOf(kWriters, 0);
  std::size_t longestEntryBytes = 0;
  for (const auto& file : files) {
    SCOPED_TRACE(file.string());
    const std::string bytes = testing::ReadBytes(file);
    ASSERT_GE(bytes.size(), 2u);
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE") << "every file starts with its byte-order mark";
    EXPECT_EQ(bytes.size() % 2, 0u);
    const std::vector<std::wstring> lines = Lines(file);
    std::size_t entriesBytes = 2;
    for (const std::wstring& line : lines) {
      ASSERT_EQ(line.find(L'\xFEFF'), std::wstring::npos) << "a second byte-order mark";
      StressEntry entry;
      ASSERT_TRUE(ParseStressEntry(line, entry)) << "torn or merged line: " << testing::AnsiBytes(line);
      ASSERT_EQ(entry.level, L"I");
      ASSERT_EQ(entry.area, L"STRESS");
      ASSERT_EQ(writerOfProcess.count(entry.processId), 1u) << testing::AnsiBytes(line);
      const int writer = writerOfProcess[entry.processId];
      const std::wstring expected = L"P" + std::to_wstring(writer) + L" #" + std::to_wstring(nextOf[writer]);
      ASSERT_EQ(entry.message, expected) << "lost, repeated or reordered entry";
      ++nextOf[writer];
      entriesBytes += 2 * (line.size() + 2);
      longestEntryBytes = std::max(longestEntryBytes, 2 * (line.size() + 2));
    }
    EXPECT_EQ(entriesBytes, bytes.size()) << "bytes outside whole lines";
  }
  EXPECT_EQ(nextOf, std::vector<int>(kWriters, kEntriesPerWriter));
  // The size is tested before each append, so a file grows past the maximum by one entry at most.
  for (const auto& file : files) {
    EXPECT_LE(std::filesystem::file_size(file), kMaxLogFileSize + longestEntryBytes) << file.string();
  }
}

TEST_F(LoggerProcesses, LockHeldByAnotherProcessPastTheWaitDropsTheEntryWithTheTimeoutReport) {
  WriteConfig();
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  mEvents.Clear();  // making the logger reported the missing log file once
  ChildProcess holder("hold");
  ASSERT_TRUE(WaitForFile(HeldSignal()));
  const auto start = std::chrono::steady_clock::now();
  logger.Log(L"A", 4, L"dropped", L".\\t.cpp", 1);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(990)) << "the writer waits a second before giving up";
  EXPECT_EQ(holder.WaitForExit(), kChildOk);
  logger.Log(L"A", 4, L"after", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A before", L"I A after"}));
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{
                L"Timeout waiting for lock release waiting to log, the entry will not be logged"});
}

TEST_F(LoggerProcesses, HolderThatDiesWithTheLockCostsOneEntryAndLeavesTheLockWithTheWriter) {
  WriteConfig();
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  mEvents.Clear();
  {
    ChildProcess holder("die");
    ASSERT_TRUE(WaitForFile(HeldSignal()));
    ASSERT_EQ(holder.WaitForExit(), kChildOk);
  }
  // The wait reports the abandonment: the entry is dropped and the lock, now this thread's, is
  // not given back.
  logger.Log(L"A", 4, L"dropped", L".\\t.cpp", 1);
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{L"Error other than timeout waiting for logging lock to release"});
  {
    ChildProcess probe("probe");
    EXPECT_EQ(probe.WaitForExit(), kProbeTimedOut) << "another process cannot have the lock now";
  }
  // This thread owns it (ownership is recursive), so its next entries are written.
  logger.Log(L"A", 4, L"after", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A before", L"I A after"}));
  EXPECT_EQ(EventMessages().size(), 1u);

  // Give the kept ownership back, so that other processes can write again.
  HookMutex::Instance().Mutex().Release();
  ChildProcess probe("probe");
  EXPECT_EQ(probe.WaitForExit(), kChildOk);
}

// A holder killed in the middle of its entry, the safe profile off: the next writer gets the
// lock abandoned, drops its entry, keeps the lock, and the torn line stays in the file.
TEST_F(LoggerProcesses, SafeProfileOffAKilledHolderLeavesItsTornLineAndTheLockWithTheNextWriter) {
  const testing::ScopedEnvironmentVariable off("KVO_SAFE_PROFILE", std::nullopt);
  WriteConfig();
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  mEvents.Clear();
  {
    ChildProcess holder("tear");
    ASSERT_TRUE(WaitForFile(HeldSignal()));
    holder.Kill();
    EXPECT_EQ(holder.WaitForExit(), kKilled);
  }
  logger.Log(L"A", 4, L"dropped", L".\\t.cpp", 1);
  EXPECT_EQ(EventMessages(),
            std::vector<std::wstring>{L"Error other than timeout waiting for logging lock to release"});
  EXPECT_EQ(testing::ReadBytes(LogFile()),
            std::string("\xFF\xFE", 2) + testing::Utf16LeUnits(std::wstring(L"I A before\r\n") + kTornPart));
  {
    ChildProcess probe("probe");
    EXPECT_EQ(probe.WaitForExit(), kProbeTimedOut) << "the lock stays with this thread";
  }
  HookMutex::Instance().Mutex().Release();
}

// The same with the safe profile on: the torn line is cut back, the entry written, the lock given
// back, and the death reported once.
TEST_F(LoggerProcesses, SafeProfileOnAKilledHoldersTornLineIsCutTheEntryWrittenAndTheLockGivenBack) {
  const testing::ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteConfig();
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  mEvents.Clear();
  {
    ChildProcess holder("tear");
    ASSERT_TRUE(WaitForFile(HeldSignal()));
    holder.Kill();
    EXPECT_EQ(holder.WaitForExit(), kKilled);
  }
  logger.Log(L"A", 4, L"after", L".\\t.cpp", 1);
  EXPECT_EQ(testing::ReadBytes(LogFile()),
            std::string("\xFF\xFE", 2) + testing::Utf16LeUnits(L"I A before\r\nI A after\r\n"));
  EXPECT_EQ(EventMessages(), std::vector<std::wstring>{kWriterDied});
  {
    ChildProcess probe("probe");
    EXPECT_EQ(probe.WaitForExit(), kChildOk) << "the lock was given back";
  }
  logger.Log(L"A", 4, L"again", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A before", L"I A after", L"I A again"}));
  EXPECT_EQ(EventMessages().size(), 1u);
}

// A holder that dies between entries leaves the file whole: with the safe profile on, the entry
// follows the last one, and the lock goes on to the next process.
TEST_F(LoggerProcesses, SafeProfileOnAHolderThatDiesBetweenEntriesLeavesTheFileAsItWas) {
  const testing::ScopedEnvironmentVariable on("KVO_SAFE_PROFILE", "1");
  WriteConfig();
  Logger& logger = TheLogger();
  logger.Log(L"A", 4, L"before", L".\\t.cpp", 1);
  mEvents.Clear();
  {
    ChildProcess holder("die");
    ASSERT_TRUE(WaitForFile(HeldSignal()));
    ASSERT_EQ(holder.WaitForExit(), kChildOk);
  }
  logger.Log(L"A", 4, L"after", L".\\t.cpp", 1);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{L"I A before", L"I A after"}));
  EXPECT_EQ(EventMessages(), std::vector<std::wstring>{kWriterDied});
  ChildProcess probe("probe");
  EXPECT_EQ(probe.WaitForExit(), kChildOk);
}

}  // namespace
}  // namespace Tavro_KVO_Util

int main(int argc, char** argv) {
  if (int code = 0; Tavro_KVO_Util::testing::RunAsChildIfAsked(argc, argv, Tavro_KVO_Util::RunChild, code)) {
    return code;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
