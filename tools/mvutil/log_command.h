// mvutil log: writes one entry to the shared log through the library's logger.
#ifndef MVUTIL_LOG_COMMAND_H
#define MVUTIL_LOG_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kLogUsage[];

// mvutil log [--area AREA] [--level LEVEL] [--data TEXT] MESSAGE...
// Hands the entry to Logger::Log, or to Logger::LogString when --data is given. Exit code 0 once
// the call was made, also when the logger's level settings leave the entry out.
int RunLogCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_LOG_COMMAND_H
