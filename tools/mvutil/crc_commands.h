// mvutil crc32 / crc16: checksums of files, printed in the style of sha256sum.
#ifndef MVUTIL_CRC_COMMANDS_H
#define MVUTIL_CRC_COMMANDS_H

#include "command.h"

namespace mvutil {

extern const char kCrc32Usage[];
extern const char kCrc16Usage[];

// Prints "XXXXXXXX  NAME" (crc32) or "XXXX  NAME" (crc16) per file, upper-case hexadecimal.
// "-" reads standard input. A file that cannot be read gets a message on stderr; the others are
// still processed, and the exit code is then kExitFailure.
int RunCrc32Command(const Args& args, Io& io);
int RunCrc16Command(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_CRC_COMMANDS_H
