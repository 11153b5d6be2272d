// The library's own classes reach the logger's formatting entry without its level test twice.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOGGER_INTERNALS_H
#define TAVROMEDIVANEUTIL_LOGGING_LOGGER_INTERNALS_H

#include <cstdarg>

#include "Logger.h"

namespace Tavro_KVO_Util {

class LoggerInternals {
 public:
  // Logger::LogFmtVA: formats and writes; the caller has tested the level.
  static void LogFmtVA(Logger& logger, const wchar_t* area, int level, const wchar_t* file, int line,
                       const wchar_t* format, va_list args);
};

// Tests only: forget the process-wide once-flags and the low-space state, as a new process would.
void ResetLoggerProcessStateForTesting();

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOGGER_INTERNALS_H
