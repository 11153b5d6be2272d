// mvButtonType: a hardware button of the tablet, as the product's button-handling programs number
// them.
//
// Declared outside the library's namespace because those programs share this one type. The
// values are theirs: the library names none of them and never interprets one. The button-action
// registries only compare them as signed 32-bit numbers (so a negative value sorts before zero),
// and any value of that range may be stored. Messages write the type as "MVButtonType".
//
//   const mvButtonType button = static_cast<mvButtonType>(3);  // a value the caller defines
#ifndef TAVROMEDIVANEUTIL_MVBUTTONTYPE_H
#define TAVROMEDIVANEUTIL_MVBUTTONTYPE_H

#include <cstdint>

// Fixed at 32 bits so that every value of that range is a valid button type on both builds.
enum mvButtonType : std::int32_t {};

#endif  // TAVROMEDIVANEUTIL_MVBUTTONTYPE_H
