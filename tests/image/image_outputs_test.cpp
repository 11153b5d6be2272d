// Converts every input fixture to every output format and stretches the resizing fixtures,
// through the library's exports, and writes each output next to a manifest. check_outputs.py
// then decodes them with Pillow, a decoder independent of the library, and compares them with
// their sources. The checks here are the ones that need no decoder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "ImageUtil.h"
#include "image/image_test_support.h"
#include "support/private_install_dir.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Convert;
using testing::Fixture;
using testing::ReadBmpHeader;
using testing::Signature;
using testing::Stretch;

const char* const kInputs[] = {"photo.jpg", "indexed8.png", "rgb24.png",   "argb32.png", "rgb48.png",
                               "rgb48.tif", "rgb24.bmp",    "indexed.gif", "rgb24.tif"};

struct Output {
  mvImageType type;
  const char* name;  // as check_outputs.py and Signature() name it
};
const Output kOutputs[] = {
    {IT_JPEG, "jpeg"}, {IT_PNG, "png"}, {IT_GIF, "gif"}, {IT_TIFF, "tiff"}, {IT_BMP, "bmp"}};

std::filesystem::path OutputFolder() {
  const char* folder = std::getenv("TAVRO_IMAGE_OUTPUT_DIR");
  return folder ? std::filesystem::path(folder) : std::filesystem::path("image-outputs");
}

// One line per output: file, source, operation, format, width, height.
class Manifest {
 public:
  Manifest() : mFolder(OutputFolder()) {
    std::filesystem::create_directories(mFolder);
    mOut.open(mFolder / "manifest.tsv", std::ios::app);
  }
  void Add(const std::string& file, const std::vector<unsigned char>& bytes, const std::string& source,
           const std::string& operation, const std::string& format, int width, int height) {
    testing::WriteImageFile(mFolder / file, bytes);
    mOut << file << '\t' << source << '\t' << operation << '\t' << format << '\t' << width << '\t' << height
         << '\n';
    mOut.flush();
  }

 private:
  std::filesystem::path mFolder;
  std::ofstream mOut;
};

// The library logs every step; a configuration of its own keeps those entries quick and private.
class PrivateLogging : public ::testing::Environment {
  std::unique_ptr<testing::PrivateInstallDir> mInstall;

 public:
  void SetUp() override { mInstall = std::make_unique<testing::PrivateInstallDir>(); }
  void TearDown() override { mInstall.reset(); }
};
const auto* const kPrivateLogging = ::testing::AddGlobalTestEnvironment(new PrivateLogging);

TEST(ImageOutputs, EveryInputConvertsToEveryFormat) {
  ImageUtil images;
  Manifest manifest;
  for (const char* input : kInputs) {
    for (const Output& output : kOutputs) {
      const auto result = Convert(images, Fixture(input), output.type);
      ASSERT_TRUE(result.ok) << input << " to " << output.name;
      EXPECT_EQ(result.length, result.bytes.size());
      EXPECT_EQ(Signature(result.bytes), output.name) << input;
      manifest.Add(std::string(input) + "." + output.name, result.bytes, input, "convert", output.name, 64,
                   48);
    }
  }
}

TEST(ImageOutputs, JpegQualityChangesTheOutput) {
  ImageUtil images;
  const auto best = Convert(images, Fixture("large640x480.png"), IT_JPEG);
  const auto zero = Convert(images, Fixture("large640x480.png"), IT_JPEG, {0});
  ASSERT_TRUE(best.ok);
  ASSERT_TRUE(zero.ok);
  EXPECT_EQ(best.bytes, zero.bytes);  // 0 means the default, 100
#ifndef _WIN32
  // Wine's encoder ignores the quality (the parameter block is checked in the white-box tests).
  const auto low = Convert(images, Fixture("large640x480.png"), IT_JPEG, {40});
  ASSERT_TRUE(low.ok);
  EXPECT_LT(low.bytes.size(), best.bytes.size());
#endif
}

