// BMP files as GDI+ writes them, from libvips images.
//
// Libvips has no BMP saver of its own, and its ImageMagick saver writes a 40-byte information
// header only in the "BMP3" format, which has no 32-bit pixels: an image with alpha would come out
// as 24 bits. This writer gives every image the 40-byte BITMAPINFOHEADER, as GDI+ does.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_BMP_ENCODER_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_BMP_ENCODER_H

#include <vips/vips.h>

#include <cstddef>

namespace Tavro_KVO_Util::platform {

// Writes `image` (8 bits per sample; 1 band of grey, 3 of RGB or 4 of RGBA) as a complete BMP file:
// the 14-byte file header, the 40-byte information header (BI_RGB), for grey a palette of the 256
// grey levels, then the rows bottom-up, 8 bits (grey), 24 (blue, green, red) or 32 (blue, green,
// red, alpha) per pixel, each row padded to a multiple of four bytes. The file is returned in a
// buffer from g_malloc that the caller frees with g_free. False, with nothing allocated, for any
// other image, for a file of 4 GiB or more (its size field has 32 bits), when the buffer cannot
// be allocated, and when libvips fails to compute the pixels.
bool EncodeBmp(VipsImage* image, void** file, std::size_t* length);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_BMP_ENCODER_H
