// The Linux image back end driven directly: libvips decoding in memory, the savers standing in for
// GDI+'s encoders, the BMP writer, the stretch, the size limits and the test seams. The inputs are
// made here with libvips itself.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <vips/vips.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ImageUtil.h"
#include "platform/clipboard.h"
#include "platform/com_apartment.h"
#include "platform/image_codecs.h"
#include "platform/image_faults.h"
#include "platform/image_workspace.h"
#include "platform/image_workspace_fixture.h"
#include "platform/posix/vips_support.h"

namespace Tavro_KVO_Util::platform {
namespace {

using Bytes = std::vector<unsigned char>;
using OpenStatus = ImageWorkspace::OpenStatus;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

std::uint16_t Le16At(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes.at(offset) | (bytes.at(offset + 1) << 8));
}

bool StartsWith(const Bytes& bytes, const Bytes& prefix) {
  return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

// ---------------------------------------------------------------------------------------------
// Inputs, made with libvips

// An image of `bands` bands from its samples, row by row; tagged as libvips's loaders tag images
// of that layout.
template <typename Sample>
VipsImagePtr FromSamples(int width, int height, int bands, const std::vector<Sample>& samples) {
  const VipsBandFormat format = sizeof(Sample) == 1 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT;
  VipsImage* image = vips_image_new_from_memory_copy(samples.data(), samples.size() * sizeof(Sample), width,
                                                     height, bands, format);
  EXPECT_NE(image, nullptr) << vips_error_buffer();
  VipsImagePtr owned(image);
  VipsInterpretation interpretation;
  if (sizeof(Sample) == 1) {
    interpretation = bands <= 2 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
  } else {
    interpretation = bands <= 2 ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16;
  }
  VipsImage* tagged = nullptr;
  EXPECT_EQ(vips_copy(owned.get(), &tagged, "interpretation", interpretation, nullptr), 0);
  return VipsImagePtr(tagged);
}

// Every pixel `colour`.
template <typename Sample = unsigned char>
VipsImagePtr Solid(int width, int height, std::vector<Sample> colour) {
  std::vector<Sample> samples;
  samples.reserve(static_cast<std::size_t>(width) * height * colour.size());
  for (int i = 0; i < width * height; ++i) samples.insert(samples.end(), colour.begin(), colour.end());
  return FromSamples(width, height, static_cast<int>(colour.size()), samples);
}

// Four differently coloured quadrants, so that a lost band or a flipped image shows.
VipsImagePtr Quadrants(int width, int height, int bands) {
  static const unsigned char kColours[4][4] = {
      {220, 40, 40, 255}, {40, 200, 60, 200}, {40, 60, 220, 255}, {230, 210, 50, 128}};
  std::vector<unsigned char> samples;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int quadrant = (x * 2 / width) + 2 * (y * 2 / height);
      for (int band = 0; band < bands; ++band) {
        // 1 band: the quadrant's red; 2 bands: red and alpha.
        samples.push_back(kColours[quadrant][bands == 2 && band == 1 ? 3 : band]);
      }
    }
  }
  return FromSamples(width, height, bands, samples);
}

// Noise, which JPEG cannot compress well: the quality shows in the size.
VipsImagePtr Noise(int width, int height) {
  std::mt19937 random(20240611);
  std::vector<unsigned char> samples(static_cast<std::size_t>(width) * height * 3);
  for (unsigned char& sample : samples) sample = static_cast<unsigned char>(random());
  return FromSamples(width, height, 3, samples);
}

Bytes Take(int status, void* buffer, std::size_t length) {
  EXPECT_EQ(status, 0) << vips_error_buffer();
  Bytes bytes;
  if (status == 0)
    bytes.assign(static_cast<unsigned char*>(buffer), static_cast<unsigned char*>(buffer) + length);
  g_free(buffer);
  return bytes;
}

Bytes Png(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_pngsave_buffer(image, &buffer, &length, nullptr);
  return Take(status, buffer, length);
}

Bytes PalettePng(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_pngsave_buffer(image, &buffer, &length, "palette", TRUE, nullptr);
  return Take(status, buffer, length);
}

Bytes Jpeg(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_jpegsave_buffer(image, &buffer, &length, "Q", 90, nullptr);
  return Take(status, buffer, length);
}

Bytes Gif(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_gifsave_buffer(image, &buffer, &length, nullptr);
  return Take(status, buffer, length);
}

Bytes Tiff(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_tiffsave_buffer(image, &buffer, &length, nullptr);
  return Take(status, buffer, length);
}

Bytes Bmp(VipsImage* image) {
  void* buffer = nullptr;
  std::size_t length = 0;
  const int status = vips_magicksave_buffer(image, &buffer, &length, "format", "BMP3", nullptr);
  return Take(status, buffer, length);
}

