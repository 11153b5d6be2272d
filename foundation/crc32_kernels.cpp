// Table-driven CRC-32 kernels and the choice between them and carry-less-multiply folding.
#include <cstring>

#include "foundation/crc_kernels.h"

namespace Tavro_KVO_Util::crc_internal {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

constexpr Crc32SliceTables MakeSlices() {
  Crc32SliceTables s{};
  for (std::uint32_t b = 0; b < 256; ++b) {
    std::uint32_t r = b;
    for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ ((r & 1) ? kPolynomial : 0);
    s.row[0][b] = r;
  }
  // One more zero byte after the entry of the row before.
  for (int k = 1; k < 8; ++k) {
    for (int b = 0; b < 256; ++b) {
      const std::uint32_t prev = s.row[k - 1][b];
      s.row[k][b] = (prev >> 8) ^ s.row[0][prev & 0xFF];
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

// Folding needs four 16-byte lanes to start; below that the tables are as fast.
constexpr std::size_t kClmulMinLength = 64;
// The wide kernels from two rounds of four registers: one round leaves as much to the final steps
// as it folds. (Their speed could not be measured on a processor of ours; this is a choice.)
constexpr std::size_t kVpclmul256MinLength = 2 * 4 * 32;
constexpr std::size_t kVpclmul512MinLength = 2 * 4 * 64;

// Decided once at load. Until this initialiser has run the value is kSlicing, so a checksum
// computed by a static initialiser that happens to run earlier still comes out right.
const Crc32Kernel kLongInputKernel = ChooseCrc32Kernel();

}  // namespace

// Built by the compiler, so the tables are ready before any code of the library runs.
constexpr Crc32SliceTables kCrc32Slices = MakeSlices();

std::uint32_t Crc32Bytewise(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) crc = kCrc32Slices.row[0][(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return crc;
}

std::uint32_t Crc32Slicing(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  const auto& t = kCrc32Slices.row;
  while (length >= 8) {
    const std::uint64_t w = Load64(data) ^ crc;
    crc = t[7][w & 0xFF] ^ t[6][(w >> 8) & 0xFF] ^ t[5][(w >> 16) & 0xFF] ^ t[4][(w >> 24) & 0xFF] ^
          t[3][(w >> 32) & 0xFF] ^ t[2][(w >> 40) & 0xFF] ^ t[1][(w >> 48) & 0xFF] ^ t[0][w >> 56];
    data += 8;
    length -= 8;
  }
  return Crc32Short(crc, data, length);
}

Crc32Kernel ChosenCrc32Kernel() { return kLongInputKernel; }

std::uint32_t Crc32Update(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  if (length < kClmulMinLength || kLongInputKernel == Crc32Kernel::kSlicing)
    return Crc32Slicing(crc, data, length);
  if (kLongInputKernel == Crc32Kernel::kVpclmul512 && length >= kVpclmul512MinLength)
    return Crc32Vpclmul512(crc, data, length);
  if (kLongInputKernel == Crc32Kernel::kVpclmul256 && length >= kVpclmul256MinLength)
    return Crc32Vpclmul256(crc, data, length);
  return Crc32Clmul(crc, data, length);
}

}  // namespace Tavro_KVO_Util::crc_internal
