// The fixed table of the 27 sound events and the lookup that Play and the tool share.
#ifndef TAVROMEDIVANEUTIL_SOUND_SOUND_EVENT_TABLE_H
#define TAVROMEDIVANEUTIL_SOUND_SOUND_EVENT_TABLE_H

#include <cstddef>

#include "SoundEvent.h"

// Not part of the shared library's interface: mvutil compiles the table in for itself, and an
// exported copy in the library would make two definitions of one global in that process.
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(hidden)
#endif

namespace Tavro_KVO_Util::internal {

inline constexpr std::size_t kSoundEventRows = 27;

// In this order, which is not the order of the values; lookups search it linearly.
extern const SoundEventTableEntry kSoundEventTable[kSoundEventRows];

// The row of `type`; a value outside 0..26 gives the ".Default" row. Null if no row has the type.
const SoundEventTableEntry* FindSoundEventRow(SoundEventType type);

}  // namespace Tavro_KVO_Util::internal

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_SOUND_SOUND_EVENT_TABLE_H
