// Wide text to and from UTF-8: the one converter of the library and of mvutil.
//
// The POSIX back ends need it because file names, the environment and syslog are bytes there;
// mvutil needs it on both builds because its own text is UTF-8. The tool compiles this unit into
// itself (it links only the library's exports), so both sides follow the same rule for text that
// is not well-formed:
//
//   Nothing malformed is passed through. Each malformed piece becomes U+FFFD.
//
// A wide string is UTF-16 on Windows and one code point per wchar_t on Linux; on Linux it may
// also hold UTF-16 surrogate pairs where it was read unit by unit from UTF-16 text (the
// configuration file), so a high surrogate followed by a low one is one character on both builds.
// Pure functions, no allocation beyond the result, safe from any thread.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_UTF8_H
#define TAVROMEDIVANEUTIL_PLATFORM_UTF8_H

#include <string>

namespace Tavro_KVO_Util::platform {

constexpr char32_t kReplacementCharacter = 0xFFFD;

// Appends the UTF-8 bytes of `cp`. A surrogate (U+D800-U+DFFF) or a value above U+10FFFF is no
// character and appends U+FFFD (EF BF BD) instead.
void AppendUtf8(std::string& out, char32_t cp);

// Surrogate pairs become one character; a surrogate that is not part of a pair, and a wchar_t
// above U+10FFFF (or negative), becomes U+FFFD.
std::string WideToUtf8(const std::wstring& wide);

// Well-formed UTF-8 is decoded (on Windows, characters above U+FFFF become surrogate pairs).
// Each maximal ill-formed subsequence becomes one U+FFFD, as Unicode recommends (section 3.9,
// "U+FFFD Substitution of Maximal Subparts"): a stray continuation byte, a byte that never starts
// a sequence (C0, C1, F5-FF), an overlong form, an encoded surrogate, a value above U+10FFFF, and
// a sequence cut short (by its end or by a byte that does not continue it, which then starts
// again).
std::wstring Utf8ToWide(const std::string& utf8);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_UTF8_H
