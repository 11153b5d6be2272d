// The shared declarations as callers see them on every build.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "ButtonActionInfo.h"
#include "ButtonActionInfoPid.h"
#include "mvButtonType.h"

namespace Tavro_KVO_Util {
namespace {

// The product's programs exchange these types with the library; their shape is part of the
// interface.
static_assert(std::is_same_v<HWND, HWND__*>, "HWND is a pointer to the handle struct, as STRICT declares it");
static_assert(std::is_unsigned_v<DWORD> && sizeof(DWORD) == 4, "DWORD is 32-bit unsigned");
static_assert(std::is_same_v<std::underlying_type_t<mvButtonType>, std::int32_t>,
              "button types are 32-bit signed");
static_assert(std::is_trivially_copyable_v<ButtonActionInfo> && std::is_standard_layout_v<ButtonActionInfo>);
static_assert(std::is_trivially_copyable_v<ButtonActionInfoPid> &&
              std::is_standard_layout_v<ButtonActionInfoPid>);

// Fields in their declared order, with the natural 64-bit alignment.
static_assert(offsetof(ButtonActionInfo, hWnd) == 0 && offsetof(ButtonActionInfo, buttonAction) == 8 &&
              offsetof(ButtonActionInfo, actionData1) == 16 && offsetof(ButtonActionInfo, buttonType) == 24 &&
              offsetof(ButtonActionInfo, actionData2) == 32 && sizeof(ButtonActionInfo) == 40);
static_assert(offsetof(ButtonActionInfoPid, pid) == 0 && offsetof(ButtonActionInfoPid, buttonAction) == 4 &&
              offsetof(ButtonActionInfoPid, actionData1) == 8 &&
              offsetof(ButtonActionInfoPid, buttonType) == 16 &&
              offsetof(ButtonActionInfoPid, actionData2) == 24 && sizeof(ButtonActionInfoPid) == 32);

TEST(ButtonTypes, AnyThirtyTwoBitValueIsAButtonType) {
  EXPECT_EQ(static_cast<std::int32_t>(static_cast<mvButtonType>(INT32_MIN)), INT32_MIN);
  EXPECT_EQ(static_cast<std::int32_t>(static_cast<mvButtonType>(INT32_MAX)), INT32_MAX);
}

TEST(ButtonTypes, DwordHoldsTheWholeUnsignedRange) {
  const DWORD largest = 0xFFFFFFFFu;
  EXPECT_EQ(static_cast<std::uint64_t>(largest), 4294967295ull);
  EXPECT_EQ(static_cast<DWORD>(largest + 1u), 0u);
}

}  // namespace
}  // namespace Tavro_KVO_Util
