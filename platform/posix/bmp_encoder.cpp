#include "platform/posix/bmp_encoder.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Tavro_KVO_Util::platform {
namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kInfoHeaderBytes = 40;
constexpr std::uint32_t kGreyPaletteBytes = 256 * 4;
constexpr std::uint32_t kBiRgb = 0;

void PutLe16(unsigned char*& at, std::uint16_t value) {
  at[0] = static_cast<unsigned char>(value);
  at[1] = static_cast<unsigned char>(value >> 8);
  at += 2;
}

void PutLe32(unsigned char*& at, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) *at++ = static_cast<unsigned char>(value >> shift);
}

// Libvips keeps the resolution in pixels per millimetre; BMP wants pixels per metre.
std::uint32_t PixelsPerMetre(double pixelsPerMillimetre) {
  const double perMetre = std::round(pixelsPerMillimetre * 1000.0);
  if (!(perMetre > 0) || perMetre > std::numeric_limits<std::int32_t>::max()) return 0;
  return static_cast<std::uint32_t>(perMetre);
}

struct Rows {
  unsigned char* pixels;  // the first byte of the bottom row
  std::size_t stride;     // bytes per row, padding included
  int width;
  int height;
  int bands;
};

// Called by vips_sink_disc with the image's strips (each as wide as the image) in order, top to
// bottom.
int WriteStrip(VipsRegion* region, VipsRect* area, void* context) {
  const Rows& rows = *static_cast<const Rows*>(context);
  for (int y = area->top; y < area->top + area->height; ++y) {
    const auto* in = reinterpret_cast<const unsigned char*>(VIPS_REGION_ADDR(region, area->left, y));
    unsigned char* out = rows.pixels + static_cast<std::size_t>(rows.height - 1 - y) * rows.stride +
                         static_cast<std::size_t>(area->left) * static_cast<std::size_t>(rows.bands);
    switch (rows.bands) {
      case 1:
        std::memcpy(out, in, static_cast<std::size_t>(area->width));
        break;
      case 3:
        for (int x = 0; x < area->width; ++x, in += 3, out += 3) {
          out[0] = in[2];
          out[1] = in[1];
          out[2] = in[0];
        }
        break;
      default:
        for (int x = 0; x < area->width; ++x, in += 4, out += 4) {
          out[0] = in[2];
          out[1] = in[1];
          out[2] = in[0];
          out[3] = in[3];
        }
        break;
    }
    if (area->left + area->width == rows.width) {
      const std::size_t used = static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.bands);
      unsigned char* row = rows.pixels + static_cast<std::size_t>(rows.height - 1 - y) * rows.stride;
      std::memset(row + used, 0, rows.stride - used);
    }
  }
  return 0;
}

}  // namespace

bool EncodeBmp(VipsImage* image, void** file, std::size_t* length) {
  const int bands = vips_image_get_bands(image);
  if (vips_image_get_format(image) != VIPS_FORMAT_UCHAR || (bands != 1 && bands != 3 && bands != 4))
    return false;
  const int width = vips_image_get_width(image);
  const int height = vips_image_get_height(image);
  if (width <= 0 || height <= 0) return false;

  const std::uint64_t bitsPerPixel = 8u * static_cast<std::uint64_t>(bands);
  const std::uint64_t stride = (static_cast<std::uint64_t>(width) * bitsPerPixel + 31) / 32 * 4;
  const std::uint64_t pixelBytes = stride * static_cast<std::uint64_t>(height);
  const std::uint32_t paletteBytes = bands == 1 ? kGreyPaletteBytes : 0;
  const std::uint32_t pixelOffset = kFileHeaderBytes + kInfoHeaderBytes + paletteBytes;
  const std::uint64_t fileBytes = pixelOffset + pixelBytes;
  if (fileBytes > std::numeric_limits<std::uint32_t>::max()) return false;

  auto* bytes = static_cast<unsigned char*>(g_try_malloc(static_cast<gsize>(fileBytes)));
  if (bytes == nullptr) return false;
  unsigned char* at = bytes;
  // BITMAPFILEHEADER
  *at++ = 'B';
  *at++ = 'M';
  PutLe32(at, static_cast<std::uint32_t>(fileBytes));
  PutLe32(at, 0);  // reserved
  PutLe32(at, pixelOffset);
  // BITMAPINFOHEADER; a positive height: the rows are stored bottom-up.
  PutLe32(at, kInfoHeaderBytes);
  PutLe32(at, static_cast<std::uint32_t>(width));
  PutLe32(at, static_cast<std::uint32_t>(height));
  PutLe16(at, 1);  // planes
  PutLe16(at, static_cast<std::uint16_t>(bitsPerPixel));
  PutLe32(at, kBiRgb);
  PutLe32(at, static_cast<std::uint32_t>(pixelBytes));
  PutLe32(at, PixelsPerMetre(vips_image_get_xres(image)));
  PutLe32(at, PixelsPerMetre(vips_image_get_yres(image)));
  PutLe32(at, bands == 1 ? 256 : 0);  // colours used
  PutLe32(at, 0);                     // important colours: all
  if (bands == 1) {
    for (unsigned level = 0; level < 256; ++level) {
      const auto grey = static_cast<unsigned char>(level);
      *at++ = grey;  // blue
      *at++ = grey;  // green
      *at++ = grey;  // red
      *at++ = 0;     // reserved
    }
  }
  Rows rows{at, static_cast<std::size_t>(stride), width, height, bands};
  if (vips_sink_disc(image, WriteStrip, &rows) != 0) {
    vips_error_clear();
    g_free(bytes);
    return false;
  }
  *file = bytes;
  *length = static_cast<std::size_t>(fileBytes);
  return true;
}

}  // namespace Tavro_KVO_Util::platform
