#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ButtonActionInfoList.h"
#include "buttons/button_records.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::Window;
using testing::WindowRecord;

TEST(ButtonActionInfoList, NewRegistryIsEmpty) {
  ButtonActionInfoList registry;
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(registry.Get(Window(0x10), list), 0);
  EXPECT_TRUE(list.empty());
}

TEST(ButtonActionInfoList, AddedRecordComesBackWithEveryFieldUnchanged) {
  ButtonActionInfoList registry;
  const ButtonActionInfo stored = WindowRecord(0x10, 3, -42, 0xFFFFFFFFFFFFFFFFull, 0x8000000000000001ull);
  ASSERT_TRUE(registry.Add(stored));
  ButtonActionInfo found{};
  ASSERT_TRUE(registry.Get(Window(0x10), Button(3), found));
  EXPECT_EQ(found, stored);
  EXPECT_EQ(registry.GetCount(), 1u);
}

TEST(ButtonActionInfoList, AddingTheSameWindowAndButtonTwiceKeepsTheFirstRecord) {
  ButtonActionInfoList registry;
  const ButtonActionInfo first = WindowRecord(0x10, 3, 1, 11, 12);
  ASSERT_TRUE(registry.Add(first));
  EXPECT_FALSE(registry.Add(WindowRecord(0x10, 3, 2, 21, 22)));
  ButtonActionInfo found{};
  ASSERT_TRUE(registry.Get(Window(0x10), Button(3), found));
  EXPECT_EQ(found, first);
  EXPECT_EQ(registry.GetCount(), 1u);
}

TEST(ButtonActionInfoList, RemoveThenAddIsHowARecordChanges) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  ASSERT_TRUE(registry.Remove(Window(0x10), Button(3)));
  const ButtonActionInfo second = WindowRecord(0x10, 3, 2);
  ASSERT_TRUE(registry.Add(second));
  ButtonActionInfo found{};
  ASSERT_TRUE(registry.Get(Window(0x10), Button(3), found));
  EXPECT_EQ(found, second);
}

TEST(ButtonActionInfoList, OneWindowWithTwoButtonTypesIsAppendedInAscendingType) {
  ButtonActionInfoList registry;
  const ButtonActionInfo five = WindowRecord(0x10, 5, 50);
  const ButtonActionInfo two = WindowRecord(0x10, 2, 20);
  ASSERT_TRUE(registry.Add(five));
  ASSERT_TRUE(registry.Add(two));
  ASSERT_TRUE(registry.Add(WindowRecord(0x20, 1, 10)));  // another window: not listed
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(registry.Get(Window(0x10), list), 2);
  EXPECT_EQ(list, (std::vector<ButtonActionInfo>{two, five}));
  EXPECT_EQ(registry.GetCount(), 3u);
}

TEST(ButtonActionInfoList, TheSameButtonOnTwoWindowsIsTwoEntries) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  ASSERT_TRUE(registry.Add(WindowRecord(0x20, 3, 2)));
  ButtonActionInfo found{};
  ASSERT_TRUE(registry.Get(Window(0x20), Button(3), found));
  EXPECT_EQ(found.buttonAction, 2);
  EXPECT_EQ(registry.GetCount(), 2u);
}

TEST(ButtonActionInfoList, RemovingAnAbsentKeyReturnsFalse) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  EXPECT_FALSE(registry.Remove(Window(0x10), Button(4)));
  EXPECT_FALSE(registry.Remove(Window(0x11), Button(3)));
  EXPECT_EQ(registry.GetCount(), 1u);
}

TEST(ButtonActionInfoList, RemovingARemovedKeyAgainReturnsFalse) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  EXPECT_TRUE(registry.Remove(Window(0x10), Button(3)));
  EXPECT_FALSE(registry.Remove(Window(0x10), Button(3)));
  ButtonActionInfo found{};
  EXPECT_FALSE(registry.Get(Window(0x10), Button(3), found));
  EXPECT_EQ(registry.GetCount(), 0u);
}

TEST(ButtonActionInfoList, GetOfAnAbsentKeyLeavesTheRecordUntouched) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  const ButtonActionInfo before = WindowRecord(0x99, 9, 99, 999, 9999);
  ButtonActionInfo found = before;
  EXPECT_FALSE(registry.Get(Window(0x10), Button(4), found));
  EXPECT_EQ(found, before);
}

TEST(ButtonActionInfoList, GetListKeepsWhatTheListHeldAndAppendsAfterIt) {
  ButtonActionInfoList registry;
  const ButtonActionInfo stored = WindowRecord(0x10, 3, 1);
  ASSERT_TRUE(registry.Add(stored));
  const ButtonActionInfo old = WindowRecord(0x77, 7, 7);
  std::vector<ButtonActionInfo> list{old, old};
  EXPECT_EQ(registry.Get(Window(0x10), list), 1);
  EXPECT_EQ(list, (std::vector<ButtonActionInfo>{old, old, stored}));
}

TEST(ButtonActionInfoList, GetListOfAWindowWithoutEntriesReturnsZeroAndAppendsNothing) {
  ButtonActionInfoList registry;
  ASSERT_TRUE(registry.Add(WindowRecord(0x10, 3, 1)));
  const ButtonActionInfo old = WindowRecord(0x77, 7, 7);
  std::vector<ButtonActionInfo> list{old};
  EXPECT_EQ(registry.Get(Window(0x20), list), 0);
  EXPECT_EQ(list, std::vector<ButtonActionInfo>{old});
}

TEST(ButtonActionInfoList, NegativeButtonTypeSortsBeforeZero) {
  ButtonActionInfoList registry;
  const ButtonActionInfo zero = WindowRecord(0x10, 0, 1);
  const ButtonActionInfo minusOne = WindowRecord(0x10, -1, 2);
  const ButtonActionInfo lowest = WindowRecord(0x10, INT32_MIN, 3);
  const ButtonActionInfo highest = WindowRecord(0x10, INT32_MAX, 4);
  for (const auto& record : {zero, highest, minusOne, lowest}) ASSERT_TRUE(registry.Add(record));
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(registry.Get(Window(0x10), list), 4);
  EXPECT_EQ(list, (std::vector<ButtonActionInfo>{lowest, minusOne, zero, highest}));
}

TEST(ButtonActionInfoList, HandlesWithTheTopBitSetAreOrdinaryKeys) {
  ButtonActionInfoList registry;
  const ButtonActionInfo high = WindowRecord(0xFFFF800012345678ull, 1, 1);
  const ButtonActionInfo top = WindowRecord(0xFFFFFFFFFFFFFFFFull, 1, 2);
  ASSERT_TRUE(registry.Add(high));
  ASSERT_TRUE(registry.Add(top));
  ASSERT_TRUE(registry.Add(WindowRecord(0, 1, 3)));  // a null handle is a key like any other
  std::vector<ButtonActionInfo> list;
  EXPECT_EQ(registry.Get(Window(0xFFFF800012345678ull), list), 1);
  EXPECT_EQ(registry.Get(Window(0xFFFFFFFFFFFFFFFFull), list), 1);
  EXPECT_EQ(list, (std::vector<ButtonActionInfo>{high, top}));
  EXPECT_TRUE(registry.Remove(Window(0), Button(1)));
  EXPECT_EQ(registry.GetCount(), 2u);
}

}  // namespace
}  // namespace Tavro_KVO_Util
