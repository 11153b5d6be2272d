#include "platform/posix/vips_stretching.h"

#include <algorithm>
#include <utility>

namespace Tavro_KVO_Util::platform {
namespace {

// The largest sample value of `image`, which is also the value of an opaque alpha.
double MaxAlpha(VipsImage* image) {
  return vips_image_get_format(image) == VIPS_FORMAT_USHORT ? 65535.0 : 255.0;
}

// Exactly `cx` x `cy`: libvips's resize may round the size to a pixel more or less. A missing
// column or row repeats the edge; an extra one is cut off.
VipsImagePtr ExactSize(VipsImagePtr image, int cx, int cy) {
  const int width = vips_image_get_width(image.get());
  const int height = vips_image_get_height(image.get());
  if (width > cx || height > cy) {
    VipsImage* out = nullptr;
    image = VipsResult(vips_crop(image.get(), &out, 0, 0, std::min(width, cx), std::min(height, cy), nullptr),
                       out);
    if (!image) return nullptr;
  }
  if (vips_image_get_width(image.get()) < cx || vips_image_get_height(image.get()) < cy) {
    VipsImage* out = nullptr;
    image = VipsResult(vips_embed(image.get(), &out, 0, 0, cx, cy, "extend", VIPS_EXTEND_COPY, nullptr), out);
  }
  return image;
}

}  // namespace

// `source` resampled bicubically to `cx` x `cy`, with its bands and sample format. Images with
// alpha are resampled premultiplied, as GDI+ draws them, so that the colour of transparent pixels
// does not bleed into their neighbours; they and images of more than 8 bits per sample are
// resampled in floating point.
VipsImagePtr Stretched(VipsImage* source, int cx, int cy) {
  const bool alpha = vips_image_hasalpha(source) != 0;
  const VipsBandFormat format = vips_image_get_format(source);
  VipsImage* out = nullptr;
  VipsImagePtr work;
  if (alpha) {
    work = VipsResult(vips_premultiply(source, &out, "max_alpha", MaxAlpha(source), nullptr), out);
  } else if (format != VIPS_FORMAT_UCHAR) {
    // Libvips resamples integer samples in fixed point, which loses the low bits of 16-bit ones.
    work = VipsResult(vips_cast(source, &out, VIPS_FORMAT_FLOAT, nullptr), out);
  } else {
    work = Ref(source);
  }
  if (!work) return nullptr;

  const double hscale = static_cast<double>(cx) / vips_image_get_width(source);
  const double vscale = static_cast<double>(cy) / vips_image_get_height(source);
  work = VipsResult(
      vips_resize(work.get(), &out, hscale, "vscale", vscale, "kernel", VIPS_KERNEL_CUBIC, nullptr), out);
  if (!work) return nullptr;

  if (alpha) {
    work = VipsResult(vips_unpremultiply(work.get(), &out, "max_alpha", MaxAlpha(source), nullptr), out);
    if (!work) return nullptr;
  }
  if (vips_image_get_format(work.get()) != format) {
    if (!vips_band_format_isfloat(format)) {
      work = VipsResult(vips_round(work.get(), &out, VIPS_OPERATION_ROUND_RINT, nullptr), out);
      if (!work) return nullptr;
    }
    work = VipsResult(vips_cast(work.get(), &out, format, nullptr), out);
    if (!work) return nullptr;
  }
  // The interpretation of the source: the premultiplied steps work in floating point, and savers
  // read the samples by the interpretation.
  work = Interpreted(work.get(), vips_image_get_interpretation(source));
  return work ? ExactSize(std::move(work), cx, cy) : nullptr;
}

}  // namespace Tavro_KVO_Util::platform
