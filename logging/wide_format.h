// Formatting with the conventions of the Windows wide printf family, on every platform.
//
// The library's message texts and its callers' formats are written for Windows, where in a wide
// format "%s" takes a wide string. The C library on Linux reads "%s" as a narrow string, so the
// library formats on its own and gets the same text on both builds.
#ifndef TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H
#define TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <string>

namespace Tavro_KVO_Util::internal {

// The most characters a format yields when the caller names no limit: far more than any log entry
// or report line, and little enough memory (4 MiB at most) that no format can exhaust it.
inline constexpr std::size_t kDefaultFormatLimit = std::size_t{1} << 20;

// Formats `format` with `args` into `text`:
//   %s %ls %ws: wide string;  %hs %S: narrow string (bytes as characters 0-255);  null: "(null)"
//   %c %lc %wc: wide character;  %hc %C: narrow character
//   %d %i %u %o %x %X with h, hh, l, ll, I64, I32, I, z, j, t size prefixes (l is the native long;
//     hh reads a short, as msvcrt does)
//   %f %F %e %E %g %G %a %A (L: long double) as msvcrt prints them (at least three exponent
//     digits, exact ties rounded away from zero), except that infinities and NaNs read inf, nan
//   %p: the pointer as 16 upper-case hex digits
//   flags - + space # 0, width and precision (also *, each up to INT_MAX), %% for a percent sign
// An unknown conversion is copied to the output as it stands and consumes no argument; so is a
// conversion cut off by the end of the format. %n writes nothing and consumes its argument. A null
// `format` gives an empty string. `args` is read through a copy, so the caller may use it again.
//
// Formatting stops as soon as the text is longer than `limit` characters: `text` then holds exactly
// the first `limit` + 1 characters of the whole text, and the arguments after that point are not
// read. Time and memory stay proportional to the limit whatever widths and precisions the format
// asks for. Returns false, with the text formatted so far, when memory runs out; never throws.
bool FormatWideInto(std::wstring& text, const wchar_t* format, va_list args, std::size_t limit);

// The same as a value: should memory run out, the text formatted so far is returned.
std::wstring FormatWide(const wchar_t* format, va_list args, std::size_t limit = kDefaultFormatLimit);

// The same with the arguments given directly; FormatWideF keeps to kDefaultFormatLimit.
std::wstring FormatWideF(const wchar_t* format, ...);
std::wstring FormatWideLimitedF(std::size_t limit, const wchar_t* format, ...);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_LOGGING_WIDE_FORMAT_H
