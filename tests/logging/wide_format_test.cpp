// The wide formatter: Windows wide-printf conventions with the same text on every build.
#include "logging/wide_format.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#ifdef _WIN32
#include <windows.h>

#include <utility>
#endif

namespace Tavro_KVO_Util::internal {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::wstring Repeat(std::size_t count, wchar_t c) { return std::wstring(count, c); }

// ---- strings ----

TEST(WideFormat, PercentSTakesAWideString) {
  EXPECT_EQ(FormatWideF(L"[%s]", L"wide"), L"[wide]");
  EXPECT_EQ(FormatWideF(L"[%s]", L"\u263a\u00e9"), L"[\u263a\u00e9]");
}

TEST(WideFormat, PercentLsAndPercentWsTakeAWideString) {
  EXPECT_EQ(FormatWideF(L"%ls|%ws", L"one", L"two"), L"one|two");
}

TEST(WideFormat, PercentHsAndPercentCapitalSTakeANarrowString) {
  EXPECT_EQ(FormatWideF(L"%hs|%S", "one", "two"), L"one|two");
}

TEST(WideFormat, CapitalSWithLOrWTakesAWideString) {
  EXPECT_EQ(FormatWideF(L"%lS|%wS", L"one", L"two"), L"one|two");
}

TEST(WideFormat, NarrowBytesBecomeTheCharactersWithTheSameCodes) {
  EXPECT_EQ(FormatWideF(L"%hs", "\xe9\xff\x80\x01"), L"\u00e9\u00ff\u0080\u0001");
  EXPECT_EQ(FormatWideF(L"%S", "caf\xe9"), L"caf\u00e9");
}

TEST(WideFormat, NullStringsPrintAsNull) {
  EXPECT_EQ(FormatWideF(L"%s", static_cast<const wchar_t*>(nullptr)), L"(null)");
  EXPECT_EQ(FormatWideF(L"%hs", static_cast<const char*>(nullptr)), L"(null)");
  EXPECT_EQ(FormatWideF(L"%S", static_cast<const char*>(nullptr)), L"(null)");
}

TEST(WideFormat, NullStringsTakePrecisionAndWidthLikeAnyOther) {
  EXPECT_EQ(FormatWideF(L"%.2s", static_cast<const wchar_t*>(nullptr)), L"(n");
  EXPECT_EQ(
      FormatWideF(L"%8hs|%-8s|", static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr)),
      L"  (null)|(null)  |");
}

TEST(WideFormat, PrecisionLimitsTheCharactersTaken) {
  EXPECT_EQ(FormatWideF(L"%.3s|%.0s|%.10s", L"abcdef", L"abc", L"abc"), L"abc||abc");
  EXPECT_EQ(FormatWideF(L"%.2hs|%.4S", "abcdef", "abcdef"), L"ab|abcd");
}

TEST(WideFormat, PrecisionNeverReadsBeyondItsLimit) {
  // Unterminated heap buffers: the address sanitizer reports any read past their end.
  auto wide = std::make_unique<wchar_t[]>(3);
  wide[0] = L'x';
  wide[1] = L'y';
  wide[2] = L'z';
  auto narrow = std::make_unique<char[]>(2);
  narrow[0] = 'p';
  narrow[1] = 'q';
  EXPECT_EQ(FormatWideF(L"%.3s|%.2hs", wide.get(), narrow.get()), L"xyz|pq");
}

TEST(WideFormat, WidthPadsStringsOnTheLeftAndMinusPadsOnTheRight) {
  EXPECT_EQ(FormatWideF(L"[%6s][%-6s][%2s]", L"ab", L"ab", L"abcd"), L"[    ab][ab    ][abcd]");
  EXPECT_EQ(FormatWideF(L"[%5hs][%-5S]", "ab", "ab"), L"[   ab][ab   ]");
}

TEST(WideFormat, ZeroFlagPadsStringsWithZerosAsMsvcrtDoes) {
  EXPECT_EQ(FormatWideF(L"%05s|%-05s|%05hs", L"ab", L"ab", "ab"), L"000ab|ab   |000ab");
}

TEST(WideFormat, StarSuppliesStringWidthAndPrecision) {
  EXPECT_EQ(FormatWideF(L"[%*s][%.*s][%*.*s]", 5, L"x", 2, L"abc", 6, 2, L"abc"), L"[    x][ab][    ab]");
}

