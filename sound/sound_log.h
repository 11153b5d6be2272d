// How SoundEvent reports: every entry goes through the Logger's formatted entry point, in the
// class's debug area, with the line of the call.
#ifndef TAVROMEDIVANEUTIL_SOUND_SOUND_LOG_H
#define TAVROMEDIVANEUTIL_SOUND_SOUND_LOG_H

namespace Tavro_KVO_Util::internal {

// The area and source file every SoundEvent entry names: support tools filter the log on them.
inline constexpr wchar_t kSoundArea[] = L"SoundEvent";
inline constexpr wchar_t kSoundSourceFile[] = L".\\SoundEvent.cpp";

// `format` follows the Windows wide-printf conventions (%s is a wide string).
void ReportSound(int level, int line, const wchar_t* format, ...);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_SOUND_SOUND_LOG_H
