// What every CRC-32 folding kernel shares, whatever its register width: the folding constants and
// the last steps, from a row of 16-byte lanes to the 32-bit register. x86 only.
#ifndef TAVROMEDIVANEUTIL_FOUNDATION_CRC32_FOLD_STEPS_H
#define TAVROMEDIVANEUTIL_FOUNDATION_CRC32_FOLD_STEPS_H

#if !defined(__x86_64__) && !defined(__i386__)
#error "x86-only header"
#endif

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(hidden)
#endif

namespace Tavro_KVO_Util::crc_internal::clmul32 {

// Folding constants: x^n mod P for the polynomial 0x104C11DB7, bit-reflected and shifted left by
// one so that a 64x64 carry-less product lands where the reflected data expects it. A kernel that
// keeps `lanes` 16-byte lanes in flight moves each lane ahead by lanes*128 bits: the low half of a
// lane with x^(lanes*128+32), the high half with x^(lanes*128-32).
constexpr long long kFold128Low = 0x1751997D0;    // x^(128+32)
constexpr long long kFold128High = 0x0CCAA009E;   // x^(128-32)
constexpr long long kFold512Low = 0x154442BD4;    // x^(4*128+32): 4 lanes, four 16-byte registers
constexpr long long kFold512High = 0x1C6E41596;   // x^(4*128-32)
constexpr long long kFold1024Low = 0x1E88EF372;   // x^(8*128+32): 8 lanes, four 32-byte registers
constexpr long long kFold1024High = 0x14A7FE880;  // x^(8*128-32)
constexpr long long kFold2048Low = 0x11542778A;   // x^(16*128+32): 16 lanes, four 64-byte registers
constexpr long long kFold2048High = 0x1322D1430;  // x^(16*128-32)
constexpr long long kFold64 = 0x163CD6124;        // x^64: folds 96 bits to 64
constexpr long long kBarrettMu = 0x1F7011641;     // floor(x^64 / P), reflected
constexpr long long kPolynomial = 0x1DB710641;    // P, reflected

// The constants that move one of `lanes` lanes ahead by all of them; {low, high}.
struct FoldPair {
  long long low;
  long long high;
};
constexpr FoldPair FoldAcross(std::size_t lanes) {
  return lanes == 4   ? FoldPair{kFold512Low, kFold512High}
         : lanes == 8 ? FoldPair{kFold1024Low, kFold1024High}
                      : FoldPair{kFold2048Low, kFold2048High};
}

// Folds `count` lanes (in the order of the message) into one, then every whole 16-byte block of
// [data, data + length) into that, and reduces it to the 32-bit register. Adds the bytes of `data`
// it folded to `*consumed`; the caller finishes the rest (under 16 bytes) with the tables. Runs
// only where the processor has PCLMULQDQ and SSE4.1.
std::uint32_t FinishFold(const __m128i* lanes, std::size_t count, const unsigned char* data,
                         std::size_t length, std::size_t* consumed);

// The wide kernels, each in a file of its own compiled for its instructions (crc32_clmul_ymm.cpp,
// crc32_clmul_zmm.cpp). Require length >= 4 registers (128 and 256 bytes); return the register
// over the bytes folded and add their count to `*consumed`, as FinishFold does.
std::uint32_t FoldYmm(std::uint32_t crc, const unsigned char* data, std::size_t length,
                      std::size_t* consumed);
std::uint32_t FoldZmm(std::uint32_t crc, const unsigned char* data, std::size_t length,
                      std::size_t* consumed);

}  // namespace Tavro_KVO_Util::crc_internal::clmul32

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_FOUNDATION_CRC32_FOLD_STEPS_H
