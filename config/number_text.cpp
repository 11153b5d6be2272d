#include "config/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

namespace Tavro_KVO_Util::internal {
namespace {

// The C library's blanks in the "C" locale; other locales or Unicode spaces must not change what
// a value means.
bool IsBlank(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\n' || c == L'\v' || c == L'\f' || c == L'\r';
}

std::size_t SkipBlanks(const std::wstring& text, std::size_t pos) {
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  return pos;
}

// Consumes one optional "+" or "-" at `pos`; true when it was "-".
bool ReadSign(const std::wstring& text, std::size_t& pos) {
  if (pos >= text.size() || (text[pos] != L'+' && text[pos] != L'-')) return false;
  return text[pos++] == L'-';
}

// The value of an ASCII digit or letter (0-35), or 36 for anything else.
unsigned DigitValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return static_cast<unsigned>(c - L'0');
  if (c >= L'a' && c <= L'z') return static_cast<unsigned>(c - L'a') + 10;
  if (c >= L'A' && c <= L'Z') return static_cast<unsigned>(c - L'A') + 10;
  return 36;
}

bool HasHexPrefix(const std::wstring& text, std::size_t pos) {
  return pos + 1 < text.size() && text[pos] == L'0' && (text[pos + 1] == L'x' || text[pos + 1] == L'X');
}

// Settles radix 0 from the prefix and steps over a "0x" where hexadecimal allows one. A leading
// "0" of an octal number is left in place: it reads as a digit like any other.
unsigned ResolveRadix(const std::wstring& text, std::size_t& pos, int radix) {
  if ((radix == 0 || radix == 16) && HasHexPrefix(text, pos)) {
    pos += 2;
    return 16;
  }
  if (radix != 0) return static_cast<unsigned>(radix);
  return pos < text.size() && text[pos] == L'0' ? 8 : 10;
}

bool IsValidRadix(int radix) { return radix == 0 || (radix >= 2 && radix <= 36); }

struct Magnitude {
  std::uint64_t value = 0;
  bool overflow = false;  // the digits exceed `limit`; `value` is then meaningless
};

// Reads the digits of `radix` from `pos` up to the first other character.
Magnitude ReadDigits(const std::wstring& text, std::size_t pos, unsigned radix, std::uint64_t limit) {
  Magnitude magnitude;
  for (; pos < text.size(); ++pos) {
    const unsigned digit = DigitValue(text[pos]);
    if (digit >= radix) break;
    if (magnitude.value > (limit - digit) / radix) magnitude.overflow = true;
    if (!magnitude.overflow) magnitude.value = magnitude.value * radix + digit;
  }
  return magnitude;
}

// wcstoul's rules at the width whose largest value is `max` (all ones).
std::uint64_t TextToUnsigned(const std::wstring& text, int radix, std::uint64_t max) {
  if (!IsValidRadix(radix)) return 0;
  std::size_t pos = SkipBlanks(text, 0);
  const bool negative = ReadSign(text, pos);
  const unsigned effectiveRadix = ResolveRadix(text, pos, radix);
  const Magnitude magnitude = ReadDigits(text, pos, effectiveRadix, max);
  if (magnitude.overflow) return max;
  return negative ? (0 - magnitude.value) & max : magnitude.value;
}

// For a decimal number that does not fit a double: true when it is too large, false when too
// small. `first`..`last` is the number without its sign, as from_chars matched it.
bool IsBeyondLargest(const char* first, const char* last) {
  long long scale = 0;  // the power of ten just above the leading significant digit
  bool significant = false;
  bool afterPoint = false;
  const char* p = first;
  for (; p != last && *p != 'e' && *p != 'E'; ++p) {
    if (*p == '.') {
      afterPoint = true;
    } else if (!significant && *p == '0') {
      if (afterPoint) --scale;
    } else {
      significant = true;
      if (!afterPoint) ++scale;
    }
  }
  long long exponent = 0;
  bool negativeExponent = false;
  if (p != last) ++p;
  if (p != last && (*p == '+' || *p == '-')) negativeExponent = *p++ == '-';
  constexpr long long kExponentCap = 1000000000;  // far beyond any double, far below overflow
  for (; p != last; ++p) exponent = std::min(exponent * 10 + (*p - '0'), kExponentCap);
  return scale + (negativeExponent ? -exponent : exponent) > 0;
}

// The ASCII characters of `text` from `pos` on, up to the first other one: nothing past that
// can belong to a number.
std::string AsciiFrom(const std::wstring& text, std::size_t pos) {
  std::string ascii;
  for (; pos < text.size() && text[pos] > 0 && text[pos] < 0x80; ++pos) {
    ascii.push_back(static_cast<char>(text[pos]));
  }
  return ascii;
}

}  // namespace

long TextToLong(const std::wstring& text) {
  std::size_t pos = SkipBlanks(text, 0);
  const bool negative = ReadSign(text, pos);
  constexpr auto kLongMax = static_cast<std::uint64_t>(std::numeric_limits<long>::max());
  const Magnitude magnitude = ReadDigits(text, pos, 10, negative ? kLongMax + 1 : kLongMax);
  if (magnitude.overflow)
    return negative ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
  if (!negative || magnitude.value == 0) return static_cast<long>(magnitude.value);
  // Written so that the most negative long is reached without overflowing on the way.
  return -static_cast<long>(magnitude.value - 1) - 1;
}

double TextToDouble(const std::wstring& text) {
  std::size_t pos = SkipBlanks(text, 0);
  const bool negative = ReadSign(text, pos);
  const std::string ascii = AsciiFrom(text, pos);
  // from_chars takes a "-" of its own; after our sign a second one ends the number.
  if (ascii.empty() || ascii[0] == '-' || ascii[0] == '+') return 0.0;
  double result = 0.0;
  const char* first = ascii.data();
  const auto [end, error] = std::from_chars(first, first + ascii.size(), result, std::chars_format::general);
  if (error == std::errc::invalid_argument) return 0.0;
  if (error == std::errc::result_out_of_range) {
    result = IsBeyondLargest(first, end) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return negative ? -result : result;
}

std::uint32_t TextToUnsigned32(const std::wstring& text, int radix) {
  return static_cast<std::uint32_t>(TextToUnsigned(text, radix, std::numeric_limits<std::uint32_t>::max()));
}

std::uint64_t TextToUnsigned64(const std::wstring& text, int radix) {
  return TextToUnsigned(text, radix, std::numeric_limits<std::uint64_t>::max());
}

bool IsExactlyZeroText(const std::wstring& text) { return text == L"0"; }

}  // namespace Tavro_KVO_Util::internal
