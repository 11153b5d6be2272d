// Every text ImageUtil logs, with its area and level, in the order the steps write them. Steps
// that cannot fail on a healthy machine are made to fail through the platform's fault seam.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ImageUtil.h"
#include "image/destination_copy.h"
#include "image/encoder_list_seam.h"
#include "image/image_test_support.h"
#include "logging/library_log.h"
#include "platform/image_codecs.h"
#include "platform/image_faults.h"

namespace Tavro_KVO_Util {
namespace {

using internal::ReportRecorderForTesting;
using platform::ImageFault;
using platform::ImageFaultForTesting;
using testing::Convert;
using testing::Fixture;
using testing::Stretch;

constexpr wchar_t kFormat[] = L"ImageUtil::SetImageFormat";
constexpr wchar_t kDimensions[] = L"ImageUtil::SetImageDimensions";
constexpr wchar_t kLookup[] = L"ImageUtil::GetEncoderClsid";
constexpr wchar_t kClipboard[] = L"ImageUtil::CopyToClipBoard";

// Each entry as "area|level|message".
std::vector<std::wstring> Lines(const ReportRecorderForTesting& recorder) {
  std::vector<std::wstring> lines;
  for (const auto& entry : recorder.Entries()) {
    lines.push_back(entry.area + L"|" + std::to_wstring(entry.level) + L"|" + entry.message);
  }
  return lines;
}

std::wstring Line(const wchar_t* area, int level, const std::wstring& message) {
  return std::wstring(area) + L"|" + std::to_wstring(level) + L"|" + message;
}

std::vector<std::wstring> LookupLines(const std::wstring& mime) {
  return {Line(kLookup, 4, L"***Getting GUID/CLSID according to format type::Format = " + mime + L"***"),
          Line(kLookup, 4, L"Get GUID/CLSID for format " + mime + L" SUCCESS")};
}

std::vector<std::wstring> Join(std::initializer_list<std::vector<std::wstring>> parts) {
  std::vector<std::wstring> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class ImageMessages : public ::testing::Test {
 protected:
  ImageUtil images;
  ReportRecorderForTesting recorder;  // made after the constructor: only the calls are recorded
};

TEST_F(ImageMessages, ASuccessfulConversionWritesItsStepsAtInfo) {
  const auto result = Convert(images, Fixture("rgb24.png"), IT_PNG);
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(Lines(recorder),
            Join({{Line(kFormat, 4, L"***Setting Image Format***"),
                   Line(kFormat, 4, L"Checking Destination Image format..Format=IT_PNG")},
                  LookupLines(L"image/png"),
                  {Line(kFormat, 4, L"Setting Seek pointer success..Reading from Destination Stream")}}));
  for (const auto& entry : recorder.Entries()) EXPECT_EQ(entry.file, L".\\ImageUtil.cpp");
}

TEST_F(ImageMessages, EachListedTypeNamesItsLabel) {
  const std::pair<mvImageType, std::wstring> types[] = {
      {IT_JPEG, L"IT_JPEG"}, {IT_PNG, L"IT_PNG"}, {IT_GIF, L"IT_GIF"}, {IT_TIFF, L"IT_TIFF"}};
  for (const auto& [type, label] : types) {
    recorder.Clear();
    ASSERT_TRUE(Convert(images, Fixture("rgb24.png"), type).ok);
    ASSERT_GE(recorder.Entries().size(), 2u);
    EXPECT_EQ(Lines(recorder)[1], Line(kFormat, 4, L"Checking Destination Image format..Format=" + label));
  }
}

TEST_F(ImageMessages, UnlistedTypesGiveABmpAndNoCheckingLine) {
  for (const std::int32_t value : {0, 1, 2, 7}) {
    recorder.Clear();
    const auto result = Convert(images, Fixture("rgb24.png"), static_cast<mvImageType>(value));
    ASSERT_TRUE(result.ok) << value;
    EXPECT_EQ(testing::Signature(result.bytes), "bmp") << value;
    EXPECT_EQ(testing::ReadBmpHeader(result.bytes).width, 64) << value;
    EXPECT_EQ(Lines(recorder),
              Join({{Line(kFormat, 4, L"***Setting Image Format***")},
                    LookupLines(L"image/bmp"),
                    {Line(kFormat, 4, L"Setting Seek pointer success..Reading from Destination Stream")}}))
        << value;
  }
}

TEST_F(ImageMessages, AnEmptySourceIsRefusedAndTheOutputsAreUntouched) {
  unsigned char source[4] = {1, 2, 3, 4};
  unsigned char sentinel = 0;
  unsigned char* dst = &sentinel;
  unsigned long length = 77;
  EXPECT_FALSE(images.SetImageFormat(source, 0, dst, &length, {IT_PNG, nullptr, 0}));
  EXPECT_FALSE(images.SetImageFormat(nullptr, 10, dst, &length, {IT_PNG, nullptr, 0}));
  EXPECT_FALSE(images.SetImageDimensions(source, 0, dst, &length, tagSIZE{2, 2}));
  EXPECT_FALSE(images.SetImageDimensions(nullptr, 10, dst, &length, tagSIZE{2, 2}));
  EXPECT_EQ(dst, &sentinel);
  EXPECT_EQ(length, 77u);
  const std::wstring empty = L"Source buffer is NULL or empty!";
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                Line(kFormat, 4, L"***Setting Image Format***"), Line(kFormat, 2, empty),
                Line(kFormat, 4, L"***Setting Image Format***"), Line(kFormat, 2, empty),
                Line(kDimensions, 4, L"***Setting Image Dimensions***"), Line(kDimensions, 2, empty),
                Line(kDimensions, 4, L"***Setting Image Dimensions***"), Line(kDimensions, 2, empty)}));
}

