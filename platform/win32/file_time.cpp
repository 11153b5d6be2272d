#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/file_time.h"

#include <cstring>

#include "platform/win32/unique_handle.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

static_assert(sizeof(TIME_ZONE_INFORMATION) == sizeof(TimeZoneRecord::bytes), "record holds the zone");

bool CurrentTimeZoneFor(const std::wstring& /*path*/, TimeZoneRecord& zone) {
  TIME_ZONE_INFORMATION info{};
  if (GetTimeZoneInformation(&info) == TIME_ZONE_ID_INVALID) return false;
  std::memcpy(zone.bytes, &info, sizeof info);
  return true;
}

bool ReadLastWrite(const wchar_t* path, RawFileTime& time) {
  if (path == nullptr) return false;
  // Read sharing only: a file held open for writing elsewhere cannot be stamped and so reads as
  // changed, which makes the store parse it again.
  const UniqueFileHandle file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ,
                                          /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL,
                                          /*hTemplateFile=*/nullptr));
  if (!file) return false;
  FILETIME lastWrite{};
  if (!GetFileTime(file.get(), /*lpCreationTime=*/nullptr, /*lpLastAccessTime=*/nullptr, &lastWrite))
    return false;
  const auto ticks =
      (static_cast<unsigned long long>(lastWrite.dwHighDateTime) << 32) | lastWrite.dwLowDateTime;
  time = {static_cast<std::int64_t>(ticks), 0};
  return true;
}

bool LocalFieldsIn(const RawFileTime& time, const TimeZoneRecord& zone, LocalTimeFields& local) {
  const auto ticks = static_cast<unsigned long long>(time.high);
  FILETIME lastWrite{};
  lastWrite.dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFFu);
  lastWrite.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  SYSTEMTIME utc{};
  SYSTEMTIME inZone{};
  TIME_ZONE_INFORMATION info{};
  std::memcpy(&info, zone.bytes, sizeof info);
  if (!FileTimeToSystemTime(&lastWrite, &utc) || !SystemTimeToTzSpecificLocalTime(&info, &utc, &inZone)) {
    return false;
  }
  local = {inZone.wDay,    inZone.wMonth,  inZone.wYear,        inZone.wHour,
           inZone.wMinute, inZone.wSecond, inZone.wMilliseconds};
  return true;
}

}  // namespace Tavro_KVO_Util::platform
