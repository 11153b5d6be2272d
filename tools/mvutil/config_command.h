// mvutil config: reads and changes the shared configuration file.
#ifndef MVUTIL_CONFIG_COMMAND_H
#define MVUTIL_CONFIG_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kConfigUsage[];

// mvutil config get|set|section|match|indices|dump [--file PATH] ARGS...
int RunConfigCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_CONFIG_COMMAND_H
