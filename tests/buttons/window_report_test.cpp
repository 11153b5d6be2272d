#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ButtonActionInfoList.h"
#include "buttons/button_records.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Header;
using testing::ReportBuffer;
using testing::WindowLine;
using testing::WindowRecord;

TEST(ButtonActionInfoListReport, EmptyRegistryWritesOnlyTheHeaderWithCountZero) {
  ButtonActionInfoList registry;
  ReportBuffer buffer(100);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"Total Actions: 0\n");
  EXPECT_TRUE(buffer.UntouchedAfterText());
}

TEST(ButtonActionInfoListReport, EntriesFollowTheHeaderInKeyOrder) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x2000, 1, 7)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x1234, 5, -3)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x1234, -2, 0)));
  ReportBuffer buffer(500);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(),
            L"Total Actions: 3\n"
            L"HWND: 0000000000001234, Button Type: -2, Button Action: 0\n"
            L"HWND: 0000000000001234, Button Type: 5, Button Action: -3\n"
            L"HWND: 0000000000002000, Button Type: 1, Button Action: 7\n");
}

TEST(ButtonActionInfoListReport, HandlesAreSixteenUpperCaseHexDigitsAndSortUnsigned) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0xFFFF8000ABCDEF01ull, 0, 1)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x7FFFFFFFFFFFFFFFull, 0, 2)));
  ASSERT_TRUE(registry.Add(WindowRecord(0, 0, 3)));
  ReportBuffer buffer(500);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(),
            L"Total Actions: 3\n"
            L"HWND: 0000000000000000, Button Type: 0, Button Action: 3\n"
            L"HWND: 7FFFFFFFFFFFFFFF, Button Type: 0, Button Action: 2\n"
            L"HWND: FFFF8000ABCDEF01, Button Type: 0, Button Action: 1\n");
}

TEST(ButtonActionInfoListReport, NegativeButtonTypeIsListedBeforeZero) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 0, 1)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, INT32_MIN, 2)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, INT32_MAX, INT32_MIN)));
  ReportBuffer buffer(500);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(),
            L"Total Actions: 3\n"
            L"HWND: 0000000000000010, Button Type: -2147483648, Button Action: 2\n"
            L"HWND: 0000000000000010, Button Type: 0, Button Action: 1\n"
            L"HWND: 0000000000000010, Button Type: 2147483647, Button Action: -2147483648\n");
}

TEST(ButtonActionInfoListReport, SizeTooSmallForTheHeaderLeavesTheBufferEmpty) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  const std::size_t header = Header(1).size();  // its NUL does not fit
  for (const std::size_t size : {header, std::size_t{1}}) {
    ReportBuffer buffer(size);
    EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
    EXPECT_EQ(buffer.Text(), L"");
    EXPECT_TRUE(buffer.UntouchedAfterText()) << "size " << size;
  }
}

TEST(ButtonActionInfoListReport, SizeForTheHeaderAndOneLineGivesThoseTwoLinesAndFalse) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 2, 2)));
  const std::wstring expected = Header(2) + WindowLine(0x10, 1, 1);
  // Room for the two lines and the NUL, and up to one character short of the third line.
  for (const std::size_t size : {expected.size() + 1, expected.size() + WindowLine(0x10, 2, 2).size()}) {
    ReportBuffer buffer(size);
    EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
    EXPECT_EQ(buffer.Text(), expected) << "size " << size;
    EXPECT_TRUE(buffer.UntouchedAfterText());
  }
}

TEST(ButtonActionInfoListReport, ReportThatFitsExactlyWithItsNulIsComplete) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  const std::wstring expected = Header(1) + WindowLine(0x10, 1, 1);
  ReportBuffer buffer(expected.size() + 1);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), expected);
}

TEST(ButtonActionInfoListReport, AFullReportReplacesWhatTheBufferHeld) {
  ButtonActionInfoList registry;
  ReportBuffer buffer(100);
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 1, 1)));
  ASSERT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  ASSERT_TRUE(registry.Remove(testing::Window(0x10), testing::Button(1)));
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"Total Actions: 0\n");
}

TEST(ButtonActionInfoListReport, NullBufferOrSizeZeroWritesNothing) {
  ButtonActionInfoList registry;
  EXPECT_FALSE(registry.GetReport(nullptr, 100));
  ReportBuffer buffer(10);
  EXPECT_FALSE(registry.GetReport(buffer.data(), 0));
  EXPECT_EQ(buffer.Text(), std::wstring(18, L'X'));
}

}  // namespace
}  // namespace Tavro_KVO_Util
