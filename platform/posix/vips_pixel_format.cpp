#include "platform/posix/vips_pixel_format.h"

#include <cstring>

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::platform {

bool VipsImageFromPalette(VipsImage* image) {
  if (image == nullptr) return false;
  // Libvips 8.14 sets "palette-bit-depth" for palette PNGs and for GIFs; the GIF loader is also
  // checked by name, in case a build of it leaves the field out.
  if (vips_image_get_typeof(image, "palette-bit-depth") != 0) return true;
  const char* loader = nullptr;
  return vips_image_get_typeof(image, VIPS_META_LOADER) != 0 &&
         vips_image_get_string(image, VIPS_META_LOADER, &loader) == 0 && loader != nullptr &&
         std::strncmp(loader, "gifload", std::strlen("gifload")) == 0;
}

std::uint32_t VipsPixelFormat(VipsImage* image) {
  if (image == nullptr) return pixel_format::kUndefined;
  if (VipsImageFromPalette(image)) return pixel_format::k8bppIndexed;
  const int bands = vips_image_get_bands(image);
  switch (vips_image_get_format(image)) {
    case VIPS_FORMAT_UCHAR:
      if (bands == 1) return pixel_format::k8bppIndexed;
      if (bands == 2 || bands == 4) return pixel_format::k32bppARGB;
      return pixel_format::k24bppRGB;
    case VIPS_FORMAT_USHORT:
      if (bands == 1) return pixel_format::k16bppGrayScale;
      if (bands == 3) return pixel_format::k48bppRGB;
      if (bands == 4) return pixel_format::k64bppARGB;
      return pixel_format::k24bppRGB;
    default:
      return pixel_format::k24bppRGB;
  }
}

}  // namespace Tavro_KVO_Util::platform