TEST(WideFormat, NegativeStarWidthLeftAlignsAndNegativeStarPrecisionMeansNone) {
  EXPECT_EQ(FormatWideF(L"[%*s][%.*s]", -4, L"x", -1, L"abc"), L"[x   ][abc]");
}

TEST(WideFormat, HundredThousandCharacterStringsComeOutWhole) {
  const std::wstring wide = Repeat(100000, L'w');
  const std::string narrow(100000, 'n');
  EXPECT_EQ(FormatWideF(L"<%s>", wide.c_str()), L"<" + wide + L">");
  EXPECT_EQ(FormatWideF(L"%hs", narrow.c_str()), Repeat(100000, L'n'));
  EXPECT_EQ(FormatWideF(L"%s%s", wide.c_str(), wide.c_str()), wide + wide);
}

TEST(WideFormat, LongFormatsWithoutConversionsAreCopiedWhole) {
  const std::wstring format = Repeat(50000, L'a') + L"%d" + Repeat(50000, L'b');
  EXPECT_EQ(FormatWideF(format.c_str(), 7), Repeat(50000, L'a') + L"7" + Repeat(50000, L'b'));
}

// ---- characters ----

TEST(WideFormat, PercentCTakesAWideCharacter) {
  EXPECT_EQ(FormatWideF(L"%c|%lc|%wc", L'A', 0x263A, L'\u00e9'), L"A|\u263a|\u00e9");
}

TEST(WideFormat, PercentHcAndPercentCapitalCTakeANarrowCharacter) {
  EXPECT_EQ(FormatWideF(L"%hc|%C|%C", 'E', 'D', 0xE9), L"E|D|\u00e9");
}

TEST(WideFormat, NarrowCharactersKeepOnlyTheirByte) {
  EXPECT_EQ(FormatWideF(L"%hc", 0x1E9), L"\u00e9");
  EXPECT_EQ(FormatWideF(L"%C", static_cast<char>(-1)), L"\u00ff");
}

TEST(WideFormat, WidthPadsCharacters) {
  EXPECT_EQ(FormatWideF(L"%5c|%-5c|%05c|%*c", L'F', L'G', L'H', 3, L'I'), L"    F|G    |0000H|  I");
}

TEST(WideFormat, ANulCharacterIsWrittenIntoTheText) {
  EXPECT_EQ(FormatWideF(L"a%cb", 0), std::wstring(L"a\0b", 3));
}

// ---- integers ----

TEST(WideFormat, IntegerConversions) {
  EXPECT_EQ(FormatWideF(L"%d|%i|%u|%o|%x|%X", -5, 7, 4294967295u, 8, 255, 255), L"-5|7|4294967295|10|ff|FF");
  EXPECT_EQ(FormatWideF(L"%d|%d|%u", INT_MIN, INT_MAX, UINT_MAX), L"-2147483648|2147483647|4294967295");
}

TEST(WideFormat, PlusAndSpaceFlagsSignSignedConversionsOnly) {
  EXPECT_EQ(FormatWideF(L"%+d|% d|%+ d|%+d|% i", 5, 5, 5, -5, 0), L"+5| 5|+5|-5| 0");
  EXPECT_EQ(FormatWideF(L"%+u|% u|%+x|% o", 5u, 5u, 5u, 5u), L"5|5|5|5");
}

TEST(WideFormat, HashFlagPrefixesOctalAndHexadecimal) {
  EXPECT_EQ(FormatWideF(L"%#o|%#x|%#X|%#o|%#x|%#d", 8, 255, 255, 0, 0, 5), L"010|0xff|0XFF|0|0|5");
}

TEST(WideFormat, ZeroFlagPadsBetweenSignOrPrefixAndDigits) {
  EXPECT_EQ(FormatWideF(L"%05d|%+05d|% 05d|%#08x|%#08X|%06o", -12, 12, 12, 255, 255, 8),
            L"-0012|+0012| 0012|0x0000ff|0X0000FF|000010");
}

TEST(WideFormat, MinusFlagWinsOverZeroFlag) {
  EXPECT_EQ(FormatWideF(L"%0-5d|%-05d|%#-8x|", 1, 1, 255), L"1    |1    |0xff    |");
}

TEST(WideFormat, IntegerPrecisionSetsTheLeastDigitsAndTurnsTheZeroFlagOff) {
  EXPECT_EQ(FormatWideF(L"%5.3d|%05.3d|%.3x|%#.3x|%08.3x|%-+6.3d|", 7, 7, 255, 255, 255, 3),
            L"  007|  007|0ff|0x0ff|     0ff|+003  |");
}

