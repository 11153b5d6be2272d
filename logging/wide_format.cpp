#include "logging/wide_format.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <exception>
#include <string>
#include <type_traits>

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
// This file reads the caller's va_list, parses the format and writes strings, characters and
// pointers; integers and floating-point values are written in wide_format_numbers.cpp, and what
// the two files share is declared in wide_format_parts.h. The text never grows past the caller's
// limit plus one character (BoundedText), and no precision reaches snprintf larger than a value
// has exact digits, so neither memory nor time follows a width or precision near INT_MAX.
namespace Tavro_KVO_Util::internal {
namespace {

constexpr wchar_t kNullText[] = L"(null)";

// ---- arguments ----

// The caller's va_list stays untouched: we read from our own copy.
class VaListArgs final : public ArgSource {
 public:
  explicit VaListArgs(va_list args) { va_copy(mArgs, args); }
  ~VaListArgs() override { va_end(mArgs); }
  VaListArgs(const VaListArgs&) = delete;
  VaListArgs& operator=(const VaListArgs&) = delete;

  long long Signed(IntSize size) override {
    switch (size) {
      case IntSize::kShort:
        return static_cast<short>(va_arg(mArgs, int));
      case IntSize::kLong:
        return va_arg(mArgs, long);
      case IntSize::kLongLong:
        return va_arg(mArgs, long long);
      case IntSize::kSizeT:
        return va_arg(mArgs, std::make_signed_t<std::size_t>);
      case IntSize::kIntMax:
        return va_arg(mArgs, std::intmax_t);
      case IntSize::kPtrDiff:
        return va_arg(mArgs, std::ptrdiff_t);
      case IntSize::kIntPtr:
        return va_arg(mArgs, std::intptr_t);
      case IntSize::kInt:
      case IntSize::kInt32:
        break;
    }
    return va_arg(mArgs, int);
  }

  unsigned long long Unsigned(IntSize size) override {
    switch (size) {
      case IntSize::kShort:
        return static_cast<unsigned short>(va_arg(mArgs, unsigned int));
      case IntSize::kLong:
        return va_arg(mArgs, unsigned long);
      case IntSize::kLongLong:
        return va_arg(mArgs, unsigned long long);
      case IntSize::kSizeT:
        return va_arg(mArgs, std::size_t);
      case IntSize::kIntMax:
        return va_arg(mArgs, std::uintmax_t);
      case IntSize::kPtrDiff:
        return va_arg(mArgs, std::make_unsigned_t<std::ptrdiff_t>);
      case IntSize::kIntPtr:
        return va_arg(mArgs, std::uintptr_t);
      case IntSize::kInt:
      case IntSize::kInt32:
        break;
    }
    return va_arg(mArgs, unsigned int);
  }

  int Int() override { return va_arg(mArgs, int); }
  double Double() override { return va_arg(mArgs, double); }
  long double LongDouble() override { return va_arg(mArgs, long double); }
  const wchar_t* WideString() override { return va_arg(mArgs, const wchar_t*); }
  const char* NarrowString() override { return va_arg(mArgs, const char*); }
  const void* Pointer() override { return va_arg(mArgs, const void*); }

