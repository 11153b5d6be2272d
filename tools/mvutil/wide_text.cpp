#include "wide_text.h"

namespace mvutil {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendCodePoint(std::wstring& out, char32_t cp) {
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

std::wstring Utf8ToWide(const std::string& utf8) {
  std::wstring out;
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t n = utf8.size();
  for (std::size_t i = 0; i < n;) {
    const unsigned char lead = p[i];
    std::size_t extra = lead < 0x80             ? 0
                        : (lead & 0xE0) == 0xC0 ? 1
                        : (lead & 0xF0) == 0xE0 ? 2
                        : (lead & 0xF8) == 0xF0 ? 3
                                                : 9;
    char32_t cp = extra == 0 ? lead : extra == 1 ? (lead & 0x1F) : extra == 2 ? (lead & 0x0F) : (lead & 0x07);
    bool ok = extra < 4 && i + extra < n;
    for (std::size_t k = 1; ok && k <= extra; ++k) {
      ok = (p[i + k] & 0xC0) == 0x80;
      cp = (cp << 6) | (p[i + k] & 0x3F);
    }
    if (!ok || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      AppendCodePoint(out, kReplacement);
      ++i;
      continue;
    }
    AppendCodePoint(out, cp);
    i += extra + 1;
  }
  return out;
}

std::string WideToUtf8(const std::wstring& wide) {
  std::string out;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    char32_t cp = static_cast<char32_t>(wide[i]);
    if (sizeof(wchar_t) == 2 && cp >= 0xD800 && cp <= 0xDBFF && i + 1 < wide.size() &&
        static_cast<char32_t>(wide[i + 1]) >= 0xDC00 && static_cast<char32_t>(wide[i + 1]) <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<char32_t>(wide[i + 1]) - 0xDC00);
      ++i;
    } else if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) {
      cp = kReplacement;
    }
    AppendUtf8(out, cp);
  }
  return out;
}

}  // namespace mvutil
