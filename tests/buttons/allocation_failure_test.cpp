// The registries when memory runs out: in the constructor, for the copy of a record or the map's
// own entry in Add, and for the caller's list in Get. Each is logged and changes nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"
#include "buttons/button_log_fixture.h"
#include "buttons/button_records.h"
#include "buttons/button_registry_test_peer.h"
#include "support/allocation_failures.h"

namespace Tavro_KVO_Util {
namespace {

using testing::AllocationsUntilFailure;
using testing::Button;
using testing::ButtonLogTest;
using testing::FailNthAllocation;
using testing::PidRecord;
using testing::Window;
using testing::WindowRecord;

using Peer = ButtonRegistryTestPeer;

class RegistryOutOfMemory : public ButtonLogTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(AllocationsUntilFailure(), 0) << "the armed allocation failure was not reached";
    FailNthAllocation(0);
    ButtonLogTest::TearDown();
  }
};

// The lock is the constructor's first allocation, the map its second.
TEST_F(RegistryOutOfMemory, WindowRegistryWithoutLockLogsItAndFailsLaterCalls) {
  FailNthAllocation(1);
  ButtonActionInfoList registry;
  EXPECT_FALSE(Peer::HasLock(registry));
  EXPECT_TRUE(Peer::HasMap(registry));
  EXPECT_FALSE(registry.Add(WindowRecord(0x10, 1, 1)));
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{
                         ErrorLine(L"ButtonActionInfoList::ButtonActionInfoList - new failed for mCritSect"),
                         ErrorLine(L"ButtonActionInfoList::Add - could not get critical section lock")}));
}

TEST_F(RegistryOutOfMemory, WindowRegistryWithoutMapLogsItAndCountsZero) {
  FailNthAllocation(2);
  ButtonActionInfoList registry;
  EXPECT_TRUE(Peer::HasLock(registry));
  EXPECT_FALSE(Peer::HasMap(registry));
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::ButtonActionInfoList - new failed for mButActMap"));
}

TEST_F(RegistryOutOfMemory, PidRegistryWithoutLockLogsItAndFailsLaterCalls) {
  FailNthAllocation(1);
  ButtonActionInfoPidList registry;
  EXPECT_FALSE(Peer::HasLock(registry));
  EXPECT_TRUE(Peer::HasMap(registry));
  EXPECT_FALSE(registry.Add(PidRecord(10, 1, 1)));
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(Lines(),
            (std::vector<std::wstring>{
                ErrorLine(L"ButtonActionInfoPidList::ButtonActionInfoPidList - new failed for mCritSect"),
                ErrorLine(L"ButtonActionInfoPidList::Add - could not get critical section lock")}));
}

TEST_F(RegistryOutOfMemory, PidRegistryWithoutMapLogsItAndCountsZero) {
  FailNthAllocation(2);
  ButtonActionInfoPidList registry;
  EXPECT_TRUE(Peer::HasLock(registry));
  EXPECT_FALSE(Peer::HasMap(registry));
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(Lines(),
            ErrorLines(L"ButtonActionInfoPidList::ButtonActionInfoPidList - new failed for mButActMap"));
}

// Add allocates the record's copy first, then the map's entry for it.
TEST_F(RegistryOutOfMemory, WindowAddWithoutMemoryForEitherAllocationLogsNewFailedAndChangesNothing) {
  ButtonActionInfoList registry;
  const ButtonActionInfo kept = WindowRecord(0x10, 1, 1);
  ASSERT_TRUE(registry.Add(kept));
  for (const int failing : {1, 2}) {
    FailNthAllocation(failing);
    EXPECT_FALSE(registry.Add(WindowRecord(0x10, 2, 2))) << "allocation " << failing;
  }
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(registry.Get(Window(0x10), list), 1);
  EXPECT_EQ(list, std::vector<ButtonActionInfo>{kept});
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{ErrorLine(L"ButtonActionInfoList::Add - new failed"),
                                                ErrorLine(L"ButtonActionInfoList::Add - new failed")}));
}

TEST_F(RegistryOutOfMemory, PidAddWithoutMemoryForEitherAllocationLogsNewFailedAndChangesNothing) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid kept = PidRecord(10, 1, 1);
  ASSERT_TRUE(registry.Add(kept));
  for (const int failing : {1, 2}) {
    FailNthAllocation(failing);
    EXPECT_FALSE(registry.Add(PidRecord(10, 2, 2))) << "allocation " << failing;
  }
  std::vector<ButtonActionInfoPid> list;
  EXPECT_EQ(registry.Get(list), 1);
  EXPECT_EQ(list, std::vector<ButtonActionInfoPid>{kept});
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{ErrorLine(L"ButtonActionInfoPidList::Add - new failed"),
                                                ErrorLine(L"ButtonActionInfoPidList::Add - new failed")}));
}

TEST_F(RegistryOutOfMemory, GetOfAWindowKeepsWhatWasAppendedBeforeTheListCouldNotGrow) {
  ButtonActionInfoList registry;
  const ButtonActionInfo first = WindowRecord(0x10, 1, 1);
  ASSERT_TRUE(registry.Add(first));
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 2, 2)));
  std::vector<ButtonActionInfo> list;
  list.reserve(1);  // the second record needs the list to grow
  FailNthAllocation(1);
  EXPECT_EQ(registry.Get(Window(0x10), list), 1);
  EXPECT_EQ(list, std::vector<ButtonActionInfo>{first});
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - new failed"));
}

TEST_F(RegistryOutOfMemory, GetOfAProcessOrOfEveryRecordReturnsWhatWasAppendedBeforeTheListCouldNotGrow) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(10, 1, 1)));
  std::vector<ButtonActionInfoPid> byProcess;
  std::vector<ButtonActionInfoPid> all;
  FailNthAllocation(1);
  EXPECT_EQ(registry.Get(10, byProcess), 0);
  FailNthAllocation(1);
  EXPECT_EQ(registry.Get(all), 0);
  EXPECT_TRUE(byProcess.empty());
  EXPECT_TRUE(all.empty());
  EXPECT_EQ(Lines(), (std::vector<std::wstring>{
                         ErrorLine(L"ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - new failed"),
                         ErrorLine(L"ButtonActionInfoPidList::Get(ButtonActionInfoVect) - new failed")}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
