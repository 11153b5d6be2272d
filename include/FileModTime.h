// FileModTime: the stamp by which the configuration store notices that its file changed.
//
// The stamp is the file's last-write time rendered as text in a time zone, together with the
// zone that was in force when it was recorded. A later check renders the file's time in that
// saved zone, so a change of the machine's time zone alone never counts as a change of the file.
#ifndef TAVROMEDIVANEUTIL_FILEMODTIME_H
#define TAVROMEDIVANEUTIL_FILEMODTIME_H

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

// A time zone as the platform describes it: a Win32 TIME_ZONE_INFORMATION on Windows (172
// bytes); on other platforms the UTC offset and zone name in force. Opaque to callers.
struct TimeZoneRecord {
  alignas(4) unsigned char bytes[172];
};

struct TAVRO_KVO_UTIL_API FileModTime {
  // Local last-write time as "%02d:%02d:%d:%02d:%02d:%2d:%2d": day, month, year, hour, minute,
  // second, millisecond. Seconds and milliseconds are padded with blanks, not zeros; support
  // tools compare these strings, so the format is kept exactly.
  wchar_t timeString[64];
  // The zone in force when the stamp was recorded.
  TimeZoneRecord timeZone;

  // Both fields zero.
  FileModTime();

  // Records the stamp of `path` in the zone in force now. False (stamp untouched) when the file
  // cannot be opened or its time read or converted.
  bool Record(const wchar_t* path);

  // Records the stamp of `path` rendered in `zone`, and stores `zone`. False as for Record.
  bool GetFSFModTime(const wchar_t* path, const TimeZoneRecord& zone);

  // Both fields zero again.
  void Clear();
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_FILEMODTIME_H
