// Platform service: plays a sound file asynchronously, one sound at a time per process.
//
// Windows: PlaySoundW with the file name and the flags as given; its result is not looked at
// (callers rely on the platform's own fall-back to the default sound for files it cannot play).
// Linux: libcanberra on the user's sound server. kPlayNoStop drops the request while this process
// still plays a sound; without it the sound that plays is cancelled and the new one starts. "\\"
// in the path is taken as "/" there, so scheme paths written for Windows work on both. A file that
// cannot be played (missing, empty name, not a sound) falls back, as on Windows, to the default
// sound: the sound theme's kDefaultSoundEventId, looked up by libcanberra in the user's theme
// (XDG_DATA_HOME, XDG_DATA_DIRS, then the "freedesktop" theme). The process keeps one libcanberra
// context, opened at the first request and closed at exit. A connection that broke (the server
// was restarted) is replaced by a new one within the request; a request that finds no server
// fails with libcanberra's reason and the server asked for in `whyNot`, and the next request
// tries again. Libcanberra's own CANBERRA_DRIVER and PULSE_SERVER apply.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_SOUND_PLAYER_H
#define TAVROMEDIVANEUTIL_PLATFORM_SOUND_PLAYER_H

#include <string>

namespace Tavro_KVO_Util::platform {

// PlaySoundW's flags, numbered as Windows numbers them.
inline constexpr unsigned long kPlayAsync = 0x0001;      // SND_ASYNC
inline constexpr unsigned long kPlayNoStop = 0x0010;     // SND_NOSTOP
inline constexpr unsigned long kPlayFileName = 0x20000;  // SND_FILENAME

// The sound theme's name for the window system's alert sound: the Linux player's default sound.
inline constexpr char kDefaultSoundEventId[] = "bell-window-system";

enum class PlayOutcome {
  kHandedOver,     // the system took the request (Windows always says so)
  kDropped,        // kPlayNoStop and a sound of this process was still playing
  kDefaultPlayed,  // the file could not be played and the default sound plays instead (Linux);
                   // `whyNot` says why the file could not
  kFailed,         // nothing will play; `whyNot` says why (no sound server, no default sound, ...)
};

// Never blocks for longer than it takes to hand the request over; never throws. Thread-safe.
// `whyNot` is set for kDefaultPlayed and kFailed, and empty otherwise.
PlayOutcome PlaySoundFile(const std::wstring& path, unsigned long flags, std::wstring& whyNot);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_SOUND_PLAYER_H