TEST(WideFormat, ZeroPrecisionPrintsNoDigitsForZero) {
  EXPECT_EQ(FormatWideF(L"[%.0d][%.0x][%5.0d][%#.0o][%#.0x][%.0d]", 0, 0, 0, 0, 0, 1),
            L"[][][     ][0][][1]");
}

TEST(WideFormat, StarSuppliesIntegerWidthAndPrecision) {
  EXPECT_EQ(FormatWideF(L"%*d|%-*d|%.*d|%*.*d|%*d", 5, 1, 5, 2, 4, 3, 6, 3, 4, -5, 7),
            L"    1|2    |0003|   004|7    ");
  EXPECT_EQ(FormatWideF(L"%.*d|%0*d", -3, 42, 4, 5), L"42|0005");
}

TEST(WideFormat, LargeWidthAndPrecisionAreHonoured) {
  EXPECT_EQ(FormatWideF(L"%300d", 1), Repeat(299, L' ') + L"1");
  EXPECT_EQ(FormatWideF(L"%.300d", -1), L"-" + Repeat(299, L'0') + L"1");
  EXPECT_EQ(FormatWideF(L"%-300x|", 255), L"ff" + Repeat(298, L' ') + L"|");
}

TEST(WideFormat, HPrefixReadsAShort) {
  EXPECT_EQ(FormatWideF(L"%hd|%hu|%hx|%hd", 70000, 70000, -1, -1), L"4464|4464|ffff|-1");
}

TEST(WideFormat, HhPrefixReadsAShortAsMsvcrtDoes) {
  EXPECT_EQ(FormatWideF(L"%hhd|%hhu|%hhx|%hhd", 300, 300, -1, static_cast<signed char>(-5)),
            L"300|300|ffff|-5");
}

TEST(WideFormat, LPrefixReadsTheNativeLong) {
  EXPECT_EQ(FormatWideF(L"%ld|%lu", LONG_MIN, ULONG_MAX),
            std::to_wstring(LONG_MIN) + L"|" + std::to_wstring(ULONG_MAX));
  const std::wstring allOnes = sizeof(long) == 8 ? L"ffffffffffffffff" : L"ffffffff";
  EXPECT_EQ(FormatWideF(L"%lx", -1L), allOnes);
}

TEST(WideFormat, LlPrefixReadsALongLong) {
  EXPECT_EQ(FormatWideF(L"%lld|%llu|%llx|%llX", LLONG_MIN, ULLONG_MAX, 0x123456789abcdefULL, 0xabcULL),
            L"-9223372036854775808|18446744073709551615|123456789abcdef|ABC");
}

TEST(WideFormat, I64AndI32PrefixesReadThoseSizes) {
  EXPECT_EQ(FormatWideF(L"%I64d|%I64u|%I64x", -9000000000LL, 9000000000ULL, 0x1ffffffffULL),
            L"-9000000000|9000000000|1ffffffff");
  EXPECT_EQ(FormatWideF(L"%I32d|%I32u|%I32x", -5, 4294967295u, 0xabcdu), L"-5|4294967295|abcd");
}

TEST(WideFormat, IPrefixReadsAPointerSizedInteger) {
  EXPECT_EQ(FormatWideF(L"%Id|%Iu|%Ix", static_cast<std::intptr_t>(-1), SIZE_MAX,
                        static_cast<std::size_t>(0xfffffffffffULL)),
            L"-1|18446744073709551615|fffffffffff");
}

TEST(WideFormat, ZJAndTPrefixesReadTheirTypes) {
  EXPECT_EQ(FormatWideF(L"%zu|%zd|%zx", SIZE_MAX, static_cast<std::ptrdiff_t>(-3),
                        static_cast<std::size_t>(0x1ffffffffULL)),
            L"18446744073709551615|-3|1ffffffff");
  EXPECT_EQ(FormatWideF(L"%jd|%ju|%td|%tx", INTMAX_MIN, UINTMAX_MAX, static_cast<std::ptrdiff_t>(-5),
                        static_cast<std::ptrdiff_t>(0x10)),
            L"-9223372036854775808|18446744073709551615|-5|10");
}

TEST(WideFormat, WPrefixDoesNothingForIntegers) { EXPECT_EQ(FormatWideF(L"%wd|%wx", 5, 255), L"5|ff"); }

