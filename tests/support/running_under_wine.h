// Whether a Windows test program runs under Wine, for the few assertions where Wine is known to
// differ from Windows and the test says so (each use names the difference).
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_RUNNING_UNDER_WINE_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_RUNNING_UNDER_WINE_H

#ifdef _WIN32
#include "platform/win32/windows_include.h"
#endif

namespace Tavro_KVO_Util::testing {

inline bool RunningUnderWine() {
#ifdef _WIN32
  const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
  return false;
#endif
}

// Wine 8 keeps no DACL of a file: it makes one up from the Unix mode when asked, so what a test
// reads back is not what the library gave. Tests of a file's DACL run on Windows only.
inline bool FileDaclsAreKept() { return !RunningUnderWine(); }

// Wine 8 keeps and enforces a mutex's DACL entries, but does not report SE_DACL_PROTECTED.
inline bool DaclProtectionIsReported() { return !RunningUnderWine(); }

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_RUNNING_UNDER_WINE_H
