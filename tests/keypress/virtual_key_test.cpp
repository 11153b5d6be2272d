// Elements to virtual-key codes: the four names, "{VK<n>}" with the runtime's number rules, and
// single letters and digits through the ANSI code page.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"
#include "keypress/keyboard_access.h"

namespace Tavro_KVO_Util {
namespace {

using testing::kArea;
using testing::KeyPressTest;
using Peer = KeyPressSimulatorTestPeer;
using Entries = std::vector<std::wstring>;

class VirtualKey : public KeyPressTest {
 protected:
  // The status, and the code (untouched stays 0xBEEF).
  std::pair<KPS::KPS_Status, unsigned short> Of(const std::wstring& element) {
    unsigned short code = 0xBEEF;
    const KPS::KPS_Status status = Peer::Code(mSimulator, element, &code);
    return {status, code};
  }
  unsigned short CodeOf(const std::wstring& element) {
    const auto [status, code] = Of(element);
    EXPECT_EQ(status, KPS::KPS_OK) << ::testing::PrintToString(element);
    return code;
  }
  void ExpectInvalid(const std::wstring& element) {
    const auto [status, code] = Of(element);
    EXPECT_EQ(status, KPS::KPS_INVALID_FORMAT) << ::testing::PrintToString(element);
    EXPECT_EQ(code, 0xBEEF) << ::testing::PrintToString(element);
  }

  KPS mSimulator{L"", false, kArea};
};

TEST_F(VirtualKey, NamedKeysGiveTheirCodes) {
  EXPECT_EQ(CodeOf(L"{ALT}"), 0x12);
  EXPECT_EQ(CodeOf(L"{SHIFT}"), 0x10);
  EXPECT_EQ(CodeOf(L"{CONTROL}"), 0x11);
  EXPECT_EQ(CodeOf(L"{ADD}"), 0x6B);  // the keypad's plus, not the main keyboard's
}

TEST_F(VirtualKey, NamesAreCaseSensitiveAndOnlyThoseFour) {
  for (const wchar_t* element : {L"{alt}", L"{Alt}", L"{ENTER}", L"{CTRL}", L"{ ALT}", L"{ALT }", L"{}"}) {
    ExpectInvalid(element);
  }
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(VirtualKey, LettersGiveTheUpperCaseCodeWhateverTheirCase) {
  EXPECT_EQ(CodeOf(L"a"), 0x41);
  EXPECT_EQ(CodeOf(L"A"), 0x41);
  EXPECT_EQ(CodeOf(L"z"), 0x5A);
  EXPECT_EQ(CodeOf(L"Z"), 0x5A);
}

TEST_F(VirtualKey, DigitsGiveTheirOwnCodes) {
  EXPECT_EQ(CodeOf(L"0"), 0x30);
  EXPECT_EQ(CodeOf(L"7"), 0x37);
  EXPECT_EQ(CodeOf(L"9"), 0x39);
}

TEST_F(VirtualKey, AnythingElseIsInvalid) {
  for (const wchar_t* element : {L"", L"+", L"ab", L"!", L" ", L"\u00E9", L"\u0661", L"{"})
    ExpectInvalid(element);
}

TEST_F(VirtualKey, CodeElementIsReadAsDecimal) {
  EXPECT_EQ(CodeOf(L"{VK13}"), 13);
  EXPECT_EQ(CodeOf(L"{VK65}"), 65);
  EXPECT_EQ(CodeOf(L"{VK007}"), 7);
  EXPECT_EQ(CodeOf(L"{VK255}"), 255);
}

TEST_F(VirtualKey, CodeZeroIsAcceptedOnlyAsOneTwoOrThreeZeros) {
  EXPECT_EQ(CodeOf(L"{VK0}"), 0);
  EXPECT_EQ(CodeOf(L"{VK00}"), 0);
  EXPECT_EQ(CodeOf(L"{VK000}"), 0);
  for (const wchar_t* element :
       {L"{VK0000}", L"{VK}", L"{VKx}", L"{VK-0}", L"{VK+0}", L"{VK 0}", L"{VK0x}"}) {
    ExpectInvalid(element);
  }
}

TEST_F(VirtualKey, CodeNumberFollowsTheRuntimeRules) {
  EXPECT_EQ(CodeOf(L"{VK65x}"), 65);  // stops at the first non-digit
  EXPECT_EQ(CodeOf(L"{VK 65}"), 65);  // leading white space
  EXPECT_EQ(CodeOf(L"{VK\t\r\n65}"), 65);
  EXPECT_EQ(CodeOf(L"{VK+65}"), 65);  // a sign
  EXPECT_EQ(CodeOf(L"{VK6 5}"), 6);
  EXPECT_EQ(CodeOf(L"{VK1}}"), 1);  // the number text is "1}"
}

TEST_F(VirtualKey, CodeIsTruncatedTo16BitsWithoutRangeCheck) {
  EXPECT_EQ(CodeOf(L"{VK99999}"), 0x869F);
  EXPECT_EQ(CodeOf(L"{VK65536}"), 0);
  EXPECT_EQ(CodeOf(L"{VK65601}"), 0x41);
  EXPECT_EQ(CodeOf(L"{VK-1}"), 0xFFFF);
  EXPECT_EQ(CodeOf(L"{VK-65535}"), 1);
}

TEST_F(VirtualKey, CodePastTheRangeOfALongSticksAtItsLimits) {
  EXPECT_EQ(CodeOf(L"{VK2147483647}"), 0xFFFF);
  EXPECT_EQ(CodeOf(L"{VK99999999999999999999}"), 0xFFFF);  // clamped to 2147483647
  EXPECT_EQ(CodeOf(L"{VK-99999999999999999999}"), 0);      // clamped to -2147483648, not zero
}

TEST_F(VirtualKey, FailedAnsiConversionLogsTheErrorThroughLogLong) {
  internal::KeyboardRecorderForTesting keyboard;
  keyboard.FailConversions(1113);
  ExpectInvalid(L"a");
  EXPECT_EQ(KeyLines(), (Entries{Error(testing::kConversionFailed, L"1113")}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