// ---- floating point ----

TEST(WideFormat, FloatingConversions) {
  EXPECT_EQ(FormatWideF(L"%f|%F|%e|%E|%g|%G", 1.5, 1.5, 1.5, 1.5, 1.5, 1.5),
            L"1.500000|1.500000|1.500000e+000|1.500000E+000|1.5|1.5");
}

TEST(WideFormat, ExponentsHaveAtLeastThreeDigitsAsMsvcrtWritesThem) {
  EXPECT_EQ(FormatWideF(L"%e|%g|%g|%g|%.3e|%E", 1e100, 1e100, 1e-5, 123456789.0, 1e-300, 0.0),
            L"1.000000e+100|1e+100|1e-005|1.23457e+008|1.000e-300|0.000000E+000");
  EXPECT_EQ(FormatWideF(L"%g|%G|%e", 1e6, 1e-10, 12345.678), L"1e+006|1E-010|1.234568e+004");
}

TEST(WideFormat, FloatingFlagsWidthAndPrecision) {
  EXPECT_EQ(FormatWideF(L"%5.1f|%-8.2f|%08.2f|%+.1f|%#.0f|% f", 3.14159, 2.5, -2.5, 2.25, 3.0, 1.0),
            L"  3.1|2.50    |-0002.50|+2.3|3.| 1.000000");
  EXPECT_EQ(FormatWideF(L"%+e| %e|%-+12.2e|%012.3e", 1.5, 1.5, 1.5, -1.5),
            L"+1.500000e+000| 1.500000e+000|+1.50e+000  |-01.500e+000");
}

TEST(WideFormat, WidthCountsTheWidenedExponent) {
  EXPECT_EQ(FormatWideF(L"[%15e][%-15e][%015e][%08g]", 1.5, 1.5, 1.5, 1e-10),
            L"[  1.500000e+000][1.500000e+000  ][001.500000e+000][001e-010]");
}

TEST(WideFormat, HashFlagKeepsTheDecimalPointAndTrailingZeros) {
  EXPECT_EQ(FormatWideF(L"%#g|%#.3g|%g|%#e|%#.0e", 100.0, 1.0, 0.0001, 2.0, 5.0),
            L"100.000|1.00|0.0001|2.000000e+000|5.e+000");
}

TEST(WideFormat, GeneralFormatChoosesFixedOrExponent) {
  EXPECT_EQ(FormatWideF(L"%.15g|%.17g|%g|%g|%.0g|%.10g", 0.1, 0.1, 100000.0, 123456.5, 123.0, 1.0 / 3),
            L"0.1|0.10000000000000001|100000|123457|1e+002|0.3333333333");
}

TEST(WideFormat, ExactTiesRoundAwayFromZeroAsMsvcrtRoundsThem) {
  EXPECT_EQ(FormatWideF(L"%.0f|%.0f|%.0f|%.2f|%.1f|%.0f", 0.5, 1.5, 2.5, 0.125, -0.25, -0.5),
            L"1|2|3|0.13|-0.3|-1");
  EXPECT_EQ(FormatWideF(L"%.0e|%.1e|%.2g|%.1g|%.0e|%.3e", 25.0, 0.25, 0.125, 9.5, 2.5, 1.0625),
            L"3e+001|2.5e-001|0.13|1e+001|3e+000|1.063e+000");
}

TEST(WideFormat, NearTiesRoundToTheNearerSide) {
  // 1.005 and 0.35 are stored a little below the halfway point.
  EXPECT_EQ(FormatWideF(L"%.2f|%.1f|%.0f", 1.005, 0.35, std::nextafter(0.5, 1.0)), L"1.00|0.3|1");
}

TEST(WideFormat, HexadecimalFloatsShowAllDigitsOfADouble) {
  EXPECT_EQ(
      FormatWideF(L"%a|%A|%.2a|%a|%a", 1.5, 1.5, 1.5, 0.0, -2.0),
      L"0x1.8000000000000p+0|0X1.8000000000000P+0|0x1.80p+0|0x0.0000000000000p+0|-0x1.0000000000000p+1");
  EXPECT_EQ(FormatWideF(L"%a|%a", DBL_MAX, 4.9e-324), L"0x1.fffffffffffffp+1023|0x0.0000000000001p-1022");
}

