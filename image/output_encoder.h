// Which encoder an mvImageFormat asks for, and the one parameter it is handed.
//
// Pure rules, no OS: the same on both builds and tested on the host.
#ifndef TAVROMEDIVANEUTIL_IMAGE_OUTPUT_ENCODER_H
#define TAVROMEDIVANEUTIL_IMAGE_OUTPUT_ENCODER_H

#include <cstdint>

#include "mvImageFormat.h"

namespace Tavro_KVO_Util::internal {

enum class EncoderParameterKind { kNone, kQuality, kColorDepth };

struct OutputEncoder {
  const wchar_t* mimeType;  // the key under which the encoder is looked up
  const wchar_t* label;     // what "Checking Destination Image format..Format=%s" names; null for BMP
  EncoderParameterKind parameter;
};

// IT_JPEG, IT_PNG, IT_GIF and IT_TIFF select their own encoders; every other value selects BMP,
// on purpose: an unknown type never fails, it yields a BMP file.
OutputEncoder ChooseOutputEncoder(mvImageType type);

// 100, unless numParams > 0 and pParams[0] is not 0: then pParams[0], unclamped.
std::uint32_t JpegQuality(const mvImageFormat& format);

// The TIFF colour depth for a decoded source of `pixelFormat` (GDI+ numbering): 1, 4 or 8 for the
// indexed formats, 16 for the 16-bit ones, 32 for 32-bit RGB and (premultiplied) ARGB, and 24 for
// every other format, 48- and 64-bit included.
std::uint32_t TiffColorDepth(std::uint32_t pixelFormat);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_IMAGE_OUTPUT_ENCODER_H
