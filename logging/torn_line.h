// Mending the end of the shared log after a writer died holding the log lock: its entry may have
// reached the file only in part, and the next entry would then continue that line.
#ifndef TAVROMEDIVANEUTIL_LOGGING_TORN_LINE_H
#define TAVROMEDIVANEUTIL_LOGGING_TORN_LINE_H

#include "platform/log_file.h"

namespace Tavro_KVO_Util {

enum class TornLineResult {
  kWhole,   // the file ends with a whole entry (or holds none): nothing was changed
  kCut,     // bytes after the last whole entry were cut off
  kFailed,  // the file could not be read or cut; it is as it was
};

// Cuts `file` (opened LogFileUse::kAppendAfterMending) back to the end of its last whole entry:
// just after the last UTF-16LE CR LF, or after the byte-order mark when no entry is whole, or to
// nothing when not even the mark is.
TornLineResult CutTornLastLine(platform::LogFile& file);

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_TORN_LINE_H
