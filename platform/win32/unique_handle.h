// Owned Win32 handles. reset() keeps GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_HANDLE_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_HANDLE_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

// File handles are invalid as INVALID_HANDLE_VALUE.
struct FileHandleTraits {
  using Type = HANDLE;
  static HANDLE Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(HANDLE handle) {
    const DWORD saved = GetLastError();
    ::CloseHandle(handle);
    SetLastError(saved);
  }
};
using UniqueFileHandle = UniqueResource<FileHandleTraits>;

// Kernel objects (mutexes, events) are invalid as null.
struct HandleTraits {
  using Type = HANDLE;
  static HANDLE Invalid() { return nullptr; }
  static void Close(HANDLE handle) { FileHandleTraits::Close(handle); }
};
using UniqueHandle = UniqueResource<HandleTraits>;

// A HANDLE as the number that portable classes store (see platform/owned_file.h), and back.
inline HANDLE AsHandle(long long value) { return reinterpret_cast<HANDLE>(static_cast<intptr_t>(value)); }
inline long long FromHandle(HANDLE handle) {
  return static_cast<long long>(reinterpret_cast<intptr_t>(handle));
}

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_UNIQUE_HANDLE_H
