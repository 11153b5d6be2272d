// The wide formatter's output limit: widths and precisions up to INT_MAX, from the format or from
// '*', give at most the limit plus one character, and precisions beyond a value's exact digits
// still come out right.
#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <limits>
#include <string>

#include "logging/wide_format.h"

namespace Tavro_KVO_Util::internal {
namespace {

// LogFmt's limit, which the hostile formats below were first seen through.
constexpr std::size_t kLimit = 10000;

std::wstring Repeat(std::size_t count, wchar_t c) { return std::wstring(count, c); }

// FormatWideInto with the arguments given directly.
bool FormatInto(std::wstring& text, std::size_t limit, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const bool formatted = FormatWideInto(text, format, args, limit);
  va_end(args);
  return formatted;
}

TEST(WideFormatLimit, TextUpToTheLimitIsWholeAndLongerTextStopsOneCharacterPastIt) {
  EXPECT_EQ(FormatWideLimitedF(8, L"abcdefgh"), L"abcdefgh");
  EXPECT_EQ(FormatWideLimitedF(5, L"abcdefgh"), L"abcdef");
  EXPECT_EQ(FormatWideLimitedF(5, L"ab%dgh", 12345), L"ab1234");
  EXPECT_EQ(FormatWideLimitedF(0, L"x"), L"x");
  EXPECT_EQ(FormatWideLimitedF(0, L""), L"");
  EXPECT_EQ(FormatWideLimitedF(3, L"%s", L"abcdef"), L"abcd");
  EXPECT_EQ(FormatWideLimitedF(3, L"ab%"), L"ab%");
  EXPECT_EQ(FormatWideLimitedF(2, L"ab%y"), L"ab%");
}

TEST(WideFormatLimit, FormatWideIntoReplacesTheTextAndSaysItSucceeded) {
  std::wstring text = L"left over";
  EXPECT_TRUE(FormatInto(text, kLimit, L"%d-%s", 7, L"x"));
  EXPECT_EQ(text, L"7-x");
  EXPECT_TRUE(FormatInto(text, kLimit, nullptr));
  EXPECT_EQ(text, L"");
}

TEST(WideFormatLimit, WidthsNearIntMaxStopJustPastTheLimit) {
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%2147483647d", 1), Repeat(kLimit + 1, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%*d", INT_MAX, 1), Repeat(kLimit + 1, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%-2147483640d", 1), L"1" + Repeat(kLimit, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%2000000000s", L"x"), Repeat(kLimit + 1, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%*s", INT_MIN, L"x"), L"x" + Repeat(kLimit, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%0*d", INT_MAX, -5), L"-" + Repeat(kLimit, L'0'));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%2147483647c", L'c'), Repeat(kLimit + 1, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%-2147483647p", nullptr), L"0000000000000000" + Repeat(9985, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%2147483647f", 1.5), Repeat(kLimit + 1, L' '));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%02147483647e", -1.5), L"-" + Repeat(kLimit, L'0'));
}

TEST(WideFormatLimit, IntegerAndStringPrecisionsNearIntMaxStopJustPastTheLimit) {
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647d", 7), Repeat(kLimit + 1, L'0'));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%+.*x", INT_MAX, 255u), Repeat(kLimit + 1, L'0'));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647s|%.*hs", L"abc", INT_MAX, "de"), L"abc|de");
}

TEST(WideFormatLimit, FloatingPrecisionsNearIntMaxStopJustPastTheLimit) {
  const std::wstring fixed = L"1.5" + Repeat(kLimit - 2, L'0');
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647f", 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.*f", INT_MAX, 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647Lf", 1.5L), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%2147483647.2147483647f", 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%-*.*F", INT_MAX, INT_MAX, 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647e", 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%#.2147483647g", 1.5), fixed);
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647a", 1.5), L"0x1.8" + Repeat(kLimit - 4, L'0'));
  // The C libraries differ in how they split a long double's hexadecimal digits ("0xc.0p-3").
  std::wstring hex = FormatWideF(L"%.4La", 1.5L);
  hex = hex.substr(0, hex.find(L'p'));
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647La", 1.5L), hex + Repeat(kLimit + 1 - hex.size(), L'0'));
}

TEST(WideFormatLimit, GeneralFormatWithAHugePrecisionShowsTheExactValue) {
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647g|%.*G", 1.5, INT_MAX, 0x1p-20),
            L"1.5|9.5367431640625E-007");
  EXPECT_EQ(FormatWideLimitedF(kLimit, L"%.2147483647g", 0.1),
            L"0.1000000000000000055511151231257827021181583404541015625");
}

TEST(WideFormatLimit, ZerosBeyondTheExactDigitsGoBeforeTheExponent) {
  EXPECT_EQ(FormatWideF(L"%.3000e", 1.5), L"1.5" + Repeat(2999, L'0') + L"e+000");
  EXPECT_EQ(FormatWideF(L"%.3000E", -0.75), L"-7.5" + Repeat(2999, L'0') + L"E-001");
  EXPECT_EQ(FormatWideF(L"%#.3000g", 0x1p-20), L"9.5367431640625" + Repeat(2986, L'0') + L"e-007");
  EXPECT_EQ(FormatWideF(L"%.3000a", 1.5), L"0x1.8" + Repeat(2999, L'0') + L"p+0");
  EXPECT_EQ(FormatWideF(L"%3010.3000e|", 1.5), L"   1.5" + Repeat(2999, L'0') + L"e+000|");
  EXPECT_EQ(FormatWideF(L"%03010.3000e|", -1.5), L"-001.5" + Repeat(2999, L'0') + L"e+000|");
}

TEST(WideFormatLimit, EveryDigitOfTheSmallestDoubleIsShownBeforeTheZeros) {
  const double smallest = std::numeric_limits<double>::denorm_min();  // 2^-1074: 1074 decimals
  const std::wstring exact = FormatWideF(L"%.1074f", smallest);
  ASSERT_EQ(exact.size(), 2u + 1074u);
  EXPECT_EQ(exact.substr(0, 7), L"0.00000");
  EXPECT_EQ(exact.back(), L'5');
  EXPECT_EQ(FormatWideF(L"%.3000f", smallest), exact + Repeat(3000 - 1074, L'0'));
}

TEST(WideFormatLimit, EveryDigitOfTheSmallestLongDoubleIsShownBeforeTheZeros) {
  using Limits = std::numeric_limits<long double>;
  const long double smallest = Limits::denorm_min();
  const int decimals = Limits::digits - Limits::min_exponent;  // its exact decimal places
  const std::wstring exact = FormatWideF(L"%.*Lf", decimals, smallest);
  ASSERT_EQ(exact.size(), 2u + static_cast<std::size_t>(decimals));
  EXPECT_EQ(exact.back(), L'5');
  EXPECT_EQ(FormatWideF(L"%.*Lf", decimals + 3000, smallest), exact + Repeat(3000, L'0'));
}

TEST(WideFormatLimit, NothingAfterTheLimitIsFormatted) {
  std::wstring format;
  for (int i = 0; i < 1000; ++i) format += L"%2147483647d%.2147483647f";
  EXPECT_EQ(FormatWideLimitedF(kLimit, format.c_str(), 1, 1.5), Repeat(kLimit + 1, L' '));
}

TEST(WideFormatLimit, WithoutALimitOfItsOwnTheTextStopsAtTheDefaultLimit) {
  EXPECT_EQ(FormatWideF(L"%2147483647d", 1), Repeat(kDefaultFormatLimit + 1, L' '));
  EXPECT_EQ(FormatWideF(L"%.*f", INT_MAX, 0.0).size(), kDefaultFormatLimit + 1);
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal
