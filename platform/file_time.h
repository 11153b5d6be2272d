// Platform service: a file's last-write time as local calendar fields in a given time zone.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H
#define TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H

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

// The time zone in force now (Windows: GetTimeZoneInformation). On Linux the record holds the UTC
// offset and name that the zone in force gives the file's own time (see file_time.cpp), so that
// rendering the same file time in the saved zone gives the same text.
bool CurrentTimeZoneFor(const std::wstring& path, TimeZoneRecord& zone);

// The last-write time of `path`, opened as an existing file with read sharing only (Windows),
// converted to UTC and then to local time in `zone`. False on any failure.
bool FileLastWriteTimeIn(const std::wstring& path, const TimeZoneRecord& zone, LocalTimeFields& local);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_FILE_TIME_H
