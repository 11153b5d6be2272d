// Preparing an image for a libvips saver: the sample layout a pixel format keeps, in 8 bits per
// sample.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SHAPING_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SHAPING_H

#include <cstdint>

#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {

// The sample layouts the savers are handed.
enum class Shape {
  kGrey,  // 1 band
  kRgb,   // 3 bands
  kRgba,  // 4 bands, alpha last
};

// The layout that keeps what the pixel format names (for formats without alpha, the alpha is
// dropped). Palette images have no alpha in GDI+, whose palettes lose transparency in BMP and TIFF.
Shape NaturalShape(std::uint32_t pixelFormat, int bands);

// `in` with 8 bits per sample (16-bit samples keep their high byte, as GDI+ converts them; other
// formats go through libvips's conversion to sRGB or grey) laid out as `shape`, tagged as grey
// or sRGB so that the savers take the samples as they are. Null when libvips fails.
VipsImagePtr EightBitShaped(VipsImage* in, Shape shape);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_SHAPING_H
