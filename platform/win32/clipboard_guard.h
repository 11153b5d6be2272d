// The calling thread's hold on the open clipboard: CloseClipboard when reset or destroyed.
// The clipboard is a single per-thread state, not a handle, so the owned value is whether
// OpenClipboard succeeded:
//   OpenClipboardGuard clipboard(OpenClipboard(nullptr) != FALSE);
//   if (!clipboard) ...
// Closing keeps GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_CLIPBOARD_GUARD_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_CLIPBOARD_GUARD_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

struct OpenClipboardTraits {
  using Type = bool;
  static bool Invalid() { return false; }
  static void Close(bool /*opened*/) {
    const DWORD saved = GetLastError();
    ::CloseClipboard();
    SetLastError(saved);
  }
};
using OpenClipboardGuard = UniqueResource<OpenClipboardTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_CLIPBOARD_GUARD_H