// The image in `bytes`, decoded into memory of its own (null when it does not decode).
VipsImagePtr Decode(const Bytes& bytes) {
  VipsImage* lazy = vips_image_new_from_buffer(bytes.data(), bytes.size(), "", nullptr);
  if (lazy == nullptr) {
    vips_error_clear();
    return nullptr;
  }
  VipsImagePtr owned(lazy);
  VipsImage* decoded = vips_image_copy_memory(owned.get());
  if (decoded == nullptr) vips_error_clear();
  return VipsImagePtr(decoded);
}

std::vector<double> PixelAt(VipsImage* image, int x, int y) {
  double* values = nullptr;
  int count = 0;
  EXPECT_EQ(vips_getpoint(image, &values, &count, x, y, nullptr), 0) << vips_error_buffer();
  std::vector<double> pixel(values, values + count);
  g_free(values);
  return pixel;
}

std::uint32_t Crc32(const unsigned char* bytes, std::size_t length) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < length; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

void PutBe32(Bytes& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<unsigned char>(value >> shift));
}

// A PNG whose header claims `width` x `height` 8-bit RGB pixels (with valid checksums) but that
// carries only a tiny image's data: nothing but the header can be believed.
Bytes ForgedPng(std::uint32_t width, std::uint32_t height) {
  const Bytes real = Png(Solid(1, 1, std::vector<unsigned char>{1, 2, 3}).get());
  Bytes forged(real.begin(), real.begin() + 8);  // the signature
  Bytes chunk = {'I', 'H', 'D', 'R'};
  PutBe32(chunk, width);
  PutBe32(chunk, height);
  chunk.insert(chunk.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter, no interlace
  PutBe32(forged, 13);
  forged.insert(forged.end(), chunk.begin(), chunk.end());
  PutBe32(forged, Crc32(chunk.data(), chunk.size()));
  // The real image's chunks after its IHDR (8 + 4 + 4 + 13 + 4 bytes).
  forged.insert(forged.end(), real.begin() + 33, real.end());
  return forged;
}

long PeakResidentKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// ---------------------------------------------------------------------------------------------

bool SameGuid(const ImageEncoderClsid& a, const ImageEncoderClsid& b) {
  return std::memcmp(&a, &b, sizeof(ImageEncoderClsid)) == 0;
}

class ImageWorkspacePosix : public ImageWorkspaceTest {
 protected:
  // `source` saved with the encoder of `mimeType` (and `parameter`); empty when the save fails.
  Bytes Converted(const Bytes& source, const wchar_t* mimeType, const EncoderParameter* parameter = nullptr) {
    ImageWorkspace workspace;
    OpenAndLoad(workspace, source);
    if (!workspace.SaveSource(Encoder(mimeType), parameter)) return {};
    return ReadAllDestination(workspace);
  }

  // `source` stretched to `cx` x `cy` and saved with the encoder of `mimeType`.
  Bytes Stretched(const Bytes& source, std::int32_t cx, std::int32_t cy,
                  const wchar_t* mimeType = L"image/bmp") {
    ImageWorkspace workspace;
    OpenAndLoad(workspace, source);
    workspace.StretchSource(cx, cy);
    workspace.SaveStretched(Encoder(mimeType));
    return ReadAllDestination(workspace);
  }
};

// ---------------------------------------------------------------------------------------------
// The services around the workspace

TEST(ComApartmentPosix, ComIsNotNeededAndEndingItDoesNothing) {
  EXPECT_EQ(StartComApartment(), ComStart::kNotNeeded);
  EndComApartment();
  EXPECT_EQ(StartComApartment(), ComStart::kNotNeeded);
}

TEST(ComApartmentPosix, TheTestSeamMakesTheStartFail) {
  {
    ImageFaultForTesting fault(ImageFault::kComStart);
    EXPECT_EQ(StartComApartment(), ComStart::kFailed);
  }
  EXPECT_EQ(StartComApartment(), ComStart::kNotNeeded);
}

TEST(ClipboardPosix, EveryPlacementReportsThatThereIsNoClipboardAndWhy) {
  const Bytes dib(40, 0);
  std::wstring reason;
  EXPECT_EQ(PlaceDibOnClipboard(dib.data(), dib.size(), reason), ClipboardPlacement::kNoClipboard);
  EXPECT_EQ(reason, L"a headless Linux process has no system clipboard to reach");
}

TEST_F(ImageWorkspacePosix, ImagingStartsAgainWithATokenAndStoppingChangesNothing) {
  const std::uintptr_t second = StartImaging();
  EXPECT_NE(second, 0u);
  StopImaging(second);
  StopImaging(0);
  std::vector<ImageEncoder> encoders;
  EXPECT_EQ(ListImageEncoders(encoders), EncoderListStatus::kListed);
}

TEST_F(ImageWorkspacePosix, EncodersAreGdiplusFiveInItsOrderWithItsClassIdentifiers) {
  const struct {
    const wchar_t* mimeType;
    std::uint32_t data1;
  } expected[] = {{L"image/bmp", 0x557cf400},
                  {L"image/jpeg", 0x557cf401},
                  {L"image/gif", 0x557cf402},
                  {L"image/tiff", 0x557cf405},
                  {L"image/png", 0x557cf406}};
  ASSERT_EQ(mEncoders.size(), 5u);
  for (std::size_t i = 0; i < mEncoders.size(); ++i) {
    SCOPED_TRACE(i);
    const ImageEncoderClsid clsid = {
        expected[i].data1, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    EXPECT_EQ(mEncoders[i].mimeType, expected[i].mimeType);
    EXPECT_TRUE(SameGuid(mEncoders[i].clsid, clsid));
  }
}

TEST_F(ImageWorkspacePosix, ListingAgainReplacesTheList) {
  std::vector<ImageEncoder> encoders(3);
  ASSERT_EQ(ListImageEncoders(encoders), EncoderListStatus::kListed);
  EXPECT_EQ(encoders.size(), 5u);
}

// ---------------------------------------------------------------------------------------------
// The steps and their seams

TEST_F(ImageWorkspacePosix, EachOpenFaultFailsItsStep) {
  const struct {
    ImageFault fault;
    OpenStatus status;
  } cases[] = {{ImageFault::kTempPath, OpenStatus::kNoTempPath},
               {ImageFault::kStorage, OpenStatus::kNoStorage},
               {ImageFault::kSourceStream, OpenStatus::kNoSourceStream},
               {ImageFault::kDestinationStream, OpenStatus::kNoDestinationStream}};
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.fault));
    ImageFaultForTesting fault(c.fault);
    ImageWorkspace workspace;
    EXPECT_EQ(workspace.Open(), c.status);
  }
  ImageWorkspace workspace;
  EXPECT_EQ(workspace.Open(), OpenStatus::kOpen);
}

