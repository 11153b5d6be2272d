// ButtonActionInfoPid: what one hardware button does for one process.
//
// A plain record, copied by value into and out of ButtonActionInfoPidList, which keys it by
// (pid, buttonType) and interprets nothing else: buttonAction and both data fields belong to the
// caller and come back exactly as they were stored.
//
// DWORD is the 32-bit unsigned type of <windows.h> (unsigned long there). Windows callers may
// include <windows.h> before or after this header. On other platforms this header declares DWORD
// itself, as a 32-bit unsigned integer, so that the same code compiles there without any Windows
// header.
#ifndef TAVROMEDIVANEUTIL_BUTTONACTIONINFOPID_H
#define TAVROMEDIVANEUTIL_BUTTONACTIONINFOPID_H

#include <cstdint>

#include "mvButtonType.h"

// C++ accepts a typedef twice when both name the same type, so the order of the includes does
// not matter on Windows.
#if defined(_WIN32)
typedef unsigned long DWORD;  // as <windows.h> declares it; 32 bits on Windows
#else
typedef std::uint32_t DWORD;  // unsigned long would be 64 bits here
#endif

namespace Tavro_KVO_Util {

struct ButtonActionInfoPid {
  DWORD pid;                  // the process the entry belongs to; first part of the key
  std::int32_t buttonAction;  // the action to trigger; printed by GetReport
  std::uint64_t actionData1;  // caller-defined; carried unchanged
  mvButtonType buttonType;    // the hardware button; second part of the key
  std::uint64_t actionData2;  // caller-defined; carried unchanged
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_BUTTONACTIONINFOPID_H
