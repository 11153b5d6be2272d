#include "log_lines.h"

#include "wide_text.h"

namespace mvutil {
namespace {

bool IsLineEndAt(std::string_view bytes, std::size_t at) {
  return at + kLineEndSize <= bytes.size() && bytes[at] == '\r' && bytes[at + 1] == '\0' &&
         bytes[at + 2] == '\n' && bytes[at + 3] == '\0';
}

unsigned Unit(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]) |
         (static_cast<unsigned>(static_cast<unsigned char>(bytes[at + 1])) << 8);
}

}  // namespace

std::size_t FindLineEnd(std::string_view bytes, std::size_t from) {
  for (std::size_t at = from + (from & 1); at + kLineEndSize <= bytes.size(); at += 2) {
    if (IsLineEndAt(bytes, at)) return at;
  }
  return std::string_view::npos;
}

std::size_t FindLineEndBefore(std::string_view bytes, std::size_t before) {
  if (before > bytes.size()) before = bytes.size();
  for (std::size_t at = before & ~static_cast<std::size_t>(1); at >= 2;) {
    at -= 2;
    if (IsLineEndAt(bytes, at)) return at;
  }
  return std::string_view::npos;
}

std::size_t ByteOrderMarkSize(std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE' ? 2 : 0;
}

std::string Utf16LeToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() / 2);
  std::size_t at = 0;
  for (; at + 2 <= bytes.size(); at += 2) {
    const unsigned unit = Unit(bytes, at);
    if (unit >= 0xD800 && unit <= 0xDBFF && at + 4 <= bytes.size()) {
      const unsigned low = Unit(bytes, at + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (low - 0xDC00));
        at += 2;
        continue;
      }
    }
    AppendUtf8(out, unit);  // a surrogate left alone becomes U+FFFD there
  }
  if (at < bytes.size()) AppendUtf8(out, kReplacementCharacter);
  return out;
}

}  // namespace mvutil
