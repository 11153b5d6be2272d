#include "platform/clipboard.h"

namespace Tavro_KVO_Util::platform {

// The library runs in services and on machines without a display: there is no X11 or Wayland
// session it could count on, so it reports that instead of pretending to have placed the bitmap.
ClipboardPlacement PlaceDibOnClipboard(const unsigned char* /*bytes*/, std::size_t /*length*/,
                                       std::wstring& reason) {
  reason = L"a headless Linux process has no system clipboard to reach";
  return ClipboardPlacement::kNoClipboard;
}

}  // namespace Tavro_KVO_Util::platform
