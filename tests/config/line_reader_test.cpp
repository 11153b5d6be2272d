// Splitting a file body into lines: the fast paths (memchr for line ends, whole-line widening)
// must give exactly what reading unit by unit gives.
#include "config/text_decoding.h"

#include <gtest/gtest.h>

#include <vector>

namespace Tavro_KVO_Util::internal {
namespace {

std::vector<std::wstring> AllLines(const std::string& bytes, ConfigEncoding encoding) {
  std::size_t bodyStart = 0;
  if (encoding != ConfigEncoding::kAnsi) bodyStart = 2;  // the tests put a mark in front
  LineReader reader(bytes, bodyStart, encoding);
  std::vector<std::wstring> lines;
  std::wstring line;
  while (reader.Next(line)) lines.push_back(line);
  return lines;
}

std::string Le(const std::u16string& units) {
  std::string bytes("\xFF\xFE", 2);
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

std::string Be(const std::u16string& units) {
  std::string bytes("\xFE\xFF", 2);
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<char>(unit >> 8));
    bytes.push_back(static_cast<char>(unit & 0xFF));
  }
  return bytes;
}

using Lines = std::vector<std::wstring>;

TEST(LineReader, AnsiDropsCarriageReturnsAtTheEndAndInside) {
  EXPECT_EQ(AllLines("a=1\r\nb\r=\r2\r\r\n\r\nc", ConfigEncoding::kAnsi), (Lines{L"a=1", L"b=2", L"", L"c"}));
}

TEST(LineReader, AnsiEndingInLineFeedEndsWithAnEmptyLine) {
  EXPECT_EQ(AllLines("a\n", ConfigEncoding::kAnsi), (Lines{L"a", L""}));
  EXPECT_EQ(AllLines("", ConfigEncoding::kAnsi), (Lines{L""}));
  EXPECT_EQ(AllLines("\r", ConfigEncoding::kAnsi), (Lines{L""}));
}

TEST(LineReader, AnsiHighBytesBecomeTheCharactersOfTheSameCode) {
  EXPECT_EQ(AllLines("\xE9=\xFF\r\n", ConfigEncoding::kAnsi), (Lines{L"\u00E9=\u00FF", L""}));
}

// 0x0A and 0x0D bytes inside other units are no line ends and no carriage returns: U+0A41 has
// 0x0A as its high byte, U+010A and U+010D have 0x0A and 0x0D as their low byte.
TEST(LineReader, Utf16LittleEndianFindsOnlyWholeLineFeedUnits) {
  EXPECT_EQ(AllLines(Le(u"a\u0A41\u010A\u010Db\r\nc"), ConfigEncoding::kUtf16Le),
            (Lines{L"a\u0A41\u010A\u010Db", L"c"}));
}

TEST(LineReader, Utf16BigEndianFindsOnlyWholeLineFeedUnits) {
  EXPECT_EQ(AllLines(Be(u"a\u0A41\u010A\u010Db\r\nc"), ConfigEncoding::kUtf16Be),
            (Lines{L"a\u0A41\u010A\u010Db", L"c"}));
}

// A line feed unit at an odd byte offset from the start of the body is two halves of two units.
TEST(LineReader, Utf16LineFeedBytesAcrossTwoUnitsAreNoLineEnd) {
  // Units 0x0A61 then 0x6200: the bytes 61 0A 00 62 hold 0A 00 at offsets 1-2.
  EXPECT_EQ(AllLines(Le(u"\u0A61\u6200"), ConfigEncoding::kUtf16Le), (Lines{L"\u0A61\u6200"}));
  // The same across units in big-endian: 0x610A then 0x0062 are the bytes 61 0A 00 62.
  EXPECT_EQ(AllLines(Be(u"\u610A\u0062"), ConfigEncoding::kUtf16Be), (Lines{L"\u610A\u0062"}));
}

TEST(LineReader, Utf16DropsCarriageReturnsInsideAndAFinalOddByte) {
  std::string bytes = Le(u"a\r=\r1\r\r\n\rb");
  bytes.push_back('\n');
  EXPECT_EQ(AllLines(bytes, ConfigEncoding::kUtf16Le), (Lines{L"a=1", L"b"}));
  EXPECT_EQ(AllLines(Be(u"x\r\n\r\n"), ConfigEncoding::kUtf16Be), (Lines{L"x", L"", L""}));
}

TEST(LineReader, Utf16BodyOfOneByteIsOneEmptyLine) {
  EXPECT_EQ(AllLines(std::string("\xFF\xFE\n", 3), ConfigEncoding::kUtf16Le), (Lines{L""}));
  EXPECT_EQ(AllLines(std::string("\xFE\xFF\n", 3), ConfigEncoding::kUtf16Be), (Lines{L""}));
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal
