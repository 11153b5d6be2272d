// Registries left without their map or their lock, as a failed construction leaves them: every
// call fails with the failure result, and GetCount is 0.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"
#include "buttons/button_log_fixture.h"
#include "buttons/button_records.h"
#include "buttons/button_registry_test_peer.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::ButtonLogTest;
using testing::PidRecord;
using testing::ReportBuffer;
using testing::Window;
using testing::WindowRecord;

using Peer = ButtonRegistryTestPeer;
using UnusableRegistry = ButtonLogTest;

TEST_F(UnusableRegistry, GetCountOfAWindowRegistryWhoseMapCouldNotBeMadeIsZero) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  Peer::DropMap(registry);
  EXPECT_EQ(registry.GetCount(), 0u);
}

TEST_F(UnusableRegistry, GetCountOfAPidRegistryWhoseMapCouldNotBeMadeIsZero) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(10, 1, 1)));
  Peer::DropMap(registry);
  EXPECT_EQ(registry.GetCount(), 0u);
}

TEST_F(UnusableRegistry, WindowRegistryWithoutMapHoldsNothingAndRefusesAdds) {
  ButtonActionInfoList registry;
  Peer::DropMap(registry);
  ButtonActionInfo found{};
  std::vector<ButtonActionInfo> list;
  ReportBuffer buffer(100);
  EXPECT_FALSE(registry.Add(WindowRecord(0x10, 1, 1)));
  EXPECT_FALSE(registry.Remove(Window(0x10), Button(1)));
  EXPECT_FALSE(registry.Get(Window(0x10), Button(1), found));
  EXPECT_EQ(registry.Get(Window(0x10), list), 0);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"Total Actions: 0\n");
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoList::Add - new failed"));
}

TEST_F(UnusableRegistry, PidRegistryWithoutMapHoldsNothingAndRefusesAdds) {
  ButtonActionInfoPidList registry;
  Peer::DropMap(registry);
  ButtonActionInfoPid found{};
  std::vector<ButtonActionInfoPid> list;
  ReportBuffer buffer(100);
  EXPECT_FALSE(registry.Add(PidRecord(10, 1, 1)));
  EXPECT_FALSE(registry.Remove(10, Button(1)));
  EXPECT_FALSE(registry.Get(10, Button(1), found));
  EXPECT_EQ(registry.Get(10, list), 0);
  EXPECT_EQ(registry.Get(list), 0);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"Total Actions: 0\n");
  EXPECT_EQ(Lines(), ErrorLines(L"ButtonActionInfoPidList::Add - new failed"));
}

TEST_F(UnusableRegistry, WindowRegistryWithoutLockFailsEveryLockedCallAsARefusedLock) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  Peer::DropLock(registry);
  ButtonActionInfo found{};
  std::vector<ButtonActionInfo> list;
  ReportBuffer buffer(100);
  EXPECT_FALSE(registry.Add(WindowRecord(0x20, 1, 1)));
  EXPECT_FALSE(registry.Remove(Window(0x10), Button(1)));
  EXPECT_FALSE(registry.Get(Window(0x10), Button(1), found));
  EXPECT_EQ(registry.Get(Window(0x10), list), -1);
  EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(registry.GetCount(), 1u);
  EXPECT_EQ(Lines(),
            (std::vector<std::wstring>{
                ErrorLine(L"ButtonActionInfoList::Add - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Remove - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Get(HWND, MVButtonType, ButtonActionInfo&) - could "
                          L"not get critical section lock"),
                ErrorLine(L"ButtonActionInfoList::Get(HWND, ButtonActionInfoVect) - could not get "
                          L"critical section lock"),
                ErrorLine(L"ButtonActionInfoList::GetReport - could not get critical section lock")}));
}

TEST_F(UnusableRegistry, PidRegistryWithoutLockFailsEveryLockedCallAsARefusedLock) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(10, 1, 1)));
  Peer::DropLock(registry);
  ButtonActionInfoPid found{};
  std::vector<ButtonActionInfoPid> list;
  ReportBuffer buffer(100);
  EXPECT_FALSE(registry.Add(PidRecord(20, 1, 1)));
  EXPECT_FALSE(registry.Remove(10, Button(1)));
  EXPECT_FALSE(registry.Get(10, Button(1), found));
  EXPECT_EQ(registry.Get(10, list), -1);
  EXPECT_EQ(registry.Get(list), -1);
  EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(registry.GetCount(), 1u);
  EXPECT_EQ(Lines(),
            (std::vector<std::wstring>{
                ErrorLine(L"ButtonActionInfoPidList::Add - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoPidList::Remove - could not get critical section lock"),
                ErrorLine(L"ButtonActionInfoPidList::Get(PID, MVButtonType, ButtonActionInfo&) - could "
                          L"not get critical section lock"),
                ErrorLine(L"ButtonActionInfoPidList::Get(PID, ButtonActionInfoVect) - could not get "
                          L"critical section lock"),
                ErrorLine(L"ButtonActionInfoPidList::Get(ButtonActionInfoVect) - could not get critical "
                          L"section lock"),
                ErrorLine(L"ButtonActionInfoPidList::GetReport - could not get critical section lock")}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
