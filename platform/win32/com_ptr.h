// Owned COM interface pointers: ComPtr<IStream> releases its interface when reset or destroyed.
// Release keeps GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_COM_PTR_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_COM_PTR_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

template <typename Interface>
struct ComInterfaceTraits {
  using Type = Interface*;
  static Interface* Invalid() { return nullptr; }
  static void Close(Interface* object) {
    const DWORD saved = GetLastError();
    object->Release();
    SetLastError(saved);
  }
};
template <typename Interface>
using ComPtr = UniqueResource<ComInterfaceTraits<Interface>>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_COM_PTR_H
