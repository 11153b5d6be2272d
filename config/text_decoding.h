// The configuration file's encodings: detection, splitting into lines, and UTF-16LE encoding.
#ifndef TAVROMEDIVANEUTIL_CONFIG_TEXT_DECODING_H
#define TAVROMEDIVANEUTIL_CONFIG_TEXT_DECODING_H

#include <cstddef>
#include <string>

namespace Tavro_KVO_Util::internal {

enum class ConfigEncoding { kUtf16Le, kUtf16Be, kUtf8, kAnsi };

// From the first two bytes: FF FE little-endian, FE FF big-endian (the mark is skipped), EF BB
// UTF-8; anything else, also a file shorter than two bytes, is 8-bit text read from the start.
ConfigEncoding DetectEncoding(const std::string& bytes, std::size_t& bodyStart);

// The name the store logs for an encoding: "LE", "BE", "UTF-8", "ANSI".
const wchar_t* EncodingName(ConfigEncoding encoding);

// Hands out the lines of a file body one by one. A line ends at LF; CR is dropped wherever it
// stands; in 8-bit text each byte is the character of the same code; in UTF-16 each code unit is
// one character and a final odd byte is dropped. There is always one line more than there are
// LFs, so a body ending in LF ends with an empty line, and an empty body is one empty line.
class LineReader {
 public:
  LineReader(const std::string& bytes, std::size_t bodyStart, ConfigEncoding encoding);

  // Fills `line` with the next line; false when every line has been handed out.
  bool Next(std::wstring& line);

 private:
  void NextAnsi(std::wstring& line);
  void NextUtf16(std::wstring& line);

  const unsigned char* mAt;
  const unsigned char* mEnd;
  ConfigEncoding mEncoding;
  bool mDone;
};

// Appends `text` as UTF-16LE code units. Characters above U+FFFF (possible where wchar_t has 32
// bits) become surrogate pairs.
void AppendUtf16Le(std::string& out, const std::wstring& text);
void AppendUtf16Le(std::string& out, const wchar_t* text, std::size_t length);

}  // namespace Tavro_KVO_Util::internal

#endif  // TAVROMEDIVANEUTIL_CONFIG_TEXT_DECODING_H