TEST_F(ImageMessages, ANullLengthPointerIsRefused) {
  auto source = Fixture("rgb24.png");
  unsigned char* dst = nullptr;
  EXPECT_FALSE(images.SetImageFormat(source.data(), static_cast<unsigned long>(source.size()), dst, nullptr,
                                     {IT_PNG, nullptr, 0}));
  EXPECT_EQ(dst, nullptr);
  EXPECT_EQ(recorder.Messages(2), std::vector<std::wstring>{L"Destination length pointer is NULL!"});
}

TEST_F(ImageMessages, EachWorkspaceFailureHasItsOwnText) {
  struct Case {
    ImageFault fault;
    std::wstring formatText;
    std::wstring dimensionsText;
  };
  const Case cases[] = {
      {ImageFault::kStorage, L"Failed to create TavroImageFomat storage file!",
       L"Failed to create TavroImageDimension storage file!"},
      {ImageFault::kSourceStream, L"Failed to create Source Stream!", L"Failed to create Source Stream!"},
      {ImageFault::kDestinationStream, L"Failed to create Destination Stream!",
       L"Failed to create Destination Stream!"},
      {ImageFault::kWriteSource, L"Failed to write into Source Stream!",
       L"Failed to write into Source Stream!"},
  };
  for (const Case& c : cases) {
    ImageFaultForTesting fault(c.fault);
    recorder.Clear();
    const auto converted = Convert(images, Fixture("rgb24.png"), IT_PNG);
    EXPECT_FALSE(converted.ok);
    EXPECT_FALSE(converted.dstSet);
    EXPECT_EQ(converted.length, 0xDEADBEEFu);
    EXPECT_EQ(Lines(recorder), (std::vector<std::wstring>{Line(kFormat, 4, L"***Setting Image Format***"),
                                                          Line(kFormat, 2, c.formatText)}));
    recorder.Clear();
    const auto stretched = Stretch(images, Fixture("rgb24.png"), 8, 8);
    EXPECT_FALSE(stretched.ok);
    EXPECT_FALSE(stretched.dstSet);
    EXPECT_EQ(stretched.length, 0xDEADBEEFu);
    EXPECT_EQ(Lines(recorder),
              (std::vector<std::wstring>{Line(kDimensions, 4, L"***Setting Image Dimensions***"),
                                         Line(kDimensions, 2, c.dimensionsText)}));
  }
}

