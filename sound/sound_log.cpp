#include "sound/sound_log.h"

#include <cstdarg>

#include "logging/library_log.h"

namespace Tavro_KVO_Util::internal {

void ReportSound(int level, int line, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ReportToLogger(kSoundArea, level, kSoundSourceFile, line, format, args);
  va_end(args);
}

}  // namespace Tavro_KVO_Util::internal
