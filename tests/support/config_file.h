// Writes configuration files in each encoding the store reads, for tests.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_CONFIG_FILE_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_CONFIG_FILE_H

#include <filesystem>
#include <fstream>
#include <string>

namespace Tavro_KVO_Util::testing {

// Each character as one byte (characters above 0xFF are a test error).
inline std::string AnsiBytes(const std::wstring& text) {
  std::string bytes;
  for (const wchar_t c : text) bytes.push_back(static_cast<char>(static_cast<unsigned char>(c)));
  return bytes;
}

// UTF-16 code units, little- or big-endian, optionally behind a byte-order mark.
inline std::string Utf16Bytes(const std::wstring& text, bool bigEndian, bool withMark = true) {
  std::string bytes;
  auto put = [&](unsigned unit) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>((unit >> 8) & 0xFF);
    if (bigEndian) {
      bytes.push_back(high);
      bytes.push_back(low);
    } else {
      bytes.push_back(low);
      bytes.push_back(high);
    }
  };
  if (withMark) put(0xFEFF);
  for (const wchar_t c : text) put(static_cast<unsigned>(c));
  return bytes;
}

inline std::string Utf16LeBytes(const std::wstring& text) { return Utf16Bytes(text, false); }
inline std::string Utf16BeBytes(const std::wstring& text) { return Utf16Bytes(text, true); }
// The code units alone, as a log entry is appended to a file that has its mark.
inline std::string Utf16LeUnits(const std::wstring& text) { return Utf16Bytes(text, false, false); }

inline void WriteBytes(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

inline std::string ReadBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The path as the library takes it (wide on every platform).
inline std::wstring WidePath(const std::filesystem::path& file) { return file.wstring(); }

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_CONFIG_FILE_H
