// UTF-8 (the tool's own text) to and from the library's wide strings, on both builds: wchar_t is
// UTF-16 on Windows and a code point on Linux.
#ifndef MVUTIL_WIDE_TEXT_H
#define MVUTIL_WIDE_TEXT_H

#include <string>

namespace mvutil {

// Malformed bytes become U+FFFD.
std::wstring Utf8ToWide(const std::string& utf8);

// Lone surrogates become U+FFFD.
std::string WideToUtf8(const std::wstring& wide);

// Appends the UTF-8 bytes of one code point.
void AppendUtf8(std::string& out, char32_t cp);

}  // namespace mvutil

#endif  // MVUTIL_WIDE_TEXT_H
