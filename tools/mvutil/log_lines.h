// The log file's text: UTF-16LE code units, a CR LF after each entry, a byte-order mark at the
// start of a file the logger created (not of one it emptied).
//
// Offsets here count bytes from the start of a buffer that itself starts at an even offset of
// the file, so that every code unit starts at an even offset.
#ifndef MVUTIL_LOG_LINES_H
#define MVUTIL_LOG_LINES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace mvutil {

constexpr std::size_t kLineEndSize = 4;  // CR LF in UTF-16LE

// The offset of the first CR LF at or after `from`, or npos.
std::size_t FindLineEnd(std::string_view bytes, std::size_t from);

// The offset of the last CR LF that starts before `before`, or npos.
std::size_t FindLineEndBefore(std::string_view bytes, std::size_t before);

// 2 when `bytes` starts with the byte-order mark FF FE, else 0.
std::size_t ByteOrderMarkSize(std::string_view bytes);

// The code units as UTF-8; a lone surrogate, or an odd last byte, becomes U+FFFD.
std::string Utf16LeToUtf8(std::string_view bytes);

}  // namespace mvutil

#endif  // MVUTIL_LOG_LINES_H
