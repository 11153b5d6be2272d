#include "platform/posix/vips_saving.h"

#include <cstring>

#include "platform/posix/bmp_encoder.h"
#include "platform/posix/vips_pixel_format.h"
#include "platform/posix/vips_shaping.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The default JPEG quality of GDI+ (and of libvips) when no quality is handed over.
constexpr int kDefaultJpegQuality = 75;
constexpr std::uint32_t kMinJpegQuality = 1;  // libvips's range for Q
constexpr std::uint32_t kMaxJpegQuality = 100;
constexpr std::uint32_t kTiffDepthWithAlpha = 32;

bool SameGuid(const ImageEncoderClsid& a, const ImageEncoderClsid& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::memcmp(a.Data4, b.Data4, sizeof a.Data4) == 0;
}

// Takes the buffer a libvips saver returned with `status`. (Callers save first and then call this:
// in one expression, `buffer` and `length` could be read before the saver set them.)
bool Take(int status, void* buffer, std::size_t length, Encoded& encoded) {
  if (status != 0) {
    g_free(buffer);
    ForgetVipsError();
    return false;
  }
  encoded.bytes.reset(static_cast<unsigned char*>(buffer));
  encoded.length = length;
  return true;
}

bool SaveBmp(VipsImage* image, std::uint32_t pixelFormat, Encoded& encoded) {
  VipsImagePtr ready = EightBitShaped(image, NaturalShape(pixelFormat, vips_image_get_bands(image)));
  void* buffer = nullptr;
  std::size_t length = 0;
  if (!ready || !EncodeBmp(ready.get(), &buffer, &length)) return false;
  encoded.bytes.reset(static_cast<unsigned char*>(buffer));
  encoded.length = length;
  return true;
}

// The quality goes to libvips as it is. Libvips's Q runs from 1 to 100; outside that range it
// would only warn and go on with its default, so the save fails here instead, as GDI+ fails for
// values it refuses.
bool SaveJpeg(VipsImage* image, std::uint32_t pixelFormat, const EncoderParameter* parameter,
              Encoded& encoded) {
  int quality = kDefaultJpegQuality;
  if (parameter != nullptr && SameGuid(parameter->guid, kEncoderQuality)) {
    if (parameter->value < kMinJpegQuality || parameter->value > kMaxJpegQuality) return false;
    quality = static_cast<int>(parameter->value);
  }
  // JPEG has no alpha: GDI+ drops it (the colour samples are kept as they are stored).
  const Shape shape =
      NaturalShape(pixelFormat, vips_image_get_bands(image)) == Shape::kGrey ? Shape::kGrey : Shape::kRgb;
  VipsImagePtr ready = EightBitShaped(image, shape);
  if (!ready) return false;
  void* buffer = nullptr;
  std::size_t length = 0;
  // GDI+ always subsamples the chroma (4:2:0); libvips would stop doing so from Q 90.
  const int status = vips_jpegsave_buffer(ready.get(), &buffer, &length, "Q", quality, "subsample_mode",
                                          VIPS_FOREIGN_SUBSAMPLE_ON, nullptr);
  return Take(status, buffer, length, encoded);
}

bool SaveGif(VipsImage* image, Encoded& encoded) {
  VipsImagePtr ready = EightBitShaped(image, vips_image_hasalpha(image) ? Shape::kRgba : Shape::kRgb);
  if (!ready) return false;
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_gifsave_buffer(ready.get(), &buffer, &length, nullptr);
  return Take(status, buffer, length, encoded);
}

// The colour depth decides the layout: 32 bits are RGBA, every other depth RGB, always with 8 bits
// per sample. Without a depth the layout follows the pixel format.
bool SaveTiff(VipsImage* image, std::uint32_t pixelFormat, const EncoderParameter* parameter,
              Encoded& encoded) {
  Shape shape = NaturalShape(pixelFormat, vips_image_get_bands(image));
  if (parameter != nullptr && SameGuid(parameter->guid, kEncoderColorDepth)) {
    shape = parameter->value == kTiffDepthWithAlpha ? Shape::kRgba : Shape::kRgb;
  }
  VipsImagePtr ready = EightBitShaped(image, shape);
  if (!ready) return false;
  void* buffer = nullptr;
  std::size_t length = 0;
  // LZW, GDI+'s default TIFF compression.
  const int status = vips_tiffsave_buffer(ready.get(), &buffer, &length, "compression",
                                          VIPS_FOREIGN_TIFF_COMPRESSION_LZW, nullptr);
  return Take(status, buffer, length, encoded);
}

// Palette sources are written with a palette again; 8- and 16-bit images keep their bands and
// depth; other sample formats are written with 8 bits.
bool SavePng(VipsImage* image, std::uint32_t pixelFormat, Encoded& encoded) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int bands = vips_image_get_bands(image);
  const VipsBandFormat format = vips_image_get_format(image);
  if (VipsImageFromPalette(image)) {
    VipsImagePtr ready = EightBitShaped(image, vips_image_hasalpha(image) ? Shape::kRgba : Shape::kRgb);
    if (!ready) return false;
    const int paletted = vips_pngsave_buffer(ready.get(), &buffer, &length, "palette", TRUE, nullptr);
    if (Take(paletted, buffer, length, encoded)) return true;
    // A libvips without a quantiser cannot write a palette: the colours are written as they are.
    buffer = nullptr;
    const int status = vips_pngsave_buffer(ready.get(), &buffer, &length, nullptr);
    return Take(status, buffer, length, encoded);
  }
  VipsImagePtr ready;
  if ((format == VIPS_FORMAT_UCHAR || format == VIPS_FORMAT_USHORT) && bands <= 4) {
    ready = Ref(image);
  } else {
    ready = EightBitShaped(image, NaturalShape(pixelFormat, bands));
  }
  if (!ready) return false;
  const int status = vips_pngsave_buffer(ready.get(), &buffer, &length, nullptr);
  return Take(status, buffer, length, encoded);
}

}  // namespace

bool SaveWith(const VipsSaver& saver, VipsImage* image, std::uint32_t pixelFormat,
              const EncoderParameter* parameter, Encoded& encoded) {
  switch (saver.kind) {
    case VipsSaverKind::kBmp:
      return SaveBmp(image, pixelFormat, encoded);
    case VipsSaverKind::kJpeg:
      return SaveJpeg(image, pixelFormat, parameter, encoded);
    case VipsSaverKind::kGif:
      return SaveGif(image, encoded);
    case VipsSaverKind::kTiff:
      return SaveTiff(image, pixelFormat, parameter, encoded);
    case VipsSaverKind::kPng:
      return SavePng(image, pixelFormat, encoded);
  }
  return false;
}

}  // namespace Tavro_KVO_Util::platform
