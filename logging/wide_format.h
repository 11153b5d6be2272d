// Formatting with the conventions of the Windows wide printf family, on every platform.
//
// The library's message texts and its callers' formats are written for Windows, where in a wide
// format "%s" takes a wide string. The C library on Linux reads "%s" as a narrow string, so the
// library formats on its own and gets the same text on both builds.
#ifndef TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H
#define TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H

#include <cstdarg>
#include <string>

namespace Tavro_KVO_Util::internal {

// Formats `format` with `args`:
//   %s %ls %ws: wide string;  %hs %S: narrow string (bytes as characters 0-255);  null: "(null)"
//   %c %lc %wc: wide character;  %hc %C: narrow character
//   %d %i %u %o %x %X with h, hh, l, ll, I64, I32, I, z, j, t size prefixes (l is the native long;
//     hh reads a short, as msvcrt does)
//   %f %F %e %E %g %G %a %A (L: long double) as msvcrt prints them (at least three exponent
//     digits, exact ties rounded away from zero), except that infinities and NaNs read inf, nan
//   %p: the pointer as 16 upper-case hex digits
//   flags - + space # 0, width and precision (also *), %% for a percent sign
// An unknown conversion is copied to the output as it stands and consumes no argument; so is a
// conversion cut off by the end of the format. %n writes nothing and consumes its argument. A null
// `format` gives an empty string. `args` is read through a copy, so the caller may use it again.
// Never throws: should memory run out, the text formatted so far is returned.
std::wstring FormatWide(const wchar_t* format, va_list args);

// The same with the arguments given directly.
std::wstring FormatWideF(const wchar_t* format, ...);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H