TEST(WideFormat, HexadecimalTiesRoundAwayFromZero) {
  EXPECT_EQ(FormatWideF(L"%.1a|%.1a|%.0a|%.0a", 1.03125, 1.09375, 1.5, -1.5),
            L"0x1.1p+0|0x1.2p+0|0x2p+0|-0x2p+0");
}

TEST(WideFormat, ZeroFlagPadsHexadecimalFloatsAfterThePrefix) {
  EXPECT_EQ(FormatWideF(L"%025a|%-22.1a|", -1.5, 1.5), L"-0x00001.8000000000000p+0|0x1.8p+0              |");
}

TEST(WideFormat, LongDoubleTakesTheLPrefix) {
  EXPECT_EQ(FormatWideF(L"%Lf|%Le|%Lg|%.0Lf|%.2Le", 1.5L, 1.5L, 1.5L, 2.5L, 1.125L),
            L"1.500000|1.500000e+000|1.5|3|1.13e+000");
}

TEST(WideFormat, LAndHPrefixesDoNothingForDoubles) {
  EXPECT_EQ(FormatWideF(L"%lf|%le|%lg|%hf", 1.5, 1.5, 1.5, 1.5), L"1.500000|1.500000e+000|1.5|1.500000");
}

TEST(WideFormat, InfinitiesAndNaNsPrintTheSameOnEveryBuild) {
  EXPECT_EQ(FormatWideF(L"%f|%F|%e|%E|%g|%G|%a|%A", kInfinity, kInfinity, kInfinity, kInfinity, kInfinity,
                        kInfinity, kInfinity, kInfinity),
            L"inf|INF|inf|INF|inf|INF|inf|INF");
  EXPECT_EQ(FormatWideF(L"%f|%e|%F|%f|%G", -kInfinity, kNaN, kNaN, std::copysign(kNaN, -1.0), kNaN),
            L"-inf|nan|NAN|-nan|NAN");
  EXPECT_EQ(FormatWideF(L"%+f|% f|%6f|%-6f|%06f|%Lf", kInfinity, kInfinity, kInfinity, kInfinity, kInfinity,
                        static_cast<long double>(kInfinity)),
            L"+inf| inf|   inf|inf   |   inf|inf");
}

TEST(WideFormat, LargeFloatingPrecisionIsHonoured) {
  EXPECT_EQ(FormatWideF(L"%.300f", 1.0), L"1." + Repeat(300, L'0'));
  EXPECT_EQ(FormatWideF(L"%.20f", 0.1), L"0.10000000000000000555");
  // Around the point where a widened exponent no longer fits the formatter's stack buffer.
  for (int precision = 115; precision <= 130; ++precision) {
    EXPECT_EQ(FormatWideF(L"%.*e", precision, 1.0), L"1." + Repeat(precision, L'0') + L"e+000") << precision;
  }
}

// ---- pointers ----

TEST(WideFormat, PercentPPrintsSixteenUpperCaseHexDigits) {
  EXPECT_EQ(FormatWideF(L"%p", reinterpret_cast<void*>(0xDEADBEEF)), L"00000000DEADBEEF");
  EXPECT_EQ(FormatWideF(L"%p", static_cast<void*>(nullptr)), L"0000000000000000");
  EXPECT_EQ(FormatWideF(L"%p", reinterpret_cast<void*>(static_cast<std::uintptr_t>(0x123456789ABCDEF0ULL))),
            L"123456789ABCDEF0");
}

TEST(WideFormat, PointerWidthPadsWithSpacesAndHashAddsAPrefix) {
  void* pointer = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_EQ(FormatWideF(L"[%20p][%-20p][%020p]", pointer, pointer, pointer),
            L"[    00000000DEADBEEF][00000000DEADBEEF    ][    00000000DEADBEEF]");
  EXPECT_EQ(FormatWideF(L"%#p|%#p", reinterpret_cast<void*>(1), static_cast<void*>(nullptr)),
            L"0X0000000000000001|0000000000000000");
}

// ---- %n, %%, unknown and unfinished conversions ----

TEST(WideFormat, PercentNConsumesItsArgumentAndWritesNothing) {
  int count = 12345;
  long long wide = 777;
  EXPECT_EQ(FormatWideF(L"ab%ncd|%d%lln%d", &count, 1, &wide, 2), L"abcd|12");
  EXPECT_EQ(count, 12345);
  EXPECT_EQ(wide, 777);
  EXPECT_EQ(FormatWideF(L"%n%s", static_cast<int*>(nullptr), L"after"), L"after");
}