TEST_F(ImageWorkspacePosix, AWorkspaceThatIsNotOpenTakesNoSourceAndDoesNotRewind) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  ImageWorkspace workspace;
  EXPECT_FALSE(workspace.WriteSource(png.data(), static_cast<unsigned long>(png.size())));
  workspace.LoadSource();
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::kUndefined);
  EXPECT_FALSE(workspace.RewindDestination());
  EXPECT_EQ(workspace.DestinationSize(), 0u);
}

TEST_F(ImageWorkspacePosix, TheDestinationIsReadLikeAStreamLeftAtItsEnd) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  ImageWorkspace workspace;
  OpenAndLoad(workspace, png);
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/bmp"), nullptr));
  const std::size_t size = static_cast<std::size_t>(workspace.DestinationSize());
  ASSERT_GT(size, 54u);

  Bytes out(size + 10, 0xEE);
  workspace.ReadDestination(out.data(), 4);  // the save left the position at the end
  EXPECT_EQ(out[0], 0xEE);

  ASSERT_TRUE(workspace.RewindDestination());
  workspace.ReadDestination(out.data(), 2);
  workspace.ReadDestination(out.data() + 2, static_cast<unsigned long>(out.size() - 2));  // more than is left
  EXPECT_EQ(out[0], 'B');
  EXPECT_EQ(out[1], 'M');
  EXPECT_EQ(Le32At(out, 2), size);  // the whole file, in two reads
  EXPECT_EQ(out[size], 0xEE);       // and nothing after it
  EXPECT_EQ(out[size + 9], 0xEE);
}

TEST_F(ImageWorkspacePosix, LeavingTheStorageUnreleasedChangesNothingHere) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  ImageWorkspace workspace;
  OpenAndLoad(workspace, png);
  ASSERT_TRUE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
  workspace.LeaveStorageUnreleased();
  EXPECT_GT(ReadAllDestination(workspace).size(), 8u);
}

// ---------------------------------------------------------------------------------------------
// Decoding and what it is named

