// Simulators whose key press string is the value of a configuration key, read through the
// logging configuration store of the process.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Config.h"
#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"
#include "keypress/keyboard_access.h"

namespace Tavro_KVO_Util {
namespace {

using namespace testing;
using Peer = KeyPressSimulatorTestPeer;
using Entries = std::vector<std::wstring>;

constexpr wchar_t kChordKey[] = L"/Tavro/Keys/Chord";

using ConfigSource = KeyPressTest;

TEST_F(ConfigSource, ValueOfTheKeyIsTheKeyPressString) {
  WriteConfigWith({std::wstring(kChordKey) + L"={CONTROL}+{ALT}+d"});
  const KPS simulator(kChordKey, true, kArea);
  EXPECT_EQ(Peer::ConfigKey(simulator), kChordKey);
  EXPECT_EQ(Peer::LogArea(simulator), kArea);
  EXPECT_TRUE(
      SameRecords(RecordsOf(simulator), {Down(0x11, kScanControl), Down(0x12, kScanAlt), Down(0x44, kScanD),
                                         Up(0x11, kScanControl), Up(0x12, kScanAlt), Up(0x44, kScanD)}));
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(ConfigSource, StringGivenDirectlyLeavesTheConfigurationKeyEmpty) {
  const KPS simulator(L"ab", false, kArea);
  EXPECT_EQ(Peer::ConfigKey(simulator), L"");
  EXPECT_EQ(KeyPressRecords::Count(simulator), 4);
}

TEST_F(ConfigSource, MissingKeyMeansNoKeystrokesAndNoError) {
  WriteConfigWith({L"/Tavro/Keys/Other=a"});
  internal::KeyboardRecorderForTesting keyboard;
  KPS simulator(kChordKey, true, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  EXPECT_TRUE(keyboard.Sends().empty());
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(ConfigSource, BlankValueMeansNoKeystrokes) {
  WriteConfigWith({std::wstring(kChordKey) + L"=   "});
  const KPS simulator(kChordKey, true, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(ConfigSource, BadValueIsLoggedAtEachLevelUpToTheConstructor) {
  WriteConfigWith({std::wstring(kChordKey) + L"={alt}+d"});
  internal::KeyboardRecorderForTesting keyboard;
  KPS simulator(kChordKey, true, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
  EXPECT_TRUE(keyboard.Sends().empty());
  EXPECT_EQ(KeyLines(), (Entries{Error(kPressCodeFailed, L"-40"), Error(kGroupToInputFailed, L"-40"),
                                 Error(kArrayParseFailed, L"-40"), Error(kConfiguredParseFailed, L"-40"),
                                 Error(kNoConfiguredArray, L"-40")}));
}

TEST_F(ConfigSource, ValueWithATrailingJoinerLogsTheValue) {
  WriteConfigWith({std::wstring(kChordKey) + L"={SHIFT}+"});
  const KPS simulator(kChordKey, true, kArea);
  EXPECT_EQ(KeyLines(), (Entries{Error(kEndsWithJoiner, L"{SHIFT}+"), Error(kGroupFailed, L"-40"),
                                 Error(kArrayParseFailed, L"-40"), Error(kConfiguredParseFailed, L"-40"),
                                 Error(kNoConfiguredArray, L"-40")}));
}

TEST_F(ConfigSource, LaterChangeOfTheValueLeavesAnExistingSimulatorAlone) {
  WriteConfigWith({std::wstring(kChordKey) + L"=a"});
  const KPS before(kChordKey, true, kArea);
  WriteConfigWith({std::wstring(kChordKey) + L"=b"});
  EXPECT_TRUE(SameRecords(RecordsOf(before), {Down(0x41, kScanA), Up(0x41, kScanA)}));
}

TEST_F(ConfigSource, StringIsReadThroughTheLoggingStore) {
  WriteConfigWith({std::wstring(kChordKey) + L"=7"});
  const KPS simulator(kChordKey, true, kArea);
  EXPECT_NE(Config::mThisInstance, nullptr);
  EXPECT_TRUE(SameRecords(RecordsOf(simulator), {Down(0x37, kScan7), Up(0x37, kScan7)}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
