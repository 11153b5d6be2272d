// What the image tests share: the fixture files, a private temporary folder, and a conversion
// whose output comes back as a vector.
#ifndef TAVROMEDIVANEUTIL_TESTS_IMAGE_IMAGE_TEST_SUPPORT_H
#define TAVROMEDIVANEUTIL_TESTS_IMAGE_IMAGE_TEST_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "ImageUtil.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace Tavro_KVO_Util::testing {

// The folder make_fixtures.py wrote (Wine sees the build machine's root as drive Z:).
inline std::filesystem::path FixturePath(const std::string& name) {
#ifdef _WIN32
  return std::filesystem::path("Z:" TAVRO_IMAGE_FIXTURES_DIR) / name;
#else
  return std::filesystem::path(TAVRO_IMAGE_FIXTURES_DIR) / name;
#endif
}

inline std::vector<unsigned char> ReadImageFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<unsigned char> Fixture(const std::string& name) {
  return ReadImageFile(FixturePath(name));
}

inline void WriteImageFile(const std::filesystem::path& file, const std::vector<unsigned char>& bytes) {
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Points the system's temporary folder (TMP and TEMP on Windows, TMPDIR on Linux) at a folder
// of its own for the life of a test, so that files left behind can be counted.
class PrivateTempFolder {
 public:
  PrivateTempFolder()
      : mTmp("TMP", Folder()), mTemp("TEMP", Folder()), mTmpDir("TMPDIR", mDir.path().string()) {}

  const std::filesystem::path& path() const { return mDir.path(); }

  // Names of the files in the folder, sorted.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(mDir.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string Folder() const { return mDir.path().string(); }

  TempDir mDir;
  ScopedEnvironmentVariable mTmp;
  ScopedEnvironmentVariable mTemp;
  ScopedEnvironmentVariable mTmpDir;
};

// One call's outcome with the output copied out (and the library's array freed).
struct Converted {
  bool ok = false;
  bool dstSet = false;                // dst came back non-null
  unsigned long length = 0xDEADBEEF;  // *dstLen as the call left it
  std::vector<unsigned char> bytes;
};

inline Converted TakeOutput(bool ok, unsigned char* dst, unsigned long length) {
  Converted result;
  result.ok = ok;
  result.length = length;
  result.dstSet = dst != nullptr;
  if (dst != nullptr) {
    if (ok) result.bytes.assign(dst, dst + length);
    delete[] dst;
  }
  return result;
}

inline Converted Convert(ImageUtil& images, std::vector<unsigned char> source, mvImageType type,
                         std::vector<std::uint32_t> params = {}) {
  unsigned char* dst = nullptr;
  unsigned long length = 0xDEADBEEF;
  const mvImageFormat format{type, params.empty() ? nullptr : params.data(),
                             static_cast<std::uint32_t>(params.size())};
  const bool ok =
      images.SetImageFormat(source.data(), static_cast<unsigned long>(source.size()), dst, &length, format);
  return TakeOutput(ok, dst, length);
}

inline Converted Stretch(ImageUtil& images, std::vector<unsigned char> source, std::int32_t cx,
                         std::int32_t cy) {
  unsigned char* dst = nullptr;
  unsigned long length = 0xDEADBEEF;
  tagSIZE size{};
  size.cx = cx;
  size.cy = cy;
  const bool ok =
      images.SetImageDimensions(source.data(), static_cast<unsigned long>(source.size()), dst, &length, size);
  return TakeOutput(ok, dst, length);
}

// Little-endian fields of a BMP file: width, height, bits per pixel, information header size.
inline std::uint32_t Le32(const std::vector<unsigned char>& b, std::size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<std::uint32_t>(b[at + 3]) << 24);
}
inline std::uint16_t Le16(const std::vector<unsigned char>& b, std::size_t at) {
  return static_cast<std::uint16_t>(b[at] | (b[at + 1] << 8));
}
struct BmpHeader {
  bool isBmp = false;
  std::uint32_t infoSize = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint16_t bitsPerPixel = 0;
};
inline BmpHeader ReadBmpHeader(const std::vector<unsigned char>& b) {
  BmpHeader header;
  if (b.size() < 30 || b[0] != 'B' || b[1] != 'M') return header;
  header.isBmp = true;
  header.infoSize = Le32(b, 14);
  header.width = static_cast<std::int32_t>(Le32(b, 18));
  header.height = static_cast<std::int32_t>(Le32(b, 22));
  header.bitsPerPixel = Le16(b, 28);
  return header;
}

// The format a file's first bytes announce: "bmp", "jpeg", "png", "gif", "tiff" or "".
inline std::string Signature(const std::vector<unsigned char>& b) {
  auto starts = [&](std::initializer_list<unsigned char> prefix) {
    return b.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), b.begin());
  };
  if (starts({'B', 'M'})) return "bmp";
  if (starts({0xFF, 0xD8, 0xFF})) return "jpeg";
  if (starts({0x89, 'P', 'N', 'G'})) return "png";
  if (starts({'G', 'I', 'F', '8'})) return "gif";
  if (starts({'I', 'I', 42, 0}) || starts({'M', 'M', 0, 42})) return "tiff";
  return "";
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_IMAGE_IMAGE_TEST_SUPPORT_H
