// Table-driven CRC-16 kernels (reflected polynomial 0xA001).
//
// Slicing-by-16 rather than by-8: by-8 measured only just over 4x the byte loop on 64 KiB, by-16
// about 5.5x, for 8 KiB of tables instead of 4 KiB.
#include <cstring>

#include "foundation/crc_kernels.h"

namespace Tavro_KVO_Util::crc_internal {
namespace {

constexpr std::uint16_t kPolynomial = 0xA001;

constexpr Crc16SliceTables MakeSlices() {
  Crc16SliceTables s{};
  for (unsigned b = 0; b < 256; ++b) {
    unsigned r = b;
    for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ ((r & 1) ? kPolynomial : 0);
    s.row[0][b] = static_cast<std::uint16_t>(r);
  }
  // One more zero byte after the entry of the row before.
  for (int k = 1; k < 16; ++k) {
    for (int b = 0; b < 256; ++b) {
      const unsigned prev = s.row[k - 1][b];
      s.row[k][b] = static_cast<std::uint16_t>((prev >> 8) ^ s.row[0][prev & 0xFF]);
    }
  }
  return s;
}

// Little-endian regardless of the host, and safe at any alignment.
inline std::uint64_t Load64(const unsigned char* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  v = __builtin_bswap64(v);
#endif
  return v;
}

// Folding needs four 16-byte lanes to start, and a 16-byte finish through the tables: below this
// the tables alone are as fast.
constexpr std::size_t kClmulMinLength = 128;

// Decided once at load; until this initialiser has run the tables are used (see crc32_kernels.cpp).
const bool kUseClmul = CpuHasClmul();

}  // namespace

// Built by the compiler, so the tables are ready before any code of the library runs.
constexpr Crc16SliceTables kCrc16Slices = MakeSlices();

std::uint16_t Crc16Bytewise(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  return Crc16Short(crc, data, length);
}

std::uint16_t Crc16Slicing(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  const auto& t = kCrc16Slices.row;
  while (length >= 16) {
    // The register only overlaps the first two bytes; the second word needs no register at all,
    // so its eight lookups do not wait for the previous block.
    const std::uint64_t a = Load64(data) ^ crc;
    const std::uint64_t b = Load64(data + 8);
    const unsigned fromA = t[15][a & 0xFF] ^ t[14][(a >> 8) & 0xFF] ^ t[13][(a >> 16) & 0xFF] ^
                           t[12][(a >> 24) & 0xFF] ^ t[11][(a >> 32) & 0xFF] ^ t[10][(a >> 40) & 0xFF] ^
                           t[9][(a >> 48) & 0xFF] ^ t[8][a >> 56];
    const unsigned fromB = t[7][b & 0xFF] ^ t[6][(b >> 8) & 0xFF] ^ t[5][(b >> 16) & 0xFF] ^
                           t[4][(b >> 24) & 0xFF] ^ t[3][(b >> 32) & 0xFF] ^ t[2][(b >> 40) & 0xFF] ^
                           t[1][(b >> 48) & 0xFF] ^ t[0][b >> 56];
    crc = static_cast<std::uint16_t>(fromA ^ fromB);
    data += 16;
    length -= 16;
  }
  return Crc16Short(crc, data, length);
}

std::uint16_t Crc16Update(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  if (length < kCrc16ShortLimit) return Crc16Short(crc, data, length);
  if (kUseClmul && length >= kClmulMinLength) return Crc16Clmul(crc, data, length);
  return Crc16Slicing(crc, data, length);
}

}  // namespace Tavro_KVO_Util::crc_internal
