// Key groups to input records: presses in the written order, then releases in the same order,
// each with its scan code, and the records a whole string gives.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"

namespace Tavro_KVO_Util {
namespace {

using namespace testing;
using Peer = KeyPressSimulatorTestPeer;
using Elements = std::vector<std::wstring>;
using Entries = std::vector<std::wstring>;
using Records = std::vector<Record>;

using InputRecords = KeyPressTest;

TEST_F(InputRecords, ChordGoesDownInOrderThenUpInTheSameOrder) {
  const KPS simulator(L"{CONTROL}+{ALT}+d", false, kArea);
  EXPECT_TRUE(
      SameRecords(RecordsOf(simulator), {Down(0x11, kScanControl), Down(0x12, kScanAlt), Down(0x44, kScanD),
                                         Up(0x11, kScanControl), Up(0x12, kScanAlt), Up(0x44, kScanD)}));
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(InputRecords, SeparateKeysArePressedAndReleasedOneAfterTheOther) {
  const KPS simulator(L"ab", false, kArea);
  EXPECT_TRUE(SameRecords(RecordsOf(simulator),
                          {Down(0x41, kScanA), Up(0x41, kScanA), Down(0x42, kScanB), Up(0x42, kScanB)}));
}

TEST_F(InputRecords, ShiftThenTwoLettersIsTwoGroups) {
  const KPS simulator(L"{SHIFT}+ab", false, kArea);
  EXPECT_TRUE(
      SameRecords(RecordsOf(simulator), {Down(0x10, kScanShift), Down(0x41, kScanA), Up(0x10, kScanShift),
                                         Up(0x41, kScanA), Down(0x42, kScanB), Up(0x42, kScanB)}));
}

TEST_F(InputRecords, UpperAndLowerCaseLettersGiveIdenticalRecords) {
  const KPS lower(L"a", false, kArea);
  const KPS upper(L"A", false, kArea);
  EXPECT_TRUE(SameRecords(RecordsOf(lower), {Down(0x41, kScanA), Up(0x41, kScanA)}));
  EXPECT_TRUE(SameRecords(RecordsOf(upper), RecordsOf(lower)));
}

TEST_F(InputRecords, SingleKeysOfEachKind) {
  EXPECT_TRUE(SameRecords(RecordsOf(KPS(L"Z", false, kArea)), {Down(0x5A, kScanZ), Up(0x5A, kScanZ)}));
  EXPECT_TRUE(SameRecords(RecordsOf(KPS(L"7", false, kArea)), {Down(0x37, kScan7), Up(0x37, kScan7)}));
  EXPECT_TRUE(
      SameRecords(RecordsOf(KPS(L"{ALT}", false, kArea)), {Down(0x12, kScanAlt), Up(0x12, kScanAlt)}));
  EXPECT_TRUE(
      SameRecords(RecordsOf(KPS(L"{VK13}", false, kArea)), {Down(13, kScanEnter), Up(13, kScanEnter)}));
}

TEST_F(InputRecords, AddIsTheKeypadPlusKey) {
  EXPECT_TRUE(SameRecords(RecordsOf(KPS(L"{ADD}", false, kArea)), {Down(107, kScanAdd), Up(107, kScanAdd)}));
}

TEST_F(InputRecords, GroupOfNKeysGivesNDownsThenNUps) {
  const KPS simulator(L"{SHIFT}+{CONTROL}+{ALT}+{ADD}+a+7+{VK13}", false, kArea);
  const Records records = RecordsOf(simulator);
  ASSERT_EQ(records.size(), 14u);
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(records[i].ki.dwFlags, 0u) << i;
    EXPECT_EQ(records[i + 7].ki.dwFlags, 2u) << i;
    EXPECT_EQ(records[i + 7].ki.wVk, records[i].ki.wVk) << i;
    EXPECT_EQ(records[i + 7].ki.wScan, records[i].ki.wScan) << i;
  }
}

TEST_F(InputRecords, EmptyStringGivesNoRecordsAndLogsNothing) {
  const KPS simulator(L"", false, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_NE(Peer::Array(simulator), nullptr);  // an empty array, not a missing one
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(InputRecords, KeyWithoutScanCodeIsSentWithScanCodeZeroAndAWarningPerRecord) {
  for (const wchar_t* zero : {L"{VK0}", L"{VK00}", L"{VK000}"}) {
    const KPS simulator(zero, false, kArea);
    EXPECT_TRUE(SameRecords(RecordsOf(simulator), {Down(0, 0), Up(0, 0)})) << ::testing::PrintToString(zero);
  }
  const Entries warnings(6, Warn(kNoScanCode, L"0"));
  EXPECT_EQ(KeyLines(), warnings);
}

TEST_F(InputRecords, WarningNamesTheCodeInDecimal) {
  const KPS simulator(L"{VK99999}", false, kArea);
  EXPECT_TRUE(SameRecords(RecordsOf(simulator), {Down(0x869F, 0), Up(0x869F, 0)}));
  EXPECT_EQ(KeyLines(), Entries(2, Warn(kNoScanCode, L"34463")));
}

TEST_F(InputRecords, FailedPressKeepsTheRecordsAlreadyAppended) {
  KPS simulator(L"", false, kArea);
  Records inputs;
  EXPECT_EQ(Peer::ToInput(simulator, Elements{L"a", L"!"}, inputs), KPS::KPS_INVALID_FORMAT);
  EXPECT_TRUE(SameRecords(inputs, {Down(0x41, kScanA)}));
  EXPECT_EQ(KeyLines(), (Entries{Error(kPressCodeFailed, L"-40")}));
}

TEST_F(InputRecords, RecordsOfAGroupAreAppendedToWhatTheCallerHolds) {
  KPS simulator(L"", false, kArea);
  Records inputs{Down(1, 2)};
  EXPECT_EQ(Peer::ToInput(simulator, Elements{L"b"}, inputs), KPS::KPS_OK);
  EXPECT_TRUE(SameRecords(inputs, {Down(1, 2), Down(0x42, kScanB), Up(0x42, kScanB)}));
}

TEST_F(InputRecords, ParsingTheEmptyStringGivesNoRecords) {
  KPS simulator(L"", false, kArea);
  Records inputs;
  EXPECT_EQ(Peer::Parse(simulator, L"", inputs), KPS::KPS_OK);
  EXPECT_TRUE(inputs.empty());
}

}  // namespace
}  // namespace Tavro_KVO_Util