// Resizing has always written this one under the conversion's area; support tools expect it there.
TEST_F(ImageMessages, NoTemporaryFolderIsLoggedUnderTheConversionsAreaByBothOperations) {
  ImageFaultForTesting fault(ImageFault::kTempPath);
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_FALSE(Stretch(images, Fixture("rgb24.png"), 8, 8).ok);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{Line(kFormat, 4, L"***Setting Image Format***"),
                                       Line(kFormat, 2, L"GetTempPath FAILED!"),
                                       Line(kDimensions, 4, L"***Setting Image Dimensions***"),
                                       Line(kFormat, 2, L"GetTempPath FAILED!")}));
}

TEST_F(ImageMessages, BytesThatDoNotDecodeFailTheSave) {
  const auto result = Convert(images, {'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e'}, IT_PNG);
  EXPECT_FALSE(result.ok);
  EXPECT_FALSE(result.dstSet);
  EXPECT_EQ(result.length, 0xDEADBEEFu);
  EXPECT_EQ(Lines(recorder), Join({{Line(kFormat, 4, L"***Setting Image Format***"),
                                    Line(kFormat, 4, L"Checking Destination Image format..Format=IT_PNG")},
                                   LookupLines(L"image/png"),
                                   {Line(kFormat, 2, L"pSrcImage->Save() returns ERROR!")}}));
}

TEST_F(ImageMessages, AnEmptyEncoderListIsReportedAndTheSaveFails) {
  internal::EncoderListForTesting list(platform::EncoderListStatus::kSizeIsZero, {});
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_GIF).ok);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                Line(kFormat, 4, L"***Setting Image Format***"),
                Line(kFormat, 4, L"Checking Destination Image format..Format=IT_GIF"),
                Line(kLookup, 4, L"***Getting GUID/CLSID according to format type::Format = image/gif***"),
                Line(kLookup, 2, L"Size of array of ImageCodecInfo objects is zero!"),
                Line(kFormat, 2, L"pSrcImage->Save() returns ERROR!")}));
}

TEST_F(ImageMessages, AnEncoderListThatCannotBeAllocatedIsReported) {
  internal::EncoderListForTesting list(platform::EncoderListStatus::kNoMemory, {});
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_TIFF).ok);
  EXPECT_EQ(recorder.Messages(2),
            (std::vector<std::wstring>{L"Allocation of memory for ImageCodecInfo object FAILED !",
                                       L"pSrcImage->Save() returns ERROR!"}));
}

TEST_F(ImageMessages, AMissingEncoderIsReportedAndTheSaveFails) {
  std::vector<platform::ImageEncoder> installed;
  ASSERT_EQ(platform::ListImageEncoders(installed), platform::EncoderListStatus::kListed);
  std::vector<platform::ImageEncoder> withoutPng;
  for (const auto& encoder : installed) {
    if (encoder.mimeType != L"image/png") withoutPng.push_back(encoder);
  }
  ASSERT_EQ(withoutPng.size() + 1, installed.size());
  internal::EncoderListForTesting list(platform::EncoderListStatus::kListed, withoutPng);
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{
                Line(kFormat, 4, L"***Setting Image Format***"),
                Line(kFormat, 4, L"Checking Destination Image format..Format=IT_PNG"),
                Line(kLookup, 4, L"***Getting GUID/CLSID according to format type::Format = image/png***"),
                Line(kLookup, 2, L"Get GUID/CLSID for format image/png FAILED!"),
                Line(kFormat, 2, L"pSrcImage->Save() returns ERROR!")}));
}

