#include "keypress/key_press_log.h"

#include <cstdint>

#include "Logger.h"

namespace Tavro_KVO_Util::internal {
namespace {

// The logger when an entry of `level` in `area` would be written, else null.
Logger* LoggerFor(const std::wstring& area, int level) {
  Logger* logger = Logger::GetInstance();
  if (logger == nullptr || !logger->IsThisLevelLoggable(area.c_str(), level)) return nullptr;
  return logger;
}

// The value as a Windows `long` prints: 32 bits on every system, so that an error number above
// 2^31 reads the same in the logs of both builds.
std::wstring Decimal(long value) { return std::to_wstring(static_cast<std::int32_t>(value)); }

}  // namespace

void LogKeyPressValue(const std::wstring& area, int level, int line, const wchar_t* message, long value) {
  if (Logger* logger = LoggerFor(area, level)) {
    logger->LogString(area.c_str(), level, message, Decimal(value).c_str(), kKeyPressSourceFile, line);
  }
}

void LogKeyPressText(const std::wstring& area, int level, int line, const wchar_t* message,
                     const std::wstring& data) {
  if (Logger* logger = LoggerFor(area, level)) {
    logger->LogString(area.c_str(), level, message, data.c_str(), kKeyPressSourceFile, line);
  }
}

void LogKeyPressLong(const std::wstring& area, int level, int line, const wchar_t* message, long value) {
  if (Logger* logger = LoggerFor(area, level)) {
    logger->LogLong(area.c_str(), level, message, static_cast<std::int32_t>(value), kKeyPressSourceFile,
                    line);
  }
}

}  // namespace Tavro_KVO_Util::internal
