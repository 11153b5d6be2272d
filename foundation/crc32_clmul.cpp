// CRC-32 by carry-less-multiply folding (PCLMULQDQ), after Intel's "Fast CRC Computation for
// Generic Polynomials Using PCLMULQDQ Instruction", in its bit-reflected form.
//
// Only the folding code here is compiled for PCLMULQDQ and SSE4.1, through target attributes: the
// rest of the library must keep running on processors without them, so no global -m flags. It
// runs only after CpuHasClmul() has said yes.
#include "foundation/crc_kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#define TAVRO_CRC_HAVE_X86 1
#include <cpuid.h>
#include <immintrin.h>

#include "foundation/clmul_fold.h"
#include "foundation/crc32_fold_steps.h"
#else
#define TAVRO_CRC_HAVE_X86 0
#endif

namespace Tavro_KVO_Util::crc_internal {

#if TAVRO_CRC_HAVE_X86

namespace {

// CPUID leaf 1, ECX.
constexpr unsigned kCpuidPclmulqdq = 1u << 1;
constexpr unsigned kCpuidSse41 = 1u << 19;

using clmul::Fold;
using clmul::Load;
using namespace clmul32;

// Requires length >= 64. Folds four 16-byte lanes at a time, then hands them to FinishFold.
__attribute__((target("pclmul,sse4.1"))) std::uint32_t Fold16s(std::uint32_t crc, const unsigned char* data,
                                                               std::size_t length, std::size_t* consumed) {
  const unsigned char* const start = data;
  // The register is simply added to the first four message bytes.
  __m128i x[4] = {_mm_xor_si128(Load(data), _mm_cvtsi32_si128(static_cast<int>(crc))), Load(data + 16),
                  Load(data + 32), Load(data + 48)};
  data += 64;
  length -= 64;

  // Four independent lanes keep the multiplier busy while earlier products are still in flight.
  const __m128i k512 = _mm_set_epi64x(kFold512High, kFold512Low);
  while (length >= 64) {
    x[0] = Fold(x[0], k512, Load(data));
    x[1] = Fold(x[1], k512, Load(data + 16));
    x[2] = Fold(x[2], k512, Load(data + 32));
    x[3] = Fold(x[3], k512, Load(data + 48));
    data += 64;
    length -= 64;
  }
  *consumed = static_cast<std::size_t>(data - start);
  return FinishFold(x, 4, data, length, consumed);
}

bool DetectClmul() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return false;
  return (ecx & kCpuidPclmulqdq) != 0 && (ecx & kCpuidSse41) != 0;
}

}  // namespace

__attribute__((target("pclmul,sse4.1"))) std::uint32_t clmul32::FinishFold(const __m128i* lanes,
                                                                           std::size_t count,
                                                                           const unsigned char* data,
                                                                           std::size_t length,
                                                                           std::size_t* consumed) {
  const unsigned char* const start = data;
  const __m128i k128 = _mm_set_epi64x(kFold128High, kFold128Low);
  __m128i x = lanes[0];
  for (std::size_t i = 1; i < count; ++i) x = Fold(x, k128, lanes[i]);
  while (length >= 16) {
    x = Fold(x, k128, Load(data));
    data += 16;
    length -= 16;
  }

  // 128 bits to 96: the low half, multiplied by x^96 mod P, joins the high half.
  x = _mm_xor_si128(_mm_clmulepi64_si128(x, k128, 0x10), _mm_srli_si128(x, 8));

  // 96 bits to 64: the low 32 bits, multiplied by x^64 mod P, join the rest.
  const __m128i mask32 = _mm_setr_epi32(-1, 0, 0, 0);
  x = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x, mask32), _mm_set_epi64x(0, kFold64), 0x00),
                    _mm_srli_si128(x, 4));

  // 64 bits to 32 by Barrett reduction: q = floor(x * mu), remainder = x - q * P.
  const __m128i barrett = _mm_set_epi64x(kBarrettMu, kPolynomial);
  __m128i q = _mm_clmulepi64_si128(_mm_and_si128(x, mask32), barrett, 0x10);
  q = _mm_clmulepi64_si128(_mm_and_si128(q, mask32), barrett, 0x00);
  x = _mm_xor_si128(x, q);

  *consumed += static_cast<std::size_t>(data - start);
  return static_cast<std::uint32_t>(_mm_extract_epi32(x, 1));
}

bool CpuHasClmul() { return DetectClmul(); }

std::uint32_t Crc32Clmul(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  if (length < 64) return Crc32Slicing(crc, data, length);
  std::size_t consumed = 0;
  crc = Fold16s(crc, data, length, &consumed);
  return Crc32Slicing(crc, data + consumed, length - consumed);
}

#else  // not x86: the tables are all there is.

bool CpuHasClmul() { return false; }

std::uint32_t Crc32Clmul(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  return Crc32Slicing(crc, data, length);
}

#endif

}  // namespace Tavro_KVO_Util::crc_internal