TEST(WideFormat, DoublePercentPrintsAPercentSign) {
  EXPECT_EQ(FormatWideF(L"100%%|%%d|%5%|%-5%", 7), L"100%|%d|%|%");
  EXPECT_EQ(FormatWideF(L"%d%%", 50), L"50%");
}

TEST(WideFormat, UnknownConversionsAreCopiedAndConsumeNothing) {
  EXPECT_EQ(FormatWideF(L"%y %d", 7), L"%y 7");
  EXPECT_EQ(FormatWideF(L"%-5.2y %d", 7), L"%-5.2y 7");
  EXPECT_EQ(FormatWideF(L"%*.*y %d", 7), L"%*.*y 7");
  EXPECT_EQ(FormatWideF(L"%q|%Z|%k|%ll|%d", 3), L"%q|%Z|%k|%ll|3");
  EXPECT_EQ(FormatWideF(L"%I6d", 3), L"%I6d");
  EXPECT_EQ(FormatWideF(L"%2$d %1$d", 1, 2), L"%2$d %1$d");
}

TEST(WideFormat, AnUnfinishedConversionAtTheEndIsCopied) {
  EXPECT_EQ(FormatWideF(L"100%"), L"100%");
  EXPECT_EQ(FormatWideF(L"%"), L"%");
  EXPECT_EQ(FormatWideF(L"abc%-5"), L"abc%-5");
  EXPECT_EQ(FormatWideF(L"%d%l", 4), L"4%l");
  EXPECT_EQ(FormatWideF(L"x%.*"), L"x%.*");
  EXPECT_EQ(FormatWideF(L"%I64"), L"%I64");
}

// ---- whole formats ----

TEST(WideFormat, EmptyAndNullFormatsGiveEmptyText) {
  EXPECT_EQ(FormatWideF(L""), L"");
  EXPECT_EQ(FormatWideF(nullptr), L"");
  EXPECT_EQ(FormatWideF(nullptr, 1, L"unused"), L"");
}

TEST(WideFormat, TextWithoutConversionsIsCopied) {
  EXPECT_EQ(FormatWideF(L"plain text \u263a"), L"plain text \u263a");
}

TEST(WideFormat, FormatsTheLibrarysMessagesAsWindowsDoes) {
  EXPECT_EQ(FormatWideF(L"*** Config::ParseFile - Config File Parsed is: %s***", L"C:\\x\\TavroMedivane.cfg"),
            L"*** Config::ParseFile - Config File Parsed is: C:\\x\\TavroMedivane.cfg***");
  EXPECT_EQ(
      FormatWideF(L"%s::%hs - line %d, status 0x%08X, %.1f%% done", L"Config", "Parse", 42, 0xBEEFu, 99.25),
      L"Config::Parse - line 42, status 0x0000BEEF, 99.3% done");
}

TEST(WideFormat, ManyConversionsInARow) {
  EXPECT_EQ(FormatWideF(L"%d%d%d%d%d%d%d%d%d%d|%s%hs%c%C|%x%o%u", 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, L"w", "n",
                        L'c', 'C', 255, 8, 10u),
            L"0123456789|wncC|ff1010");
}

// FormatWide reads a copy: the caller may format the same arguments twice.
std::wstring FormatTwice(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring first = FormatWide(format, args);
  std::wstring second = FormatWide(format, args);
  va_end(args);
  return first + L"/" + second;
}

TEST(WideFormat, FormatWideLeavesTheCallersArgumentsUnread) {
  EXPECT_EQ(FormatTwice(L"%d %s %.1f", 3, L"x", 2.0), L"3 x 2.0/3 x 2.0");
}

#ifdef _WIN32
// ---- msvcrt's own _vsnwprintf, for the Windows build ----
//
// Left out of the comparison: where we differ on purpose (unknown conversions, a '%' at the end,
// %F, %n, "%5%", infinities and NaNs, and L, which msvcrt reads as a double), and where Wine's
// msvcrt, which these tests run against, differs from Windows' own: it keeps the 0 flag beside a
// precision ("%05.3d" gives "00007"), prints "%#.0o" of zero as nothing and lets a precision cut
// %p short.

using VsnwprintfFunction = int(__cdecl*)(wchar_t*, std::size_t, const wchar_t*, va_list);

