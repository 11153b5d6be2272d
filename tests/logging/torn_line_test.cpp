// Cutting the shared log back to its last whole entry, as the safe profile does after a writer
// died holding the log lock: the exact bytes that stay.
#include "logging/torn_line.h"

#include <gtest/gtest.h>

#include <string>

#include "support/config_file.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util {
namespace {

using testing::ReadBytes;
using testing::Utf16LeUnits;
using testing::WriteBytes;

const std::string kMark("\xFF\xFE", 2);

class TornLine : public ::testing::Test {
 protected:
  // Writes `bytes` as the log, mends it, and gives back the result and the bytes left.
  TornLineResult Mend(const std::string& bytes, std::string& left) {
    WriteBytes(mPath, bytes);
    TornLineResult result = TornLineResult::kFailed;
    {
      platform::LogFile file;
      bool created = false;
      int error = 0;
      EXPECT_TRUE(file.OpenAlways(mPath.wstring().c_str(), created, error,
                                  platform::LogFileUse::kAppendAfterMending));
      result = CutTornLastLine(file);
    }
    left = ReadBytes(mPath);
    return result;
  }

  testing::TempDir mDir;
  std::filesystem::path mPath = mDir.path() / "test.log";
};

TEST_F(TornLine, AFileEndingWithAWholeEntryIsLeftAsItIs) {
  const std::string whole = kMark + Utf16LeUnits(L"I A one\r\nI A two\r\n");
  std::string left;
  EXPECT_EQ(Mend(whole, left), TornLineResult::kWhole);
  EXPECT_EQ(left, whole);
}

TEST_F(TornLine, APartOfAnEntryAfterTheLastWholeOneIsCutOff) {
  const std::string whole = kMark + Utf16LeUnits(L"I A one\r\n");
  std::string left;
  EXPECT_EQ(Mend(whole + Utf16LeUnits(L"I A tw"), left), TornLineResult::kCut);
  EXPECT_EQ(left, whole);
}

TEST_F(TornLine, AnOddByteAtTheEndIsCutOff) {
  const std::string whole = kMark + Utf16LeUnits(L"I A one\r\n");
  std::string left;
  EXPECT_EQ(Mend(whole + "I", left), TornLineResult::kCut);
  EXPECT_EQ(left, whole);
}

TEST_F(TornLine, ALineEndThatLacksItsLastByteIsNoLineEnd) {
  const std::string whole = kMark + Utf16LeUnits(L"I A one\r\n");
  std::string left;
  EXPECT_EQ(Mend(whole + Utf16LeUnits(L"I A two\r") + "\n", left), TornLineResult::kCut);
  EXPECT_EQ(left, whole);
}

TEST_F(TornLine, WithoutAWholeEntryTheByteOrderMarkStays) {
  std::string left;
  EXPECT_EQ(Mend(kMark + Utf16LeUnits(L"I A on"), left), TornLineResult::kCut);
  EXPECT_EQ(left, kMark);
  EXPECT_EQ(Mend(kMark, left), TornLineResult::kWhole);
  EXPECT_EQ(left, kMark);
}

TEST_F(TornLine, AHalfByteOrderMarkIsCutToNothing) {
  std::string left;
  EXPECT_EQ(Mend("\xFF", left), TornLineResult::kCut);
  EXPECT_EQ(left, "");
  EXPECT_EQ(Mend("", left), TornLineResult::kWhole);
  EXPECT_EQ(left, "");
}

TEST_F(TornLine, BytesThatLookLikeALineEndAtAnOddOffsetAreNoLineEnd) {
  // The characters U+0D41, U+0A00 and a torn third: their bytes hold 0D 00 0A 00 from an odd
  // offset, which is no CR LF.
  const std::string bytes = kMark + std::string("\x41\x0D\x00\x0A\x00\x41", 6);
  std::string left;
  EXPECT_EQ(Mend(bytes, left), TornLineResult::kCut);
  EXPECT_EQ(left, kMark);
}

TEST_F(TornLine, ATornEntryLongerThanOnePieceIsCutWhole) {
  const std::string whole = kMark + Utf16LeUnits(L"I A one\r\n");
  const std::string torn = Utf16LeUnits(L"I A " + std::wstring(100000, L'x'));
  std::string left;
  EXPECT_EQ(Mend(whole + torn, left), TornLineResult::kCut);
  EXPECT_EQ(left, whole);
}

TEST_F(TornLine, ALineEndAcrossTheBorderOfTwoPiecesIsFound) {
  // Pieces of 64 KiB are read from the end: put the CR LF across that border, at every shift.
  for (std::size_t shift = 0; shift <= 4; ++shift) {
    SCOPED_TRACE(shift);
    const std::size_t tornBytes = 64 * 1024 - 2 + shift;
    const std::string whole = kMark + Utf16LeUnits(L"I A one\r\n");
    std::string left;
    EXPECT_EQ(Mend(whole + std::string(tornBytes, 'x'), left), TornLineResult::kCut);
    EXPECT_EQ(left, whole);
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util