 private:
  va_list mArgs;
};

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
void AppendStringField(BoundedText& out, const Directive& directive, const CharT* text) {
  AppendField(out, directive, text, BoundedLength(text, directive.precision), 0, directive.zero);
}

// %S and %C take narrow text unless 'l' or 'w' says otherwise; %s and %c take wide text unless
// 'h' says otherwise.
bool TakesNarrowText(const Directive& directive) {
  const bool upper = directive.conversion == L'S' || directive.conversion == L'C';
  return directive.narrow || (upper && !directive.wide);
}

void AppendString(BoundedText& out, const Directive& directive, ArgSource& args) {
  if (TakesNarrowText(directive)) {
    const char* text = args.NarrowString();
    if (text != nullptr) {
      AppendStringField(out, directive, text);
      return;
    }
  } else {
    const wchar_t* text = args.WideString();
    if (text != nullptr) {
      AppendStringField(out, directive, text);
      return;
    }
  }
  AppendStringField(out, directive, kNullText);
}

// Characters arrive promoted to int. A NUL character is written like any other, as msvcrt does.
void AppendCharacter(BoundedText& out, const Directive& directive, ArgSource& args) {
  const int code = args.Int();
  const wchar_t character = TakesNarrowText(directive)
                                ? static_cast<wchar_t>(static_cast<unsigned char>(code))
                                : static_cast<wchar_t>(code);
  AppendField(out, directive, &character, 1, 0, directive.zero);
}

// 16 upper-case hexadecimal digits on every build. The digit count is fixed, so the 0 flag does
// nothing and a width pads with spaces.
void AppendPointer(BoundedText& out, const Directive& directive, ArgSource& args) {
  constexpr int kDigits = 16;
  const std::uint64_t value = reinterpret_cast<std::uintptr_t>(args.Pointer());
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
void ReadStarArguments(Directive& directive, ArgSource& args) {
  if (directive.widthFromArg) {
    const int width = args.Int();
    if (width < 0) {
      directive.left = true;
      directive.width = width == INT_MIN ? INT_MAX : -width;
    } else {
      directive.width = width;
    }
  }
  if (directive.precisionFromArg) {
    const int precision = args.Int();
    directive.precision = precision < 0 ? kNoPrecision : precision;
  }
}

void AppendConversion(BoundedText& out, Directive& directive, ArgSource& args) {
  if (directive.conversion == L'%') {
    out.Append(1, L'%');
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
      args.Pointer();  // consumed, never written through
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

// Stops at the first piece that takes the text past its limit: nothing after it could be kept.
void FormatInto(BoundedText& out, const wchar_t* format, ArgSource& args) {
  const wchar_t* p = format;
  while (!out.Exceeded()) {
    const wchar_t* percent = std::wcschr(p, L'%');
    if (percent == nullptr) {
      out.Append(p, std::wcslen(p));
      return;
    }
    out.Append(p, static_cast<std::size_t>(percent - p));
    Directive directive;
    const wchar_t* conversion = ParseConversion(percent + 1, directive);
    if (*conversion == L'\0') {  // the format ends inside the conversion: keep what is there
      out.Append(percent, std::wcslen(percent));
      return;
    }
    p = conversion + 1;
    if (IsKnownConversion(directive.conversion)) {
      AppendConversion(out, directive, args);
    } else {
      out.Append(percent, static_cast<std::size_t>(p - percent));
    }
  }
}

}  // namespace

bool FormatWideFrom(std::wstring& text, const wchar_t* format, ArgSource& args, std::size_t limit) {
  try {
    text.clear();
    if (format == nullptr) return true;
    BoundedText out(text, limit);
    constexpr std::size_t kRoomForArguments = 64;
    const std::size_t expected = std::wcslen(format) + kRoomForArguments;
    text.reserve(expected < limit ? expected : limit);
    FormatInto(out, format, args);
    return true;
  } catch (const std::exception&) {
    return false;  // only memory can run out here; the text so far stays
  }
}

bool FormatWideInto(std::wstring& text, const wchar_t* format, va_list args, std::size_t limit) {
  VaListArgs source(args);
  return FormatWideFrom(text, format, source, limit);
}

std::wstring FormatWide(const wchar_t* format, va_list args, std::size_t limit) {
  std::wstring text;
  FormatWideInto(text, format, args, limit);
  return text;
}

std::wstring FormatWideF(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = FormatWide(format, args, kDefaultFormatLimit);
  va_end(args);
  return text;
}

std::wstring FormatWideLimitedF(std::size_t limit, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring text = FormatWide(format, args, limit);
  va_end(args);
  return text;
}

}  // namespace Tavro_KVO_Util::internal
