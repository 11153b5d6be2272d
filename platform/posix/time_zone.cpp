// Local time offsets on Linux: mktime and localtime_r, which follow TZ and the zone database.
#include "platform/time_zone.h"

#include <time.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace Tavro_KVO_Util::platform {
namespace {

bool SameWallClock(const std::tm& a, const CivilTime& b) {
  return a.tm_year + 1900 == b.year && a.tm_mon + 1 == b.month && a.tm_mday == b.day && a.tm_hour == b.hour &&
         a.tm_min == b.minute && a.tm_sec == b.second;
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// mktime would carry 31 February into March; such a date is refused instead. No leap second:
// RFC 5424 does not allow one, and the logger never writes one.
bool IsValidCivilTime(const CivilTime& local) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (local.month < 1 || local.month > 12 || local.day < 1) return false;
  const int days = kDays[local.month - 1] + (local.month == 2 && IsLeapYear(local.year) ? 1 : 0);
  return local.day <= days && local.hour >= 0 && local.hour <= 23 && local.minute >= 0 &&
         local.minute <= 59 && local.second >= 0 && local.second <= 59 && local.millisecond >= 0 &&
         local.millisecond <= 999;
}

std::tm ToTm(const CivilTime& local, int isDst) {
  std::tm fields{};
  fields.tm_year = local.year - 1900;
  fields.tm_mon = local.month - 1;
  fields.tm_mday = local.day;
  fields.tm_hour = local.hour;
  fields.tm_min = local.minute;
  fields.tm_sec = local.second;
  fields.tm_isdst = isDst;
  return fields;
}

bool ComputeOffset(const CivilTime& local, const std::string& zoneName, int& offsetSeconds) {
  ::tzset();
  // Each reading of the wall clock (daylight saving time first: the earlier instant) that maps
  // back onto the same wall clock is a time this machine really showed.
  bool found = false;
  for (const int isDst : {1, 0}) {
    std::tm fields = ToTm(local, isDst);
    const std::time_t when = std::mktime(&fields);
    std::tm back{};
    if (when == static_cast<std::time_t>(-1) || localtime_r(&when, &back) == nullptr ||
        !SameWallClock(back, local)) {
      continue;
    }
    const bool named = back.tm_zone != nullptr && zoneName == back.tm_zone;
    if (!found || named) offsetSeconds = static_cast<int>(back.tm_gmtoff);
    found = true;
    if (named) return true;
  }
  if (found) return true;
  // Skipped when clocks went forward: the offset of the moment just before.
  std::tm fields = ToTm(local, -1);
  fields.tm_hour -= 1;
  const std::time_t before = std::mktime(&fields);
  std::tm back{};
  if (before == static_cast<std::time_t>(-1) || localtime_r(&before, &back) == nullptr) return false;
  offsetSeconds = static_cast<int>(back.tm_gmtoff);
  return true;
}

// The shipper asks once per entry, mostly for the same minute again; tzset and two mktime calls
// each time were most of its work. Clocks change only on whole minutes, so one answer serves a
// whole minute of one zone setting (TZ) and one zone name.
struct OffsetCache {
  bool valid = false;
  std::string tz;
  bool tzSet = false;
  CivilTime minute;
  std::string zoneName;
  int offsetSeconds = 0;
};

bool SameMinute(const CivilTime& a, const CivilTime& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour && a.minute == b.minute;
}

}  // namespace

bool LocalTimeUtcOffset(const CivilTime& local, const std::string& zoneName, int& offsetSeconds) {
  if (!IsValidCivilTime(local)) return false;
  thread_local OffsetCache cache;
  const char* tz = std::getenv("TZ");
  if (cache.valid && cache.tzSet == (tz != nullptr) && (tz == nullptr || cache.tz == tz) &&
      SameMinute(cache.minute, local) && cache.zoneName == zoneName) {
    offsetSeconds = cache.offsetSeconds;
    return true;
  }
  if (!ComputeOffset(local, zoneName, offsetSeconds)) return false;
  cache = {true, tz != nullptr ? tz : "", tz != nullptr, local, zoneName, offsetSeconds};
  return true;
}

void CurrentLocalTime(CivilTime& local, int& offsetSeconds) {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  std::tm fields{};
  localtime_r(&now.tv_sec, &fields);
  local = {fields.tm_year + 1900,
           fields.tm_mon + 1,
           fields.tm_mday,
           fields.tm_hour,
           fields.tm_min,
           fields.tm_sec,
           static_cast<int>(now.tv_nsec / 1000000)};
  offsetSeconds = static_cast<int>(fields.tm_gmtoff);
}

std::vector<std::string> LocalZoneNames() {
  ::tzset();
  std::vector<std::string> names;
  for (const char* name : {tzname[0], tzname[1]}) {
    if (name != nullptr && *name != '\0') names.emplace_back(name);
  }
  return names;
}

}  // namespace Tavro_KVO_Util::platform
