// The GDI+ pixel format that names what libvips decoded (libvips itself has bands and a sample
// format, not pixel formats).
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_PIXEL_FORMAT_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_PIXEL_FORMAT_H

#include <vips/vips.h>

#include <cstdint>

namespace Tavro_KVO_Util::platform {

// True when `image` came from a file that stored a palette: a palette PNG or a GIF. Libvips
// expands the palette to RGB or RGBA while decoding; the loaders leave "palette-bit-depth" behind.
bool VipsImageFromPalette(VipsImage* image);

// pixel_format::... for `image` (kUndefined for null):
//   palette PNG or GIF, and 1 band of 8 bits  -> k8bppIndexed
//   3 bands of 8 bits                         -> k24bppRGB
//   4 bands of 8 bits, or 2 (grey and alpha)  -> k32bppARGB
//   1 band of 16 bits                         -> k16bppGrayScale
//   3 bands of 16 bits                        -> k48bppRGB
//   4 bands of 16 bits                        -> k64bppARGB
//   anything else                             -> k24bppRGB
std::uint32_t VipsPixelFormat(VipsImage* image);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_PIXEL_FORMAT_H
