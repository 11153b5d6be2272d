// Platform service: a file's last-write time, raw and as local calendar fields in a given zone.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H
#define TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H

#include <cstdint>
#include <string>

#include "FileModTime.h"

namespace Tavro_KVO_Util::platform {

struct LocalTimeFields {
  int day;
  int month;
  int year;
  int hour;
  int minute;
  int second;
  int millisecond;
};

// A last-write time exactly as the file system keeps it, before any conversion: st_mtim's seconds
// and nanoseconds on Linux, the FILETIME's 100 ns count (and 0) on Windows. Callers only compare
// two of them; equal values always give the same local fields in the same zone.
struct RawFileTime {
  std::int64_t high;
  std::int64_t low;
};

inline bool operator==(const RawFileTime& a, const RawFileTime& b) {
  return a.high == b.high && a.low == b.low;
}
inline bool operator!=(const RawFileTime& a, const RawFileTime& b) { return !(a == b); }

// The time zone in force now (Windows: GetTimeZoneInformation). On Linux the record holds the UTC
// offset and name that the zone in force gives the file's own time (see file_time.cpp), so that
// rendering the same file time in the saved zone gives the same text.
bool CurrentTimeZoneFor(const std::wstring& path, TimeZoneRecord& zone);

// The last-write time of `path`, opened as an existing file with read sharing only (Windows).
// False on any failure. Cheap enough for every log call: no conversion and, on the second and
// later calls with the same path from one thread, no allocation.
bool ReadLastWrite(const wchar_t* path, RawFileTime& time);

// `time` converted to UTC and then to local time in `zone`. False when the conversion fails.
bool LocalFieldsIn(const RawFileTime& time, const TimeZoneRecord& zone, LocalTimeFields& local);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H
