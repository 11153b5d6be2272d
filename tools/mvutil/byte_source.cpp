#include "byte_source.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace mvutil {
namespace {

constexpr std::size_t kBlockSize = 64 * 1024;

bool DrainStream(std::istream& stream, const std::function<void(const unsigned char*, std::size_t)>& consume,
                 std::string& error) {
  std::vector<char> block(kBlockSize);
  while (stream) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    const std::streamsize got = stream.gcount();
    if (got > 0) consume(reinterpret_cast<const unsigned char*>(block.data()), static_cast<std::size_t>(got));
  }
  if (stream.bad()) {
    error = "Read error";
    return false;
  }
  return true;
}

// Why the file cannot be opened, for the message on stderr.
std::string ExplainOpenFailure(const std::filesystem::path& path) {
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (status.type() == std::filesystem::file_type::not_found) return "No such file or directory";
  if (status.type() == std::filesystem::file_type::directory) return "Is a directory";
  return "Permission denied or unreadable";
}

}  // namespace

bool ForEachBlock(const std::string& name, std::istream& standardInput,
                  const std::function<void(const unsigned char*, std::size_t)>& consume, std::string& error) {
  if (name == "-") return DrainStream(standardInput, consume, error);

  // Names are UTF-8 on every platform; u8path turns them into wide paths on Windows.
  const std::filesystem::path path = std::filesystem::u8path(name);
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    error = "Is a directory";
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    error = ExplainOpenFailure(path);
    return false;
  }
  return DrainStream(file, consume, error);
}

}  // namespace mvutil