TEST_F(ImageMessages, TheMimeTypeMustMatchExactly) {
  std::vector<platform::ImageEncoder> installed;
  ASSERT_EQ(platform::ListImageEncoders(installed), platform::EncoderListStatus::kListed);
  for (auto& encoder : installed) {
    if (encoder.mimeType == L"image/png") encoder.mimeType = L"IMAGE/PNG";
  }
  internal::EncoderListForTesting list(platform::EncoderListStatus::kListed, installed);
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_EQ(recorder.Messages(2), (std::vector<std::wstring>{L"Get GUID/CLSID for format image/png FAILED!",
                                                             L"pSrcImage->Save() returns ERROR!"}));
}

TEST_F(ImageMessages, AFailedAllocationLeavesTheSizeAndANullArray) {
  internal::DestinationAllocationFailureForTesting noMemory;
  testing::PrivateTempFolder temp;
  const auto result = Convert(images, Fixture("rgb24.png"), IT_BMP);
  EXPECT_FALSE(result.ok);
  EXPECT_FALSE(result.dstSet);
  EXPECT_EQ(result.length, 54u + 64u * 48u * 3u);  // the size was stored before the allocation
  EXPECT_EQ(recorder.Messages(2), std::vector<std::wstring>{L"Destination buffer is NULL!"});
  EXPECT_EQ(recorder.Entries().back().area, kFormat);

  recorder.Clear();
  // On Windows the kept storage holds this thread's file name until the process ends, so the
  // stretch runs on a thread of its own.
  testing::Converted stretched;
  std::thread([&] {
    ImageUtil own;
    stretched = Stretch(own, Fixture("rgb24.png"), 10, 4);
  }).join();
  EXPECT_FALSE(stretched.ok);
  EXPECT_FALSE(stretched.dstSet);
  EXPECT_EQ(stretched.length, 54u + 32u * 4u);  // rows of 10 pixels: 30 bytes padded to 32
  EXPECT_EQ(recorder.Messages(2), std::vector<std::wstring>{L"Destination buffer is NULL!"});
  EXPECT_EQ(recorder.Entries().back().area, kDimensions);
}

TEST_F(ImageMessages, AFailedRewindReturnsFalseButHandsTheArrayOver) {
  ImageFaultForTesting fault(ImageFault::kRewind);
  const auto result = Convert(images, Fixture("rgb24.png"), IT_BMP);
  EXPECT_FALSE(result.ok);
  EXPECT_TRUE(result.dstSet);  // the caller owns it and must free it (TakeOutput did)
  EXPECT_EQ(result.length, 54u + 64u * 48u * 3u);
  // No error line, and the read's line is missing: the steps end at the failed seek.
  EXPECT_EQ(Lines(recorder),
            Join({{Line(kFormat, 4, L"***Setting Image Format***")}, LookupLines(L"image/bmp")}));
}

TEST_F(ImageMessages, ASuccessfulStretchWritesItsStepsAtInfo) {
  const auto result = Stretch(images, Fixture("rgb24.png"), 16, 16);
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(Lines(recorder),
            Join({{Line(kDimensions, 4, L"***Setting Image Dimensions***")},
                  LookupLines(L"image/bmp"),
                  {Line(kDimensions, 4, L"Setting Seek pointer success..Reading from Destination Stream")}}));
}

// One rule on every system: no width or height below 1, no more than 100 megapixels. Such a size
// is not stretched (nothing of it is allocated), the call says why at WARN and returns true with
// an empty output, as a stretch that GDI+ fails to make always has.
TEST_F(ImageMessages, ASizeWithoutPixelsOrBeyondTheBoundGivesAnEmptyOutputAndAWarning) {
  const std::pair<std::int32_t, std::int32_t> sizes[] = {{0, 10}, {10, 0}, {-5, 10}, {70000, 70000}};
  for (const auto& [cx, cy] : sizes) {
    SCOPED_TRACE(std::to_string(cx) + "x" + std::to_string(cy));
    recorder.Clear();
    const auto result = Stretch(images, Fixture("rgb24.png"), cx, cy);
    EXPECT_TRUE(result.ok);
    EXPECT_TRUE(result.dstSet) << "an array of no bytes, which the caller frees";
    EXPECT_EQ(result.length, 0u);
    EXPECT_EQ(
        Lines(recorder),
        Join({{Line(kDimensions, 4, L"***Setting Image Dimensions***"),
               Line(kDimensions, 3,
                    L"Size " + std::to_wstring(cx) + L"x" + std::to_wstring(cy) +
                        L" cannot be made: width and height must be 1 or more, and at most 100000000 "
                        L"pixels in all")},
              LookupLines(L"image/bmp"),
              {Line(kDimensions, 4, L"Setting Seek pointer success..Reading from Destination Stream")}}));
  }
}

