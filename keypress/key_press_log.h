// How KeyPressSimulator reports: through the process's Logger, in the simulator's debug area,
// with the value that explains the failure as the entry's data (written after ";DATA#").
//
// Each call asks IsThisLevelLoggable before it formats anything, and skips the entry when no
// logger can be had.
#ifndef TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_LOG_H
#define TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_LOG_H

#include <string>

namespace Tavro_KVO_Util::internal {

// The source file every entry of the simulator names, whichever of its files made it: support
// tools filter the log on it.
inline constexpr wchar_t kKeyPressSourceFile[] = L".\\KeyPressSimulator.cpp";

// `message` with `value` in signed decimal as the data (a status code, an error number, a key).
void LogKeyPressValue(const std::wstring& area, int level, int line, const wchar_t* message, long value);

// `message` with `data` as it is.
void LogKeyPressText(const std::wstring& area, int level, int line, const wchar_t* message,
                     const std::wstring& data);

// `message` through Logger::LogLong, which writes `value` in decimal itself.
void LogKeyPressLong(const std::wstring& area, int level, int line, const wchar_t* message, long value);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_KEYPRESS_KEY_PRESS_LOG_H
