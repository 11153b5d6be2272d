// Reads a log file back as lines: UTF-16LE, an optional byte-order mark, CR LF line ends.
#ifndef TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOG_LINES_H
#define TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOG_LINES_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/config_file.h"

namespace Tavro_KVO_Util::testing {

// The log's lines without their CR LF; the byte-order mark is checked separately. A file that does
// not end with CR LF fails the calling test.
inline std::vector<std::wstring> ReadLogLines(const std::filesystem::path& file) {
  const std::string bytes = ReadBytes(file);
  std::size_t at = bytes.compare(0, 2, "\xFF\xFE") == 0 ? 2 : 0;
  std::wstring text;
  for (; at + 1 < bytes.size(); at += 2) {
    text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(bytes[at]) |
                                        (static_cast<unsigned char>(bytes[at + 1]) << 8)));
  }
  std::vector<std::wstring> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(L"\r\n", start)) != std::wstring::npos; start = end + 2) {
    lines.push_back(text.substr(start, end - start));
  }
  EXPECT_EQ(start, text.size()) << "the log does not end with CR LF";
  return lines;
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_SUPPORT_LOG_LINES_H
