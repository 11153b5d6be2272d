#ifndef _WIN32
#error "Windows-only source file"
#endif

// Local time offsets on Windows: the system's time-zone rules for the entry's year.
#include "platform/time_zone.h"

#include <ctime>
#include <cwchar>

#include "platform/utf8.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

constexpr long long kTicksPerSecond = 10000000;

bool ToFileTimeTicks(const SYSTEMTIME& time, long long& ticks) {
  FILETIME file{};
  if (!SystemTimeToFileTime(&time, &file)) return false;
  ticks = static_cast<long long>((static_cast<unsigned long long>(file.dwHighDateTime) << 32) |
                                 file.dwLowDateTime);
  return true;
}

bool FromFileTimeTicks(long long ticks, SYSTEMTIME& time) {
  FILETIME file{};
  file.dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFF);
  file.dwHighDateTime = static_cast<DWORD>(static_cast<unsigned long long>(ticks) >> 32);
  return FileTimeToSystemTime(&file, &time) != FALSE;
}

bool SameWallClock(const SYSTEMTIME& a, const SYSTEMTIME& b) {
  return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDay == b.wDay && a.wHour == b.wHour &&
         a.wMinute == b.wMinute && a.wSecond == b.wSecond;
}

// The zone's names as the C runtime renders "%z", which is what log entries carry.
std::string RuntimeZoneName(bool daylight) {
  std::tm parts{};
  parts.tm_year = 100;
  parts.tm_mday = 1;
  parts.tm_isdst = daylight ? 1 : 0;
  wchar_t buffer[101] = {};
  const std::size_t length = wcsftime(buffer, 101, L"%z", &parts);
  return WideToUtf8(std::wstring(buffer, length));
}

}  // namespace

bool LocalTimeUtcOffset(const CivilTime& local, const std::string& zoneName, int& offsetSeconds) {
  SYSTEMTIME wall{};
  wall.wYear = static_cast<WORD>(local.year);
  wall.wMonth = static_cast<WORD>(local.month);
  wall.wDay = static_cast<WORD>(local.day);
  wall.wHour = static_cast<WORD>(local.hour);
  wall.wMinute = static_cast<WORD>(local.minute);
  wall.wSecond = static_cast<WORD>(local.second);
  long long wallTicks = 0;
  // SystemTimeToFileTime refuses 31 February; a leap second is refused as RFC 5424 asks.
  if (local.year < 1601 || local.year > 30827 || local.second > 59 || !ToFileTimeTicks(wall, wallTicks)) {
    return false;
  }
  TIME_ZONE_INFORMATION zone{};
  if (!GetTimeZoneInformationForYear(static_cast<USHORT>(local.year), /*pdtzi=*/nullptr, &zone)) {
    if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return false;
  }
  // The two offsets of the year (daylight first: the earlier instant), each kept when converting
  // back gives the same wall clock.
  const long daylightOffset = -(zone.Bias + zone.DaylightBias) * 60L;
  const long standardOffset = -(zone.Bias + zone.StandardBias) * 60L;
  const std::string names[] = {RuntimeZoneName(true), RuntimeZoneName(false)};
  const long offsets[] = {daylightOffset, standardOffset};
  bool found = false;
  for (int i = 0; i < 2; ++i) {
    SYSTEMTIME utc{};
    SYSTEMTIME back{};
    if (!FromFileTimeTicks(wallTicks - offsets[i] * kTicksPerSecond, utc) ||
        !SystemTimeToTzSpecificLocalTime(&zone, &utc, &back) || !SameWallClock(back, wall)) {
      continue;
    }
    const bool named = !zoneName.empty() && zoneName == names[i];
    if (!found || named) offsetSeconds = static_cast<int>(offsets[i]);
    found = true;
    if (named) return true;
  }
  if (found) return true;
  // Skipped when clocks went forward: the offset in force just before, which is standard time.
  offsetSeconds = static_cast<int>(standardOffset);
  return true;
}

void CurrentLocalTime(CivilTime& local, int& offsetSeconds) {
  SYSTEMTIME utc{};
  GetSystemTime(&utc);
  SYSTEMTIME wall{};
  if (!SystemTimeToTzSpecificLocalTime(/*lpTimeZoneInformation=*/nullptr, &utc, &wall)) wall = utc;
  local = {wall.wYear, wall.wMonth, wall.wDay, wall.wHour, wall.wMinute, wall.wSecond, wall.wMilliseconds};
  long long utcTicks = 0;
  long long wallTicks = 0;
  offsetSeconds = ToFileTimeTicks(utc, utcTicks) && ToFileTimeTicks(wall, wallTicks)
                      ? static_cast<int>((wallTicks - utcTicks) / kTicksPerSecond)
                      : 0;
}

std::vector<std::string> LocalZoneNames() {
  std::vector<std::string> names;
  for (const bool daylight : {false, true}) {
    std::string name = RuntimeZoneName(daylight);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

}  // namespace Tavro_KVO_Util::platform
