// Wide text to and from UTF-8 for the POSIX back ends, whose file names and environment are bytes.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_UTF8_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_UTF8_H

#include <string>

namespace Tavro_KVO_Util::platform {

// Each wchar_t is one code point; values that are no scalar value (lone surrogates) are still
// encoded the same way, so that any wide name round-trips.
std::string WideToUtf8(const std::wstring& wide);

// Malformed bytes become the characters of the same code (0x80-0xFF), so nothing is lost silently.
std::wstring Utf8ToWide(const std::string& utf8);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_UTF8_H
