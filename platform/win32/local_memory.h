// Owned local memory blocks (LocalAlloc / LocalFree). release() hands a block to whoever takes it
// over, such as the clipboard. LocalFree keeps GetLastError() so failures can be reported after.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_LOCAL_MEMORY_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_LOCAL_MEMORY_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

struct LocalMemoryTraits {
  using Type = HLOCAL;
  static HLOCAL Invalid() { return nullptr; }
  static void Close(HLOCAL block) {
    const DWORD saved = GetLastError();
    ::LocalFree(block);
    SetLastError(saved);
  }
};
using UniqueLocalMemory = UniqueResource<LocalMemoryTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_LOCAL_MEMORY_H
