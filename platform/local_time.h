// Platform service: the current local time, as log entries show it.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_LOCAL_TIME_H
#define TAVROMEDIVANEUTIL_PLATFORM_LOCAL_TIME_H

#include <string>

namespace Tavro_KVO_Util::platform {

struct LocalTimeTexts {
  std::wstring time;  // "%H:%M:%S.mmm", e.g. 14:02:07.045
  std::wstring date;  // "%Y-%m-%d"
  std::wstring zone;  // the zone's name (Windows: wcsftime "%z", e.g. "W. Europe Standard Time";
                      // Linux: "%Z", e.g. "CET")
};

// Reads the clock once, with millisecond resolution, and renders it in the local zone.
LocalTimeTexts CurrentLocalTimeTexts();

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_LOCAL_TIME_H
