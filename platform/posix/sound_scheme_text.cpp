#include "platform/posix/sound_scheme_text.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "platform/sound_scheme.h"
#include "platform/utf8.h"

namespace Tavro_KVO_Util::platform::scheme_text {

// ---- Names ----------------------------------------------------------------------------------

namespace {

// Upper case, as the registry compares names: full Unicode through the built-in C.UTF-8 locale
// (the process's own locale is left alone), ASCII only if that locale is missing.
std::wstring Fold(const std::wstring& name) {
  // Never freed: one locale object for the life of the process.
  static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
  std::wstring folded = name;
  for (wchar_t& c : folded) {
    c = utf8 != nullptr ? static_cast<wchar_t>(::towupper_l(static_cast<wint_t>(c), utf8))
                        : static_cast<wchar_t>(::towupper(static_cast<wint_t>(c)));
  }
  return folded;
}

}  // namespace

KeyPath FoldPath(const std::vector<std::wstring>& names) {
  KeyPath folded;
  folded.reserve(names.size());
  for (const std::wstring& name : names) folded.push_back(Fold(name));
  return folded;
}

bool SplitPath(const std::wstring& path, std::vector<std::wstring>& names) {
  names.clear();
  std::wstring rest = path;
  if (!rest.empty() && rest.back() == L'\\') rest.pop_back();
  if (rest.empty()) return path.empty();
  std::size_t at = 0;
  for (;;) {
    const std::size_t end = rest.find(L'\\', at);
    names.push_back(rest.substr(at, end == std::wstring::npos ? std::wstring::npos : end - at));
    if (names.back().empty()) return false;
    if (end == std::wstring::npos) return true;
    at = end + 1;
  }
}

// ---- The store in memory --------------------------------------------------------------------

bool Exists(const Store& store, const KeyPath& path) { return path.empty() || store.count(path) != 0; }

bool AddKey(Store& store, const std::vector<std::wstring>& names) {
  bool added = false;
  KeyPath folded;
  std::vector<std::wstring> spelled;
  for (const std::wstring& name : names) {
    folded.push_back(Fold(name));
    const auto found = store.find(folded);
    if (found != store.end()) {
      spelled = found->second.names;
      continue;
    }
    spelled.push_back(name);
    store.emplace(folded, KeyEntry{spelled, /*hasValue=*/false, /*type=*/0, std::wstring()});
    added = true;
  }
  return added;
}

std::vector<const KeyEntry*> Subkeys(const Store& store, const KeyPath& path) {
  std::vector<const KeyEntry*> subkeys;
  for (auto it = store.upper_bound(path); it != store.end(); ++it) {
    const KeyPath& other = it->first;
    if (other.size() <= path.size() || !std::equal(path.begin(), path.end(), other.begin())) break;
    if (other.size() == path.size() + 1) subkeys.push_back(&it->second);
  }
  return subkeys;
}

// ---- The file's text ------------------------------------------------------------------------

namespace {

constexpr wchar_t kEscape = L'^';

constexpr char kHeader[] =
    "; TavroMedivane sound scheme: the keys and default values Windows keeps in its registry.\n"
    "; UTF-16LE, CR LF. \"[A\\B]\" is key B under key A; \"@=REG_SZ:text\" or \"@=REG_EXPAND_SZ:text\"\n"
    "; is the default value of the key above it (a number instead of the type name: another type).\n"
    "; Names compare without regard to case. In names and values \"^\" and four hex digits stand for\n"
    "; one UTF-16 code unit: ^000D CR, ^000A LF, ^0000 null, ^005E \"^\".\n"
    "; Every change rewrites the whole file: edit it only while no program uses the scheme.\n";

void AppendUnit(std::string& out, std::uint32_t unit) {
  out += static_cast<char>(unit & 0xFF);
  out += static_cast<char>((unit >> 8) & 0xFF);
}

void AppendAscii(std::string& out, const char* text) {
  for (; *text != '\0'; ++text) {
    if (*text == '\n') AppendUnit(out, '\r');
    AppendUnit(out, static_cast<unsigned char>(*text));
  }
}

// Characters above U+FFFF become surrogate pairs; what a line cannot hold, and a lone surrogate
// (which would join its neighbour when read back), is escaped; a value above U+10FFFF is no
// character and becomes U+FFFD.
void AppendEscaped(std::string& out, const std::wstring& text) {
  static const char kHex[] = "0123456789ABCDEF";
  for (const wchar_t c : text) {
    const auto code = static_cast<char32_t>(c);
    if (code == static_cast<std::uint32_t>(kEscape) || code == L'\r' || code == L'\n' || code == 0 ||
        (code >= 0xD800 && code <= 0xDFFF)) {
      AppendUnit(out, static_cast<std::uint32_t>(kEscape));
      for (int shift = 12; shift >= 0; shift -= 4) {
        AppendUnit(out, static_cast<unsigned char>(kHex[(code >> shift) & 0xF]));
      }
    } else if (code > 0x10FFFF) {
      AppendUnit(out, kReplacementCharacter);
    } else if (code > 0xFFFF) {
      AppendUnit(out, 0xD800 + ((code - 0x10000) >> 10));
      AppendUnit(out, 0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      AppendUnit(out, code);
    }
  }
}

// The whole text: UTF-16LE after its mark, a surrogate pair read as one character and a lone
// surrogate kept as it is; without the mark, UTF-8 (after its own mark, if it has one).
std::wstring DecodeText(const std::string& bytes) {
  if (bytes.size() < 2 || static_cast<unsigned char>(bytes[0]) != 0xFF ||
      static_cast<unsigned char>(bytes[1]) != 0xFE) {
    return Utf8ToWide(bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? bytes.substr(3) : bytes);
  }
  std::wstring text;
  text.reserve(bytes.size() / 2);
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
    const std::uint32_t unit =
        static_cast<unsigned char>(bytes[at]) | (static_cast<unsigned char>(bytes[at + 1]) << 8);
    if (unit >= 0xDC00 && unit <= 0xDFFF && !text.empty()) {
      const auto previous = static_cast<char32_t>(text.back());
      if (previous >= 0xD800 && previous <= 0xDBFF) {
        text.back() = static_cast<wchar_t>(0x10000 + ((previous - 0xD800) << 10) + (unit - 0xDC00));
        continue;
      }
    }
    text += static_cast<wchar_t>(unit);
  }
  return text;
}

int HexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  return -1;
}

// A "^" not followed by four hex digits stands for itself.
std::wstring Unescape(const std::wstring& text) {
  std::wstring out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == kEscape) {
      int code = 0;
      bool hex = true;
      for (std::size_t i = 1; i <= 4 && hex; ++i) {
        const int digit = at + i < text.size() ? HexDigit(text[at + i]) : -1;
        hex = digit >= 0;
        code = code * 16 + digit;
      }
      if (hex) {
        out += static_cast<wchar_t>(code);
        at += 4;
        continue;
      }
    }
    out += text[at];
  }
  return out;
}

