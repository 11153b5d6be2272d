// Platform service: local times and their offsets from UTC, by the OS's own zone rules (TZ and
// the zone database on Linux, the system's time-zone settings on Windows).
//
// Log entries carry local wall-clock times without an offset. Shipping them elsewhere needs the
// offset each of them had when it was written, also for entries written before a change to or
// from daylight saving time.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_TIME_ZONE_H
#define TAVROMEDIVANEUTIL_PLATFORM_TIME_ZONE_H

#include <string>
#include <vector>

namespace Tavro_KVO_Util::platform {

struct CivilTime {
  int year = 1970;
  int month = 1;  // 1-12
  int day = 1;    // 1-31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

// The offset from UTC, in seconds, that the local time `local` had on this machine. In the hour
// that repeats when clocks go back, `zoneName` (the zone's name as log entries show it, UTF-8;
// may be empty) picks the offset whose zone has that name; without a match the earlier one (still
// daylight saving time) is taken. A local time that never existed (skipped when clocks went
// forward) gets the offset in force just before the change. False when the date or time is not
// valid (31 February, second 60).
bool LocalTimeUtcOffset(const CivilTime& local, const std::string& zoneName, int& offsetSeconds);

// The current local time, to the millisecond, and its offset from UTC in seconds.
void CurrentLocalTime(CivilTime& local, int& offsetSeconds);

// This machine's zone names as log entries show them (standard first, then daylight), UTF-8.
std::vector<std::string> LocalZoneNames();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_TIME_ZONE_H
