// Stretching with libvips as GDI+ draws an image to a new size.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_STRETCHING_H
#define TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_STRETCHING_H

#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {

// `source` resampled bicubically to exactly `cx` x `cy`, with its bands and sample format. Images
// with alpha are resampled premultiplied, as GDI+ draws them; they and images of more than 8 bits
// per sample are resampled in floating point. Null when libvips fails.
VipsImagePtr Stretched(VipsImage* source, int cx, int cy);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_POSIX_VIPS_STRETCHING_H
