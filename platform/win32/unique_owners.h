// More owned Win32 resources: registry keys, event-log sources and find handles. Each close keeps
// GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_OWNERS_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_OWNERS_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

struct HkeyTraits {
  using Type = HKEY;
  static HKEY Invalid() { return nullptr; }
  static void Close(HKEY key) {
    const DWORD saved = GetLastError();
    ::RegCloseKey(key);
    SetLastError(saved);
  }
};
using UniqueHkey = UniqueResource<HkeyTraits>;

struct EventSourceTraits {
  using Type = HANDLE;
  static HANDLE Invalid() { return nullptr; }
  static void Close(HANDLE source) {
    const DWORD saved = GetLastError();
    ::DeregisterEventSource(source);
    SetLastError(saved);
  }
};
using UniqueEventSource = UniqueResource<EventSourceTraits>;

// FindFirstFileW reports failure as INVALID_HANDLE_VALUE, and its handle closes with FindClose.
struct FindHandleTraits {
  using Type = HANDLE;
  static HANDLE Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(HANDLE find) {
    const DWORD saved = GetLastError();
    ::FindClose(find);
    SetLastError(saved);
  }
};
using UniqueFindHandle = UniqueResource<FindHandleTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_OWNERS_H
