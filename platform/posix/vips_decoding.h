// Decoding for the libvips image back end: the limits a header must keep before any pixel is
// decoded, what the loaders hand back made fit for the savers, and JPEG's own reduction.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_DECODING_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_DECODING_H

#include <cstddef>

#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {

// True when `image`'s header stays within the pixel limit and the decoded-byte limit.
bool WithinDecodeLimits(VipsImage* image);

// Coded pixels (libvips's own formats, Radiance) decoded and CMYK turned into sRGB (when this
// libvips can); other images as they are. Null when decoding fails.
VipsImagePtr Normalised(VipsImagePtr image);

// A JPEG to be stretched to `cx` x `cy`, half its size or less, decoded again from `source` at
// 1/2, 1/4 or 1/8 scale by the decoder itself (its DCT scaling skips most of the work), never
// below twice the target, so that the bicubic resize still makes the last reduction of at least
// 2x. Null when that does not apply.
VipsImagePtr JpegDecodedSmaller(VipsImage* decoded, const unsigned char* source, std::size_t length, int cx,
                                int cy);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_DECODING_H
