// CRC-32 folding with 256-bit VPCLMULQDQ: four 32-byte registers, eight 16-byte lanes, 128 bytes
// per round.
//
// This file alone is compiled for AVX2 and VPCLMULQDQ (foundation/CMakeLists.txt), so that the
// wide registers stay in registers through the whole loop; it runs only after CpuHasVpclmul256()
// has said yes. It defines nothing inline that other files also use, so no code built for these
// instructions can stand in for another file's copy at link time.
#include <immintrin.h>

#include "foundation/crc32_wide_fold.h"

namespace Tavro_KVO_Util::crc_internal::clmul32 {
namespace {

struct Ymm {
  using Vector = __m256i;
  static constexpr std::size_t kLanes = 2;

  static Vector Load(const unsigned char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  static Vector AddToFirst32(Vector x, std::uint32_t crc) {
    return _mm256_xor_si256(x, _mm256_zextsi128_si256(_mm_cvtsi32_si128(static_cast<int>(crc))));
  }
  static Vector Broadcast(long long low, long long high) { return _mm256_set_epi64x(high, low, high, low); }
  static Vector Fold(Vector x, Vector k, Vector next) {
    const Vector low = _mm256_clmulepi64_epi128(x, k, 0x00);
    const Vector high = _mm256_clmulepi64_epi128(x, k, 0x11);
    return _mm256_xor_si256(_mm256_xor_si256(low, high), next);
  }
  static void Split(Vector x, __m128i* lanes) {
    lanes[0] = _mm256_castsi256_si128(x);
    lanes[1] = _mm256_extracti128_si256(x, 1);
  }
};

}  // namespace

std::uint32_t FoldYmm(std::uint32_t crc, const unsigned char* data, std::size_t length,
                      std::size_t* consumed) {
  return FoldWide<Ymm>(crc, data, length, consumed);
}

}  // namespace Tavro_KVO_Util::crc_internal::clmul32
