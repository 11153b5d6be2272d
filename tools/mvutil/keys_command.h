// mvutil keys: checks, shows and sends key press strings as the library's KeyPressSimulator
// reads them.
#ifndef MVUTIL_KEYS_COMMAND_H
#define MVUTIL_KEYS_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kKeysUsage[];

// mvutil keys check STRING | show STRING | send STRING | send --from-config KEY
// check prints "valid" or "invalid" (exit 0 or 1); show prints the input records, one line each;
// send hands them to the system. The library logs the reasons for a refusal in area "mvutil".
int RunKeysCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_KEYS_COMMAND_H
