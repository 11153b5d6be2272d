// ButtonActionInfoPidList when its lock refuses: each locked call fails with its own message,
// gives back nothing it did not get, and leaves the registry as it was.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ButtonActionInfoPidList.h"
#include "buttons/button_log_fixture.h"
#include "buttons/button_records.h"
#include "buttons/button_registry_test_peer.h"
#include "foundation/lock_probe.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::ButtonLogTest;
using testing::PidRecord;
using testing::RecordingLock;
using testing::ReportBuffer;
using testing::ScopedLockSwap;

using Records = std::vector<ButtonActionInfoPid>;

class PidRegistryLockRefused : public ButtonLogTest {
 protected:
  void SetUp() override {
    ButtonLogTest::SetUp();
    ASSERT_TRUE(mRegistry.Add(PidRecord(10, 1, 10, 100, 1000)));
    ASSERT_TRUE(mRegistry.Add(PidRecord(0x80000000u, 2, 20)));
    mReportBefore = Report();
    mSwap = std::make_unique<ScopedLockSwap<ButtonActionInfoPidList>>(mRegistry, mRefusing);
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

  ButtonActionInfoPidList mRegistry;
  RecordingLock mRefusing{false};
  std::wstring mReportBefore;
  std::unique_ptr<ScopedLockSwap<ButtonActionInfoPidList>> mSwap;  // declared last: swapped back first
};

TEST_F(PidRegistryLockRefused, AddReturnsFalseAndLogsIt) {
  EXPECT_FALSE(mRegistry.Add(PidRecord(30, 1, 1)));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoPidList::Add - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, RemoveReturnsFalseAndLogsIt) {
  EXPECT_FALSE(mRegistry.Remove(10, Button(1)));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoPidList::Remove - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, GetOfOneRecordReturnsFalseLeavesTheRecordAndLogsItNamingButtonActionInfo) {
  const ButtonActionInfoPid before = PidRecord(99, 9, 9, 9, 9);
  ButtonActionInfoPid found = before;
  EXPECT_FALSE(mRegistry.Get(10, Button(1), found));
  EXPECT_EQ(found, before);
  EXPECT_EQ(Lines(),
            ErrorLines(L"ButtonActionInfoPidList::Get(PID, MVButtonType, ButtonActionInfo&) - could not "
                       L"get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, GetOfAProcessReturnsMinusOneLeavesTheListAndLogsIt) {
  const ButtonActionInfoPid old = PidRecord(99, 9, 9);
  Records list{old};
  EXPECT_EQ(mRegistry.Get(10, list), -1);
  EXPECT_EQ(list, Records{old});
  EXPECT_EQ(
      Lines(),
      ErrorLines(
          L"ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, GetOfEveryRecordReturnsMinusOneLeavesTheListAndLogsIt) {
  const ButtonActionInfoPid old = PidRecord(99, 9, 9);
  Records list{old};
  EXPECT_EQ(mRegistry.Get(list), -1);
  EXPECT_EQ(list, Records{old});
  EXPECT_EQ(Lines(),
            ErrorLines(
                L"ButtonActionInfoPidList::Get(ButtonActionInfoVect) - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, GetReportReturnsFalseWithoutTouchingTheBufferAndLogsIt) {
  ReportBuffer buffer(100);
  EXPECT_FALSE(mRegistry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), std::wstring(108, L'X'));
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoPidList::GetReport - could not get critical section lock"));
  ExpectRefusedAndUnchanged();
}

TEST_F(PidRegistryLockRefused, GetCountTakesNoLock) {
  EXPECT_EQ(mRegistry.GetCount(), 2u);
  EXPECT_EQ(mRefusing.lockCalls, 0);
  EXPECT_TRUE(Lines().empty());
}

}  // namespace
}  // namespace Tavro_KVO_Util
