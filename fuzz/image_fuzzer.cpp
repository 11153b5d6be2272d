// libFuzzer target: any bytes as an image file, converted to every output type and stretched.
// Whatever the bytes, every call returns; a conversion either fails or hands back a complete file
// of the asked-for format, and a stretch either hands back nothing (the source did not decode)
// or a BMP of exactly the asked-for size. The sanitizers report any memory error or leak, and
// libFuzzer's -rss_limit_mb any input that makes the library allocate too much.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ImageUtil.h"
#include "fuzz_check.h"
#include "logging/library_log.h"
#include "platform/image_workspace.h"

namespace {

using Tavro_KVO_Util::ImageUtil;

bool StartsWith(const unsigned char* bytes, unsigned long length,
                std::initializer_list<unsigned char> prefix) {
  if (length < prefix.size()) return false;
  std::size_t at = 0;
  for (const unsigned char expected : prefix) {
    if (bytes[at++] != expected) return false;
  }
  return true;
}

bool HasSignatureOf(mvImageType type, const unsigned char* bytes, unsigned long length) {
  switch (type) {
    case IT_JPEG:
      return StartsWith(bytes, length, {0xFF, 0xD8, 0xFF});
    case IT_PNG:
      return StartsWith(bytes, length, {0x89, 'P', 'N', 'G'});
    case IT_GIF:
      return StartsWith(bytes, length, {'G', 'I', 'F', '8'});
    case IT_TIFF:
      return StartsWith(bytes, length, {'I', 'I', 42, 0}) || StartsWith(bytes, length, {'M', 'M', 0, 42});
    default:
      return StartsWith(bytes, length, {'B', 'M'});
  }
}

std::int32_t Le32(const unsigned char* b) {
  return static_cast<std::int32_t>(b[0] | (b[1] << 8) | (b[2] << 16) |
                                   (static_cast<std::uint32_t>(b[3]) << 24));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Reports are swallowed: the log file is not what is being fuzzed.
  static Tavro_KVO_Util::internal::ReportRecorderForTesting quiet(/*keep=*/false);
  // Four megapixels keep each input's work to a fraction of a second; the library's own limit
  // (ImageUtil::kMaxLinuxPixels) is checked by the tests with a forged gigapixel header.
  static Tavro_KVO_Util::platform::DecodedPixelLimitForTesting limit(4'000'000);
  static ImageUtil images;
  if (size == 0) return 0;
  std::vector<unsigned char> source(data, data + size);
  const auto length = static_cast<unsigned long>(source.size());

  for (const auto type : {IT_JPEG, IT_PNG, IT_GIF, IT_TIFF, IT_BMP, static_cast<mvImageType>(99)}) {
    unsigned char* dst = nullptr;
    unsigned long dstLen = 0;
    const mvImageFormat format{type, nullptr, 0};
    if (images.SetImageFormat(source.data(), length, dst, &dstLen, format)) {
      FUZZ_CHECK(dst != nullptr);
      FUZZ_CHECK(HasSignatureOf(type, dst, dstLen));
    }
    delete[] dst;
  }

  // The size comes from the input too, small enough to stay fast.
  const tagSIZE size2{1 + data[0] % 48, 1 + data[size - 1] % 48};
  unsigned char* dst = nullptr;
  unsigned long dstLen = 0;
  FUZZ_CHECK(images.SetImageDimensions(source.data(), length, dst, &dstLen, size2));
  FUZZ_CHECK(dst != nullptr);
  if (dstLen > 0) {
    FUZZ_CHECK(dstLen >= 54 && HasSignatureOf(IT_BMP, dst, dstLen));
    FUZZ_CHECK(Le32(dst + 18) == size2.cx);
    FUZZ_CHECK(Le32(dst + 22) == size2.cy || Le32(dst + 22) == -size2.cy);
  }
  delete[] dst;
  return 0;
}
