// RELP frames as bytes on the wire: encoding exactly, parsing whole frames, asking for more at
// every place a frame can be cut, and refusing what is not a frame.
#include "shipping/relp_frame.h"

#include <gtest/gtest.h>

#include <string>

namespace Tavro_KVO_Util::shipping {
namespace {

TEST(RelpFrame, FrameIsNumberCommandLengthAndData) {
  EXPECT_EQ(EncodeRelpFrame(1, "open", "abc"), "1 open 3 abc\n");
  EXPECT_EQ(EncodeRelpFrame(999999999, "syslog", "<134>1 x"), "999999999 syslog 8 <134>1 x\n");
}

TEST(RelpFrame, EmptyDataLeavesOutItsBlank) { EXPECT_EQ(EncodeRelpFrame(3, "close", ""), "3 close 0\n"); }

TEST(RelpFrame, AppendedFramesFollowEachOtherUnchanged) {
  std::string out = "before|";
  AppendRelpFrame(7, "syslog", "one", out);
  AppendRelpFrame(8, "close", "", out);
  EXPECT_EQ(out, "before|7 syslog 3 one\n8 close 0\n");
}

TEST(RelpFrame, LengthCountsBytesNotCharacters) {
  // "Ü" is two bytes of UTF-8; a line end inside the data is data.
  EXPECT_EQ(EncodeRelpFrame(4, "syslog", "\xC3\x9C\nx"), "4 syslog 4 \xC3\x9C\nx\n");
}

TEST(RelpFrame, ResponseIsParsedWithTheSizeItTook) {
  RelpFrame frame;
  std::size_t used = 0;
  ASSERT_EQ(ParseRelpFrame("2 rsp 6 200 OK\n", frame, used), FrameParse::kComplete);
  EXPECT_EQ(frame.txnr, 2u);
  EXPECT_EQ(frame.command, "rsp");
  EXPECT_EQ(frame.data, "200 OK");
  EXPECT_EQ(used, 15u);
}

TEST(RelpFrame, BytesAfterTheFrameAreLeftForTheNext) {
  RelpFrame frame;
  std::size_t used = 0;
  ASSERT_EQ(ParseRelpFrame("2 rsp 6 200 OK\n3 rsp 6 200 OK\n", frame, used), FrameParse::kComplete);
  EXPECT_EQ(frame.txnr, 2u);
  EXPECT_EQ(used, 15u);
}

TEST(RelpFrame, FrameWithoutDataIsParsed) {
  RelpFrame frame;
  frame.data = "left over";
  std::size_t used = 0;
  ASSERT_EQ(ParseRelpFrame("0 serverclose 0\n", frame, used), FrameParse::kComplete);
  EXPECT_EQ(frame.txnr, 0u);
  EXPECT_EQ(frame.command, "serverclose");
  EXPECT_EQ(frame.data, "");
  EXPECT_EQ(used, 16u);
}

TEST(RelpFrame, EncodedFrameParsesBackWhole) {
  const std::string bytes = EncodeRelpFrame(7, "syslog", "a\nb 9 c\n");
  RelpFrame frame;
  std::size_t used = 0;
  ASSERT_EQ(ParseRelpFrame(bytes, frame, used), FrameParse::kComplete);
  EXPECT_EQ(frame.txnr, 7u);
  EXPECT_EQ(frame.command, "syslog");
  EXPECT_EQ(frame.data, "a\nb 9 c\n");
  EXPECT_EQ(used, bytes.size());
}

TEST(RelpFrame, FrameCutAnywhereNeedsMore) {
  // TCP may hand over a frame in pieces of any size.
  for (const std::string whole : {"2 rsp 6 200 OK\n", "3 close 0\n"}) {
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
      SCOPED_TRACE(whole.substr(0, cut));
      RelpFrame frame;
      std::size_t used = 99;
      EXPECT_EQ(ParseRelpFrame(whole.substr(0, cut), frame, used), FrameParse::kNeedMore);
      EXPECT_EQ(used, 99u);
    }
  }
}

TEST(RelpFrame, WhatIsNotAFrameIsMalformed) {
  for (const char* bytes : {
           "x rsp 6 200 OK\n",                         // no transaction number
           " rsp 6 200 OK\n",                          // nor here
           "2\trsp 6 200 OK\n",                        // a tab for the blank
           "2  rsp 6 200 OK\n",                        // empty command
           "2 rsp x 200 OK\n",                         // no length
           "2 rsp 6x200 OK\n",                         // no blank after the length
           "2 rsp 6 200 OKX",                          // no line end after the data
           "2 rsp 5 200 OK\n",                         // shorter length than the data
           "3 close 0 \n",                             // a blank but no data
           "1234567890 rsp 0\n",                       // a ten-digit transaction number
           "2 rsp 1234567890 x\n",                     // a ten-digit length
           "2 aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa 0\n",  // a 33-character command
       }) {
    SCOPED_TRACE(bytes);
    RelpFrame frame;
    std::size_t used = 99;
    EXPECT_EQ(ParseRelpFrame(bytes, frame, used), FrameParse::kMalformed);
    EXPECT_EQ(used, 99u);
  }
}

TEST(RelpFrame, LongestCommandAndNumbersAreTaken) {
  const std::string command(32, 'a');
  RelpFrame frame;
  std::size_t used = 0;
  ASSERT_EQ(ParseRelpFrame("999999999 " + command + " 0\n", frame, used), FrameParse::kComplete);
  EXPECT_EQ(frame.txnr, 999999999u);
  EXPECT_EQ(frame.command, command);
  EXPECT_EQ(used, 10u + 32u + 3u);
}

TEST(RelpFrame, TransactionNumberWrapsAfterItsHighest) {
  EXPECT_EQ(NextRelpTxnr(1), 2u);
  EXPECT_EQ(NextRelpTxnr(999999998), 999999999u);
  EXPECT_EQ(NextRelpTxnr(999999999), 1u);
}

TEST(RelpFrame, ResponseCodeIsTheLeadingThreeDigits) {
  EXPECT_EQ(RelpResponseCode("200 OK"), 200);
  EXPECT_EQ(RelpResponseCode("500 error"), 500);
  EXPECT_EQ(RelpResponseCode("200"), 200);
  // The response to "open" goes on with the offers on the next lines.
  EXPECT_EQ(RelpResponseCode("200 OK\nrelp_version=0\n"), 200);
  EXPECT_EQ(RelpResponseCode("200\nrelp_version=0\n"), 200);
}

TEST(RelpFrame, DataWithoutAThreeDigitCodeHasNone) {
  EXPECT_EQ(RelpResponseCode("20"), -1);
  EXPECT_EQ(RelpResponseCode(""), -1);
  EXPECT_EQ(RelpResponseCode("2000"), -1);
  EXPECT_EQ(RelpResponseCode("OK 200"), -1);
  EXPECT_EQ(RelpResponseCode("20x OK"), -1);
}

}  // namespace
}  // namespace Tavro_KVO_Util::shipping
