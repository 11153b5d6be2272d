// Text-to-number conversions of the configuration store's numeric getters.
//
// The getters' answers were fixed by the Windows C library, where `long` and `unsigned long` are
// 32 bits wide. These functions give those answers on every build, whatever the width of the
// native types and whatever locale the host process has set: they read only ASCII digits, the
// blanks " \t\n\v\f\r" and "." as the decimal point.
#ifndef TAVROMEDIVANEUTIL_CONFIG_NUMBER_TEXT_H
#define TAVROMEDIVANEUTIL_CONFIG_NUMBER_TEXT_H

#include <cstdint>
#include <string>

namespace Tavro_KVO_Util::internal {

// As wcstol in base 10: leading blanks, an optional sign, then decimal digits up to the first
// other character. 0 when there are no digits; beyond the range of `long` the nearest limit.
long TextToLong(const std::wstring& text);

// As wcstod: leading blanks, an optional sign, then a decimal number with optional fraction and
// exponent, or "inf", "infinity", "nan". 0.0 when there is no number; too large gives an
// infinity, too small a zero of the same sign.
double TextToDouble(const std::wstring& text);

// As the 32-bit wcstoul of Windows: leading blanks, an optional "+" or "-", then digits of
// `radix` (2-36; 0 chooses from the prefix: "0x"/"0X" hexadecimal, "0" octal, else decimal; 16
// also allows "0x"). A negative value wraps modulo 2^32 ("-5" gives 4294967291); a magnitude that
// does not fit in 32 bits gives 0xFFFFFFFF. Any other radix gives 0.
std::uint32_t TextToUnsigned32(const std::wstring& text, int radix);

// As wcstoull, with the same rules as TextToUnsigned32 at 64 bits.
std::uint64_t TextToUnsigned64(const std::wstring& text, int radix);

// True only for the one-character text "0": the getters' sign that a zero result was meant.
bool IsExactlyZeroText(const std::wstring& text);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_NUMBER_TEXT_H
