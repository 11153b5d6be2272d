#include "platform/posix/vips_shaping.h"

#include <utility>

#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The image with 8 bits per sample. 16-bit samples keep their high byte, as GDI+ converts them;
// other sample formats go through libvips's conversion to sRGB (or grey) first.
VipsImagePtr EightBit(VipsImage* in) {
  const VipsBandFormat format = vips_image_get_format(in);
  if (format == VIPS_FORMAT_UCHAR) return Ref(in);
  VipsImage* out = nullptr;
  if (format == VIPS_FORMAT_USHORT) {
    VipsImagePtr shifted = VipsResult(vips_rshift_const1(in, &out, 8, nullptr), out);
    if (!shifted) return nullptr;
    return VipsResult(vips_cast_uchar(shifted.get(), &out, nullptr), out);
  }
  const VipsInterpretation target =
      vips_image_get_bands(in) >= 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W;
  VipsImagePtr converted = VipsResult(vips_colourspace(in, &out, target, nullptr), out);
  return VipsResult(vips_cast_uchar(converted ? converted.get() : in, &out, nullptr), out);
}

// `in` (8 bits per sample, any number of bands) laid out as `shape`, tagged as grey or sRGB so
// that the savers take the samples as they are.
VipsImagePtr Shaped(VipsImage* in, Shape shape) {
  const int bands = vips_image_get_bands(in);
  // The grey band of 1- and 2-band images, the colour bands of the others, and the alpha band.
  VipsImagePtr grey = bands < 3 ? Bands(in, 0, 1) : nullptr;
  if (bands < 3 && !grey) return nullptr;
  VipsImagePtr alpha = bands == 2 ? Bands(in, 1, 1) : bands >= 4 ? Bands(in, 3, 1) : nullptr;
  if ((bands == 2 || bands >= 4) && !alpha) return nullptr;

  VipsImagePtr shaped;
  if (shape == Shape::kGrey) {
    if (grey) {
      shaped = std::move(grey);
    } else {
      VipsImagePtr colour = Bands(in, 0, 3);
      VipsImagePtr rgb = colour ? Interpreted(colour.get(), VIPS_INTERPRETATION_sRGB) : nullptr;
      VipsImage* out = nullptr;
      if (rgb) shaped = VipsResult(vips_colourspace(rgb.get(), &out, VIPS_INTERPRETATION_B_W, nullptr), out);
    }
    return shaped ? Interpreted(shaped.get(), VIPS_INTERPRETATION_B_W) : nullptr;
  }

  VipsImagePtr rgb = grey ? Joined({grey.get(), grey.get(), grey.get()}) : Bands(in, 0, 3);
  if (!rgb) return nullptr;
  if (shape == Shape::kRgb) {
    shaped = std::move(rgb);
  } else if (alpha) {
    shaped = Joined({rgb.get(), alpha.get()});
  } else {
    VipsImage* out = nullptr;
    shaped = VipsResult(vips_bandjoin_const1(rgb.get(), &out, 255.0, nullptr), out);
  }
  return shaped ? Interpreted(shaped.get(), VIPS_INTERPRETATION_sRGB) : nullptr;
}

}  // namespace

Shape NaturalShape(std::uint32_t pixelFormat, int bands) {
  switch (pixelFormat) {
    case pixel_format::k8bppIndexed:
      return bands <= 2 ? Shape::kGrey : Shape::kRgb;
    case pixel_format::k16bppGrayScale:
      return Shape::kGrey;
    case pixel_format::k32bppARGB:
    case pixel_format::k64bppARGB:
      return Shape::kRgba;
    default:
      return Shape::kRgb;
  }
}

VipsImagePtr EightBitShaped(VipsImage* in, Shape shape) {
  VipsImagePtr eightBit = EightBit(in);
  return eightBit ? Shaped(eightBit.get(), shape) : nullptr;
}

}  // namespace Tavro_KVO_Util::platform