TEST_F(ImageWorkspacePosix, PixelFormatNamesWhatLibvipsDecoded) {
  const struct {
    const char* what;
    Bytes file;
    std::uint32_t format;
  } cases[] = {
      {"grey PNG", Png(Quadrants(kWidth, kHeight, 1).get()), pixel_format::k8bppIndexed},
      {"grey and alpha PNG", Png(Quadrants(kWidth, kHeight, 2).get()), pixel_format::k32bppARGB},
      {"RGB PNG", Png(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k24bppRGB},
      {"RGBA PNG", Png(Quadrants(kWidth, kHeight, 4).get()), pixel_format::k32bppARGB},
      {"16-bit grey PNG", Png(Solid<std::uint16_t>(kWidth, kHeight, {40000}).get()),
       pixel_format::k16bppGrayScale},
      {"48-bit PNG", Png(Solid<std::uint16_t>(kWidth, kHeight, {1000, 30000, 65535}).get()),
       pixel_format::k48bppRGB},
      {"64-bit PNG", Png(Solid<std::uint16_t>(kWidth, kHeight, {1000, 30000, 65535, 32768}).get()),
       pixel_format::k64bppARGB},
      {"palette PNG", PalettePng(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k8bppIndexed},
      {"GIF", Gif(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k8bppIndexed},
      {"JPEG", Jpeg(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k24bppRGB},
      {"grey JPEG", Jpeg(Quadrants(kWidth, kHeight, 1).get()), pixel_format::k8bppIndexed},
      {"TIFF", Tiff(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k24bppRGB},
      {"BMP", Bmp(Quadrants(kWidth, kHeight, 3).get()), pixel_format::k24bppRGB},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_FALSE(c.file.empty());
    ImageWorkspace workspace;
    OpenAndLoad(workspace, c.file);
    EXPECT_EQ(workspace.SourcePixelFormat(), c.format);
  }
}

TEST_F(ImageWorkspacePosix, BytesThatDoNotDecodeFailTheSaveWithoutABlock) {
  EncoderParameterRecorderForTesting recorder;
  const Bytes junk(64, 0x5a);
  ImageWorkspace workspace;
  OpenAndLoad(workspace, junk);
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::kUndefined);
  EXPECT_FALSE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
  EXPECT_EQ(workspace.DestinationSize(), 0u);
  EXPECT_TRUE(recorder.Blocks().empty());
}

TEST_F(ImageWorkspacePosix, TruncatedFilesDoNotDecode) {
  const VipsImagePtr noise = Noise(256, 256);
  const std::pair<const char*, Bytes> files[] = {{"PNG", Png(noise.get())}, {"JPEG", Jpeg(noise.get())}};
  for (const auto& [what, whole] : files) {
    SCOPED_TRACE(what);
    ASSERT_FALSE(Converted(whole, L"image/png").empty());  // whole, it does
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2));
    ImageWorkspace workspace;
    OpenAndLoad(workspace, cut);
    // The header is whole, so the pixel format is known; the pixels are not, so the save fails.
    EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::k24bppRGB);
    EXPECT_FALSE(workspace.SaveSource(Encoder(L"image/png"), nullptr));
    EXPECT_EQ(workspace.DestinationSize(), 0u);
  }
}

// With two or more workers, libvips 8.14 could abort the process when one worker's tile failed
// while another was being given its next one; one worker per pipeline leaves no second worker.
TEST_F(ImageWorkspacePosix, EveryPipelineHasOneWorkerSoAFailingTileCannotAbortTheProcess) {
  ASSERT_TRUE(VipsStarted());
  EXPECT_EQ(vips_concurrency_get(), 1);

  // Many tiles, most of them past the cut: the conversions on four threads all fail cleanly.
  const Bytes whole = Png(Noise(1024, 1024).get());
  const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 4));
  constexpr int kThreads = 4;
  constexpr int kConversionsEach = 10;
  const ImageEncoderClsid png = Encoder(L"image/png");
  std::vector<int> failedSaves(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kConversionsEach; ++i) {
        ImageWorkspace workspace;
        if (workspace.Open() != OpenStatus::kOpen) continue;
        if (!workspace.WriteSource(cut.data(), static_cast<unsigned long>(cut.size()))) continue;
        workspace.LoadSource();
        if (!workspace.SaveSource(png, nullptr) && workspace.DestinationSize() == 0) ++failedSaves[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failedSaves, std::vector<int>(kThreads, kConversionsEach));
}

TEST_F(ImageWorkspacePosix, AForgedGigapixelHeaderIsRefusedBeforeAnyPixelIsAllocated) {
  const Bytes forged = ForgedPng(60000, 60000);
  // libvips reads the header as it is: the refusal is the workspace's.
  VipsImage* header = vips_image_new_from_buffer(forged.data(), forged.size(), "", nullptr);
  ASSERT_NE(header, nullptr) << vips_error_buffer();
  EXPECT_EQ(vips_image_get_width(header), 60000);
  g_object_unref(header);

  const long peakBefore = PeakResidentKilobytes();
  const auto start = std::chrono::steady_clock::now();
  ImageWorkspace workspace;
  OpenAndLoad(workspace, forged);
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::kUndefined);
  EXPECT_FALSE(workspace.SaveSource(Encoder(L"image/bmp"), nullptr));
  workspace.StretchSource(32, 32);
  workspace.SaveStretched(Encoder(L"image/bmp"));
  EXPECT_EQ(workspace.DestinationSize(), 0u);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_LT(PeakResidentKilobytes() - peakBefore, 32 * 1024);  // the image would take 10 GB
}

TEST_F(ImageWorkspacePosix, OnePixelOverTheLimitIsRefused) {
  // 10000 x 10001 is 10000 pixels more than ImageUtil::kMaxLinuxPixels.
  static_assert(ImageUtil::kMaxLinuxPixels == 10000ull * 10000ull);
  ImageWorkspace workspace;
  const Bytes forged = ForgedPng(10000, 10001);
  OpenAndLoad(workspace, forged);
  EXPECT_EQ(workspace.SourcePixelFormat(), pixel_format::kUndefined);
}

