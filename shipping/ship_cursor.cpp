#include "shipping/ship_cursor.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "Crc32.h"
#include "platform/durable_file.h"

namespace Tavro_KVO_Util::shipping {
namespace {

constexpr char kFirstLine[] = "TavroMedivaneUtil log shipping cursor, version 1\n";
constexpr std::size_t kMaxStateSize = 4096;

std::string Checksum(const std::string& text) {
  Crc32 crc;
  crc.ProcessBuffer(reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()));
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08lX", crc.GetResult());
  return hex;
}

std::string Hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    hex += kDigits[static_cast<unsigned char>(c) >> 4];
    hex += kDigits[static_cast<unsigned char>(c) & 0xF];
  }
  return hex;
}

bool FromHex(const std::string& hex, std::string& bytes) {
  if (hex.size() % 2 != 0) return false;
  bytes.clear();
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    int value = 0;
    for (std::size_t j = i; j < i + 2; ++j) {
      const char c = hex[j];
      const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
      if (digit < 0) return false;
      value = value * 16 + digit;
    }
    bytes += static_cast<char>(value);
  }
  return true;
}

bool ReadNumber(const std::string& text, std::uint64_t& value) {
  if (text.empty() || text.size() > 20 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  std::uint64_t number = 0;
  for (const char c : text) {
    const std::uint64_t next = number * 10 + static_cast<std::uint64_t>(c - '0');
    if (next / 10 != number) return false;  // beyond 64 bits
    number = next;
  }
  value = number;
  return true;
}

// The value of the line "name=value" that starts at `at`; moves `at` past it.
bool ReadLine(const std::string& text, std::size_t& at, const std::string& name, std::string& value) {
  const std::size_t end = text.find('\n', at);
  if (end == std::string::npos || text.compare(at, name.size() + 1, name + "=") != 0) return false;
  value = text.substr(at + name.size() + 1, end - at - name.size() - 1);
  at = end + 1;
  return true;
}

}  // namespace

std::string EncodeShipCursor(const ShipCursor& cursor) {
  std::string text = kFirstLine;
  text += "volume=" + std::to_string(cursor.position.id.volume) + "\n";
  text += "index=" + std::to_string(cursor.position.id.index) + "\n";
  text += "offset=" + std::to_string(cursor.position.offset) + "\n";
  text += "fingerprint=" + Hex(cursor.position.fingerprint) + "\n";
  text += "time=" + cursor.lastTimestamp + "\n";
  text += "checksum=" + Checksum(text) + "\n";
  return text;
}

bool DecodeShipCursor(const std::string& text, ShipCursor& cursor) {
  if (text.rfind(kFirstLine, 0) != 0) return false;
  std::size_t at = sizeof kFirstLine - 1;
  std::string volume, index, offset, fingerprint, time, checksum;
  if (!ReadLine(text, at, "volume", volume) || !ReadLine(text, at, "index", index) ||
      !ReadLine(text, at, "offset", offset) || !ReadLine(text, at, "fingerprint", fingerprint) ||
      !ReadLine(text, at, "time", time)) {
    return false;
  }
  const std::size_t covered = at;
  if (!ReadLine(text, at, "checksum", checksum) || at != text.size() ||
      checksum != Checksum(text.substr(0, covered))) {
    return false;
  }
  ShipCursor read;
  if (!ReadNumber(volume, read.position.id.volume) || !ReadNumber(index, read.position.id.index) ||
      !ReadNumber(offset, read.position.offset) || !FromHex(fingerprint, read.position.fingerprint) ||
      read.position.fingerprint.size() > mvutil::LogPosition::kFingerprintSize) {
    return false;
  }
  read.lastTimestamp = time;
  cursor = std::move(read);
  return true;
}

CursorLoad LoadShipCursor(const std::filesystem::path& path, ShipCursor& cursor, std::string& why) {
  std::error_code error;
  if (!std::filesystem::exists(path, error) && !error) return CursorLoad::kNone;
  std::string text;
  bool readable = false;
  {
    // Closed again before a rename: Windows cannot rename a file that is open.
    std::ifstream in(path, std::ios::binary);
    if (in) text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    readable = in.good() || in.eof();
  }
  if (!readable) {
    why = "cannot be read";
  } else if (text.size() > kMaxStateSize || !DecodeShipCursor(text, cursor)) {
    why = "is damaged";
  } else {
    return CursorLoad::kLoaded;
  }
  std::filesystem::path aside = path;
  aside += ".damaged";
  std::filesystem::rename(path, aside, error);
  why +=
      error ? " (and could not be set aside: " + error.message() + ")" : "; set aside as " + aside.u8string();
  return CursorLoad::kDamaged;
}

bool SaveShipCursor(const std::filesystem::path& path, const ShipCursor& cursor,
                    platform::Durability durability, std::string& why) {
  return platform::ReplaceFileDurably(path, EncodeShipCursor(cursor), durability, why);
}

}  // namespace Tavro_KVO_Util::shipping
