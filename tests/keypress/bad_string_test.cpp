// Bad key press strings: each failure is logged once at every level it passes, the simulator
// then holds no records and sends nothing, and ValidateInputString answers only 0 or -40.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"
#include "keypress/keyboard_access.h"

namespace Tavro_KVO_Util {
namespace {

using namespace testing;
using Entries = std::vector<std::wstring>;

class BadString : public KeyPressTest {
 protected:
  // What a constructor logs for a group that names an unknown key.
  static Entries UnknownKeyLines() {
    return {Error(kPressCodeFailed, L"-40"), Error(kGroupToInputFailed, L"-40"),
            Error(kArrayParseFailed, L"-40"), Error(kNoParsedArray, L"-40")};
  }
  // What a constructor logs for a character that is no element.
  static Entries BadCharacterLines() {
    return {Error(kElementFailed, L"-40"), Error(kGroupFailed, L"-40"), Error(kArrayParseFailed, L"-40"),
            Error(kNoParsedArray, L"-40")};
  }

  // Builds a simulator from `input` and checks that it holds nothing and sends nothing.
  void ExpectNothingToSend(const std::wstring& input) {
    internal::KeyboardRecorderForTesting keyboard;
    KPS simulator(input, false, kArea);
    EXPECT_EQ(KeyPressRecords::Count(simulator), 0) << ::testing::PrintToString(input);
    EXPECT_EQ(KeyPressSimulatorTestPeer::Array(simulator), nullptr);
    EXPECT_EQ(simulator.DoSimulation(), KPS::KPS_OK);
    EXPECT_TRUE(keyboard.Sends().empty());
  }
};

TEST_F(BadString, UnknownKeyNameIsLoggedAtEachLevel) {
  for (const wchar_t* input : {L"{alt}", L"{Alt}", L"{VK}", L"{ENTER}", L"{VK0000}"}) {
    ExpectNothingToSend(input);
    EXPECT_EQ(NewKeyLines(), UnknownKeyLines()) << ::testing::PrintToString(input);
  }
}

TEST_F(BadString, SpaceBetweenKeysIsLoggedAtEachLevel) {
  ExpectNothingToSend(L"a b");
  EXPECT_EQ(KeyLines(), BadCharacterLines());
}

TEST_F(BadString, CommaAndPunctuationAreLoggedAtEachLevel) {
  ExpectNothingToSend(L"a,b");
  ExpectNothingToSend(L"!");
  Entries twice = BadCharacterLines();
  const Entries once = BadCharacterLines();
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(KeyLines(), twice);
}

TEST_F(BadString, TrailingJoinerLogsTheWholeString) {
  ExpectNothingToSend(L"a+");
  ExpectNothingToSend(L"{CONTROL}+");
  EXPECT_EQ(KeyLines(), (Entries{Error(kEndsWithJoiner, L"a+"), Error(kGroupFailed, L"-40"),
                                 Error(kArrayParseFailed, L"-40"), Error(kNoParsedArray, L"-40"),
                                 Error(kEndsWithJoiner, L"{CONTROL}+"), Error(kGroupFailed, L"-40"),
                                 Error(kArrayParseFailed, L"-40"), Error(kNoParsedArray, L"-40")}));
}

TEST_F(BadString, LoneJoinerFailsAsAnUnknownKey) {
  ExpectNothingToSend(L"+");
  EXPECT_EQ(KeyLines(), UnknownKeyLines());
}

TEST_F(BadString, DoubleJoinerFailsAsAnUnknownKey) {
  ExpectNothingToSend(L"a++b");
  EXPECT_EQ(KeyLines(), UnknownKeyLines());
}

TEST_F(BadString, UnterminatedBraceFailsAsAnUnknownKey) {
  ExpectNothingToSend(L"{ALT");
  ExpectNothingToSend(L"a+{VK65");
  Entries twice = UnknownKeyLines();
  const Entries once = UnknownKeyLines();
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(KeyLines(), twice);
}

TEST_F(BadString, BadSecondGroupDropsTheGoodFirstOne) {
  ExpectNothingToSend(L"ab!");
  EXPECT_EQ(KeyLines(), BadCharacterLines());
}

TEST_F(BadString, FailedAnsiConversionIsLoggedAtEachLevel) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.FailConversions(1113);
  KPS simulator(L"a", false, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_EQ(KeyLines(), (Entries{Error(kConversionFailed, L"1113"), Error(kPressCodeFailed, L"-40"),
                                 Error(kGroupToInputFailed, L"-40"), Error(kArrayParseFailed, L"-40"),
                                 Error(kNoParsedArray, L"-40")}));
}

TEST_F(BadString, KeyThatFailsOnReleaseIsLoggedAsTheSecondLookUp) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.FailConversions(87, /*successes=*/1);
  KPS simulator(L"a", false, kArea);
  EXPECT_EQ(KeyPressRecords::Count(simulator), 0);
  EXPECT_EQ(KeyLines(), (Entries{Error(kConversionFailed, L"87"), Error(kReleaseCodeFailed, L"-40"),
                                 Error(kGroupToInputFailed, L"-40"), Error(kArrayParseFailed, L"-40"),
                                 Error(kNoParsedArray, L"-40")}));
}

TEST_F(BadString, NothingIsLoggedWhenErrorsAreBelowTheThreshold) {
  WriteConfig({{L"DefaultLevel", L"FATAL"}});
  ExpectNothingToSend(L"{alt}");
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(BadString, EntriesNameTheSimulatorsSourceFileAndALine) {
  WriteConfig({{L"FormatString", L"%L %A %f %m"}});
  KPS simulator(L"!", false, kArea);
  const Entries lines = KeyLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[3],
            std::wstring(L"E ") + kArea + L" .\\KeyPressSimulator.cpp " + kNoParsedArray + L";DATA#-40");
}

using Validate = KeyPressTest;

TEST_F(Validate, ValidStringsGiveZero) {
  for (const wchar_t* input : {L"", L"a", L"Z", L"7", L"{ALT}", L"{VK13}", L"{VK 65}", L"{CONTROL}+{ALT}+d",
                               L"{SHIFT}+ab", L"{VK0}", L"{ADD}"}) {
    EXPECT_EQ(KPS::ValidateInputString(input, kArea), 0) << ::testing::PrintToString(input);
  }
}

TEST_F(Validate, InvalidStringsGiveMinusFortyAndNothingElse) {
  for (const wchar_t* input :
       {L"{alt}", L"{Alt}", L"{VK}", L"{ENTER}", L"a b", L"a,b", L"!", L"a+", L"{CONTROL}+", L"+", L"a++b",
        L"{ALT", L"a+{VK65", L"{VK0000}", L"}", L"{", L"ab+"}) {
    EXPECT_EQ(KPS::ValidateInputString(input, kArea), -40) << ::testing::PrintToString(input);
  }
}

TEST_F(Validate, ConversionFailureIsReportedAsMinusFortyToo) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.FailConversions(1113);
  EXPECT_EQ(KPS::ValidateInputString(L"a", kArea), -40);
}

TEST_F(Validate, ReasonsAreLoggedInTheGivenAreaWithoutTheConstructorsMessages) {
  EXPECT_EQ(KPS::ValidateInputString(L"a+", kArea), KPS::KPS_INVALID_FORMAT);
  EXPECT_EQ(KeyLines(), (Entries{Error(kEndsWithJoiner, L"a+"), Error(kGroupFailed, L"-40")}));
}

TEST_F(Validate, UnknownKeyIsLoggedByTheConverterAndTheParser) {
  EXPECT_EQ(KPS::ValidateInputString(L"{alt}", kArea), KPS::KPS_INVALID_FORMAT);
  EXPECT_EQ(KeyLines(), (Entries{Error(kPressCodeFailed, L"-40"), Error(kGroupToInputFailed, L"-40")}));
}

TEST_F(Validate, ValidStringLogsNothing) {
  EXPECT_EQ(KPS::ValidateInputString(L"{CONTROL}+{ALT}+d", kArea), KPS::KPS_OK);
  EXPECT_EQ(KeyLines(), Entries{});
}

}  // namespace
}  // namespace Tavro_KVO_Util
