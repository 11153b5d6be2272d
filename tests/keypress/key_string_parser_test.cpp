// Splitting a key press string: elements, key groups, and the statuses and log entries of each.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keypress/key_press_messages.h"
#include "keypress/key_press_test_peer.h"

namespace Tavro_KVO_Util {
namespace {

using testing::kArea;
using testing::KeyPressTest;
using Peer = KeyPressSimulatorTestPeer;
using Elements = std::vector<std::wstring>;
using Entries = std::vector<std::wstring>;

class KeyStringElement : public KeyPressTest {
 protected:
  // The element at `position`: status, text and last position (untouched stays 99).
  struct Read {
    KPS::KPS_Status status;
    std::wstring element;
    int last;
  };
  Read At(const std::wstring& input, int position) {
    Read read{KPS::KPS_OK, L"untouched", 99};
    read.status = Peer::Element(mSimulator, input, read.element, position, &read.last);
    return read;
  }

  KPS mSimulator{L"", false, kArea};
};

TEST_F(KeyStringElement, PositionAtOrPastTheEndIsEndOfInput) {
  EXPECT_EQ(At(L"", 0).status, KPS::KPS_END_OF_INPUT);
  EXPECT_EQ(At(L"ab", 2).status, KPS::KPS_END_OF_INPUT);
  EXPECT_EQ(At(L"ab", 7).status, KPS::KPS_END_OF_INPUT);
  EXPECT_EQ(At(L"ab", 2).last, 99);
}

TEST_F(KeyStringElement, LetterDigitAndJoinerAreOneCharacterElements) {
  for (const wchar_t c : std::wstring(L"azAZ09+")) {
    const Read read = At(std::wstring(L"x") + c + L"y", 1);
    EXPECT_EQ(read.status, KPS::KPS_OK);
    EXPECT_EQ(read.element, std::wstring(1, c));
    EXPECT_EQ(read.last, 1);
  }
}

TEST_F(KeyStringElement, BraceRunsToTheFirstClosingBrace) {
  const Read read = At(L"a{ALT}}b", 1);
  EXPECT_EQ(read.status, KPS::KPS_OK);
  EXPECT_EQ(read.element, L"{ALT}");
  EXPECT_EQ(read.last, 5);
  EXPECT_EQ(At(L"{}", 0).element, L"{}");
  EXPECT_EQ(At(L"{a b!}", 0).element, L"{a b!}");
}

TEST_F(KeyStringElement, UnterminatedBraceOpeningTheStringGivesAnEmptyElementAndLastPositionMinusOne) {
  const Read read = At(L"{ALT", 0);
  EXPECT_EQ(read.status, KPS::KPS_OK);
  EXPECT_EQ(read.element, L"");
  EXPECT_EQ(read.last, -1);
}

TEST_F(KeyStringElement, UnterminatedBraceLaterRunsToTheEndOfTheString) {
  const Read read = At(L"a+{VK65", 2);
  EXPECT_EQ(read.status, KPS::KPS_OK);
  EXPECT_EQ(read.element, L"{VK65");
  EXPECT_EQ(read.last, -1);
}

TEST_F(KeyStringElement, AnyOtherCharacterIsInvalidAndLogsNothing) {
  for (const wchar_t c : std::wstring(L" ,!}-_\t\u00E9\u0661")) {
    const Read read = At(std::wstring(1, c), 0);
    EXPECT_EQ(read.status, KPS::KPS_INVALID_FORMAT) << static_cast<int>(c);
    EXPECT_EQ(read.last, 99);
  }
  EXPECT_EQ(KeyLines(), Entries{});
}

class KeyStringGroup : public KeyStringElement {
 protected:
  struct Group {
    KPS::KPS_Status status;
    Elements elements;
    int last;
  };
  Group From(const std::wstring& input, int position) {
    Group group{KPS::KPS_OK, {}, 99};
    group.status = Peer::Group(mSimulator, input, group.elements, position, &group.last);
    return group;
  }
};

TEST_F(KeyStringGroup, ChordIsOneGroupOfThreeKeys) {
  const Group group = From(L"{CONTROL}+{ALT}+d", 0);
  EXPECT_EQ(group.status, KPS::KPS_OK);
  EXPECT_EQ(group.elements, (Elements{L"{CONTROL}", L"{ALT}", L"d"}));
  EXPECT_EQ(group.last, 16);
}

TEST_F(KeyStringGroup, KeyWithoutJoinerStartsTheNextGroup) {
  const Group first = From(L"{SHIFT}+ab", 0);
  EXPECT_EQ(first.status, KPS::KPS_OK);
  EXPECT_EQ(first.elements, (Elements{L"{SHIFT}", L"a"}));
  EXPECT_EQ(first.last, 8);
  const Group second = From(L"{SHIFT}+ab", 9);
  EXPECT_EQ(second.status, KPS::KPS_OK);
  EXPECT_EQ(second.elements, Elements{L"b"});
  EXPECT_EQ(second.last, 9);
  EXPECT_EQ(From(L"{SHIFT}+ab", 10).status, KPS::KPS_END_OF_INPUT);
}

TEST_F(KeyStringGroup, EmptyStringIsEndOfInput) {
  const Group group = From(L"", 0);
  EXPECT_EQ(group.status, KPS::KPS_END_OF_INPUT);
  EXPECT_EQ(group.elements, Elements{});
  EXPECT_EQ(group.last, 99);
}

TEST_F(KeyStringGroup, TrailingJoinerIsInvalidAndLogsTheWholeString) {
  const Group group = From(L"ab+", 1);
  EXPECT_EQ(group.status, KPS::KPS_INVALID_FORMAT);
  EXPECT_EQ(group.elements, Elements{L"b"});
  EXPECT_EQ(KeyLines(), (Entries{Error(testing::kEndsWithJoiner, L"ab+")}));
}

TEST_F(KeyStringGroup, SecondJoinerIsAnElementOfItsOwn) {
  const Group group = From(L"a++b", 0);
  EXPECT_EQ(group.status, KPS::KPS_OK);
  EXPECT_EQ(group.elements, (Elements{L"a", L"+"}));
  EXPECT_EQ(group.last, 2);
  EXPECT_EQ(KeyLines(), Entries{});
}

TEST_F(KeyStringGroup, LeadingJoinerIsAnElement) {
  const Group group = From(L"+a", 0);
  EXPECT_EQ(group.status, KPS::KPS_OK);
  EXPECT_EQ(group.elements, Elements{L"+"});
  EXPECT_EQ(group.last, 0);
}

TEST_F(KeyStringGroup, BadCharacterAfterAnElementIsLoggedWithItsStatus) {
  const Group group = From(L"a b", 0);
  EXPECT_EQ(group.status, KPS::KPS_INVALID_FORMAT);
  EXPECT_EQ(group.elements, Elements{L"a"});
  EXPECT_EQ(KeyLines(), (Entries{Error(testing::kElementFailed, L"-40")}));
}

TEST_F(KeyStringGroup, BadCharacterAtTheStartIsLoggedWithItsStatus) {
  const Group group = From(L"!", 0);
  EXPECT_EQ(group.status, KPS::KPS_INVALID_FORMAT);
  EXPECT_EQ(group.elements, Elements{});
  EXPECT_EQ(KeyLines(), (Entries{Error(testing::kElementFailed, L"-40")}));
}

TEST_F(KeyStringGroup, UnterminatedBraceEndsTheGroupWithLastPositionMinusOne) {
  const Group group = From(L"a+{VK65", 0);
  EXPECT_EQ(group.status, KPS::KPS_OK);
  EXPECT_EQ(group.elements, (Elements{L"a", L"{VK65"}));
  EXPECT_EQ(group.last, -1);
  const Group alone = From(L"{ALT", 0);
  EXPECT_EQ(alone.status, KPS::KPS_OK);
  EXPECT_EQ(alone.elements, Elements{L""});
  EXPECT_EQ(alone.last, -1);
}

TEST_F(KeyStringGroup, ElementsAreAppendedToWhatTheCallerHolds) {
  Elements elements{L"x"};
  int last = 0;
  EXPECT_EQ(Peer::Group(mSimulator, L"a+b", elements, 0, &last), KPS::KPS_OK);
  EXPECT_EQ(elements, (Elements{L"x", L"a", L"b"}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
