#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/sound_player.h"

#include "platform/win32/windows_include.h"

#include <mmsystem.h>

namespace Tavro_KVO_Util::platform {

PlayOutcome PlaySoundFile(const std::wstring& path, unsigned long flags, std::wstring& whyNot) {
  whyNot.clear();
  // The result is not looked at: PlaySoundW says TRUE even where no audio device exists, and a
  // file it cannot play falls back to the system's default sound on its own.
  (void)PlaySoundW(path.c_str(), /*hmod=*/nullptr, flags);
  return PlayOutcome::kHandedOver;
}

}  // namespace Tavro_KVO_Util::platform
