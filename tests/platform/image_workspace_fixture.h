// What the tests of both image back ends share: a fixture that starts COM (where the system has
// it) and the imaging library as ImageUtil does, and a hand-written BMP to feed the workspace.
#ifndef TAVROMEDIVANEUTIL_TESTS_PLATFORM_IMAGE_WORKSPACE_FIXTURE_H
#define TAVROMEDIVANEUTIL_TESTS_PLATFORM_IMAGE_WORKSPACE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com_apartment.h"
#include "platform/image_codecs.h"
#include "platform/image_workspace.h"

namespace Tavro_KVO_Util::platform {

inline void PutLe16(std::vector<unsigned char>& out, std::uint16_t value) {
  out.push_back(static_cast<unsigned char>(value));
  out.push_back(static_cast<unsigned char>(value >> 8));
}

inline void PutLe32(std::vector<unsigned char>& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<unsigned char>(value >> shift));
}

inline std::uint32_t Le32At(const std::vector<unsigned char>& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | bytes.at(offset + static_cast<std::size_t>(i));
  return value;
}

// A 4x3 24-bit BMP: a 14-byte file header, a 40-byte information header, three bottom-up rows of
// 12 bytes (already a multiple of four, so no padding).
inline std::vector<unsigned char> Bmp4x3() {
  constexpr std::uint32_t kWidth = 4, kHeight = 3, kRowBytes = 12, kPixelOffset = 54;
  std::vector<unsigned char> bmp = {'B', 'M'};
  PutLe32(bmp, kPixelOffset + kRowBytes * kHeight);
  PutLe32(bmp, 0);  // reserved
  PutLe32(bmp, kPixelOffset);
  PutLe32(bmp, 40);  // information header size
  PutLe32(bmp, kWidth);
  PutLe32(bmp, kHeight);
  PutLe16(bmp, 1);   // planes
  PutLe16(bmp, 24);  // bits per pixel
  PutLe32(bmp, 0);   // BI_RGB
  PutLe32(bmp, kRowBytes * kHeight);
  PutLe32(bmp, 2835);  // 72 dpi, in pixels per metre
  PutLe32(bmp, 2835);
  PutLe32(bmp, 0);  // colours used
  PutLe32(bmp, 0);  // important colours
  for (std::uint32_t y = 0; y < kHeight; ++y) {
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      bmp.push_back(static_cast<unsigned char>(40 * x));   // blue
      bmp.push_back(static_cast<unsigned char>(80 * y));   // green
      bmp.push_back(static_cast<unsigned char>(200 - x));  // red
    }
  }
  return bmp;
}

// The whole destination, read from its start.
inline std::vector<unsigned char> ReadAllDestination(ImageWorkspace& workspace) {
  std::vector<unsigned char> out(static_cast<std::size_t>(workspace.DestinationSize()));
  if (!workspace.RewindDestination()) return {};
  workspace.ReadDestination(out.data(), static_cast<unsigned long>(out.size()));
  return out;
}

class ImageWorkspaceTest : public ::testing::Test {
 protected:
  using OpenStatus = ImageWorkspace::OpenStatus;

  void SetUp() override {
    const ComStart com = StartComApartment();
    ASSERT_TRUE(com == ComStart::kInitialized || com == ComStart::kNotNeeded);
    mComStarted = com == ComStart::kInitialized;
    mToken = StartImaging();
    ASSERT_NE(mToken, 0u);
    ASSERT_EQ(ListImageEncoders(mEncoders), EncoderListStatus::kListed);
  }
  void TearDown() override {
    StopImaging(mToken);
    if (mComStarted) EndComApartment();
  }

  ImageEncoderClsid Encoder(const wchar_t* mimeType) {
    for (const ImageEncoder& encoder : mEncoders) {
      if (encoder.mimeType == mimeType) return encoder.clsid;
    }
    ADD_FAILURE() << "no encoder for " << ::testing::PrintToString(std::wstring(mimeType));
    return {};
  }

  // Opens `workspace` and decodes `source` in it; `source` must outlive the workspace.
  static void OpenAndLoad(ImageWorkspace& workspace, const std::vector<unsigned char>& source) {
    ASSERT_EQ(workspace.Open(), OpenStatus::kOpen);
    ASSERT_TRUE(workspace.WriteSource(source.data(), static_cast<unsigned long>(source.size())));
    workspace.LoadSource();
  }

  std::uintptr_t mToken = 0;
  std::vector<ImageEncoder> mEncoders;
  bool mComStarted = false;
};

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_TESTS_PLATFORM_IMAGE_WORKSPACE_FIXTURE_H
