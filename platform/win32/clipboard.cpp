#ifndef _WIN32
#error "Windows-only source file"
#endif

#include "platform/clipboard.h"

#include <cstring>

#include "platform/image_faults.h"
#include "platform/win32/clipboard_guard.h"
#include "platform/win32/local_memory.h"
#include "platform/win32/windows_include.h"

namespace Tavro_KVO_Util::platform {

ClipboardPlacement PlaceDibOnClipboard(const unsigned char* bytes, std::size_t length, std::wstring& reason) {
  static_cast<void>(reason);  // Windows always has a clipboard; only kNoClipboard explains itself.

  // The allocation is not checked, as it never was; only the copy is skipped when there is no block.
  UniqueLocalMemory block(LocalAlloc(/*uFlags=*/0, length));
  if (void* copy = LocalLock(block.get())) {
    std::memcpy(copy, bytes, length);
    LocalUnlock(block.get());
  }

  // No owner window, and the clipboard is not emptied first: what was there stays alongside.
  OpenClipboardGuard clipboard(OpenClipboard(/*hWndNewOwner=*/nullptr) != FALSE);
  if (!clipboard) {
    block.release();  // Left allocated on purpose: the product has always left it on this path.
    return ClipboardPlacement::kNotOpened;
  }
  const HANDLE placed =
      ImageFaultInjected(ImageFault::kSetClipboardData) ? nullptr : SetClipboardData(CF_DIB, block.get());
  clipboard.reset();  // CloseClipboard
  // Refused: the clipboard did not take the block, so it is still ours and the owner frees it.
  if (placed == nullptr) return ClipboardPlacement::kRefused;
  block.release();  // the clipboard owns the block now
  return ClipboardPlacement::kPlaced;
}

}  // namespace Tavro_KVO_Util::platform
