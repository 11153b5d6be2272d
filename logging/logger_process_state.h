// The logger's process-wide state: one flag per message that is reported once in the life of the
// process, and whether free disk space is short now (so that those messages come once per
// episode of low space). Plain fields, not atomic: they are touched inside the log mutex or while
// the logger is made, and the safe profile's access fields under their own lock.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOGGER_PROCESS_STATE_H
#define TAVROMEDIVANEUTIL_LOGGING_LOGGER_PROCESS_STATE_H

#include <string>

namespace Tavro_KVO_Util {

struct LoggerProcessState {
  bool settingsErrorReported = false;     // the first settings-read failure
  bool openErrorReportedByOpen = false;   // "Error opening log file" from opening or creating
  bool openErrorReportedByWrite = false;  // the same text again from the write path
  bool directoryErrorReported = false;    // "... creating directory ..." and "... working directory ..."
  bool diskSpaceErrorReported = false;
  bool sizeErrorReported = false;
  bool rollingErrorReported = false;
  bool deleteErrorReported = false;
  bool writeErrorReported = false;     // an entry that could not be written whole (a full disk)
  bool outOfMemoryReported = false;    // an entry dropped because memory ran out while it was made
  bool abandonedLockReported = false;  // safe profile: a writer died holding the log lock
  // The safe profile's access (logging/log_access.h), guarded by its own lock there.
  bool unknownAccessGroupReported = false;
  bool lockRestrictFailureReported = false;
  bool lockRestricted = false;
  std::wstring lockRestrictedForGroup;
  bool lowSpace = false;
  bool renameFailed = false;  // set, never reported (kept as it always was)
};

LoggerProcessState& ProcessState();

// Reports `message` to the event log as an error unless `reported` is set already; sets it.
void ReportOnce(bool& reported, const wchar_t* message);

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOGGER_PROCESS_STATE_H
