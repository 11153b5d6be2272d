// Saving with libvips (and bmp_encoder.h) in place of GDI+'s encoders, with what GDI+ does to the
// samples and the one encoder parameter each format takes.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SAVING_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SAVING_H

#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/image_workspace.h"
#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {

// Frees a buffer glib allocated (the savers' output).
struct GFree {
  void operator()(void* bytes) const { g_free(bytes); }
};
using GBytes = std::unique_ptr<unsigned char, GFree>;

// An encoded file in memory.
struct Encoded {
  GBytes bytes;
  std::size_t length = 0;
};

// Encodes `image` (of the source's `pixelFormat`) with `saver` and its optional `parameter` (JPEG's
// quality, TIFF's colour depth). False when the value is refused or libvips fails.
bool SaveWith(const VipsSaver& saver, VipsImage* image, std::uint32_t pixelFormat,
              const EncoderParameter* parameter, Encoded& encoded);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SAVING_H
