// A Windows caller that includes <windows.h> before the library's headers.
#include <windows.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "ButtonActionInfoList.h"
#include "ButtonActionInfoPidList.h"

namespace Tavro_KVO_Util {
namespace {

static_assert(std::is_same_v<::HWND, struct HWND__*>, "the handle type of <windows.h>");
static_assert(std::is_same_v<::DWORD, unsigned long> && sizeof(::DWORD) == 4, "the DWORD of <windows.h>");

TEST(WindowsHeaderFirst, RegistriesTakeTheHandlesAndIdsOfWindowsCalls) {
  ButtonActionInfoPidList processes;
  const DWORD self = GetCurrentProcessId();
  ASSERT_TRUE(processes.Add({self, 4, 0, static_cast<mvButtonType>(1), 0}));
  std::vector<ButtonActionInfoPid> list;
  EXPECT_EQ(processes.Get(self, list), 1);

  ButtonActionInfoList windows;
  ASSERT_TRUE(windows.Add({HWND_MESSAGE, 5, 0, static_cast<mvButtonType>(2), 0}));
  ButtonActionInfo found{};
  ASSERT_TRUE(windows.Get(HWND_MESSAGE, static_cast<mvButtonType>(2), found));
  EXPECT_EQ(found.buttonAction, 5);
  wchar_t report[200];
  ASSERT_TRUE(windows.GetReport(report, 200));
  EXPECT_STREQ(report, L"Total Actions: 1\nHWND: FFFFFFFFFFFFFFFD, Button Type: 2, Button Action: 5\n");
}

}  // namespace
}  // namespace Tavro_KVO_Util
