// Owned GDI+ objects of the flat API: decoded images and bitmaps (GdipDisposeImage) and drawing
// contexts (GdipDeleteGraphics). Also the one place that includes <gdiplus.h>.
// Each close keeps GetLastError() so failures can be reported after cleanup.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_WIN32_GDIPLUS_OWNERS_H
#define TAVROMEDIVANEUTIL_PLATFORM_WIN32_GDIPLUS_OWNERS_H

#ifndef _WIN32
#error "Windows-only header"
#endif

#include "platform/unique_resource.h"
#include "platform/win32/windows_include.h"
// <gdiplus.h> includes neither <windows.h> nor the COM types it names (PROPID), and
// WIN32_LEAN_AND_MEAN leaves the COM types out of <windows.h>: <objbase.h> brings them.
#include <objbase.h>
// Only after <objbase.h>, for the reason above.
#include <gdiplus.h>

namespace Tavro_KVO_Util::platform {

// GpBitmap derives from GpImage, and a bitmap is disposed of as an image.
template <typename Image>
struct GpImageTraits {
  using Type = Image*;
  static Image* Invalid() { return nullptr; }
  static void Close(Image* image) {
    const DWORD saved = GetLastError();
    Gdiplus::DllExports::GdipDisposeImage(image);
    SetLastError(saved);
  }
};
using UniqueGpImage = UniqueResource<GpImageTraits<Gdiplus::GpImage>>;
using UniqueGpBitmap = UniqueResource<GpImageTraits<Gdiplus::GpBitmap>>;

struct GpGraphicsTraits {
  using Type = Gdiplus::GpGraphics*;
  static Gdiplus::GpGraphics* Invalid() { return nullptr; }
  static void Close(Gdiplus::GpGraphics* graphics) {
    const DWORD saved = GetLastError();
    Gdiplus::DllExports::GdipDeleteGraphics(graphics);
    SetLastError(saved);
  }
};
using UniqueGpGraphics = UniqueResource<GpGraphicsTraits>;

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_WIN32_GDIPLUS_OWNERS_H
