// The system's text for a Win32 or Winsock error code, as the tool's messages show it:
// "No connection could be made because the target machine actively refused it (10061)".
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_ERROR_TEXT_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_ERROR_TEXT_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include <string>

namespace Tavro_KVO_Util::platform {

// UTF-8, without the trailing full stop and line break, followed by the number in parentheses;
// "error (N)" when the system has no text for it.
std::string ErrorText(unsigned long error);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_ERROR_TEXT_H
