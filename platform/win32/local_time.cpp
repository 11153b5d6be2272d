#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/local_time.h"

#include <ctime>
#include <cwchar>

#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The zone's name. The C runtime's wcsftime renders "%z" as the zone name (msvcrt does not give
// the numeric offset), which is the text the logs have always carried; it takes the name for
// standard or daylight time from tm_isdst. When the runtime gives nothing, the system's own name.
std::wstring ZoneName(const SYSTEMTIME& now) {
  TIME_ZONE_INFORMATION zone{};
  const DWORD zoneState = GetTimeZoneInformation(&zone);
  const bool daylight = zoneState == TIME_ZONE_ID_DAYLIGHT;
  tm parts{};
  parts.tm_year = now.wYear - 1900;
  parts.tm_mon = now.wMonth - 1;
  parts.tm_mday = now.wDay;
  parts.tm_hour = now.wHour;
  parts.tm_min = now.wMinute;
  parts.tm_sec = now.wSecond;
  parts.tm_wday = now.wDayOfWeek;
  parts.tm_isdst = daylight ? 1 : 0;
  wchar_t buffer[101] = {};
  const std::size_t length = wcsftime(buffer, 101, L"%z", &parts);
  if (length > 0) return std::wstring(buffer, length);
  if (zoneState == TIME_ZONE_ID_INVALID) return std::wstring();
  return daylight ? zone.DaylightName : zone.StandardName;
}

}  // namespace

LocalTimeTexts CurrentLocalTimeTexts() {
  SYSTEMTIME now{};
  GetLocalTime(&now);  // the one clock reading, with milliseconds

  LocalTimeTexts texts;
  wchar_t buffer[32];
  swprintf(buffer, sizeof buffer / sizeof buffer[0], L"%02u:%02u:%02u.%03u", now.wHour, now.wMinute,
           now.wSecond, now.wMilliseconds);
  texts.time = buffer;
  swprintf(buffer, sizeof buffer / sizeof buffer[0], L"%04u-%02u-%02u", now.wYear, now.wMonth, now.wDay);
  texts.date = buffer;
  texts.zone = ZoneName(now);
  return texts;
}

}  // namespace Tavro_KVO_Util::platform
