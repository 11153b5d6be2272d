#include "config/text_decoding.h"

#include <cstdint>
#include <cstring>

namespace Tavro_KVO_Util::internal {

ConfigEncoding DetectEncoding(const std::string& bytes, std::size_t& bodyStart) {
  bodyStart = 0;
  if (bytes.size() < 2) return ConfigEncoding::kAnsi;
  const auto first = static_cast<unsigned char>(bytes[0]);
  const auto second = static_cast<unsigned char>(bytes[1]);
  if (first == 0xFF && second == 0xFE) {
    bodyStart = 2;
    return ConfigEncoding::kUtf16Le;
  }
  if (first == 0xFE && second == 0xFF) {
    bodyStart = 2;
    return ConfigEncoding::kUtf16Be;
  }
  if (first == 0xEF && second == 0xBB) return ConfigEncoding::kUtf8;
  return ConfigEncoding::kAnsi;
}

const wchar_t* EncodingName(ConfigEncoding encoding) {
  switch (encoding) {
    case ConfigEncoding::kUtf16Le:
      return L"LE";
    case ConfigEncoding::kUtf16Be:
      return L"BE";
    case ConfigEncoding::kUtf8:
      return L"UTF-8";
    case ConfigEncoding::kAnsi:
      break;
  }
  return L"ANSI";
}

LineReader::LineReader(const std::string& bytes, std::size_t bodyStart, ConfigEncoding encoding)
    : mAt(reinterpret_cast<const unsigned char*>(bytes.data()) + bodyStart),
      mEnd(reinterpret_cast<const unsigned char*>(bytes.data()) + bytes.size()),
      mEncoding(encoding),
      mDone(false) {}

bool LineReader::Next(std::wstring& line) {
  if (mDone) return false;
  line.clear();
  if (mEncoding == ConfigEncoding::kAnsi) {
    NextAnsi(line);
  } else {
    NextUtf16(line);
  }
  return true;
}

void LineReader::NextAnsi(std::wstring& line) {
  const auto* lf =
      static_cast<const unsigned char*>(std::memchr(mAt, '\n', static_cast<std::size_t>(mEnd - mAt)));
  const unsigned char* stop = lf != nullptr ? lf : mEnd;
  // Nearly every line is widened whole in one loop the compiler vectorises; only a line with a CR
  // before its end (rare: CR LF is the usual ending) needs the unit-by-unit copy.
  const unsigned char* body = stop;
  if (body > mAt && body[-1] == '\r') --body;
  const auto size = static_cast<std::size_t>(body - mAt);
  if (std::memchr(mAt, '\r', size) == nullptr) {
    line.resize(size);
    wchar_t* out = line.data();
    for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<wchar_t>(mAt[i]);
  } else {
    line.reserve(size);
    for (const unsigned char* p = mAt; p < body; ++p) {
      if (*p != '\r') line.push_back(static_cast<wchar_t>(*p));
    }
  }
  if (lf != nullptr) {
    mAt = lf + 1;
  } else {
    mAt = mEnd;
    mDone = true;
  }
}

namespace {

template <bool kBigEndian>
unsigned UnitAt(const unsigned char* p) {
  return kBigEndian ? (unsigned{p[0]} << 8) | p[1] : (unsigned{p[1]} << 8) | p[0];
}

// Where the first unit `wanted` (below 0x100) stands in [at, end), or nullptr. memchr finds the
// candidate bytes fast; a candidate counts only where it is the low byte of a whole unit whose high
// byte is zero.
template <bool kBigEndian>
const unsigned char* FindUnit(const unsigned char* at, const unsigned char* end, unsigned char wanted) {
  constexpr std::ptrdiff_t kLowByte = kBigEndian ? 1 : 0;
  const unsigned char* from = at + kLowByte;
  while (from < end) {
    const auto* hit =
        static_cast<const unsigned char*>(std::memchr(from, wanted, static_cast<std::size_t>(end - from)));
    if (hit == nullptr) return nullptr;
    const unsigned char* unit = hit - kLowByte;
    if ((unit - at) % 2 == 0 && end - unit >= 2 && unit[1 - kLowByte] == 0) return unit;
    from = hit + 1;
  }
  return nullptr;
}

// Copies the units up to the next LF (or the last whole unit) into `line`, dropping CR, and
// returns where reading goes on: just past the LF, or `end` when there was none.
template <bool kBigEndian>
const unsigned char* SplitUtf16Line(const unsigned char* at, const unsigned char* end, std::wstring& line,
                                    bool& lastLine) {
  const unsigned char* lf = FindUnit<kBigEndian>(at, end, '\n');
  const unsigned char* stop = lf != nullptr ? lf : at + (end - at) / 2 * 2;
  // Nearly every line ends in CR LF or LF and has no other CR: it is widened whole in one loop.
  const unsigned char* body = stop;
  if (body - at >= 2 && UnitAt<kBigEndian>(body - 2) == L'\r') body -= 2;
  if (FindUnit<kBigEndian>(at, body, '\r') == nullptr) {
    const auto size = static_cast<std::size_t>(body - at) / 2;
    line.resize(size);
    wchar_t* out = line.data();
    for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<wchar_t>(UnitAt<kBigEndian>(at + 2 * i));
  } else {
    line.reserve(static_cast<std::size_t>(stop - at) / 2);
    for (const unsigned char* p = at; p < stop; p += 2) {
      const unsigned unit = UnitAt<kBigEndian>(p);
      if (unit != L'\r') line.push_back(static_cast<wchar_t>(unit));
    }
  }
  lastLine = lf == nullptr;  // no LF: a lone final byte is no code unit and is dropped
  return lastLine ? end : lf + 2;
}

}  // namespace

void LineReader::NextUtf16(std::wstring& line) {
  bool lastLine = false;
  mAt = mEncoding == ConfigEncoding::kUtf16Be ? SplitUtf16Line<true>(mAt, mEnd, line, lastLine)
                                              : SplitUtf16Line<false>(mAt, mEnd, line, lastLine);
  if (lastLine) mDone = true;
}

void AppendUtf16Le(std::string& out, const std::wstring& text) {
  AppendUtf16Le(out, text.data(), text.size());
}

void AppendUtf16Le(std::string& out, const wchar_t* text, std::size_t length) {
  // Every log entry passes through here. Text of 16-bit characters only (always on Windows, nearly
  // always on Linux) is copied in one simple loop the compiler can vectorise.
  bool wide = false;
  for (std::size_t i = 0; i < length; ++i) {
    const auto code = static_cast<unsigned long>(text[i]);
    wide |= code > 0xFFFF;
  }
  const std::size_t start = out.size();
  if (!wide) {
    out.resize(start + 2 * length);
    unsigned char* at = reinterpret_cast<unsigned char*>(out.data() + start);
    for (std::size_t i = 0; i < length; ++i) {
      const auto unit = static_cast<std::uint16_t>(text[i]);
      at[2 * i] = static_cast<unsigned char>(unit & 0xFF);
      at[2 * i + 1] = static_cast<unsigned char>(unit >> 8);
    }
    return;
  }
  // Characters beyond 16 bits (possible where wchar_t has 32) become surrogate pairs.
  out.reserve(start + 4 * length);
  const auto put = [&out](unsigned unit) {
    out.push_back(static_cast<char>(unit & 0xFF));
    out.push_back(static_cast<char>((unit >> 8) & 0xFF));
  };
  for (std::size_t i = 0; i < length; ++i) {
    const auto code = static_cast<unsigned long>(text[i]);
    if (code > 0xFFFF) {
      const unsigned long offset = code - 0x10000;
      put(static_cast<unsigned>(0xD800 + ((offset >> 10) & 0x3FF)));
      put(static_cast<unsigned>(0xDC00 + (offset & 0x3FF)));
    } else {
      put(static_cast<unsigned>(code));
    }
  }
}

}  // namespace Tavro_KVO_Util::internal
