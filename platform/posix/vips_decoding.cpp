#include "platform/posix/vips_decoding.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "ImageUtil.h"
#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The most bytes a decoded image may take: the largest image of the contract's pixel formats
// (4 bands of 16 bits) at ImageUtil::kMaxLinuxPixels. It keeps images of wider samples (floating
// point TIFFs, say) from reaching gigabytes below the pixel limit.
constexpr std::uint64_t kMaxDecodedBytes = ImageUtil::kMaxLinuxPixels * 8;

}  // namespace

bool WithinDecodeLimits(VipsImage* image) {
  const int width = vips_image_get_width(image);
  const int height = vips_image_get_height(image);
  if (width <= 0 || height <= 0) return false;
  const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  if (pixels > DecodedPixelLimit()) return false;
  return pixels * VIPS_IMAGE_SIZEOF_PEL(image) <= kMaxDecodedBytes;
}

// What the loaders can hand back that the savers do not take. When libvips cannot convert CMYK
// (a build without colour management), the image stays as it is.
VipsImagePtr Normalised(VipsImagePtr image) {
  if (image->Coding != VIPS_CODING_NONE) {
    VipsImage* out = nullptr;
    image = VipsResult(vips_image_decode(image.get(), &out), out);
    if (!image) return nullptr;
  }
  if (vips_image_get_interpretation(image.get()) == VIPS_INTERPRETATION_CMYK) {
    VipsImage* out = nullptr;
    if (VipsImagePtr rgb =
            VipsResult(vips_colourspace(image.get(), &out, VIPS_INTERPRETATION_sRGB, nullptr), out)) {
      return rgb;
    }
  }
  return image;
}

VipsImagePtr JpegDecodedSmaller(VipsImage* decoded, const unsigned char* source, std::size_t length, int cx,
                                int cy) {
  const char* loader = nullptr;
  if (vips_image_get_string(decoded, "vips-loader", &loader) != 0 || loader == nullptr ||
      std::strcmp(loader, "jpegload_buffer") != 0) {
    vips_error_clear();
    return nullptr;
  }
  const int width = vips_image_get_width(decoded);
  const int height = vips_image_get_height(decoded);
  int shrink = 1;
  while (shrink < 8 && width / (shrink * 2) >= 2 * cx && height / (shrink * 2) >= 2 * cy) shrink *= 2;
  if (shrink == 1) return nullptr;
  VipsImage* out = nullptr;
  VipsImagePtr smaller = VipsResult(
      vips_jpegload_buffer(const_cast<unsigned char*>(source), length, &out, "shrink", shrink, "access",
                           VIPS_ACCESS_SEQUENTIAL, "fail_on", VIPS_FAIL_ON_TRUNCATED, nullptr),
      out);
  return smaller ? Normalised(std::move(smaller)) : nullptr;
}

}  // namespace Tavro_KVO_Util::platform
