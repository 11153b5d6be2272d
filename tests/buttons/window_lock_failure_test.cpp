// ButtonActionInfoList when its lock refuses: each locked call fails with its own message, gives
// back nothing it did not get, and leaves the registry as it was.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ButtonActionInfoList.h"
#include "Logger.h"
#include "buttons/button_log_fixture.h"
#include "buttons/button_records.h"
#include "buttons/button_registry_test_peer.h"
#include "foundation/lock_probe.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::ButtonLogTest;
using testing::RecordingLock;
using testing::ReportBuffer;
using testing::ScopedLockSwap;
using testing::Window;
using testing::WindowRecord;

class WindowRegistryLockRefused : public ButtonLogTest {
 protected:
  void SetUp() override {
    ButtonLogTest::SetUp();
    ASSERT_TRUE(mRegistry.Add(mStored));
    ASSERT_TRUE(mRegistry.Add(WindowRecord(0x10, 2, 20)));
    mReportBefore = Report();
    mSwap = std::make_unique<ScopedLockSwap<ButtonActionInfoList>>(mRegistry, mRefusing);
  }

  // The lock was asked once, with a wait, and never given back; with its own lock again the
  // registry reports what it held before.
  void ExpectRefusedAndUnchanged() {
    EXPECT_EQ(mRefusing.lockCalls, 1);
    EXPECT_TRUE(mRefusing.lastWait);
    EXPECT_EQ(mRefusing.unlockCalls, 0);
    mSwap.reset();
    EXPECT_EQ(Report(), mReportBefore);
  }

  std::wstring Report() {
    ReportBuffer buffer(1000);
    EXPECT_TRUE(mRegistry.GetReport(buffer.data(), buffer.size()));
    return buffer.Text();
  }

  const ButtonActionInfo mStored = WindowRecord(0x10, 1, 10, 100, 1000);
  ButtonActionInfoList mRegistry;
  RecordingLock mRefusing{false};
  std::wstring mReportBefore;
  std::unique_ptr<ScopedLockSwap<ButtonActionInfoList>> mSwap;  // declared last: swapped back first
};

TEST_F(WindowRegistryLockRefused, AddReturnsFalseAndLogsIt) {
  EXPECT_FALSE(mRegistry.Add(WindowRecord(0x30, 1, 1)));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::Add - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(WindowRegistryLockRefused, RemoveReturnsFalseAndLogsIt) {
  EXPECT_FALSE(mRegistry.Remove(Window(0x10), Button(1)));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::Remove - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(WindowRegistryLockRefused, GetOfOneRecordReturnsFalseLeavesTheRecordAndLogsIt) {
  const ButtonActionInfo before = WindowRecord(0x99, 9, 9, 9, 9);
  ButtonActionInfo found = before;
  EXPECT_FALSE(mRegistry.Get(Window(0x10), Button(1), found));
  EXPECT_EQ(found, before);
  EXPECT_EQ(Lines(),
            ErrorLines(L"ButtonActionInfoList::Get(HWND, MVButtonType, ButtonActionInfo&) - could not "
                       L"get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(WindowRegistryLockRefused, GetOfAWindowReturnsMinusOneLeavesTheListAndLogsIt) {
  const ButtonActionInfo old = WindowRecord(0x99, 9, 9);
  std::vector<ButtonActionInfo> list{old};
  EXPECT_EQ(mRegistry.Get(Window(0x10), list), -1);
  EXPECT_EQ(list, std::vector<ButtonActionInfo>{old});
  EXPECT_EQ(
      Lines(),
      ErrorLines(
          L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(WindowRegistryLockRefused, GetReportReturnsFalseWithoutTouchingTheBufferAndLogsIt) {
  ReportBuffer buffer(100);
  EXPECT_FALSE(mRegistry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), std::wstring(108, L'X'));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::GetReport - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(WindowRegistryLockRefused, GetCountTakesNoLock) {
  EXPECT_EQ(mRegistry.GetCount(), 2u);
  EXPECT_EQ(mRefusing.lockCalls, 0);
  EXPECT_TRUE(Lines().empty());
}

TEST_F(WindowRegistryLockRefused, TheLoggerIsMadeWhenTheFirstFailureIsReported) {
  ASSERT_EQ(Logger::mInstance, nullptr);
  EXPECT_FALSE(mRegistry.Remove(Window(0x10), Button(1)));
  EXPECT_NE(Logger::mInstance, nullptr);
  EXPECT_EQ(Lines().size(), 1u);
}

TEST_F(WindowRegistryLockRefused, EveryFailureIsOneLine) {
  std::vector<ButtonActionInfo> list;
  ButtonActionInfo found{};
  EXPECT_FALSE(mRegistry.Add(WindowRecord(0x30, 1, 1)));
  EXPECT_FALSE(mRegistry.Add(WindowRecord(0x30, 1, 1)));
  EXPECT_FALSE(mRegistry.Get(Window(0x10), Button(1), found));
  EXPECT_EQ(mRegistry.Get(Window(0x10), list), -1);
  EXPECT_EQ(Lines(),
            (std::vector<std::wstring>{
                ErrorLine(L"ButtonActionInfoList::Add - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Add - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Get(HWND, MVButtonType, ButtonActionInfo&) - could not get "
                          L"critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - could not get critical "
                          L"section lock")}));
  EXPECT_EQ(mRefusing.lockCalls, 4);
  EXPECT_EQ(mRefusing.unlockCalls, 0);
}

}  // namespace
}  // namespace Tavro_KVO_Util
