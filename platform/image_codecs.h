// Platform service: the image codec library and its encoders.
//
// Windows: GDI+ (GdiplusStartup / GdiplusShutdown, GdipGetImageEncodersSize and
// GdipGetImageEncoders). Linux: libvips, whose savers are listed under the MIME types and class
// identifiers that GDI+ gives the same formats, in GDI+'s order (BMP, JPEG, GIF, TIFF, PNG), each
// only when this libvips build has it.
#ifndef TAVROMEDIVANEUTIL_PLATFORM_IMAGE_CODECS_H
#define TAVROMEDIVANEUTIL_PLATFORM_IMAGE_CODECS_H

#include <cstdint>
#include <string>
#include <vector>

#include "ImageUtil.h"

namespace Tavro_KVO_Util::platform {

// Starts the codec library for this object's lifetime; returns the token StopImaging needs
// (0 when the start failed; StopImaging(0) does nothing).
std::uintptr_t StartImaging();
void StopImaging(std::uintptr_t token);

struct ImageEncoder {
  std::wstring mimeType;
  ImageEncoderClsid clsid;
};

enum class EncoderListStatus {
  kListed,      // `encoders` holds the installed encoders in the system's order
  kSizeIsZero,  // the system reports an encoder list of zero bytes
  kNoMemory,    // the list could not be allocated
};

// The installed image encoders, in the system's order.
EncoderListStatus ListImageEncoders(std::vector<ImageEncoder>& encoders);

// Pixel formats, numbered as GDI+ numbers them (Linux names what libvips decoded with these too).
namespace pixel_format {
inline constexpr std::uint32_t kUndefined = 0;
inline constexpr std::uint32_t k1bppIndexed = 0x30101;
inline constexpr std::uint32_t k4bppIndexed = 0x30402;
inline constexpr std::uint32_t k8bppIndexed = 0x30803;
inline constexpr std::uint32_t k16bppGrayScale = 0x101004;
inline constexpr std::uint32_t k16bppRGB555 = 0x21005;
inline constexpr std::uint32_t k16bppRGB565 = 0x21006;
inline constexpr std::uint32_t k16bppARGB1555 = 0x61007;
inline constexpr std::uint32_t k24bppRGB = 0x21808;
inline constexpr std::uint32_t k32bppRGB = 0x22009;
inline constexpr std::uint32_t k32bppARGB = 0x26200A;
inline constexpr std::uint32_t k32bppPARGB = 0xE200B;
inline constexpr std::uint32_t k48bppRGB = 0x10300C;
inline constexpr std::uint32_t k64bppARGB = 0x34400D;
inline constexpr std::uint32_t k64bppPARGB = 0x1A400E;
}  // namespace pixel_format

// The one parameter an encoder can be handed: the system's parameter block with one entry of one
// 32-bit unsigned value (value type 4).
struct EncoderParameter {
  ImageEncoderClsid guid;  // EncoderQuality or EncoderColorDepth
  std::uint32_t value;
};

// The parameter GUIDs GDI+ publishes.
extern const ImageEncoderClsid kEncoderQuality;     // {1d5be4b5-fa4a-452d-9cdd-5db35105e7eb}
extern const ImageEncoderClsid kEncoderColorDepth;  // {66087055-ad66-4c7c-9a18-38a2310b8337}

// The parameter block exactly as it was handed to the encoder, as a test sees it.
struct EncoderParameterBlock {
  std::uint32_t count = 0;  // entries in the block; 0 when the encoder got no block
  ImageEncoderClsid guid{};
  std::uint32_t numberOfValues = 0;
  std::uint32_t type = 0;
  std::uint32_t value = 0;
};

// Test seam: while an object of this class lives, every save records the block it hands to the
// encoder (Wine's GDI+ ignores quality and depth, so the block is what can be checked there).
class EncoderParameterRecorderForTesting {
 public:
  EncoderParameterRecorderForTesting();
  ~EncoderParameterRecorderForTesting();
  EncoderParameterRecorderForTesting(const EncoderParameterRecorderForTesting&) = delete;
  EncoderParameterRecorderForTesting& operator=(const EncoderParameterRecorderForTesting&) = delete;

  std::vector<EncoderParameterBlock> Blocks() const { return mBlocks; }
  void Record(const EncoderParameterBlock& block) { mBlocks.push_back(block); }

 private:
  std::vector<EncoderParameterBlock> mBlocks;
};

// Called by each back end with the block it is about to hand to its encoder.
void RecordEncoderParameterBlock(const EncoderParameterBlock& block);

}  // namespace Tavro_KVO_Util::platform

#endif  // TAVROMEDIVANEUTIL_PLATFORM_IMAGE_CODECS_H