bool ParseType(const std::wstring& name, unsigned long& type) {
  if (name == L"REG_SZ") {
    type = kSchemeString;
  } else if (name == L"REG_EXPAND_SZ") {
    type = kSchemeExpandString;
  } else {
    if (name.empty() || name.size() > 10 || name.find_first_not_of(L"0123456789") != std::wstring::npos)
      return false;
    type = std::wcstoul(name.c_str(), nullptr, 10);
  }
  return true;
}

}  // namespace

std::string EncodeStore(const Store& store) {
  std::string out;
  AppendUnit(out, 0xFEFF);
  AppendAscii(out, kHeader);
  for (const auto& [path, entry] : store) {
    AppendAscii(out, "\n[");
    for (std::size_t i = 0; i < entry.names.size(); ++i) {
      if (i != 0) AppendUnit(out, L'\\');
      AppendEscaped(out, entry.names[i]);
    }
    AppendAscii(out, "]\n");
    if (!entry.hasValue) continue;
    AppendAscii(out, "@=");
    if (entry.type == kSchemeString) {
      AppendAscii(out, "REG_SZ");
    } else if (entry.type == kSchemeExpandString) {
      AppendAscii(out, "REG_EXPAND_SZ");
    } else {
      AppendAscii(out, std::to_string(entry.type).c_str());
    }
    AppendUnit(out, L':');
    AppendEscaped(out, entry.value);
    AppendAscii(out, "\n");
  }
  return out;
}

Store ParseStore(const std::string& bytes) {
  Store store;
  const std::wstring text = DecodeText(bytes);
  KeyEntry* current = nullptr;
  std::size_t at = 0;
  while (at <= text.size()) {
    std::size_t end = text.find(L'\n', at);
    if (end == std::wstring::npos) end = text.size();
    std::wstring line = text.substr(at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (line.size() >= 2 && line.front() == L'[' && line.back() == L']') {
      std::vector<std::wstring> names;
      current = nullptr;
      if (!SplitPath(line.substr(1, line.size() - 2), names) || names.empty()) continue;
      for (std::wstring& name : names) name = Unescape(name);
      AddKey(store, names);
      current = &store[FoldPath(names)];
    } else if (current != nullptr && line.compare(0, 2, L"@=") == 0) {
      const std::size_t colon = line.find(L':');
      unsigned long type = 0;
      if (colon == std::wstring::npos || !ParseType(line.substr(2, colon - 2), type)) continue;
      current->hasValue = true;
      current->type = type;
      current->value = Unescape(line.substr(colon + 1));
    }
  }
  return store;
}

}  // namespace Tavro_KVO_Util::platform::scheme_text
