#include "platform/image_workspace.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <utility>

#include "ImageUtil.h"
#include "platform/image_faults.h"
#include "platform/posix/bmp_encoder.h"
#include "platform/posix/vips_pixel_format.h"
#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {
namespace {

// The most bytes a decoded image may take: the largest image of the contract's pixel formats
// (4 bands of 16 bits) at ImageUtil::kMaxLinuxPixels. It keeps images of wider samples (floating
// point TIFFs, say) from reaching gigabytes below the pixel limit.
constexpr std::uint64_t kMaxDecodedBytes = ImageUtil::kMaxLinuxPixels * 8;

// The default JPEG quality of GDI+ (and of libvips) when no quality is handed over.
constexpr int kDefaultJpegQuality = 75;
constexpr std::uint32_t kMinJpegQuality = 1;  // libvips's range for Q
constexpr std::uint32_t kMaxJpegQuality = 100;
constexpr std::uint32_t kTiffDepthWithAlpha = 32;

// The GDI+ value type of the one value in a parameter block: a 32-bit unsigned integer.
constexpr std::uint32_t kValueTypeLong = 4;

struct GFree {
  void operator()(void* bytes) const { g_free(bytes); }
};
using GBytes = std::unique_ptr<unsigned char, GFree>;

bool SameGuid(const ImageEncoderClsid& a, const ImageEncoderClsid& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::memcmp(a.Data4, b.Data4, sizeof a.Data4) == 0;
}

VipsImagePtr Ref(VipsImage* image) {
  g_object_ref(image);
  return VipsImagePtr(image);
}

// The image with libvips's interpretation set to `interpretation`, pixels unchanged.
VipsImagePtr Interpreted(VipsImage* in, VipsInterpretation interpretation) {
  if (vips_image_get_interpretation(in) == interpretation) return Ref(in);
  VipsImage* out = nullptr;
  return VipsResult(vips_copy(in, &out, "interpretation", interpretation, nullptr), out);
}

VipsImagePtr Bands(VipsImage* in, int first, int count) {
  VipsImage* out = nullptr;
  return VipsResult(vips_extract_band(in, &out, first, "n", count, nullptr), out);
}

VipsImagePtr Joined(std::initializer_list<VipsImage*> parts) {
  VipsImage* in[4] = {};
  if (parts.size() > 4) return nullptr;
  int count = 0;
  for (VipsImage* part : parts) in[count++] = part;
  VipsImage* out = nullptr;
  return VipsResult(vips_bandjoin(in, &out, count, nullptr), out);
}

// ---------------------------------------------------------------------------------------------
// Decoding

bool WithinLimits(VipsImage* image) {
  const int width = vips_image_get_width(image);
  const int height = vips_image_get_height(image);
  if (width <= 0 || height <= 0) return false;
  const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  if (pixels > DecodedPixelLimit()) return false;
  return pixels * VIPS_IMAGE_SIZEOF_PEL(image) <= kMaxDecodedBytes;
}

// What the loaders can hand back that the savers below do not take: coded pixels (libvips's own
// formats, Radiance) are decoded, CMYK is turned into sRGB. When libvips cannot convert CMYK
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

// ---------------------------------------------------------------------------------------------
// Preparing an image for a saver

// The sample layouts the savers are handed.
enum class Shape {
  kGrey,  // 1 band
  kRgb,   // 3 bands
  kRgba,  // 4 bands, alpha last
};

// The layout that keeps what the pixel format names (for formats without alpha, the alpha is
// dropped). Palette images have no alpha in GDI+, whose palettes lose transparency in BMP and TIFF.
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

VipsImagePtr EightBitShaped(VipsImage* in, Shape shape) {
  VipsImagePtr eightBit = EightBit(in);
  return eightBit ? Shaped(eightBit.get(), shape) : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Saving

struct Encoded {
  GBytes bytes;
  std::size_t length = 0;
};

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

bool Save(VipsImage* image, std::uint32_t pixelFormat, const VipsSaver& saver,
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

// ---------------------------------------------------------------------------------------------
// Stretching

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

}  // namespace

struct ImageWorkspace::State {
  bool open = false;
  // The caller's bytes, which outlive the workspace: libvips decodes them in place.
  const unsigned char* source = nullptr;
  std::size_t sourceLength = 0;
  VipsImagePtr decoded;
  std::uint32_t pixelFormat = pixel_format::kUndefined;
  VipsImagePtr stretched;
  Encoded destination;
  std::size_t position = 0;  // of the next read in the destination

  // The destination as a stream holds it after a write: the position at its end.
  void SetDestination(Encoded encoded) {
    destination = std::move(encoded);
    position = destination.length;
  }
};

ImageWorkspace::ImageWorkspace() : mState(std::make_unique<State>()) {}

// The stretched image reads from the decoded one: it goes first. The destination is plain memory.
ImageWorkspace::~ImageWorkspace() {
  mState->stretched.reset();
  mState->decoded.reset();
}

// A JPEG stretched to half its size or less is decoded at 1/2, 1/4 or 1/8 scale by the decoder
// itself (its DCT scaling skips most of the work), never below twice the target, so that the
// bicubic resize still makes the last reduction of at least 2x. Null when that does not apply.
namespace {

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

}  // namespace

// Nothing to create: the faults a test injects fail the same steps as on Windows.
ImageWorkspace::OpenStatus ImageWorkspace::Open() {
  if (ImageFaultInjected(ImageFault::kTempPath)) return OpenStatus::kNoTempPath;
  if (ImageFaultInjected(ImageFault::kStorage)) return OpenStatus::kNoStorage;
  if (ImageFaultInjected(ImageFault::kSourceStream)) return OpenStatus::kNoSourceStream;
  if (ImageFaultInjected(ImageFault::kDestinationStream)) return OpenStatus::kNoDestinationStream;
  mState->open = true;
  return OpenStatus::kOpen;
}

bool ImageWorkspace::WriteSource(const unsigned char* bytes, unsigned long length) {
  if (!mState->open || ImageFaultInjected(ImageFault::kWriteSource)) return false;
  mState->source = bytes;
  mState->sourceLength = length;
  return true;
}

void ImageWorkspace::LoadSource() {
  State& s = *mState;
  s.stretched.reset();
  s.decoded.reset();
  s.pixelFormat = pixel_format::kUndefined;
  if (s.source == nullptr || s.sourceLength == 0 || !VipsStarted()) return;

  // Libvips reads only the header here; the size is checked before any pixel is decoded, so a
  // forged header cannot make it allocate more than the limits allow. A truncated file fails.
  VipsImage* header =
      vips_image_new_from_buffer(s.source, s.sourceLength, "", "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                 VIPS_FAIL_ON_TRUNCATED, nullptr);
  if (header == nullptr) {
    ForgetVipsError();
    return;
  }
  VipsImagePtr lazy(header);
  if (!WithinLimits(lazy.get())) return;
  lazy = Normalised(std::move(lazy));
  if (!lazy) return;
  // Decoded later, strip by strip, as the one save (or stretch and save) reads it from top to
  // bottom: a 12-megapixel photo never sits in memory whole. A decoding error (a truncated file)
  // surfaces there, as a failed save.
  s.pixelFormat = VipsPixelFormat(lazy.get());
  s.decoded = std::move(lazy);
}

std::uint32_t ImageWorkspace::SourcePixelFormat() { return mState->pixelFormat; }

bool ImageWorkspace::SaveSource(const ImageEncoderClsid& encoder, const EncoderParameter* parameter) {
  State& s = *mState;
  if (!s.decoded) return false;
  EncoderParameterBlock block;
  if (parameter != nullptr) block = {1, parameter->guid, 1, kValueTypeLong, parameter->value};
  RecordEncoderParameterBlock(block);

  s.SetDestination({});
  const VipsSaver* saver = FindVipsSaver(encoder);
  Encoded encoded;
  if (saver == nullptr || !Save(s.decoded.get(), s.pixelFormat, *saver, parameter, encoded)) return false;
  s.SetDestination(std::move(encoded));
  return true;
}

void ImageWorkspace::StretchSource(std::int32_t cx, std::int32_t cy) {
  State& s = *mState;
  s.stretched.reset();
  if (!s.decoded || cx <= 0 || cy <= 0) return;
  if (static_cast<std::uint64_t>(cx) * static_cast<std::uint64_t>(cy) > ImageUtil::kMaxLinuxPixels) return;
  VipsImagePtr reduced = JpegDecodedSmaller(s.decoded.get(), s.source, s.sourceLength, cx, cy);
  s.stretched = Stretched(reduced ? reduced.get() : s.decoded.get(), cx, cy);
}

void ImageWorkspace::SaveStretched(const ImageEncoderClsid& encoder) {
  State& s = *mState;
  RecordEncoderParameterBlock(EncoderParameterBlock{});
  s.SetDestination({});
  const VipsSaver* saver = FindVipsSaver(encoder);
  Encoded encoded;
  if (!s.stretched || saver == nullptr || !Save(s.stretched.get(), s.pixelFormat, *saver, nullptr, encoded))
    return;
  s.SetDestination(std::move(encoded));
}

std::uint64_t ImageWorkspace::DestinationSize() { return mState->destination.length; }

bool ImageWorkspace::RewindDestination() {
  if (!mState->open || ImageFaultInjected(ImageFault::kRewind)) return false;
  mState->position = 0;
  return true;
}

void ImageWorkspace::ReadDestination(unsigned char* out, unsigned long length) {
  State& s = *mState;
  const std::size_t count = std::min<std::size_t>(length, s.destination.length - s.position);
  if (count == 0) return;
  std::memcpy(out, s.destination.bytes.get() + s.position, count);
  s.position += count;
}

// Windows keeps its compound file and streams on this path; here the destination is memory of
// this workspace, which no caller can reach after the workspace ends, so there is nothing that
// staying behind would keep for anyone. It is released with the workspace.
void ImageWorkspace::LeaveStorageUnreleased() {}

}  // namespace Tavro_KVO_Util::platform
