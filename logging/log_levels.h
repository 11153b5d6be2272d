// The log levels as the library's classes pass them. A smaller number is more severe.
#ifndef TAVROMEDIVANEUTIL_LOGGING_LOG_LEVELS_H
#define TAVROMEDIVANEUTIL_LOGGING_LOG_LEVELS_H

namespace Tavro_KVO_Util::internal {

constexpr int kLevelReport = 0;  // always written
constexpr int kLevelFatal = 1;
constexpr int kLevelError = 2;
constexpr int kLevelWarn = 3;
constexpr int kLevelInfo = 4;
constexpr int kLevelDebug = 5;

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_LOG_LEVELS_H
