// mvutil sound: registers, removes, lists and plays the product's sound events with the
// library's SoundEvent, as the tablet's programs do.
#ifndef MVUTIL_SOUND_COMMAND_H
#define MVUTIL_SOUND_COMMAND_H

#include "command.h"

namespace mvutil {

extern const char kSoundUsage[];

// mvutil sound register | unregister | list | play EVENT [--no-interrupt] [--wait MS]
int RunSoundCommand(const Args& args, Io& io);

}  // namespace mvutil

#endif  // MVUTIL_SOUND_COMMAND_H
