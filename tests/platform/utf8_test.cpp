#include "platform/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace Tavro_KVO_Util::platform {
namespace {

// The wide form of code points as this build holds them: UTF-16 on Windows, one per wchar_t on Linux.
std::wstring Wide(const std::u32string& codePoints) {
  std::wstring out;
  for (const char32_t cp : codePoints) {
    if (sizeof(wchar_t) == 2 && cp > 0xFFFF) {
      out.push_back(static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10)));
      out.push_back(static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<wchar_t>(cp));
    }
  }
  return out;
}

constexpr char32_t R = kReplacementCharacter;
const std::string kReplacementBytes = "\xEF\xBF\xBD";

std::string Utf8(char32_t cp) {
  std::string out;
  AppendUtf8(out, cp);
  return out;
}

TEST(Utf8, WellFormedTextConvertsBothWays) {
  const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  const std::wstring wide = Wide(U"a\u00E9\u20AC\U0001F600");
  EXPECT_EQ(Utf8ToWide(utf8), wide);
  EXPECT_EQ(WideToUtf8(wide), utf8);
  EXPECT_EQ(Utf8ToWide(""), L"");
  EXPECT_EQ(WideToUtf8(L""), "");
}

TEST(Utf8, EveryScalarValueRoundTrips) {
  for (char32_t cp = 0; cp <= 0x10FFFF; ++cp) {
    if (cp == 0xD800) cp = 0xE000;
    ASSERT_EQ(Utf8ToWide(Utf8(cp)), Wide(std::u32string(1, cp))) << std::hex << cp;
  }
}

TEST(Utf8, EncodingUsesTheShortestFormAtEachBoundary) {
  EXPECT_EQ(Utf8(0x7F), "\x7F");
  EXPECT_EQ(Utf8(0x80), "\xC2\x80");
  EXPECT_EQ(Utf8(0x7FF), "\xDF\xBF");
  EXPECT_EQ(Utf8(0x800), "\xE0\xA0\x80");
  EXPECT_EQ(Utf8(0xFFFF), "\xEF\xBF\xBF");
  EXPECT_EQ(Utf8(0x10000), "\xF0\x90\x80\x80");
  EXPECT_EQ(Utf8(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(Utf8, SurrogatesAndValuesAboveTheLastCodePointAreEncodedAsReplacement) {
  EXPECT_EQ(Utf8(0xD800), kReplacementBytes);
  EXPECT_EQ(Utf8(0xDFFF), kReplacementBytes);
  EXPECT_EQ(Utf8(0x110000), kReplacementBytes);
  EXPECT_EQ(Utf8(0xFFFFFFFF), kReplacementBytes);
}

TEST(Utf8, SurrogatePairInWideTextIsOneCharacterOnEveryBuild) {
  // On Linux such a pair comes from UTF-16 text read one code unit per wchar_t.
  EXPECT_EQ(WideToUtf8(std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)}),
            "\xF0\x9F\x98\x80");
}

TEST(Utf8, LoneSurrogatesInWideTextBecomeReplacement) {
  const std::wstring lone{L'a',
                          static_cast<wchar_t>(0xD800),
                          L'b',
                          static_cast<wchar_t>(0xDC00),
                          static_cast<wchar_t>(0xDC00),
                          static_cast<wchar_t>(0xD800)};
  EXPECT_EQ(WideToUtf8(lone),
            "a" + kReplacementBytes + "b" + kReplacementBytes + kReplacementBytes + kReplacementBytes);
}

#ifndef _WIN32
// Only a 32-bit wchar_t can hold such values.
TEST(Utf8, WideValuesThatAreNoCodePointBecomeReplacement) {
  const std::wstring wide{static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
  EXPECT_EQ(WideToUtf8(wide), kReplacementBytes + kReplacementBytes);
}
#endif

TEST(Utf8, StrayContinuationBytesAndBytesThatStartNothingBecomeOneReplacementEach) {
  EXPECT_EQ(Utf8ToWide("\x80\xBF"), Wide({R, R}));
  EXPECT_EQ(Utf8ToWide("a\xC0\xC1\xF5\xFF"
                       "b"),
            Wide({U'a', R, R, R, R, U'b'}));
}

TEST(Utf8, OverlongFormsEncodedSurrogatesAndValuesAboveTheLastCodePointAreRefused) {
  EXPECT_EQ(Utf8ToWide("\xC0\xAF"), Wide({R, R}));                // overlong "/"
  EXPECT_EQ(Utf8ToWide("\xE0\x80\xAF"), Wide({R, R, R}));         // overlong "/" in three bytes
  EXPECT_EQ(Utf8ToWide("\xF0\x80\x80\xAF"), Wide({R, R, R, R}));  // and in four
  EXPECT_EQ(Utf8ToWide("\xED\xA0\x80"), Wide({R, R, R}));         // U+D800
  EXPECT_EQ(Utf8ToWide("\xF4\x90\x80\x80"), Wide({R, R, R, R}));  // U+110000
}

TEST(Utf8, SequenceCutShortIsOneReplacementAndTheNextByteStartsAgain) {
  EXPECT_EQ(Utf8ToWide("\xE2\x82"), Wide({R}));
  EXPECT_EQ(Utf8ToWide("\xF0\x9F\x98"), Wide({R}));
  EXPECT_EQ(Utf8ToWide("\xE2\x82"
                       "A"),
            Wide({R, U'A'}));
  EXPECT_EQ(Utf8ToWide("\xF0\x9F\xC3\xA9"), Wide({R, 0xE9}));
}

TEST(Utf8, MaximalSubpartsAreReplacedAsUnicodeRecommends) {
  // The example of Unicode section 3.9 ("U+FFFD Substitution of Maximal Subparts").
  EXPECT_EQ(Utf8ToWide("\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64"),
            Wide({U'a', R, R, R, U'b', R, U'c', R, R, U'd'}));
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
