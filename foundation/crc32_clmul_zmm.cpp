// CRC-32 folding with 512-bit VPCLMULQDQ: four 64-byte registers, sixteen 16-byte lanes, 256 bytes
// per round.
//
// This file alone is compiled for AVX-512F and VPCLMULQDQ (foundation/CMakeLists.txt); it runs only
// after CpuHasVpclmul512() has said yes. It defines nothing inline that other files also use, so
// no code built for these instructions can stand in for another file's copy at link time.
#include <immintrin.h>

#include "foundation/crc32_wide_fold.h"

namespace Tavro_KVO_Util::crc_internal::clmul32 {
namespace {

struct Zmm {
  using Vector = __m512i;
  static constexpr std::size_t kLanes = 4;

  static Vector Load(const unsigned char* p) { return _mm512_loadu_si512(p); }
  static Vector AddToFirst32(Vector x, std::uint32_t crc) {
    return _mm512_xor_si512(x, _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(crc))));
  }
  static Vector Broadcast(long long low, long long high) {
    return _mm512_set_epi64(high, low, high, low, high, low, high, low);
  }
  static Vector Fold(Vector x, Vector k, Vector next) {
    const Vector low = _mm512_clmulepi64_epi128(x, k, 0x00);
    const Vector high = _mm512_clmulepi64_epi128(x, k, 0x11);
    return _mm512_ternarylogic_epi64(low, high, next, 0x96);  // low ^ high ^ next in one step
  }
  // The zero-masking form: GCC 12's plain extract reads an undefined register and warns about it.
  static void Split(Vector x, __m128i* lanes) {
    constexpr __mmask8 kAll = 0xF;
    lanes[0] = _mm512_maskz_extracti32x4_epi32(kAll, x, 0);
    lanes[1] = _mm512_maskz_extracti32x4_epi32(kAll, x, 1);
    lanes[2] = _mm512_maskz_extracti32x4_epi32(kAll, x, 2);
    lanes[3] = _mm512_maskz_extracti32x4_epi32(kAll, x, 3);
  }
};

}  // namespace

std::uint32_t FoldZmm(std::uint32_t crc, const unsigned char* data, std::size_t length,
                      std::size_t* consumed) {
  return FoldWide<Zmm>(crc, data, length, consumed);
}

}  // namespace Tavro_KVO_Util::crc_internal::clmul32
