#include "image/image_log.h"

#include <cstdarg>

#include "logging/library_log.h"

namespace Tavro_KVO_Util::internal {

void ReportImage(const wchar_t* area, int level, int line, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ReportToLogger(area, level, kImageSourceFile, line, format, args);
  va_end(args);
}

}  // namespace Tavro_KVO_Util::internal
