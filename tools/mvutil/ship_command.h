// mvutil ship: sends the shared log to a syslog collector (see shipping/shipper.h).
#ifndef MVUTIL_SHIP_COMMAND_H
#define MVUTIL_SHIP_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kShipUsage[];

// mvutil ship [--to URL] [--state FILE] [--once] [--from-end] [--hostname NAME] [--facility N]
int RunShipCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_SHIP_COMMAND_H
