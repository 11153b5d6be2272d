// The one way the library includes <windows.h>: lean, wide-character, without min/max macros.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_WINDOWS_INCLUDE_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_WINDOWS_INCLUDE_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif

#include <windows.h>

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_WINDOWS_INCLUDE_H