// ---------------------------------------------------------------------------------------------
// Saving

TEST_F(ImageWorkspacePosix, EachEncoderWritesItsFormatAtTheSourceSize) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  const struct {
    const wchar_t* mimeType;
    std::vector<Bytes> signatures;
  } cases[] = {{L"image/bmp", {{'B', 'M'}}},
               {L"image/jpeg", {{0xFF, 0xD8, 0xFF}}},
               {L"image/gif", {{'G', 'I', 'F', '8'}}},
               {L"image/tiff", {{'I', 'I', 42, 0}, {'M', 'M', 0, 42}}},
               {L"image/png", {{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::wstring(c.mimeType)));
    const Bytes out = Converted(png, c.mimeType);
    bool signed_ = false;
    for (const auto& signature : c.signatures) signed_ = signed_ || StartsWith(out, signature);
    EXPECT_TRUE(signed_);
    const VipsImagePtr decoded = Decode(out);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(vips_image_get_width(decoded.get()), kWidth);
    EXPECT_EQ(vips_image_get_height(decoded.get()), kHeight);
  }
}

TEST_F(ImageWorkspacePosix, BmpHasTheInformationHeaderAndBottomUpRowsInBlueGreenRedOrder) {
  // 3 x 2 pixels: rows of 9 bytes, padded to 12.
  const std::vector<unsigned char> samples = {10, 20, 30, 40, 50, 60, 70, 80, 90,
                                              11, 21, 31, 41, 51, 61, 71, 81, 91};
  const Bytes png = Png(FromSamples(3, 2, 3, samples).get());
  const Bytes bmp = Converted(png, L"image/bmp");
  ASSERT_EQ(bmp.size(), 54u + 2 * 12);
  EXPECT_EQ(Le32At(bmp, 2), bmp.size());
  EXPECT_EQ(Le32At(bmp, 10), 54u);  // the pixels' offset
  EXPECT_EQ(Le32At(bmp, 14), 40u);  // BITMAPINFOHEADER
  EXPECT_EQ(Le32At(bmp, 18), 3u);
  EXPECT_EQ(Le32At(bmp, 22), 2u);   // positive: bottom-up
  EXPECT_EQ(Le16At(bmp, 26), 1u);   // planes
  EXPECT_EQ(Le16At(bmp, 28), 24u);  // bits per pixel
  EXPECT_EQ(Le32At(bmp, 30), 0u);   // BI_RGB
  EXPECT_EQ(Le32At(bmp, 34), 24u);  // the pixels' size
  const Bytes rows(bmp.begin() + 54, bmp.end());
  const Bytes expected = {31, 21, 11, 61, 51, 41, 91, 81, 71, 0, 0, 0,  // the bottom row first
                          30, 20, 10, 60, 50, 40, 90, 80, 70, 0, 0, 0};
  EXPECT_EQ(rows, expected);
}

TEST_F(ImageWorkspacePosix, BmpOfRgbaHas32BitsWithAlphaLast) {
  const Bytes png = Png(FromSamples(1, 1, 4, std::vector<unsigned char>{10, 20, 30, 128}).get());
  const Bytes bmp = Converted(png, L"image/bmp");
  ASSERT_EQ(bmp.size(), 54u + 4);
  EXPECT_EQ(Le32At(bmp, 14), 40u);
  EXPECT_EQ(Le16At(bmp, 28), 32u);
  EXPECT_EQ(Le32At(bmp, 30), 0u);  // BI_RGB, as GDI+ writes 32-bit ARGB
  EXPECT_EQ(Bytes(bmp.begin() + 54, bmp.end()), (Bytes{30, 20, 10, 128}));
}

TEST_F(ImageWorkspacePosix, BmpOfGreyHas8BitsAndAGreyPalette) {
  const Bytes png = Png(FromSamples(2, 1, 1, std::vector<unsigned char>{7, 200}).get());
  const Bytes bmp = Converted(png, L"image/bmp");
  ASSERT_EQ(bmp.size(), 54u + 1024 + 4);
  EXPECT_EQ(Le32At(bmp, 10), 54u + 1024);
  EXPECT_EQ(Le16At(bmp, 28), 8u);
  EXPECT_EQ(Le32At(bmp, 46), 256u);  // colours used
  EXPECT_EQ(Bytes(bmp.begin() + 54 + 4 * 200, bmp.begin() + 54 + 4 * 201), (Bytes{200, 200, 200, 0}));
  EXPECT_EQ(Bytes(bmp.begin() + 54 + 1024, bmp.end()), (Bytes{7, 200, 0, 0}));
}

TEST_F(ImageWorkspacePosix, BmpOfSixteenBitSamplesKeepsTheirHighByte) {
  const Bytes png = Png(Solid<std::uint16_t>(1, 1, {0x1234, 0xABCD, 0xFF00}).get());
  const Bytes bmp = Converted(png, L"image/bmp");
  ASSERT_EQ(bmp.size(), 54u + 4);
  EXPECT_EQ(Le16At(bmp, 28), 24u);
  EXPECT_EQ(Bytes(bmp.begin() + 54, bmp.begin() + 57), (Bytes{0xFF, 0xAB, 0x12}));
}

