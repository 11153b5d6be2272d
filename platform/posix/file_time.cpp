#include "platform/file_time.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <ctime>

#include "platform/posix/narrow_path.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform {
namespace {

// What a TimeZoneRecord holds on Linux: the UTC offset and abbreviation of the zone.
struct PosixZone {
  std::int64_t offsetSeconds;
  char name[32];
};
static_assert(sizeof(PosixZone) <= sizeof(TimeZoneRecord::bytes), "zone must fit the record");

bool LastWrite(const wchar_t* path, struct timespec& when) {
  struct stat info {};
  // stat, not open: Linux has no share modes to honour, and this runs inside every log call.
  if (::stat(NarrowPath(path).c_str(), &info) != 0) return false;
  when = info.st_mtim;
  return true;
}

}  // namespace

bool CurrentTimeZoneFor(const std::wstring& path, TimeZoneRecord& zone) {
  // The offset the zone in force gives the file's own time (not now's): a file written in summer
  // and stamped in winter renders the same in the saved zone as through localtime.
  struct timespec when {};
  if (!LastWrite(path.c_str(), when)) return false;
  struct tm local {};
  if (::localtime_r(&when.tv_sec, &local) == nullptr) return false;
  PosixZone posix{};
  posix.offsetSeconds = local.tm_gmtoff;
  if (local.tm_zone != nullptr) std::strncpy(posix.name, local.tm_zone, sizeof posix.name - 1);
  std::memset(zone.bytes, 0, sizeof zone.bytes);
  std::memcpy(zone.bytes, &posix, sizeof posix);
  return true;
}

bool ReadLastWrite(const wchar_t* path, RawFileTime& time) {
  struct timespec when {};
  if (path == nullptr || !LastWrite(path, when)) return false;
  time = {static_cast<std::int64_t>(when.tv_sec), static_cast<std::int64_t>(when.tv_nsec)};
  return true;
}

bool LocalFieldsIn(const RawFileTime& time, const TimeZoneRecord& zone, LocalTimeFields& local) {
  PosixZone posix{};
  std::memcpy(&posix, zone.bytes, sizeof posix);
  const std::time_t shifted =
      static_cast<std::time_t>(time.high) + static_cast<std::time_t>(posix.offsetSeconds);
  struct tm fields {};
  if (::gmtime_r(&shifted, &fields) == nullptr) return false;
  local = {fields.tm_mday,
           fields.tm_mon + 1,
           fields.tm_year + 1900,
           fields.tm_hour,
           fields.tm_min,
           fields.tm_sec,
           static_cast<int>(time.low / 1000000)};
  return true;
}

}  // namespace Tavro_KVO_Util::platform
