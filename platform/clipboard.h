// Platform service: the system clipboard.
//
// Windows: LocalAlloc, OpenClipboard with no owner window, SetClipboardData(CF_DIB),
// CloseClipboard. Linux: a headless machine has no system clipboard the library could reach, so
// every placement reports kNoClipboard with the reason; it never pretends.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_CLIPBOARD_H
#define TAVROMEDIVANEUTIL_PLATFORM_CLIPBOARD_H

#include <cstddef>
#include <string>

namespace Tavro_KVO_Util::platform {

enum class ClipboardPlacement {
  kPlaced,       // the clipboard opened and took the block; it owns it now
  kRefused,      // the clipboard opened but SetClipboardData returned null
  kNotOpened,    // another program holds the clipboard; the block is left allocated, as it always was
  kNoClipboard,  // this system has no clipboard to reach; `reason` says why
};

// Copies `length` bytes at `bytes` into a fixed local memory block (LocalAlloc with flags 0,
// locked, copied, unlocked; the allocation is not checked) and hands it to the clipboard as a
// device-independent bitmap (CF_DIB), without emptying the clipboard first.
ClipboardPlacement PlaceDibOnClipboard(const unsigned char* bytes, std::size_t length, std::wstring& reason);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_CLIPBOARD_H
