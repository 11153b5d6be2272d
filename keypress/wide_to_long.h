// The wide-string to `long` conversion of the Windows runtime (_wtol), the same on every system.
//
// Key press strings written for the tablet rely on its rules in "{VK<n>}": leading white space
// and a sign are skipped, digits are read up to the first character that is not one, and text
// without digits gives 0.
#ifndef TAVROMEDIVANEUTIL_KEYPRESS_WIDE_TO_LONG_H
#define TAVROMEDIVANEUTIL_KEYPRESS_WIDE_TO_LONG_H

#include <cstdint>
#include <string>

namespace Tavro_KVO_Util::internal {

// [white space][sign][digits], read as _wtol reads it: white space is space, tab, line feed,
// vertical tab, form feed or carriage return; digits are ASCII '0'-'9'. The result is a Windows
// `long` (32 bits) on every system: past its range it sticks at INT32_MAX or INT32_MIN, as _wtol
// does on overflow.
std::int32_t WideToLong(const std::wstring& text);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_KEYPRESS_WIDE_TO_LONG_H
