// The stamp text of a file's last-write time, rendered once per time and zone.
//
// Every log call asks whether the configuration file changed, and a file hardly ever does: its raw
// last-write time then matches one already rendered, so the check costs the one system call that
// reads the time and a compare. The text itself, and what counts as a change, stay exactly those
// of FileModTime: two times that render to the same text (nanoseconds apart within one
// millisecond) are still the same stamp.
//
// The raw time is not kept in the stamp itself because FileModTime and Config are exported with
// their layout, which programs built against the library embed; each thread keeps the last few
// renderings instead.
#ifndef TAVROMEDIVANEUTIL_CONFIG_STAMP_TEXT_H
#define TAVROMEDIVANEUTIL_CONFIG_STAMP_TEXT_H

#include "FileModTime.h"

namespace Tavro_KVO_Util::internal {

// The stamp text of `path`'s last-write time rendered in `zone`, in the FileModTime format, or
// null when the file cannot be opened or its time read or converted. The text belongs to the
// calling thread and stays valid until that thread's next call.
const wchar_t* CurrentStampText(const wchar_t* path, const TimeZoneRecord& zone);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_STAMP_TEXT_H
