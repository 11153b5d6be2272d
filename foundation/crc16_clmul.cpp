// CRC-16 by carry-less-multiply folding (PCLMULQDQ), in the bit-reflected form of the CRC-32
// kernel beside it.
//
// Folding keeps a 128-bit value that leaves the checksum of the rest of the message unchanged:
// each step moves a lane ahead by multiplying its two 64-bit halves with x^n mod P and adds the
// next 16 bytes. The last lane is then an ordinary 16-byte message, which the slicing tables
// finish from a zero register (the start register was added to the first two bytes, as the
// CRC-32 kernel does with its four), so no Barrett reduction is needed for the 16-bit polynomial.
//
// Compiled for PCLMULQDQ and SSE4.1 through target attributes, and run only after CpuHasClmul()
// has said yes.
#include "foundation/crc_kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#define TAVRO_CRC16_HAVE_X86 1
#include <immintrin.h>

#include "foundation/clmul_fold.h"
#else
#define TAVRO_CRC16_HAVE_X86 0
#endif

namespace Tavro_KVO_Util::crc_internal {

#if TAVRO_CRC16_HAVE_X86

namespace {

// Folding constants for the polynomial 0x18005, bit-reflected as 16-bit values: a lane moved
// ahead by F bits multiplies its first (low) half by x^(F+15) mod P and its second (high) half by
// x^(F-49) mod P. Checked against the bit-at-a-time definition by the white-box test.
constexpr long long kFold512Low = 0xF0C1;   // x^(512+15): folds 4 lanes ahead, low half
constexpr long long kFold512High = 0xBFFA;  // x^(512-49): folds 4 lanes ahead, high half
constexpr long long kFold128Low = 0x90C1;   // x^(128+15): folds one lane ahead, low half
constexpr long long kFold128High = 0xCCC1;  // x^(128-49): folds one lane ahead, high half

using clmul::Fold;
using clmul::Load;

// Requires length >= 64. Folds a multiple of 16 bytes into one lane, stored to `lane`; `*consumed`
// says how many bytes.
__attribute__((target("pclmul,sse4.1"))) void FoldToLane(std::uint16_t crc, const unsigned char* data,
                                                         std::size_t length, unsigned char* lane,
                                                         std::size_t* consumed) {
  const unsigned char* const start = data;
  __m128i x0 = _mm_xor_si128(Load(data), _mm_cvtsi32_si128(crc));
  __m128i x1 = Load(data + 16);
  __m128i x2 = Load(data + 32);
  __m128i x3 = Load(data + 48);
  data += 64;
  length -= 64;

  // Four independent lanes keep the multiplier busy while earlier products are still in flight.
  const __m128i k512 = _mm_set_epi64x(kFold512High, kFold512Low);
  while (length >= 64) {
    x0 = Fold(x0, k512, Load(data));
    x1 = Fold(x1, k512, Load(data + 16));
    x2 = Fold(x2, k512, Load(data + 32));
    x3 = Fold(x3, k512, Load(data + 48));
    data += 64;
    length -= 64;
  }

  const __m128i k128 = _mm_set_epi64x(kFold128High, kFold128Low);
  __m128i x = Fold(x0, k128, x1);
  x = Fold(x, k128, x2);
  x = Fold(x, k128, x3);
  while (length >= 16) {
    x = Fold(x, k128, Load(data));
    data += 16;
    length -= 16;
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(lane), x);
  *consumed = static_cast<std::size_t>(data - start);
}

}  // namespace

std::uint16_t Crc16Clmul(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  if (length < 64) return Crc16Slicing(crc, data, length);
  unsigned char lane[16];
  std::size_t consumed = 0;
  FoldToLane(crc, data, length, lane, &consumed);
  crc = Crc16Slicing(0, lane, sizeof lane);
  return Crc16Slicing(crc, data + consumed, length - consumed);
}

#else  // not x86: the tables are all there is.

std::uint16_t Crc16Clmul(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  return Crc16Slicing(crc, data, length);
}

#endif

}  // namespace Tavro_KVO_Util::crc_internal
