#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ButtonActionInfoPidList.h"
#include "buttons/button_records.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Button;
using testing::PidRecord;

using Records = std::vector<ButtonActionInfoPid>;

TEST(ButtonActionInfoPidList, NewRegistryIsEmpty) {
  ButtonActionInfoPidList registry;
  Records list;
  EXPECT_EQ(registry.GetCount(), 0u);
  EXPECT_EQ(registry.Get(7, list), 0);
  EXPECT_TRUE(list.empty());
}

TEST(ButtonActionInfoPidList, AddedRecordComesBackWithEveryFieldUnchanged) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid stored = PidRecord(4321, 3, -42, 0xFFFFFFFFFFFFFFFFull, 0x8000000000000001ull);
  ASSERT_TRUE(registry.Add(stored));
  ButtonActionInfoPid found{};
  ASSERT_TRUE(registry.Get(4321, Button(3), found));
  EXPECT_EQ(found, stored);
}

TEST(ButtonActionInfoPidList, AddingTheSameProcessAndButtonTwiceKeepsTheFirstRecord) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid first = PidRecord(10, 3, 1, 11, 12);
  ASSERT_TRUE(registry.Add(first));
  EXPECT_FALSE(registry.Add(PidRecord(10, 3, 2, 21, 22)));
  ButtonActionInfoPid found{};
  ASSERT_TRUE(registry.Get(10, Button(3), found));
  EXPECT_EQ(found, first);
  EXPECT_EQ(registry.GetCount(), 1u);
}

TEST(ButtonActionInfoPidList, OneProcessWithTwoButtonTypesIsAppendedInAscendingType) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid five = PidRecord(10, 5, 50);
  const ButtonActionInfoPid two = PidRecord(10, 2, 20);
  ASSERT_TRUE(registry.Add(five));
  ASSERT_TRUE(registry.Add(two));
  ASSERT_TRUE(registry.Add(PidRecord(11, 1, 10)));
  Records list;
  EXPECT_EQ(registry.Get(10, list), 2);
  EXPECT_EQ(list, (Records{two, five}));
}

TEST(ButtonActionInfoPidList, RemovingAnAbsentOrRemovedKeyReturnsFalse) {
  ButtonActionInfoPidList registry;
  ASSERT_TRUE(registry.Add(PidRecord(10, 3, 1)));
  EXPECT_FALSE(registry.Remove(10, Button(4)));
  EXPECT_TRUE(registry.Remove(10, Button(3)));
  EXPECT_FALSE(registry.Remove(10, Button(3)));
  EXPECT_EQ(registry.GetCount(), 0u);
}

TEST(ButtonActionInfoPidList, GetOfAnAbsentKeyLeavesTheRecordUntouched) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid before = PidRecord(99, 9, 99, 999, 9999);
  ButtonActionInfoPid found = before;
  EXPECT_FALSE(registry.Get(10, Button(3), found));
  EXPECT_EQ(found, before);
}

TEST(ButtonActionInfoPidList, GetOfAProcessKeepsWhatTheListHeldAndAppendsAfterIt) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid stored = PidRecord(10, 3, 1);
  ASSERT_TRUE(registry.Add(stored));
  const ButtonActionInfoPid old = PidRecord(77, 7, 7);
  Records list{old};
  EXPECT_EQ(registry.Get(10, list), 1);
  EXPECT_EQ(list, (Records{old, stored}));
  EXPECT_EQ(registry.Get(11, list), 0);
  EXPECT_EQ(list, (Records{old, stored}));
}

TEST(ButtonActionInfoPidList, GetAllOnAnEmptyRegistryReturnsZeroAndLeavesTheListUnchanged) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid old = PidRecord(77, 7, 7);
  Records list{old};
  EXPECT_EQ(registry.Get(list), 0);
  EXPECT_EQ(list, Records{old});
  Records empty;
  EXPECT_EQ(registry.Get(empty), 0);
  EXPECT_TRUE(empty.empty());
}

TEST(ButtonActionInfoPidList, GetAllListsSeveralProcessesInAscendingPidWithZeroFirst) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid high = PidRecord(0x80000000u, 1, 1);
  const ButtonActionInfoPid top = PidRecord(0xFFFFFFFFu, -1, 2);
  const ButtonActionInfoPid fiveB = PidRecord(5, 2, 3);
  const ButtonActionInfoPid fiveA = PidRecord(5, -7, 4);
  const ButtonActionInfoPid zero = PidRecord(0, 9, 5);
  for (const auto& record : {high, top, fiveB, zero, fiveA}) ASSERT_TRUE(registry.Add(record));
  const ButtonActionInfoPid old = PidRecord(77, 7, 7);
  Records list{old};
  EXPECT_EQ(registry.Get(list), 5);
  EXPECT_EQ(list, (Records{old, zero, fiveA, fiveB, high, top}));
}

TEST(ButtonActionInfoPidList, NegativeButtonTypeSortsBeforeZero) {
  ButtonActionInfoPidList registry;
  const ButtonActionInfoPid zero = PidRecord(10, 0, 1);
  const ButtonActionInfoPid lowest = PidRecord(10, INT32_MIN, 2);
  ASSERT_TRUE(registry.Add(zero));
  ASSERT_TRUE(registry.Add(lowest));
  Records list;
  EXPECT_EQ(registry.Get(10, list), 2);
  EXPECT_EQ(list, (Records{lowest, zero}));
}

}  // namespace
}  // namespace Tavro_KVO_Util
