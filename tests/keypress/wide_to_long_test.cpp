// The runtime's _wtol rules, as the "{VK<n>}" elements need them on every system.
#include <gtest/gtest.h>

#include <cstdint>

#include "keypress/wide_to_long.h"

namespace Tavro_KVO_Util::internal {
namespace {

TEST(WideToLong, DigitsAreReadUpToTheFirstOther) {
  EXPECT_EQ(WideToLong(L"65"), 65);
  EXPECT_EQ(WideToLong(L"65x7"), 65);
  EXPECT_EQ(WideToLong(L"007"), 7);
}

TEST(WideToLong, TextWithoutDigitsGivesZero) {
  EXPECT_EQ(WideToLong(L""), 0);
  EXPECT_EQ(WideToLong(L"x65"), 0);
  EXPECT_EQ(WideToLong(L"-"), 0);
  EXPECT_EQ(WideToLong(L"+ 1"), 0);
  EXPECT_EQ(WideToLong(L"\u0661"), 0);  // only ASCII digits count
}

TEST(WideToLong, LeadingWhiteSpaceAndOneSignAreSkipped) {
  EXPECT_EQ(WideToLong(L" \t\n\v\f\r42"), 42);
  EXPECT_EQ(WideToLong(L"+42"), 42);
  EXPECT_EQ(WideToLong(L"-42"), -42);
  EXPECT_EQ(WideToLong(L"--42"), 0);
  EXPECT_EQ(WideToLong(L"\u00A042"), 0);  // no-break space is not white space here
}

TEST(WideToLong, ResultIsAThirtyTwoBitLongThatSticksAtItsLimits) {
  EXPECT_EQ(WideToLong(L"2147483647"), INT32_MAX);
  EXPECT_EQ(WideToLong(L"2147483648"), INT32_MAX);
  EXPECT_EQ(WideToLong(L"-2147483648"), INT32_MIN);
  EXPECT_EQ(WideToLong(L"-2147483649"), INT32_MIN);
  EXPECT_EQ(WideToLong(L"123456789012345678901234567890"), INT32_MAX);
  EXPECT_EQ(WideToLong(L"-123456789012345678901234567890"), INT32_MIN);
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal
