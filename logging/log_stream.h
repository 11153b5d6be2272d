// Opening the shared log file, as every write and the file's creation do it.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOG_STREAM_H
#define TAVROMEDIVANEUTIL_LOGGING_LOG_STREAM_H

#include "Logger.h"
#include "platform/log_file.h"

namespace Tavro_KVO_Util {

// Opens `path` for writing without sharing, creating it when missing; a file that did not exist
// gets the byte-order mark FF FE. LOG_FILE_APPEND and LOG_FILE_CREATE open; any other action
// opens nothing. Failures go to the event log ("Error opening/creating log file.", "Error
// writing unicode BOM to log file") and give a closed file.
platform::LogFile OpenLog(const wchar_t* path, LogFileActionType action,
                          platform::LogFileUse use = platform::LogFileUse::kAppend,
                          const platform::ObjectAccess& access = platform::ObjectAccess());

// The process's way to the log file: LOG_FILE_CLOSE gives a closed file; LOG_FILE_APPEND and
// LOG_FILE_CREATE open through OpenLog. A null path gives a closed file. The first failure to
// open in the life of the process reports "Error opening log file".
platform::LogFile logfilehandle(const wchar_t* path, LogFileActionType action,
                                platform::LogFileUse use = platform::LogFileUse::kAppend,
                                const platform::ObjectAccess& access = platform::ObjectAccess());

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOG_STREAM_H
