#include "platform/posix/utf8.h"

namespace Tavro_KVO_Util::platform {

std::string WideToUtf8(const std::wstring& wide) {
  std::string out;
  out.reserve(wide.size());
  for (const wchar_t c : wide) {
    const auto cp = static_cast<unsigned long>(c);
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
      out.push_back(static_cast<char>(0xF0 | ((cp >> 18) & 0x07)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

std::wstring Utf8ToWide(const std::string& utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t n = utf8.size();
  std::size_t i = 0;
  while (i < n) {
    const unsigned char lead = p[i];
    std::size_t extra = 0;
    unsigned long cp = lead;
    if ((lead & 0xE0) == 0xC0) {
      extra = 1;
      cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
      extra = 2;
      cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
      extra = 3;
      cp = lead & 0x07;
    } else if (lead >= 0x80) {
      extra = n;  // a stray continuation byte or an invalid lead: taken as it is below
    }
    bool wellFormed = i + extra < n;
    for (std::size_t k = 1; wellFormed && k <= extra; ++k) {
      wellFormed = (p[i + k] & 0xC0) == 0x80;
      cp = (cp << 6) | (p[i + k] & 0x3F);
    }
    if (!wellFormed) {
      out.push_back(static_cast<wchar_t>(lead));
      ++i;
      continue;
    }
    out.push_back(static_cast<wchar_t>(cp));
    i += extra + 1;
  }
  return out;
}

}  // namespace Tavro_KVO_Util::platform