// Looked up in msvcrt.dll itself: MinGW's headers may route _vsnwprintf to their own ANSI stdio.
VsnwprintfFunction MsvcrtVsnwprintf() {
  static const VsnwprintfFunction function = [] {
    HMODULE msvcrt = LoadLibraryW(L"msvcrt.dll");
    FARPROC address = msvcrt == nullptr ? nullptr : GetProcAddress(msvcrt, "_vsnwprintf");
    // Through void (*)(), which converts to any function pointer type without a warning.
    return reinterpret_cast<VsnwprintfFunction>(reinterpret_cast<void (*)()>(address));
  }();
  return function;
}

std::wstring FormatWithMsvcrt(const wchar_t* format, va_list args) {
  wchar_t buffer[4096];
  const int length = MsvcrtVsnwprintf()(buffer, sizeof(buffer) / sizeof(buffer[0]) - 1, format, args);
  if (length < 0) return L"<msvcrt: too long>";
  return std::wstring(buffer, static_cast<std::size_t>(length));
}

// Formats the same arguments with msvcrt and with FormatWide.
std::pair<std::wstring, std::wstring> MsvcrtAndOurs(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  std::pair<std::wstring, std::wstring> texts(FormatWithMsvcrt(format, args), FormatWide(format, copy));
  va_end(copy);
  va_end(args);
  return texts;
}

#define EXPECT_SAME_AS_MSVCRT(format, ...)                                                                \
  do {                                                                                                    \
    const auto texts = MsvcrtAndOurs(format, __VA_ARGS__);                                                \
    EXPECT_EQ(texts.first, texts.second) << "format: " << ::testing::PrintToString(std::wstring(format)); \
  } while (false)

TEST(WideFormat, TheFunctionComparedAgainstIsMsvcrts) {
  ASSERT_NE(MsvcrtVsnwprintf(), nullptr);
  const auto texts = MsvcrtAndOurs(L"%s|%e", L"wide", 1.5);
  EXPECT_EQ(texts.first, L"wide|1.500000e+000");  // %s wide and three exponent digits: msvcrt
}

TEST(WideFormat, StringsAndCharactersMatchMsvcrt) {
  EXPECT_SAME_AS_MSVCRT(L"%s|%ls|%ws|%S|%hs|%lS", L"wide", L"wide", L"wide", "narrow", "narrow", L"wide");
  EXPECT_SAME_AS_MSVCRT(L"%s|%S|%hs", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr),
                        static_cast<const char*>(nullptr));
  EXPECT_SAME_AS_MSVCRT(L"%.2s|%6.3s|%-6s|%06s|%-06s|%*.*s", static_cast<const wchar_t*>(nullptr), L"abcdef",
                        L"ab", L"ab", L"ab", 7, 2, L"xyz");
  EXPECT_SAME_AS_MSVCRT(L"%hs|%.2S", "plain ascii", "abc");
  EXPECT_SAME_AS_MSVCRT(L"%c|%lc|%wc|%C|%hc|%5c|%-5c|%05c", L'A', 0x263A, L'C', 'D', 'E', L'F', L'G', L'H');
}

TEST(WideFormat, IntegersMatchMsvcrt) {
  EXPECT_SAME_AS_MSVCRT(L"%d|%i|%u|%o|%x|%X", -5, 7, 4294967295u, 8, 255, 255);
  EXPECT_SAME_AS_MSVCRT(L"%+d|% d|%+ d|%#o|%#x|%#X|%#o|%#x", 5, 5, 5, 8, 255, 255, 0, 0);
  EXPECT_SAME_AS_MSVCRT(L"%05d|%-5d|%5.3d|%.0d|%.0x|%-+5d|%+u|% u", -12, 12, 7, 0, 0, 3, 5u, 5u);
  EXPECT_SAME_AS_MSVCRT(L"%.3x|%#.3x|%#08x|%#-8x|%-#10o|%#10X|%#010o|%0-5d", 255, 255, 255, 255, 8, 0xab, 8,
                        1);
  EXPECT_SAME_AS_MSVCRT(L"%hd|%hu|%hhd|%hhu|%hhx", 70000, 70000, 300, 300, 511);
  EXPECT_SAME_AS_MSVCRT(L"%ld|%lu|%lx|%lld|%llu|%llx", LONG_MIN, ULONG_MAX, -1L, LLONG_MIN, ULLONG_MAX,
                        0x123456789abcdefULL);
  EXPECT_SAME_AS_MSVCRT(L"%I64d|%I64u|%I32d|%I32u|%Id|%Ix", -9000000000LL, 9000000000ULL, -5, 4294967295u,
                        static_cast<std::intptr_t>(-1), static_cast<std::uintptr_t>(0xfffffffffffULL));
  EXPECT_SAME_AS_MSVCRT(L"%zd|%zu|%jd|%td|%zx", static_cast<std::ptrdiff_t>(-3), SIZE_MAX, INTMAX_MIN,
                        static_cast<std::ptrdiff_t>(-5), static_cast<std::size_t>(0x1ffffffffULL));
  EXPECT_SAME_AS_MSVCRT(L"%*d|%-*d|%.*d|%*.*d|%*d|%.*d", 5, 1, 5, 2, 4, 3, 6, 3, 4, -5, 7, -3, 42);
  EXPECT_SAME_AS_MSVCRT(L"%wd|%wx|%hld", 5, 6, 7L);
}