TEST_F(ImageWorkspacePosix, JpegQualityGoesToLibvipsAsItIs) {
  const Bytes png = Png(Noise(128, 128).get());
  const EncoderParameter low{kEncoderQuality, 40};
  const EncoderParameter high{kEncoderQuality, 100};
  const Bytes atLow = Converted(png, L"image/jpeg", &low);
  const Bytes atHigh = Converted(png, L"image/jpeg", &high);
  ASSERT_FALSE(atLow.empty());
  ASSERT_FALSE(atHigh.empty());
  EXPECT_LT(atLow.size() * 2, atHigh.size());

  for (const std::uint32_t refused : {0u, 101u, 0x80000000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(refused);
    const EncoderParameter quality{kEncoderQuality, refused};
    ImageWorkspace workspace;
    OpenAndLoad(workspace, png);
    EXPECT_FALSE(workspace.SaveSource(Encoder(L"image/jpeg"), &quality));
    EXPECT_EQ(workspace.DestinationSize(), 0u);
  }
}

TEST_F(ImageWorkspacePosix, JpegDropsTheAlphaAndKeepsTheColourAsStored) {
  const Bytes png = Png(Solid<std::uint16_t>(16, 16, {200 * 257, 100 * 257, 50 * 257, 0}).get());
  const VipsImagePtr jpeg = Decode(Converted(png, L"image/jpeg"));
  ASSERT_NE(jpeg, nullptr);
  EXPECT_EQ(vips_image_get_bands(jpeg.get()), 3);
  EXPECT_EQ(vips_image_get_format(jpeg.get()), VIPS_FORMAT_UCHAR);
  const std::vector<double> pixel = PixelAt(jpeg.get(), 8, 8);
  ASSERT_EQ(pixel.size(), 3u);
  EXPECT_NEAR(pixel[0], 200, 3);
  EXPECT_NEAR(pixel[1], 100, 3);
  EXPECT_NEAR(pixel[2], 50, 3);
}

TEST_F(ImageWorkspacePosix, TiffDepthDecidesBetweenRgbAndRgba) {
  const struct {
    const char* what;
    Bytes source;
    std::uint32_t depth;
    int bands;
  } cases[] = {
      {"RGBA at 32", Png(Quadrants(kWidth, kHeight, 4).get()), 32, 4},
      {"RGB at 32", Png(Quadrants(kWidth, kHeight, 3).get()), 32, 4},
      {"RGB at 24", Png(Quadrants(kWidth, kHeight, 3).get()), 24, 3},
      {"RGBA at 24", Png(Quadrants(kWidth, kHeight, 4).get()), 24, 3},
      {"grey at 8", Png(Quadrants(kWidth, kHeight, 1).get()), 8, 3},
      {"16-bit grey at 16", Png(Solid<std::uint16_t>(kWidth, kHeight, {40000}).get()), 16, 3},
      {"64-bit at 24", Png(Solid<std::uint16_t>(kWidth, kHeight, {1, 2, 3, 4}).get()), 24, 3},
      {"palette at 1", PalettePng(Quadrants(kWidth, kHeight, 3).get()), 1, 3},
      {"RGB at 4", Png(Quadrants(kWidth, kHeight, 3).get()), 4, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const EncoderParameter depth{kEncoderColorDepth, c.depth};
    const VipsImagePtr tiff = Decode(Converted(c.source, L"image/tiff", &depth));
    ASSERT_NE(tiff, nullptr);
    EXPECT_EQ(vips_image_get_bands(tiff.get()), c.bands);
    EXPECT_EQ(vips_image_get_format(tiff.get()), VIPS_FORMAT_UCHAR);
    EXPECT_EQ(vips_image_get_width(tiff.get()), kWidth);
  }
}

TEST_F(ImageWorkspacePosix, PngKeepsAPaletteAndSixteenBits) {
  const VipsImagePtr fromPalette =
      Decode(Converted(PalettePng(Quadrants(kWidth, kHeight, 3).get()), L"image/png"));
  ASSERT_NE(fromPalette, nullptr);
  EXPECT_NE(vips_image_get_typeof(fromPalette.get(), "palette-bit-depth"), 0u);
  EXPECT_EQ(PixelAt(fromPalette.get(), 0, 0), (std::vector<double>{220, 40, 40}));

  const VipsImagePtr fromGif = Decode(Converted(Gif(Quadrants(kWidth, kHeight, 3).get()), L"image/png"));
  ASSERT_NE(fromGif, nullptr);
  EXPECT_NE(vips_image_get_typeof(fromGif.get(), "palette-bit-depth"), 0u);

  const VipsImagePtr deep =
      Decode(Converted(Png(Solid<std::uint16_t>(4, 4, {1000, 30000, 65535}).get()), L"image/png"));
  ASSERT_NE(deep, nullptr);
  EXPECT_EQ(vips_image_get_format(deep.get()), VIPS_FORMAT_USHORT);
  EXPECT_EQ(PixelAt(deep.get(), 1, 1), (std::vector<double>{1000, 30000, 65535}));

  const VipsImagePtr greyAlpha = Decode(Converted(Png(Quadrants(kWidth, kHeight, 2).get()), L"image/png"));
  ASSERT_NE(greyAlpha, nullptr);
  EXPECT_EQ(vips_image_get_bands(greyAlpha.get()), 2);
  EXPECT_EQ(vips_image_get_typeof(greyAlpha.get(), "palette-bit-depth"), 0u);
}

TEST_F(ImageWorkspacePosix, GifOfSixteenBitRgbaIsWritten) {
  const Bytes png = Png(Solid<std::uint16_t>(kWidth, kHeight, {1000, 30000, 65535, 65535}).get());
  const VipsImagePtr gif = Decode(Converted(png, L"image/gif"));
  ASSERT_NE(gif, nullptr);
  EXPECT_EQ(vips_image_get_width(gif.get()), kWidth);
  const std::vector<double> pixel = PixelAt(gif.get(), 3, 3);
  ASSERT_GE(pixel.size(), 3u);
  EXPECT_NEAR(pixel[1], 30000 / 257, 4);
}

TEST_F(ImageWorkspacePosix, AnUnknownEncoderFailsTheSaveAfterTheBlockIsHandedOver) {
  EncoderParameterRecorderForTesting recorder;
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  ImageWorkspace workspace;
  OpenAndLoad(workspace, png);
  const ImageEncoderClsid unknown = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  EXPECT_FALSE(workspace.SaveSource(unknown, nullptr));
  EXPECT_EQ(workspace.DestinationSize(), 0u);
  EXPECT_EQ(recorder.Blocks().size(), 1u);
}

TEST_F(ImageWorkspacePosix, SavesRecordTheParameterBlockTheyHandOver) {
  EncoderParameterRecorderForTesting recorder;
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  const EncoderParameter quality{kEncoderQuality, 40};
  const EncoderParameter depth{kEncoderColorDepth, 24};
  const EncoderParameter refused{kEncoderQuality, 101};
  // A workspace per save: each decoded source is read once, from top to bottom.
  auto save = [&](const wchar_t* mime, const EncoderParameter* parameter) {
    ImageWorkspace workspace;
    OpenAndLoad(workspace, png);
    return workspace.SaveSource(Encoder(mime), parameter);
  };
  ASSERT_TRUE(save(L"image/jpeg", &quality));
  ASSERT_TRUE(save(L"image/tiff", &depth));
  ASSERT_TRUE(save(L"image/png", nullptr));
  ASSERT_FALSE(save(L"image/jpeg", &refused));
  ImageWorkspace workspace;
  OpenAndLoad(workspace, png);
  workspace.StretchSource(8, 6);
  workspace.SaveStretched(Encoder(L"image/bmp"));

  const std::vector<EncoderParameterBlock> blocks = recorder.Blocks();
  ASSERT_EQ(blocks.size(), 5u);
  EXPECT_EQ(blocks[0].count, 1u);
  EXPECT_TRUE(SameGuid(blocks[0].guid, kEncoderQuality));
  EXPECT_EQ(blocks[0].numberOfValues, 1u);
  EXPECT_EQ(blocks[0].type, 4u);
  EXPECT_EQ(blocks[0].value, 40u);
  EXPECT_EQ(blocks[1].count, 1u);
  EXPECT_TRUE(SameGuid(blocks[1].guid, kEncoderColorDepth));
  EXPECT_EQ(blocks[1].numberOfValues, 1u);
  EXPECT_EQ(blocks[1].type, 4u);
  EXPECT_EQ(blocks[1].value, 24u);
  EXPECT_EQ(blocks[2].count, 0u);
  EXPECT_EQ(blocks[3].count, 1u);
  EXPECT_EQ(blocks[3].value, 101u);
  EXPECT_EQ(blocks[4].count, 0u);
}

// ---------------------------------------------------------------------------------------------
// Stretching

TEST_F(ImageWorkspacePosix, StretchGivesExactlyTheAskedForSizeInTheSourcesDepth) {
  const struct {
    int bands;
    int bitsPerPixel;
  } depths[] = {{3, 24}, {4, 32}, {1, 8}, {2, 32}};
  const struct {
    std::int32_t cx, cy;
  } sizes[] = {{32, 32}, {33, 17}, {1, 1}, {1, 97}, {641, 3}, {64, 48}, {127, 95}};
  for (const auto& depth : depths) {
    const Bytes png = Png(Quadrants(kWidth, kHeight, depth.bands).get());
    for (const auto& size : sizes) {
      SCOPED_TRACE(std::to_string(depth.bands) + " bands to " + std::to_string(size.cx) + "x" +
                   std::to_string(size.cy));
      const Bytes bmp = Stretched(png, size.cx, size.cy);
      ASSERT_GE(bmp.size(), 54u);
      EXPECT_EQ(bmp[0], 'B');
      EXPECT_EQ(bmp[1], 'M');
      EXPECT_EQ(Le32At(bmp, 14), 40u);
      EXPECT_EQ(Le32At(bmp, 18), static_cast<std::uint32_t>(size.cx));
      EXPECT_EQ(Le32At(bmp, 22), static_cast<std::uint32_t>(size.cy));
      EXPECT_EQ(Le16At(bmp, 28), depth.bitsPerPixel);
      const VipsImagePtr decoded = Decode(bmp);
      ASSERT_NE(decoded, nullptr);
      EXPECT_EQ(vips_image_get_width(decoded.get()), size.cx);
      EXPECT_EQ(vips_image_get_height(decoded.get()), size.cy);
    }
  }
}

TEST_F(ImageWorkspacePosix, StretchKeepsTheQuadrantsInPlace) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  const VipsImagePtr stretched = Decode(Stretched(png, 33, 17));
  ASSERT_NE(stretched, nullptr);
  const auto near = [](const std::vector<double>& pixel, std::vector<double> colour) {
    if (pixel.size() < colour.size()) return false;
    for (std::size_t i = 0; i < colour.size(); ++i) {
      if (pixel[i] < colour[i] - 2 || pixel[i] > colour[i] + 2) return false;
    }
    return true;
  };
  EXPECT_TRUE(near(PixelAt(stretched.get(), 2, 2), {220, 40, 40}));
  EXPECT_TRUE(near(PixelAt(stretched.get(), 30, 2), {40, 200, 60}));
  EXPECT_TRUE(near(PixelAt(stretched.get(), 2, 14), {40, 60, 220}));
  EXPECT_TRUE(near(PixelAt(stretched.get(), 30, 14), {230, 210, 50}));
}

TEST_F(ImageWorkspacePosix, StretchKeepsSixteenBitSamples) {
  const Bytes png = Png(Solid<std::uint16_t>(kWidth, kHeight, {1000, 30000, 65535}).get());
  const VipsImagePtr stretched = Decode(Stretched(png, 20, 10, L"image/png"));
  ASSERT_NE(stretched, nullptr);
  EXPECT_EQ(vips_image_get_format(stretched.get()), VIPS_FORMAT_USHORT);
  EXPECT_EQ(vips_image_get_bands(stretched.get()), 3);
  EXPECT_EQ(vips_image_get_width(stretched.get()), 20);
  EXPECT_EQ(PixelAt(stretched.get(), 10, 5), (std::vector<double>{1000, 30000, 65535}));
}

TEST_F(ImageWorkspacePosix, TransparentColourDoesNotBleedIntoAStretchedNeighbour) {
  // Left half transparent red, right half opaque blue.
  std::vector<unsigned char> samples;
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      const std::vector<unsigned char> pixel =
          x < 4 ? std::vector<unsigned char>{255, 0, 0, 0} : std::vector<unsigned char>{0, 0, 255, 255};
      samples.insert(samples.end(), pixel.begin(), pixel.end());
    }
  }
  const Bytes png = Png(FromSamples(8, 8, 4, samples).get());
  const VipsImagePtr stretched = Decode(Stretched(png, 13, 8, L"image/png"));
  ASSERT_NE(stretched, nullptr);
  ASSERT_EQ(vips_image_get_bands(stretched.get()), 4);
  for (int x = 0; x < 13; ++x) {
    const std::vector<double> pixel = PixelAt(stretched.get(), x, 4);
    if (pixel[3] >= 16) {
      EXPECT_LE(pixel[0], 8) << "x " << x << " alpha " << pixel[3];
    }
  }
}

TEST_F(ImageWorkspacePosix, StretchFailuresLeaveTheDestinationEmpty) {
  const Bytes png = Png(Quadrants(kWidth, kHeight, 3).get());
  const Bytes junk(64, 0x5a);
  const struct {
    const char* what;
    const Bytes& source;
    std::int32_t cx, cy;
  } cases[] = {{"nothing decoded", junk, 32, 32},
               {"zero width", png, 0, 32},
               {"negative height", png, 32, -1},
               {"over the pixel limit", png, 20000, 5001},
               {"overflowing 32 bits", png, 0x7FFFFFFF, 0x7FFFFFFF}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EncoderParameterRecorderForTesting recorder;
    ImageWorkspace workspace;
    OpenAndLoad(workspace, c.source);
    workspace.StretchSource(c.cx, c.cy);
    workspace.SaveStretched(Encoder(L"image/bmp"));
    EXPECT_EQ(workspace.DestinationSize(), 0u);
    ASSERT_EQ(recorder.Blocks().size(), 1u);
    EXPECT_EQ(recorder.Blocks()[0].count, 0u);
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util::platform
