#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ButtonActionInfoPidList.h"
#include "buttons/button_records.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Header;
using testing::PidLine;
using testing::PidRecord;
using testing::ReportBuffer;

TEST(ButtonActionInfoPidListReport, EmptyRegistryWritesOnlyTheHeaderWithCountZero) {
  ButtonActionInfoPidList registry;
  ReportBuffer buffer(100);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"Total Actions: 0\n");
  EXPECT_TRUE(buffer.UntouchedAfterText());
}

TEST(ButtonActionInfoPidListReport, ProcessIdsOfTwoToTheThirtyFirstAndAboveAreUnsigned) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(0xFFFFFFFFu, 1, 1)));
  ASSERT_TRUE(registry.Add(PidRecord(0x80000000u, 1, 2)));
  ASSERT_TRUE(registry.Add(PidRecord(0x7FFFFFFFu, 1, 3)));
  ASSERT_TRUE(registry.Add(PidRecord(0, -5, -4)));
  ReportBuffer buffer(500);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(),
            L"Total Actions: 4\n"
            L"PID: 0, Button Type: -5, Button Action: -4\n"
            L"PID: 2147483647, Button Type: 1, Button Action: 3\n"
            L"PID: 2147483648, Button Type: 1, Button Action: 2\n"
            L"PID: 4294967295, Button Type: 1, Button Action: 1\n");
}

TEST(ButtonActionInfoPidListReport, SizeTooSmallForTheHeaderLeavesTheBufferEmpty) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(1, 1, 1)));
  ReportBuffer buffer(Header(1).size());
  EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), L"");
  EXPECT_TRUE(buffer.UntouchedAfterText());
}

TEST(ButtonActionInfoPidListReport, SizeForTheHeaderAndOneLineGivesThoseTwoLinesAndFalse) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(1, 1, 1)));
  ASSERT_TRUE(registry.Add(PidRecord(2, 1, 1)));
  const std::wstring expected = Header(2) + PidLine(1, 1, 1);
  for (const std::size_t size : {expected.size() + 1, expected.size() + PidLine(2, 1, 1).size()}) {
    ReportBuffer buffer(size);
    EXPECT_FALSE(registry.GetReport(buffer.data(), buffer.size()));
    EXPECT_EQ(buffer.Text(), expected) << "size " << size;
    EXPECT_TRUE(buffer.UntouchedAfterText());
  }
}

TEST(ButtonActionInfoPidListReport, ReportThatFitsExactlyWithItsNulIsComplete) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(1, 1, 1)));
  ASSERT_TRUE(registry.Add(PidRecord(2, 1, 1)));
  const std::wstring expected = Header(2) + PidLine(1, 1, 1) + PidLine(2, 1, 1);
  ReportBuffer buffer(expected.size() + 1);
  EXPECT_TRUE(registry.GetReport(buffer.data(), buffer.size()));
  EXPECT_EQ(buffer.Text(), expected);
}

TEST(ButtonActionInfoPidListReport, NullBufferOrSizeZeroWritesNothing) {
  ButtonActionInfoPidList registry;
  EXPECT_FALSE(registry.GetReport(nullptr, 100));
  ReportBuffer buffer(10);
  EXPECT_FALSE(registry.GetReport(buffer.data(), 0));
  EXPECT_EQ(buffer.Text(), std::wstring(18, L'X'));
}

}  // namespace
}  // namespace Tavro_KVO_Util
