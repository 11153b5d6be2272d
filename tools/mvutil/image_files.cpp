#include "image_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>

#include "byte_source.h"

namespace mvutil {

bool ReadWholeFile(const std::string& name, std::vector<unsigned char>& bytes, std::string& error) {
  bytes.clear();
  std::ifstream unusedStandardInput;
  return ForEachBlock(
      name, unusedStandardInput,
      [&](const unsigned char* block, std::size_t length) {
        bytes.insert(bytes.end(), block, block + length);
      },
      error);
}

bool WriteFileAtomically(const std::string& name, const unsigned char* bytes, std::size_t length,
                         std::string& error) {
  const std::filesystem::path target = std::filesystem::u8path(name);
  std::filesystem::path partial = target;
  partial += ".part";
  {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out) {
      error = "cannot create " + partial.u8string();
      return false;
    }
    out.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(length));
    out.close();
    if (!out) {
      error = "cannot write " + partial.u8string();
      std::error_code ignored;
      std::filesystem::remove(partial, ignored);
      return false;
    }
  }
  std::error_code ec;
  std::filesystem::rename(partial, target, ec);
  if (ec) {
    error = "cannot rename " + partial.u8string() + " to " + name + ": " + ec.message();
    std::error_code ignored;
    std::filesystem::remove(partial, ignored);
    return false;
  }
  return true;
}

std::string FormatBySignature(const std::vector<unsigned char>& bytes) {
  auto starts = [&](std::initializer_list<unsigned char> prefix) {
    return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
  };
  if (starts({'B', 'M'})) return "BMP";
  if (starts({0xFF, 0xD8, 0xFF})) return "JPEG";
  if (starts({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'})) return "PNG";
  if (starts({'G', 'I', 'F', '8'})) return "GIF";
  if (starts({'I', 'I', 42, 0}) || starts({'M', 'M', 0, 42})) return "TIFF";
  return "";
}

}  // namespace mvutil
