#include "image/output_encoder.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/image_codecs.h"

namespace Tavro_KVO_Util::internal {
namespace {

namespace pf = platform::pixel_format;

TEST(OutputEncoder, EachListedTypeSelectsItsEncoderAndLabel) {
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_JPEG).mimeType), L"image/jpeg");
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_JPEG).label), L"IT_JPEG");
  EXPECT_EQ(ChooseOutputEncoder(IT_JPEG).parameter, EncoderParameterKind::kQuality);
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_PNG).mimeType), L"image/png");
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_PNG).label), L"IT_PNG");
  EXPECT_EQ(ChooseOutputEncoder(IT_PNG).parameter, EncoderParameterKind::kNone);
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_GIF).mimeType), L"image/gif");
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_GIF).label), L"IT_GIF");
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_TIFF).mimeType), L"image/tiff");
  EXPECT_EQ(std::wstring(ChooseOutputEncoder(IT_TIFF).label), L"IT_TIFF");
  EXPECT_EQ(ChooseOutputEncoder(IT_TIFF).parameter, EncoderParameterKind::kColorDepth);
}

TEST(OutputEncoder, EveryUnlistedTypeSelectsBmpWithoutALabel) {
  for (const std::int32_t value : {0, 1, 2, 7, -1, 1000, INT32_MIN, INT32_MAX}) {
    const OutputEncoder encoder = ChooseOutputEncoder(static_cast<mvImageType>(value));
    EXPECT_EQ(std::wstring(encoder.mimeType), L"image/bmp") << value;
    EXPECT_EQ(encoder.label, nullptr) << value;
    EXPECT_EQ(encoder.parameter, EncoderParameterKind::kNone) << value;
  }
}

TEST(OutputEncoder, JpegQualityIs100UnlessTheFirstParameterIsNonZero) {
  std::uint32_t params[2] = {0, 55};
  EXPECT_EQ(JpegQuality({IT_JPEG, nullptr, 0}), 100u);
  EXPECT_EQ(JpegQuality({IT_JPEG, params, 0}), 100u);  // numParams 0: pParams is not read
  EXPECT_EQ(JpegQuality({IT_JPEG, params, 1}), 100u);  // a zero keeps 100
  params[0] = 40;
  EXPECT_EQ(JpegQuality({IT_JPEG, params, 2}), 40u);
  params[0] = 250;  // passed on as it is, not clamped
  EXPECT_EQ(JpegQuality({IT_JPEG, params, 1}), 250u);
  params[0] = 0xFFFFFFFFu;
  EXPECT_EQ(JpegQuality({IT_JPEG, params, 1}), 0xFFFFFFFFu);
  EXPECT_EQ(JpegQuality({IT_JPEG, nullptr, 3}), 100u);  // a missing array is not read
}

TEST(OutputEncoder, TiffDepthFollowsThePixelFormat) {
  EXPECT_EQ(TiffColorDepth(pf::k1bppIndexed), 1u);
  EXPECT_EQ(TiffColorDepth(pf::k4bppIndexed), 4u);
  EXPECT_EQ(TiffColorDepth(pf::k8bppIndexed), 8u);
  EXPECT_EQ(TiffColorDepth(pf::k16bppRGB555), 16u);
  EXPECT_EQ(TiffColorDepth(pf::k16bppRGB565), 16u);
  EXPECT_EQ(TiffColorDepth(pf::k16bppARGB1555), 16u);
  EXPECT_EQ(TiffColorDepth(pf::k16bppGrayScale), 16u);
  EXPECT_EQ(TiffColorDepth(pf::k32bppRGB), 32u);
  EXPECT_EQ(TiffColorDepth(pf::k32bppARGB), 32u);
  EXPECT_EQ(TiffColorDepth(pf::k32bppPARGB), 32u);
  EXPECT_EQ(TiffColorDepth(pf::k24bppRGB), 24u);
  EXPECT_EQ(TiffColorDepth(pf::k48bppRGB), 24u);
  EXPECT_EQ(TiffColorDepth(pf::k64bppARGB), 24u);
  EXPECT_EQ(TiffColorDepth(pf::k64bppPARGB), 24u);
  EXPECT_EQ(TiffColorDepth(pf::kUndefined), 24u);
  EXPECT_EQ(TiffColorDepth(0x200F), 24u);  // 32-bit CMYK
}

}  // namespace
}  // namespace Tavro_KVO_Util::internal
