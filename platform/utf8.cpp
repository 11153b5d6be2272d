#include "platform/utf8.h"

#include <cstddef>

namespace Tavro_KVO_Util::platform {
namespace {

bool IsSurrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }
bool IsHighSurrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDBFF; }
bool IsLowSurrogate(char32_t cp) { return cp >= 0xDC00 && cp <= 0xDFFF; }

// What a lead byte announces: the number of continuation bytes and the range the first of them
// must fall in. The narrowed ranges after E0, ED, F0 and F4 are what rule out overlong forms,
// surrogates and values above U+10FFFF at the earliest byte (Unicode table 3-7), which makes the
// bytes read so far the maximal subpart to replace.
struct Lead {
  int continuations;
  unsigned char low;
  unsigned char high;
};

bool ReadLead(unsigned char byte, Lead& lead) {
  lead = {0, 0x80, 0xBF};
  if (byte >= 0xC2 && byte <= 0xDF) {
    lead.continuations = 1;
  } else if (byte >= 0xE0 && byte <= 0xEF) {
    lead.continuations = 2;
    if (byte == 0xE0) lead.low = 0xA0;
    if (byte == 0xED) lead.high = 0x9F;
  } else if (byte >= 0xF0 && byte <= 0xF4) {
    lead.continuations = 3;
    if (byte == 0xF0) lead.low = 0x90;
    if (byte == 0xF4) lead.high = 0x8F;
  }
  return lead.continuations > 0;
}

// Decodes the sequence starting at `p` (at least one byte, `size` in all) into `cp` and returns
// how many bytes it took; for an ill-formed start, U+FFFD and the length of the maximal subpart.
std::size_t DecodeOne(const unsigned char* p, std::size_t size, char32_t& cp) {
  if (p[0] < 0x80) {
    cp = p[0];
    return 1;
  }
  Lead lead{};
  cp = kReplacementCharacter;
  if (!ReadLead(p[0], lead)) return 1;
  char32_t value = p[0] & (0x3F >> lead.continuations);
  for (int k = 1; k <= lead.continuations; ++k) {
    const auto at = static_cast<std::size_t>(k);
    if (at >= size || p[at] < lead.low || p[at] > lead.high) return at;
    value = (value << 6) | (p[at] & 0x3F);
    lead.low = 0x80;
    lead.high = 0xBF;
  }
  cp = value;
  return static_cast<std::size_t>(lead.continuations) + 1;
}

void AppendWide(std::wstring& out, char32_t cp) {
  if (sizeof(wchar_t) == 2 && cp > 0xFFFF) {
    const char32_t offset = cp - 0x10000;
    out.push_back(static_cast<wchar_t>(0xD800 + (offset >> 10)));
    out.push_back(static_cast<wchar_t>(0xDC00 + (offset & 0x3FF)));
  } else {
    out.push_back(static_cast<wchar_t>(cp));
  }
}

}  // namespace

void AppendUtf8(std::string& out, char32_t cp) {
  if (IsSurrogate(cp) || cp > 0x10FFFF) cp = kReplacementCharacter;
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

std::string WideToUtf8(const std::wstring& wide) {
  std::string out;
  out.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    // A negative wchar_t (Linux) converts to a value far above U+10FFFF: replaced below.
    char32_t cp = static_cast<char32_t>(wide[i]);
    if (IsHighSurrogate(cp) && i + 1 < wide.size() && IsLowSurrogate(static_cast<char32_t>(wide[i + 1]))) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<char32_t>(wide[i + 1]) - 0xDC00);
      ++i;
    }
    AppendUtf8(out, cp);
  }
  return out;
}

std::wstring Utf8ToWide(const std::string& utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  for (std::size_t at = 0; at < utf8.size();) {
    char32_t cp = 0;
    at += DecodeOne(p + at, utf8.size() - at, cp);
    AppendWide(out, cp);
  }
  return out;
}

}  // namespace Tavro_KVO_Util::platform