TEST(WideFormat, FloatingPointMatchesMsvcrt) {
  EXPECT_SAME_AS_MSVCRT(L"%f|%e|%E|%g|%G", 1.5, 1.5, 1.5, 1.5, 1.5);
  EXPECT_SAME_AS_MSVCRT(L"%e|%g|%g|%g|%.3e|%e|%g", 1e100, 1e100, 1e-5, 123456789.0, 1e-300, 0.0, 1e-10);
  EXPECT_SAME_AS_MSVCRT(L"%5.1f|%-8.2f|%08.2f|%+.0f|%#.0f|%#g|% f", 3.14159, 2.5, -2.5, 2.5, 3.0, 1.0, 1.0);
  EXPECT_SAME_AS_MSVCRT(L"%.15g|%.17g|%g|%g|%g|%.10g", 0.1, 0.1, 100000.0, 1e6, 123456.5, 1.0 / 3);
  EXPECT_SAME_AS_MSVCRT(L"%.0f|%.0f|%.0f|%.2f|%.1f|%.2f", 0.5, 1.5, 2.5, 0.125, -0.25, 1.005);
  EXPECT_SAME_AS_MSVCRT(L"%.0e|%.1e|%.2g|%.1g|%.0e|%.3e", 25.0, 0.25, 0.125, 9.5, 2.5, 1.0625);
  EXPECT_SAME_AS_MSVCRT(L"%-+8.2e|%+08.2f|% 08.2f|%-08.2f|%08g|%015e", 1.5, 1.5, 1.5, 1.5, 1e-10, 1.5);
  EXPECT_SAME_AS_MSVCRT(L"%#g|%#.3g|%g|%#e|%#.0e|%.0g", 100.0, 1.0, 0.0001, 2.0, 5.0, 123.0);
  EXPECT_SAME_AS_MSVCRT(L"%lf|%le|%lg|%hf", 1.5, 1.5, 1.5, 1.5);
  EXPECT_SAME_AS_MSVCRT(L"%a|%A|%.2a|%a|%a|%#a", 1.5, 1.5, 1.5, 0.0, -2.0, 1.0);
  EXPECT_SAME_AS_MSVCRT(L"%a|%a|%a|%A", 4.9e-324, 1e-310, DBL_MAX, 2.2250738585072014e-308);
  EXPECT_SAME_AS_MSVCRT(L"%.1a|%.1a|%.0a|%.0a|%025a", 1.03125, 1.09375, 1.5, 2.5, -1.5);
  EXPECT_SAME_AS_MSVCRT(L"%.20f|%.17e|%.25g|%.0f", 0.1, 0.1, 0.1, 123456789012345678.0);
}

TEST(WideFormat, PointersPercentsAndTheLibrarysMessagesMatchMsvcrt) {
  void* pointer = reinterpret_cast<void*>(0xDEADBEEF);
  EXPECT_SAME_AS_MSVCRT(L"%p|%20p|%-20p|%#p|%p", pointer, pointer, pointer, reinterpret_cast<void*>(1),
                        static_cast<void*>(nullptr));
  EXPECT_SAME_AS_MSVCRT(L"100%%|%%d|%d%%", 50);
  EXPECT_SAME_AS_MSVCRT(L"*** Config::ParseFile - Config File Parsed is: %s***", L"C:\\x\\TavroMedivane.cfg");
  EXPECT_SAME_AS_MSVCRT(L"%s::%hs - line %d, status 0x%08X, %.1f%% done", L"Config", "Parse", 42, 0xBEEFu,
                        99.25);
}
#endif  // _WIN32

}  // namespace
}  // namespace Tavro_KVO_Util::internal
