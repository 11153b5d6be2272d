// Local times and their offsets from UTC by the zone rules TZ names. Linux only: on Windows the
// zone is the system's, which a test cannot choose.
#include "platform/time_zone.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "local_zone.h"

namespace Tavro_KVO_Util::platform {
namespace {

#ifndef _WIN32

using shipping::ScopedZone;

// The offset of `local` in `zone`, or a text saying there was none.
std::string OffsetIn(const char* zone, const CivilTime& local, const std::string& zoneName = std::string()) {
  const ScopedZone scoped(zone);
  int offset = 12345;
  if (!LocalTimeUtcOffset(local, zoneName, offset)) return "invalid";
  return std::to_string(offset);
}

TEST(TimeZone, BerlinSummerIsTwoHoursAheadOfUtc) {
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 12, 0, 0, 45}), "7200");
}

TEST(TimeZone, BerlinWinterIsOneHourAheadOfUtc) {
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 1, 15, 12, 0, 0, 45}), "3600");
}

TEST(TimeZone, RepeatedHourTakesTheOffsetOfTheNamedZone) {
  // Clocks went back from 03:00 CEST to 02:00 CET on 25 October 2026: 02:30 happened twice.
  const CivilTime repeated{2026, 10, 25, 2, 30, 0, 0};
  EXPECT_EQ(OffsetIn("Europe/Berlin", repeated, "CEST"), "7200");
  EXPECT_EQ(OffsetIn("Europe/Berlin", repeated, "CET"), "3600");
}

TEST(TimeZone, RepeatedHourWithoutAMatchingNameTakesTheEarlierOffset) {
  const CivilTime repeated{2026, 10, 25, 2, 30, 0, 0};
  EXPECT_EQ(OffsetIn("Europe/Berlin", repeated), "7200");
  EXPECT_EQ(OffsetIn("Europe/Berlin", repeated, "W. Europe Standard Time"), "7200");
}

TEST(TimeZone, NameOutsideTheRepeatedHourChangesNothing) {
  // Only in the repeated hour are there two offsets to choose from.
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 12, 0, 0, 0}, "CET"), "7200");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 1, 15, 12, 0, 0, 0}, "CEST"), "3600");
}

TEST(TimeZone, SkippedHourTakesTheOffsetBeforeTheChange) {
  // Clocks went forward from 02:00 CET to 03:00 CEST on 29 March 2026: 02:30 never showed.
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 3, 29, 2, 30, 0, 0}), "3600");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 3, 29, 3, 0, 0, 0}), "7200");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 3, 29, 1, 59, 59, 999}), "3600");
}

TEST(TimeZone, ZonesWestOfUtcHaveNegativeOffsets) {
  EXPECT_EQ(OffsetIn("America/New_York", {2026, 7, 1, 12, 0, 0, 0}), "-14400");
  EXPECT_EQ(OffsetIn("America/New_York", {2026, 1, 15, 12, 0, 0, 0}), "-18000");
}

TEST(TimeZone, TheSameMinuteAskedAgainUnderAnotherZoneGetsThatZonesOffset) {
  // Answers are remembered per minute; a change of TZ must not be answered from memory.
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 12, 0, 30, 0}), "7200");
  EXPECT_EQ(OffsetIn("America/New_York", {2026, 7, 1, 12, 0, 30, 0}), "-14400");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 12, 0, 59, 0}), "7200");
}

TEST(TimeZone, OffsetsOfPartHoursAreKept) {
  EXPECT_EQ(OffsetIn("Asia/Kolkata", {2026, 7, 1, 12, 0, 0, 0}), "19800");
}

TEST(TimeZone, ImpossibleDateOrTimeHasNoOffset) {
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 13, 1, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 0, 1, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 0, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 32, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 24, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 7, 1, 12, 60, 0, 0}), "invalid");
  // A day the month does not have, and a leap second, which RFC 5424 does not allow.
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 2, 31, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 2, 29, 12, 0, 0, 0}), "invalid");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2028, 2, 29, 12, 0, 0, 0}), "3600");
  EXPECT_EQ(OffsetIn("Europe/Berlin", {2026, 12, 31, 23, 59, 60, 0}), "invalid");
}

TEST(TimeZone, ZoneNamesAreStandardThenDaylight) {
  {
    const ScopedZone zone("Europe/Berlin");
    EXPECT_EQ(LocalZoneNames(), (std::vector<std::string>{"CET", "CEST"}));
  }
  {
    const ScopedZone zone("America/New_York");
    EXPECT_EQ(LocalZoneNames(), (std::vector<std::string>{"EST", "EDT"}));
  }
}

TEST(TimeZone, CurrentTimeInUtcHasNoOffset) {
  const ScopedZone zone("UTC");
  CivilTime now;
  int offset = 12345;
  CurrentLocalTime(now, offset);
  EXPECT_EQ(offset, 0);
}

#endif  // _WIN32

}  // namespace
}  // namespace Tavro_KVO_Util::platform
