// A Windows caller that includes the library's headers before <windows.h>.
#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace Tavro_KVO_Util {
namespace {

static_assert(std::is_same_v<::HWND, struct HWND__*>, "the handle type of <windows.h>");
static_assert(std::is_same_v<::DWORD, unsigned long> && sizeof(::DWORD) == 4, "the DWORD of <windows.h>");

TEST(WindowsHeaderAfter, RegistriesTakeTheHandlesAndIdsOfWindowsCalls) {
  ButtonActionInfoPidList processes;
  const DWORD self = GetCurrentProcessId();
  ASSERT_TRUE(processes.Add({self, 4, 0, static_cast<mvButtonType>(1), 0}));
  ButtonActionInfoPid found{};
  ASSERT_TRUE(processes.Get(self, static_cast<mvButtonType>(1), found));
  EXPECT_EQ(found.pid, self);

  ButtonActionInfoList windows;
  const HWND none = nullptr;
  ASSERT_TRUE(windows.Add({none, 5, 0, static_cast<mvButtonType>(2), 0}));
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(windows.Get(none, list), 1);
}

}  // namespace
}  // namespace Tavro_KVO_Util
