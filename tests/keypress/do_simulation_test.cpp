// Sending: what DoSimulation hands to the system, and how it reports a refusal.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"
#include "keypress/keyboard_access.h"

namespace Tavro_KVO_Util {
namespace {

using namespace testing;
using Entries = std::vector<std::wstring>;
using Records = std::vector<Record>;

using DoSimulation = KeyPressTest;

TEST_F(DoSimulation, AllRecordsGoInOneCallWithTheSizeOfOneRecord) {
  internal::KeyboardRecorderForTesting keyboard;
  KPS simulator(L"ab", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  const auto sends = keyboard.Sends();
  ASSERT_EQ(sends.size(), 1u);
  EXPECT_EQ(sends[0].count, 4u);
  EXPECT_EQ(sends[0].recordSize, 40);
  EXPECT_TRUE(SameRecords(sends[0].records,
                          {Down(0x41, kScanA), Up(0x41, kScanA), Down(0x42, kScanB), Up(0x42, kScanB)}));
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(DoSimulation, EveryCallSendsTheSameRecords) {
  internal::KeyboardRecorderForTesting keyboard;
  KPS simulator(L"{CONTROL}+{ALT}+d", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  const auto sends = keyboard.Sends();
  ASSERT_EQ(sends.size(), 2u);
  EXPECT_EQ(sends[0].count, 6u);
  EXPECT_TRUE(SameRecords(sends[1].records, sends[0].records));
  EXPECT_TRUE(SameRecords(sends[0].records, RecordsOf(simulator)));
}

TEST_F(DoSimulation, NothingToSendReturnsZeroWithoutAskingTheSystem) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.AnswerSends(0, 5);
  KPS empty(L"", false, kArea);
  KPS bad(L"{alt}", false, kArea);
  EXPECT_EQ(empty.DoSimulation(), KPS::KPS_OK);
  EXPECT_EQ(bad.DoSimulation(), KPS::KPS_OK);
  EXPECT_TRUE(keyboard.Sends().empty());
}

TEST_F(DoSimulation, PartialInsertionCountsAsSuccess) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.AnswerSends(1);
  KPS simulator(L"ab", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(DoSimulation, RefusalReturnsSendFailedAndLogsTheSystemError) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.AnswerSends(0, 5);
  KPS simulator(L"a", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_SEND_FAILED);
  EXPECT_EQ(simulator.DoSimulation(), -1000);
  EXPECT_EQ(keyboard.Sends().size(), 2u);
  EXPECT_EQ(KeyLines(), Entries(2, Error(kSendFailed, L"5")));
}

TEST_F(DoSimulation, ErrorNumberIsWrittenAsASigned32BitNumber) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.AnswerSends(0, 0x80070005ul);
  KPS simulator(L"a", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_SEND_FAILED);
  EXPECT_EQ(KeyLines(), (Entries{Error(kSendFailed, L"-2147024891")}));
}

#ifndef _WIN32
// Linux has no input stream to feed: the send fails honestly, with the system's own error.
TEST_F(DoSimulation, LinuxHasNoInputBackEndAndSaysSo) {
  KPS simulator(L"{CONTROL}+{ALT}+d", false, kArea);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_SEND_FAILED);
  EXPECT_EQ(KeyLines(), (Entries{Error(kSendFailed, std::to_wstring(ENOSYS))}));
}
#endif

TEST(KeyPressLayout, RecordHasTheLayoutOfTheSystemsInputRecord) {
  EXPECT_EQ(sizeof(Record), 40u);
  EXPECT_EQ(offsetof(Record, type), 0u);
  EXPECT_EQ(offsetof(Record, ki), 8u);
  EXPECT_EQ(offsetof(Record, ki) + offsetof(Record::MY_KEYBDINPUT, wScan), 10u);
  EXPECT_EQ(offsetof(Record, ki) + offsetof(Record::MY_KEYBDINPUT, dwFlags), 12u);
  EXPECT_EQ(offsetof(Record, ki) + offsetof(Record::MY_KEYBDINPUT, time), 16u);
  EXPECT_EQ(offsetof(Record, ki) + offsetof(Record::MY_KEYBDINPUT, dwExtraInfo), 24u);
  EXPECT_EQ(offsetof(Record, mi) + offsetof(Record::MY_MOUSEINPUT, dwExtraInfo), 32u);
  EXPECT_EQ(sizeof(Record::MY_HARDWAREINPUT), 8u);
}

TEST(KeyPressStatus, ValuesAreFixed) {
  EXPECT_EQ(KPS::KPS_OK, 0);
  EXPECT_EQ(KPS::KPS_END_OF_INPUT, -3);
  EXPECT_EQ(KPS::KPS_OUT_OF_MEMORY, -20);
  EXPECT_EQ(KPS::KPS_INVALID_FORMAT, -40);
  EXPECT_EQ(KPS::KPS_SEND_FAILED, -1000);
  EXPECT_EQ(sizeof(KPS::KPS_Status), 4u);
}

}  // namespace
}  // namespace Tavro_KVO_Util