TEST_F(ImageMessages, OnePixelAndAThinStripAreStretchedToTheirSize) {
  // A size at the bound itself would take seconds to draw; these show that small and thin pass.
  for (const auto& [cx, cy] : {std::pair<std::int32_t, std::int32_t>{1, 1}, {10000, 1}}) {
    const auto result = Stretch(images, Fixture("rgb24.png"), cx, cy);
    ASSERT_TRUE(result.ok);
    const auto header = testing::ReadBmpHeader(result.bytes);
    EXPECT_EQ(header.width, cx);
    EXPECT_EQ(header.height, cy);
  }
  EXPECT_EQ(ImageUtil::kMaxStretchPixels, 100000000u);
}

// The parameter block each encoder is handed, recorded at the platform's edge (Wine's encoders
// ignore quality and depth, so the block is what can be checked on both builds).
std::vector<platform::EncoderParameterBlock> BlocksOf(const std::string& source, mvImageType type,
                                                      std::vector<std::uint32_t> params = {}) {
  platform::EncoderParameterRecorderForTesting recorder;
  ReportRecorderForTesting quiet;
  ImageUtil images;
  EXPECT_TRUE(Convert(images, Fixture(source), type, std::move(params)).ok) << source;
  return recorder.Blocks();
}

bool SameGuid(const ImageEncoderClsid& a, const ImageEncoderClsid& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

void ExpectOneEntry(const std::vector<platform::EncoderParameterBlock>& blocks, const ImageEncoderClsid& guid,
                    std::uint32_t value) {
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].count, 1u);
  EXPECT_TRUE(SameGuid(blocks[0].guid, guid));
  EXPECT_EQ(blocks[0].numberOfValues, 1u);
  EXPECT_EQ(blocks[0].type, 4u);  // 32-bit unsigned
  EXPECT_EQ(blocks[0].value, value);
}

TEST(ImageEncoderParameters, JpegQualityIs100WithoutParametersOrWithAZero) {
  ExpectOneEntry(BlocksOf("rgb24.png", IT_JPEG), platform::kEncoderQuality, 100);
  ExpectOneEntry(BlocksOf("rgb24.png", IT_JPEG, {0}), platform::kEncoderQuality, 100);
}

TEST(ImageEncoderParameters, JpegQualityIsTheFirstParameter) {
  ExpectOneEntry(BlocksOf("rgb24.png", IT_JPEG, {40, 7}), platform::kEncoderQuality, 40);
}

TEST(ImageEncoderParameters, TiffDepthFollowsTheDecodedSource) {
  ExpectOneEntry(BlocksOf("indexed8.png", IT_TIFF), platform::kEncoderColorDepth, 8);
  ExpectOneEntry(BlocksOf("argb32.png", IT_TIFF), platform::kEncoderColorDepth, 32);
#ifdef _WIN32
  // Wine's decoders hand 16 bits per channel over as 32-bit ARGB, so there the 48-bit sources
  // are 32-bit ones (the rule for a real 48-bit format is checked in OutputEncoder's tests).
  ExpectOneEntry(BlocksOf("rgb48.tif", IT_TIFF), platform::kEncoderColorDepth, 32);
  ExpectOneEntry(BlocksOf("rgb48.png", IT_TIFF), platform::kEncoderColorDepth, 32);
#else
  ExpectOneEntry(BlocksOf("rgb48.tif", IT_TIFF), platform::kEncoderColorDepth, 24);
  ExpectOneEntry(BlocksOf("rgb48.png", IT_TIFF), platform::kEncoderColorDepth, 24);
#endif
  ExpectOneEntry(BlocksOf("rgb24.bmp", IT_TIFF), platform::kEncoderColorDepth, 24);
}

