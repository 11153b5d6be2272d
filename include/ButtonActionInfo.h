// ButtonActionInfo: what one hardware button does for one window.
//
// A plain record, copied by value into and out of ButtonActionInfoList, which keys it by
// (hWnd, buttonType) and interprets nothing else: buttonAction and both data fields belong to the
// caller and come back exactly as they were stored.
//
// HWND is the window handle type of <windows.h>. Windows callers may include <windows.h> before
// or after this header (with the default STRICT handle types; NO_STRICT is not supported). On
// other platforms this header declares HWND itself, as a pointer to an incomplete struct, so that
// the same code compiles there without any Windows header.
#ifndef TAVROMEDIVANEUTIL_BUTTONACTIONINFO_H
#define TAVROMEDIVANEUTIL_BUTTONACTIONINFO_H

#include <cstdint>

#include "mvButtonType.h"

// The same declaration as <windows.h> makes with STRICT; C++ accepts it twice, so the order of
// the includes does not matter.
struct HWND__;  // NOLINT(bugprone-reserved-identifier): the name <windows.h> uses
typedef struct HWND__* HWND;

namespace Tavro_KVO_Util {

struct ButtonActionInfo {
  HWND hWnd;                  // the window the entry belongs to; first part of the key
  std::int32_t buttonAction;  // the action to trigger; printed by GetReport
  std::uint64_t actionData1;  // caller-defined; carried unchanged
  mvButtonType buttonType;    // the hardware button; second part of the key
  std::uint64_t actionData2;  // caller-defined; carried unchanged
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_BUTTONACTIONINFO_H
