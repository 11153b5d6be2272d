#include "config/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace Tavro_KVO_Util::internal {
namespace {

constexpr std::uint32_t kMax32 = 0xFFFFFFFFu;
constexpr std::uint64_t kMax64 = std::numeric_limits<std::uint64_t>::max();

TEST(NumberText, LongReadsSignedDecimalDigits) {
  EXPECT_EQ(TextToLong(L"42"), 42);
  EXPECT_EQ(TextToLong(L"+42"), 42);
  EXPECT_EQ(TextToLong(L"-42"), -42);
  EXPECT_EQ(TextToLong(L"0"), 0);
  EXPECT_EQ(TextToLong(L"2147483647"), 2147483647L);
  EXPECT_EQ(TextToLong(L"-2147483648"), -2147483647L - 1);
}

TEST(NumberText, LongStopsAtTheFirstNonDigit) {
  EXPECT_EQ(TextToLong(L"12abc"), 12);
  EXPECT_EQ(TextToLong(L"7]/Name"), 7);
  EXPECT_EQ(TextToLong(L"3.9"), 3);
  EXPECT_EQ(TextToLong(L"0x1F"), 0);  // base 10 only
}

TEST(NumberText, LongSkipsLeadingBlanksOnly) {
  EXPECT_EQ(TextToLong(L"  \t\n\v\f\r15"), 15);
  EXPECT_EQ(TextToLong(L" -15"), -15);
  EXPECT_EQ(TextToLong(L"- 15"), 0);  // no blanks between sign and digits
  EXPECT_EQ(TextToLong(L"x15"), 0);
}

TEST(NumberText, LongWithoutDigitsIsZero) {
  EXPECT_EQ(TextToLong(L""), 0);
  EXPECT_EQ(TextToLong(L"abc"), 0);
  EXPECT_EQ(TextToLong(L"-"), 0);
  EXPECT_EQ(TextToLong(L"+-1"), 0);
  EXPECT_EQ(TextToLong(L"-0"), 0);
}

TEST(NumberText, LongBeyondItsRangeGivesTheNearestLimit) {
  EXPECT_EQ(TextToLong(L"99999999999999999999999"), std::numeric_limits<long>::max());
  EXPECT_EQ(TextToLong(L"-99999999999999999999999"), std::numeric_limits<long>::min());
}

TEST(NumberText, LongReadsOnlyAsciiDigits) {
  EXPECT_EQ(TextToLong(L"\uFF11\uFF12"), 0);  // full-width digits
  EXPECT_EQ(TextToLong(L"\u30001"), 0);       // the ideographic space is not a blank here
}

TEST(NumberText, DoubleReadsDecimalNumbers) {
  EXPECT_EQ(TextToDouble(L"0.5"), 0.5);
  EXPECT_EQ(TextToDouble(L"-2.25"), -2.25);
  EXPECT_EQ(TextToDouble(L"+3"), 3.0);
  EXPECT_EQ(TextToDouble(L".5"), 0.5);
  EXPECT_EQ(TextToDouble(L"5."), 5.0);
  EXPECT_EQ(TextToDouble(L"1e3"), 1000.0);
  EXPECT_EQ(TextToDouble(L"1.5E-2"), 0.015);
  EXPECT_EQ(TextToDouble(L"0.1"), 0.1);
}

TEST(NumberText, DoubleSkipsBlanksAndStopsAtTrailingText) {
  EXPECT_EQ(TextToDouble(L" \t2.5"), 2.5);
  EXPECT_EQ(TextToDouble(L"2.5kg"), 2.5);
  EXPECT_EQ(TextToDouble(L"1e"), 1.0);
  EXPECT_EQ(TextToDouble(L"1e+"), 1.0);
  EXPECT_EQ(TextToDouble(L"4,5"), 4.0);  // the point is "." whatever the locale
}

TEST(NumberText, DoubleWithoutANumberIsZero) {
  EXPECT_EQ(TextToDouble(L""), 0.0);
  EXPECT_EQ(TextToDouble(L"abc"), 0.0);
  EXPECT_EQ(TextToDouble(L"--1"), 0.0);
  EXPECT_EQ(TextToDouble(L"-+1"), 0.0);
  EXPECT_EQ(TextToDouble(L"."), 0.0);
  EXPECT_EQ(TextToDouble(L"\u00BD"), 0.0);
}

TEST(NumberText, DoubleKeepsTheSignOfZero) {
  EXPECT_EQ(TextToDouble(L"0.0"), 0.0);
  EXPECT_TRUE(std::signbit(TextToDouble(L"-0")));
}

TEST(NumberText, DoubleReadsInfinityAndNan) {
  EXPECT_EQ(TextToDouble(L"inf"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(TextToDouble(L"-Infinity"), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(TextToDouble(L"nan")));
}

TEST(NumberText, DoubleTooLargeIsInfiniteAndTooSmallIsZero) {
  EXPECT_EQ(TextToDouble(L"1e400"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(TextToDouble(L"-12345e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(TextToDouble(L"1e-400"), 0.0);
  EXPECT_EQ(TextToDouble(L"0.0001e-330"), 0.0);
  EXPECT_TRUE(std::signbit(TextToDouble(L"-1e-400")));
}

TEST(NumberText, Unsigned32ReadsDecimalByDefault) {
  EXPECT_EQ(TextToUnsigned32(L"4294967295", 10), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"12abc", 10), 12u);
  EXPECT_EQ(TextToUnsigned32(L"  +7", 10), 7u);
  EXPECT_EQ(TextToUnsigned32(L"abc", 10), 0u);
  EXPECT_EQ(TextToUnsigned32(L"", 10), 0u);
}

TEST(NumberText, Unsigned32WrapsNegativeValuesModulo2To32) {
  EXPECT_EQ(TextToUnsigned32(L"-5", 10), 4294967291u);
  EXPECT_EQ(TextToUnsigned32(L"-1", 10), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"-4294967295", 10), 1u);
  EXPECT_EQ(TextToUnsigned32(L"-0", 10), 0u);
}

TEST(NumberText, Unsigned32BeyondThirtyTwoBitsIsAllOnes) {
  EXPECT_EQ(TextToUnsigned32(L"4294967296", 10), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"99999999999999999999999", 10), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"-4294967296", 10), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"100000000", 16), kMax32);
}

TEST(NumberText, Unsigned32ReadsHexadecimalWithOrWithoutPrefix) {
  EXPECT_EQ(TextToUnsigned32(L"ff", 16), 255u);
  EXPECT_EQ(TextToUnsigned32(L"FF", 16), 255u);
  EXPECT_EQ(TextToUnsigned32(L"0x1F", 16), 31u);
  EXPECT_EQ(TextToUnsigned32(L"0X1f", 16), 31u);
  EXPECT_EQ(TextToUnsigned32(L"-0x1", 16), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"ffffffff", 16), kMax32);
  EXPECT_EQ(TextToUnsigned32(L"0x", 16), 0u);
  EXPECT_EQ(TextToUnsigned32(L"fg", 16), 15u);
}

TEST(NumberText, Unsigned32RadixZeroChoosesFromThePrefix) {
  EXPECT_EQ(TextToUnsigned32(L"0x1F", 0), 31u);
  EXPECT_EQ(TextToUnsigned32(L"017", 0), 15u);
  EXPECT_EQ(TextToUnsigned32(L"019", 0), 1u);  // octal stops at 9
  EXPECT_EQ(TextToUnsigned32(L"17", 0), 17u);
  EXPECT_EQ(TextToUnsigned32(L" -0x10", 0), 4294967280u);
  EXPECT_EQ(TextToUnsigned32(L"0", 0), 0u);
}

TEST(NumberText, Unsigned32ReadsOtherRadices) {
  EXPECT_EQ(TextToUnsigned32(L"1011", 2), 11u);
  EXPECT_EQ(TextToUnsigned32(L"1012", 2), 5u);
  EXPECT_EQ(TextToUnsigned32(L"17", 8), 15u);
  EXPECT_EQ(TextToUnsigned32(L"zz", 36), 1295u);
  EXPECT_EQ(TextToUnsigned32(L"0x10", 10), 0u);  // a prefix only where hexadecimal allows one
}

TEST(NumberText, InvalidRadixGivesZero) {
  for (const int radix : {1, -1, -16, 37, 100}) {
    EXPECT_EQ(TextToUnsigned32(L"5", radix), 0u) << radix;
    EXPECT_EQ(TextToUnsigned64(L"5", radix), 0u) << radix;
  }
}

TEST(NumberText, Unsigned64WrapsNegativeValuesModulo2To64) {
  EXPECT_EQ(TextToUnsigned64(L"-5", 10), kMax64 - 4);
  EXPECT_EQ(TextToUnsigned64(L"-1", 10), kMax64);
}

TEST(NumberText, Unsigned64ReadsBeyondThirtyTwoBits) {
  EXPECT_EQ(TextToUnsigned64(L"4294967296", 10), 4294967296u);
  EXPECT_EQ(TextToUnsigned64(L"18446744073709551615", 10), kMax64);
  EXPECT_EQ(TextToUnsigned64(L"0xFFFFFFFFFFFFFFFF", 0), kMax64);
  EXPECT_EQ(TextToUnsigned64(L"ff", 16), 255u);
  EXPECT_EQ(TextToUnsigned64(L"017", 0), 15u);
  EXPECT_EQ(TextToUnsigned64(L" 12abc", 10), 12u);
}

TEST(NumberText, Unsigned64BeyondSixtyFourBitsIsAllOnes) {
  EXPECT_EQ(TextToUnsigned64(L"18446744073709551616", 10), kMax64);
  EXPECT_EQ(TextToUnsigned64(L"-18446744073709551616", 10), kMax64);
  EXPECT_EQ(TextToUnsigned64(L"10000000000000000", 16), kMax64);
}

TEST(NumberText, OnlyTheTextZeroIsExactlyZero) {
  EXPECT_TRUE(IsExactlyZeroText(L"0"));
  for (const wchar_t* text : {L"", L"00", L"-0", L"+0", L" 0", L"0 ", L"0.0", L"0x0", L"O"}) {
    EXPECT_FALSE(IsExactlyZeroText(text)) << ::testing::PrintToString(std::wstring(text));
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal
