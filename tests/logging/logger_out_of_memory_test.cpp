// Every entry point of the logger when memory runs out while it makes the entry: nothing is
// thrown, the entry is dropped, the event log hears of it once, and the next entry is written.
//
// The program replaces operator new and delete (support/allocation_failures.cpp), which reaches
// the library's own allocations because its objects are linked in. A test makes the next
// allocation of at least a given size fail: the large allocations of an entry (the message, the
// data, the formatted text) come before the machine-wide log mutex is taken.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <string>
#include <thread>
#include <vector>

#include "logging/hook_mutex.h"
#include "logging/logger_fixture.h"
#include "logging/wide_format.h"
#include "support/allocation_failures.h"

namespace Tavro_KVO_Util {
namespace {

using testing::LoggerTest;

constexpr wchar_t kOutOfMemory[] = L"Out of memory while logging, the entry will not be logged";
// Above every small allocation of an entry, below its message, data or formatted text.
constexpr std::size_t kLargeAllocation = 16 * 1024;
constexpr std::size_t kLongText = 20000;

class LoggerOutOfMemory : public LoggerTest {
 protected:
  void SetUp() override {
    LoggerTest::SetUp();
    WriteConfig();
    TheLogger();      // made and configured now, before any failure is armed
    mEvents.Clear();  // what making it reported (a log file not there yet) is another test's matter
    mLong.assign(kLongText, L'x');
    mLongUnits.assign(kLongText, 'u');
    mLongUnits.push_back(0);
  }

  // Runs `entry` with the next allocation of at least `size` bytes failing, and checks that the
  // failure happened.
  template <typename Entry>
  void RunOutOfMemory(Entry entry, std::size_t size = kLargeAllocation) {
    testing::FailAllocationFromSize(size);
    entry();
    const bool failed = testing::SizedAllocationFailed();
    testing::FailAllocationFromSize(0);
    EXPECT_TRUE(failed) << "no allocation of " << size << " bytes or more was made";
  }

  // The dropped entry left no line, the event log heard of it once, and the next entry arrives.
  void ExpectDroppedAndReported() {
    TheLogger().Log(L"A", 4, L"after", L".\\t.cpp", 2);
    EXPECT_EQ(Lines(), std::vector<std::wstring>{L"I A after"});
    EXPECT_EQ(EventMessages(), std::vector<std::wstring>{kOutOfMemory});
  }

  std::wstring mLong;
  std::vector<unsigned short> mLongUnits;
};

TEST_F(LoggerOutOfMemory, LogDropsTheEntry) {
  RunOutOfMemory([&] { TheLogger().Log(L"A", 4, mLong.c_str(), L".\\t.cpp", 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogLongAndLogUnsignedLongDropTheEntry) {
  RunOutOfMemory([&] { TheLogger().LogLong(L"A", 4, mLong.c_str(), -5, L".\\t.cpp", 1); });
  RunOutOfMemory([&] { TheLogger().LogUnsignedLong(L"A", 4, mLong.c_str(), 5, L".\\t.cpp", 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogDoubleDropsTheEntry) {
  RunOutOfMemory([&] { TheLogger().LogDouble(L"A", 4, mLong.c_str(), 2.5, L".\\t.cpp", 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogStringDropsTheEntry) {
  RunOutOfMemory([&] { TheLogger().LogString(L"A", 4, L"string", mLong.c_str(), L".\\t.cpp", 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogBufferWhoseDumpWouldNeedGigabytesDropsTheEntry) {
  // The caller's length is wrong; the dump's reservation fails before a byte is read.
  const unsigned char bytes[16] = {1, 2, 3};
  RunOutOfMemory([&] { TheLogger().LogBuffer(L"A", 4, L"buffer", bytes, INT_MAX, L".\\t.cpp", 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, UnsignedShortOverloadsDropTheEntry) {
  const unsigned short area[] = {'A', 0};
  const unsigned short file[] = {'f', 0};
  RunOutOfMemory([&] { TheLogger().Log(area, 4, mLongUnits.data(), file, 1); });
  RunOutOfMemory([&] { TheLogger().LogLong(area, 4, mLongUnits.data(), 9, file, 1); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogFmtDropsTheEntryRatherThanLogAPartOfIt) {
  RunOutOfMemory([&] { TheLogger().LogFmt(L"A", 4, L".\\t.cpp", 1, L"%s", mLong.c_str()); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, MvLogFmtDropsTheEntry) {
  RunOutOfMemory([&] { MV_LogFmt(L"A", 4, L".\\t.cpp", 1, L"text %s", mLong.c_str()); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, LogFmtByResourceIdDropsTheEntry) {
  // The first allocation of that size is the buffer the format string is loaded into.
  RunOutOfMemory([&] { TheLogger().LogFmt(L"A", 4, L".\\t.cpp", 1, 1234, 5); }, 512 * sizeof(wchar_t));
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, TheEventLogHearsOfItOnceInTheLifeOfTheProcess) {
  RunOutOfMemory([&] { TheLogger().Log(L"A", 4, mLong.c_str(), L".\\t.cpp", 1); });
  RunOutOfMemory([&] { TheLogger().LogString(L"A", 4, L"string", mLong.c_str(), L".\\t.cpp", 1); });
  RunOutOfMemory([&] { MV_LogFmt(L"A", 4, L".\\t.cpp", 1, L"%s", mLong.c_str()); });
  ExpectDroppedAndReported();
}

TEST_F(LoggerOutOfMemory, TheLogMutexIsGivenBackWhereverMemoryRunsOut) {
  // Each large allocation of an entry fails in turn, some of them while the entry holds the
  // machine-wide log mutex. After each, another thread must find the mutex free at once: one kept
  // would stall every writer on the machine.
  const std::wstring message(9000, L'm');
  int failures = 0;
  for (int letThrough = 0; letThrough < 50; ++letThrough) {
    testing::FailAllocationFromSize(kLargeAllocation, letThrough);
    TheLogger().Log(L"A", 4, message.c_str(), L".\\t.cpp", 1);
    const bool failed = testing::SizedAllocationFailed();
    testing::FailAllocationFromSize(0);
    if (!failed) break;  // every large allocation of the entry has failed once
    ++failures;
    platform::WaitResult waited = platform::WaitResult::kFailed;
    std::thread([&] {
      waited = HookMutex::Instance().Mutex().Wait(0);
      if (waited == platform::WaitResult::kAcquired) HookMutex::Instance().Mutex().Release();
    }).join();
    EXPECT_EQ(waited, platform::WaitResult::kAcquired) << "after failing large allocation " << letThrough;
  }
  EXPECT_GE(failures, 2);  // the entry text, and the bytes written (inside the mutex) at least
  EXPECT_EQ(EventMessages(), std::vector<std::wstring>{kOutOfMemory});
}

// FormatWideInto with the arguments given directly.
bool FormatInto(std::wstring& text, std::size_t limit, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const bool formatted = internal::FormatWideInto(text, format, args, limit);
  va_end(args);
  return formatted;
}

TEST(WideFormatOutOfMemory, FormatWideIntoSaysSoAndKeepsTheTextSoFar) {
  const std::wstring longText(kLongText, L'y');
  std::wstring text;
  testing::FailAllocationFromSize(kLargeAllocation);
  const bool formatted = FormatInto(text, 100000, L"ab%s", longText.c_str());
  const bool failed = testing::SizedAllocationFailed();
  testing::FailAllocationFromSize(0);
  EXPECT_TRUE(failed);
  EXPECT_FALSE(formatted);
  EXPECT_EQ(text, L"ab");
}

}  // namespace
}  // namespace Tavro_KVO_Util
