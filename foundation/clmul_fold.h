// The two steps every carry-less-multiply CRC kernel of the library folds with (crc32_clmul.cpp,
// crc16_clmul.cpp): an unaligned 16-byte load, and moving a lane ahead. Compiled for PCLMULQDQ and
// SSE4.1 through target attributes; only for code that runs after CpuHasClmul() has said yes.
#ifndef TAVROMEDIVANEUTIL_FOUNDATION_CLMUL_FOLD_H
#define TAVROMEDIVANEUTIL_FOUNDATION_CLMUL_FOLD_H

#if !defined(__x86_64__) && !defined(__i386__)
#error "x86-only header"
#endif

#include <immintrin.h>

namespace Tavro_KVO_Util::crc_internal::clmul {

__attribute__((target("pclmul,sse4.1"))) inline __m128i Load(const unsigned char* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Moves `x` forward by the distance the constants `k` encode and adds `next` to it.
__attribute__((target("pclmul,sse4.1"))) inline __m128i Fold(__m128i x, __m128i k, __m128i next) {
  const __m128i low = _mm_clmulepi64_si128(x, k, 0x00);
  const __m128i high = _mm_clmulepi64_si128(x, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

}  // namespace Tavro_KVO_Util::crc_internal::clmul

#endif  // TAVROMEDIVANEUTIL_FOUNDATION_CLMUL_FOLD_H