TEST(ImageEncoderParameters, PngGifAndBmpGetNoBlock) {
  for (const auto type : {IT_PNG, IT_GIF, IT_BMP, IT_DEFAULT}) {
    const auto blocks = BlocksOf("rgb24.png", type);
    ASSERT_EQ(blocks.size(), 1u) << type;
    EXPECT_EQ(blocks[0].count, 0u) << type;
  }
}

TEST(ImageConstruction, ACoInitializeFailureIsLoggedAndEveryConversionRefuses) {
  ReportRecorderForTesting recorder;
  ImageFaultForTesting fault(ImageFault::kComStart);
  ImageUtil images;
  EXPECT_EQ(Lines(recorder), std::vector<std::wstring>{Line(L"ImageUtil", 2, L"CoInitialize FAILED!")});
  recorder.Clear();
  EXPECT_FALSE(Convert(images, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_FALSE(Stretch(images, Fixture("rgb24.png"), 4, 4).ok);
  EXPECT_EQ(Lines(recorder),
            (std::vector<std::wstring>{Line(kFormat, 4, L"***Setting Image Format***"),
                                       Line(kFormat, 2, L"CoInitialize FAILED!"),
                                       Line(kDimensions, 4, L"***Setting Image Dimensions***"),
                                       Line(kDimensions, 2, L"CoInitialize FAILED!")}));
}

TEST(ImageConstruction, AssignmentCopiesTheState) {
  ReportRecorderForTesting recorder;
  ImageUtil* broken = nullptr;
  {
    ImageFaultForTesting fault(ImageFault::kComStart);
    broken = new ImageUtil();
  }
  ImageUtil healthy;
  healthy = *broken;  // member-wise: the copy refuses as the original does
  recorder.Clear();
  EXPECT_FALSE(Convert(healthy, Fixture("rgb24.png"), IT_PNG).ok);
  EXPECT_EQ(recorder.Messages(2), std::vector<std::wstring>{L"CoInitialize FAILED!"});
  delete broken;
}

TEST_F(ImageMessages, ClipboardRefusesAnEmptyOrHeaderlessSource) {
  unsigned char bytes[13] = {'B', 'M'};
  EXPECT_FALSE(images.CopyToClipBoard(bytes, 0));
  EXPECT_FALSE(images.CopyToClipBoard(nullptr, 100));
  EXPECT_FALSE(images.CopyToClipBoard(bytes, 13));
  EXPECT_EQ(Lines(recorder), (std::vector<std::wstring>{
                                 Line(kClipboard, 4, L"***Copying Image to Clipboard***"),
                                 Line(kClipboard, 2, L"Source buffer is NULL or empty!"),
                                 Line(kClipboard, 4, L"***Copying Image to Clipboard***"),
                                 Line(kClipboard, 2, L"Source buffer is NULL or empty!"),
                                 Line(kClipboard, 4, L"***Copying Image to Clipboard***"),
                                 Line(kClipboard, 2, L"Source buffer is shorter than a BMP file header!")}));
}

#ifndef _WIN32
TEST_F(ImageMessages, LinuxHasNoClipboardAndSaysSo) {
  auto bmp = Fixture("tiny2x2.bmp");
  EXPECT_FALSE(images.CopyToClipBoard(bmp.data(), static_cast<unsigned long>(bmp.size())));
  const auto lines = Lines(recorder);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], Line(kClipboard, 4, L"***Copying Image to Clipboard***"));
  EXPECT_EQ(lines[1], Line(kClipboard, 2,
                           L"No system clipboard to copy to: a headless Linux process has no system "
                           L"clipboard to reach"));
}
#endif

}  // namespace
}  // namespace Tavro_KVO_Util
