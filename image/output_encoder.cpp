#include "image/output_encoder.h"

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::internal {

OutputEncoder ChooseOutputEncoder(mvImageType type) {
  switch (type) {
    case IT_JPEG:
      return {L"image/jpeg", L"IT_JPEG", EncoderParameterKind::kQuality};
    case IT_PNG:
      return {L"image/png", L"IT_PNG", EncoderParameterKind::kNone};
    case IT_GIF:
      return {L"image/gif", L"IT_GIF", EncoderParameterKind::kNone};
    case IT_TIFF:
      return {L"image/tiff", L"IT_TIFF", EncoderParameterKind::kColorDepth};
    default:
      return {L"image/bmp", nullptr, EncoderParameterKind::kNone};
  }
}

std::uint32_t JpegQuality(const mvImageFormat& format) {
  constexpr std::uint32_t kDefaultQuality = 100;
  if (format.numParams > 0 && format.pParams != nullptr && format.pParams[0] != 0) return format.pParams[0];
  return kDefaultQuality;
}

std::uint32_t TiffColorDepth(std::uint32_t pixelFormat) {
  namespace pf = platform::pixel_format;
  switch (pixelFormat) {
    case pf::k1bppIndexed:
      return 1;
    case pf::k4bppIndexed:
      return 4;
    case pf::k8bppIndexed:
      return 8;
    case pf::k16bppRGB555:
    case pf::k16bppRGB565:
    case pf::k16bppARGB1555:
    case pf::k16bppGrayScale:
      return 16;
    case pf::k32bppRGB:
    case pf::k32bppARGB:
    case pf::k32bppPARGB:
      return 32;
    default:
      return 24;
  }
}

}  // namespace Tavro_KVO_Util::internal
