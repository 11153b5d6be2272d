#include "logging/wide_format.h"

#include <climits>
#include <cstdint>
#include <cwchar>
#include <string>

#include "logging/wide_format_parts.h"

// How the text compares with the Windows build of the library, which formats through msvcrt's
// _vsnwprintf:
//  - Integers, strings and characters come out the same, including msvcrt's habits that the C
//    standard does not share: hh reads like h (a short), the 0 flag pads strings and characters
//    with zeros, and %#p puts "0X" before the digits.
//  - Floating-point digits are exact, and a value exactly halfway between two outputs is rounded
//    away from zero, as msvcrt does (the C libraries round such ties to even). msvcrt writes at
//    least three exponent digits ("1.500000e+000", "1e-005"), so we do as well; %a without a
//    precision shows all 13 hexadecimal digits of a double.
//  - Infinities and NaNs read "inf" and "nan" (upper-case for F E G A) on both builds rather
//    than msvcrt's "1.#INF00" family, which no reader of a log needs.
//  - Where msvcrt would drop or garble the text -- an unknown conversion, a '%' at the very end,
//    %F, %n -- we keep the format's own characters, print %F like %f, and never write through %n.
//
// This file parses the format and writes strings, characters and pointers; integers and
// floating-point values are written in wide_format_numbers.cpp, and what the two files share is
// declared in wide_format_parts.h.
namespace Tavro_KVO_Util::internal {
namespace {

constexpr wchar_t kNullText[] = L"(null)";

// ---- strings, characters, pointers ----

// The length up to the NUL, reading no further than `precision` characters when one is given:
// the string need not be terminated then.
template <typename CharT>
std::size_t BoundedLength(const CharT* text, int precision) {
  if (precision == kNoPrecision) return std::char_traits<CharT>::length(text);
  const CharT* end = std::char_traits<CharT>::find(text, static_cast<std::size_t>(precision), CharT());
  return end == nullptr ? static_cast<std::size_t>(precision) : static_cast<std::size_t>(end - text);
}

template <typename CharT>
void AppendStringField(std::wstring& out, const Directive& directive, const CharT* text) {
  AppendField(out, directive, text, BoundedLength(text, directive.precision), 0, directive.zero);
}

// %S and %C take narrow text unless 'l' or 'w' says otherwise; %s and %c take wide text unless
// 'h' says otherwise.
bool TakesNarrowText(const Directive& directive) {
  const bool upper = directive.conversion == L'S' || directive.conversion == L'C';
  return directive.narrow || (upper && !directive.wide);
}

void AppendString(std::wstring& out, const Directive& directive, ArgReader& args) {
  if (TakesNarrowText(directive)) {
    const char* text = args.Next<const char*>();
    if (text != nullptr) {
      AppendStringField(out, directive, text);
      return;
    }
  } else {
    const wchar_t* text = args.Next<const wchar_t*>();
    if (text != nullptr) {
      AppendStringField(out, directive, text);
      return;
    }
  }
  AppendStringField(out, directive, kNullText);
}

// Characters arrive promoted to int. A NUL character is written like any other, as msvcrt does.
void AppendCharacter(std::wstring& out, const Directive& directive, ArgReader& args) {
  const int code = args.Next<int>();
  const wchar_t character = TakesNarrowText(directive)
                                ? static_cast<wchar_t>(static_cast<unsigned char>(code))
                                : static_cast<wchar_t>(code);
  AppendField(out, directive, &character, 1, 0, directive.zero);
}

// 16 upper-case hexadecimal digits on every build. The digit count is fixed, so the 0 flag does
// nothing and a width pads with spaces.
void AppendPointer(std::wstring& out, const Directive& directive, ArgReader& args) {
  constexpr int kDigits = 16;
  const std::uint64_t value = reinterpret_cast<std::uintptr_t>(args.Next<const void*>());
  wchar_t text[2 + kDigits];
  std::size_t length = 0;
  if (directive.alternate && value != 0) {
    text[length++] = L'0';
    text[length++] = L'X';
  }
  for (int shift = 4 * (kDigits - 1); shift >= 0; shift -= 4) {
    text[length++] = L"0123456789ABCDEF"[(value >> shift) & 0xF];
  }
  AppendField(out, directive, text, length, 0, false);
}

// ---- parsing ----

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Reads decimal digits, saturating instead of overflowing.
const wchar_t* ParseNumber(const wchar_t* p, int& number) {
  number = 0;
  for (; IsDigit(*p); ++p) {
    const int digit = *p - L'0';
    number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
  }
  return p;
}

const wchar_t* ParseFlags(const wchar_t* p, Directive& directive) {
  for (;; ++p) {
    switch (*p) {
      case L'-':
        directive.left = true;
        break;
      case L'+':
        directive.plus = true;
        break;
      case L' ':
        directive.space = true;
        break;
      case L'#':
        directive.alternate = true;
        break;
      case L'0':
        directive.zero = true;
        break;
      default:
        return p;
    }
  }
}

const wchar_t* ParseWidthAndPrecision(const wchar_t* p, Directive& directive) {
  if (*p == L'*') {
    directive.widthFromArg = true;
    ++p;
  } else {
    p = ParseNumber(p, directive.width);
  }
  if (*p != L'.') return p;
  ++p;
  if (*p == L'*') {
    directive.precisionFromArg = true;
    return p + 1;
  }
  return ParseNumber(p, directive.precision);  // "." alone means a precision of 0
}

// Size prefixes, including Microsoft's I, I32, I64 and w. 'h' marks text as narrow and 'l' or 'w'
// as wide for the string and character conversions.
const wchar_t* ParseSizePrefixes(const wchar_t* p, Directive& directive) {
  for (;;) {
    switch (*p) {
      case L'h':  // "hh" reads a short as well, as msvcrt has it
        directive.size = IntSize::kShort;
        directive.narrow = true;
        ++p;
        break;
      case L'l':
        if (p[1] == L'l') {
          directive.size = IntSize::kLongLong;
          p += 2;
        } else {
          directive.size = IntSize::kLong;
          directive.wide = true;
          ++p;
        }
        break;
      case L'L':
        directive.longDouble = true;
        ++p;
        break;
      case L'w':
        directive.wide = true;
        ++p;
        break;
      case L'I':
        if (p[1] == L'6' && p[2] == L'4') {
          directive.size = IntSize::kLongLong;
          p += 3;
        } else if (p[1] == L'3' && p[2] == L'2') {
          directive.size = IntSize::kInt32;
          p += 3;
        } else {
          directive.size = IntSize::kIntPtr;
          ++p;
        }
        break;
      case L'z':
        directive.size = IntSize::kSizeT;
        ++p;
        break;
      case L'j':
        directive.size = IntSize::kIntMax;
        ++p;
        break;
      case L't':
        directive.size = IntSize::kPtrDiff;
        ++p;
        break;
      default:
        return p;
    }
  }
}

// Parses what follows a '%' and returns where the conversion character is (possibly the NUL).
const wchar_t* ParseConversion(const wchar_t* p, Directive& directive) {
  p = ParseFlags(p, directive);
  p = ParseWidthAndPrecision(p, directive);
  p = ParseSizePrefixes(p, directive);
  directive.conversion = *p;
  return p;
}

bool IsKnownConversion(wchar_t c) {
  return c != L'\0' && std::wcschr(L"diuoxXfFeEgGaAsScCpn%", c) != nullptr;
}

// A '*' is read only once the conversion is known to be real, so that an unknown one consumes
// nothing. A negative width means '-'; a negative precision means none.
void ReadStarArguments(Directive& directive, ArgReader& args) {
  if (directive.widthFromArg) {
    const int width = args.Next<int>();
    if (width < 0) {
      directive.left = true;
      directive.width = width == INT_MIN ? INT_MAX : -width;
    } else {
      directive.width = width;
    }
  }
  if (directive.precisionFromArg) {
    const int precision = args.Next<int>();
    directive.precision = precision < 0 ? kNoPrecision : precision;
  }
}

void AppendConversion(std::wstring& out, Directive& directive, ArgReader& args) {
  if (directive.conversion == L'%') {
    out.push_back(L'%');
    return;
  }
  ReadStarArguments(directive, args);
  switch (directive.conversion) {
    case L's':
    case L'S':
      AppendString(out, directive, args);
      break;
    case L'c':
    case L'C':
      AppendCharacter(out, directive, args);
      break;
    case L'p':
      AppendPointer(out, directive, args);
      break;
    case L'n':
      args.Next<void*>();  // consumed, never written through
      break;
    case L'd':
    case L'i':
    case L'u':
    case L'o':
    case L'x':
    case L'X':
      AppendInteger(out, directive, args);
      break;
    default:
      AppendFloat(out, directive, args);
      break;
  }
}

void FormatInto(std::wstring& out, const wchar_t* format, ArgReader& args) {
  const wchar_t* p = format;
  for (;;) {
    const wchar_t* percent = std::wcschr(p, L'%');
    if (percent == nullptr) {
      out.append(p);
      return;
    }
    out.append(p, static_cast<std::size_t>(percent - p));
    Directive directive;
    const wchar_t* conversion = ParseConversion(percent + 1, directive);
    if (*conversion == L'\0') {  // the format ends inside the conversion: keep what is there
      out.append(percent);
      return;
    }
    p = conversion + 1;
    if (IsKnownConversion(directive.conversion)) {
      AppendConversion(out, directive, args);
    } else {
      out.append(percent, static_cast<std::size_t>(p - percent));
    }
  }
}

}  // namespace

std::wstring FormatWide(const wchar_t* format, va_list args) {
  std::wstring out;
  if (format == nullptr) return out;
  try {
    ArgReader reader(args);
    constexpr std::size_t kRoomForArguments = 64;
    out.reserve(std::wcslen(format) + kRoomForArguments);
    FormatInto(out, format, reader);
  } catch (...) {
    // Out of memory: the text so far is the best we can give a log.
  }
  return out;
}

std::wstring FormatWideF(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = FormatWide(format, args);
  va_end(args);
  return text;
}

}  // namespace Tavro_KVO_Util::internal