TEST(ImageOutputs, A640x480PngStretchesTo320x320InItsPixelFormat) {
  ImageUtil images;
  Manifest manifest;
  const auto result = Stretch(images, Fixture("large640x480.png"), 320, 320);
  ASSERT_TRUE(result.ok);
  const auto header = ReadBmpHeader(result.bytes);
  EXPECT_TRUE(header.isBmp);
  EXPECT_EQ(header.infoSize, 40u);
  EXPECT_EQ(header.width, 320);
  EXPECT_EQ(header.height, 320);  // stretched, not letter-boxed
  EXPECT_EQ(header.bitsPerPixel, 24);
  EXPECT_EQ(result.length, 54u + 320u * 3u * 320u);
  manifest.Add("large640x480.png.stretch320x320.bmp", result.bytes, "large640x480.png", "stretch", "bmp", 320,
               320);
}

TEST(ImageOutputs, AnArgbSourceStretchesTo32BitsOr24UnderWine) {
  ImageUtil images;
  Manifest manifest;
  const auto result = Stretch(images, Fixture("argb32.png"), 100, 30);
  ASSERT_TRUE(result.ok);
  const auto header = ReadBmpHeader(result.bytes);
  EXPECT_EQ(header.width, 100);
  EXPECT_EQ(header.height, 30);
#ifdef _WIN32
  EXPECT_EQ(header.bitsPerPixel, 24);  // Wine's BMP encoder writes 32-bit ARGB as 24 bits
#else
  EXPECT_EQ(header.bitsPerPixel, 32);
#endif
  manifest.Add("argb32.png.stretch100x30.bmp", result.bytes, "argb32.png", "stretch", "bmp", 100, 30);
}

TEST(ImageOutputs, AUniformSourceStaysItsColour) {
  ImageUtil images;
  const auto result = Stretch(images, Fixture("uniform640x480.png"), 320, 320);
  ASSERT_TRUE(result.ok);
  ASSERT_EQ(result.length, 54u + 320u * 3u * 320u);
  const std::uint32_t offset = testing::Le32(result.bytes, 10);
  ASSERT_EQ(offset, 54u);
  std::size_t wrong = 0;
  for (std::size_t at = offset; at + 2 < result.bytes.size(); at += 3) {
    // Stored blue, green, red: the fixture is (30, 144, 255).
    if (result.bytes[at] != 255 || result.bytes[at + 1] != 144 || result.bytes[at + 2] != 30) ++wrong;
  }
  EXPECT_EQ(wrong, 0u);
}

TEST(ImageOutputs, AJpegSourceStretchesToABmp) {
  ImageUtil images;
  Manifest manifest;
  const auto result = Stretch(images, Fixture("large640x480.jpg"), 200, 150);
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(Signature(result.bytes), "bmp");
  EXPECT_EQ(ReadBmpHeader(result.bytes).width, 200);
  EXPECT_EQ(ReadBmpHeader(result.bytes).height, 150);
  manifest.Add("large640x480.jpg.stretch200x150.bmp", result.bytes, "large640x480.jpg", "stretch", "bmp", 200,
               150);
}

// Linux decodes a JPEG at half scale first when the target is a quarter of it or less; the
// result must still be the exact size and close to a bicubic stretch of the whole picture.
TEST(ImageOutputs, AJpegStretchedToAQuarterKeepsItsSizeAndPicture) {
  ImageUtil images;
  Manifest manifest;
  const auto result = Stretch(images, Fixture("large640x480.jpg"), 160, 120);
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(ReadBmpHeader(result.bytes).width, 160);
  EXPECT_EQ(ReadBmpHeader(result.bytes).height, 120);
  manifest.Add("large640x480.jpg.stretch160x120.bmp", result.bytes, "large640x480.jpg", "stretch", "bmp", 160,
               120);
}

}  // namespace
}  // namespace Tavro_KVO_Util
