// The wide CRC-32 folding kernel run with lanes made of 16-byte PCLMULQDQ registers: the
// constants, the order of the lanes and the hand-over to the final steps are checked on any
// processor with PCLMULQDQ, also where the 256-bit and 512-bit instructions are missing. With one
// lane per register the kernel is the 128-bit kernel's own algorithm.
#include <gtest/gtest.h>
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <random>

#include "foundation/crc32_wide_fold.h"
#include "foundation/crc_kernel_reference.h"
#include "foundation/crc_kernels.h"

namespace Tavro_KVO_Util::crc_internal {
namespace {

using testing::BitwiseStep32;
using testing::ExpectMatchesBitwise;
using testing::RandomBytes;

// A register of kLanes 16-byte lanes, each step done lane by lane with PCLMULQDQ, exactly as
// VPCLMULQDQ does it on 256-bit (2 lanes) and 512-bit (4 lanes) registers.
template <std::size_t kLaneCount>
struct PclmulLanes {
  struct Vector {
    __m128i lane[kLaneCount];
  };
  static constexpr std::size_t kLanes = kLaneCount;

  __attribute__((target("pclmul,sse4.1"))) static Vector Load(const unsigned char* p) {
    Vector v;
    for (std::size_t i = 0; i < kLanes; ++i)
      v.lane[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * i));
    return v;
  }
  __attribute__((target("pclmul,sse4.1"))) static Vector AddToFirst32(Vector x, std::uint32_t crc) {
    x.lane[0] = _mm_xor_si128(x.lane[0], _mm_cvtsi32_si128(static_cast<int>(crc)));
    return x;
  }
  __attribute__((target("pclmul,sse4.1"))) static Vector Broadcast(long long low, long long high) {
    Vector v;
    for (auto& lane : v.lane) lane = _mm_set_epi64x(high, low);
    return v;
  }
  __attribute__((target("pclmul,sse4.1"))) static Vector Fold(Vector x, Vector k, Vector next) {
    for (std::size_t i = 0; i < kLanes; ++i) {
      const __m128i low = _mm_clmulepi64_si128(x.lane[i], k.lane[i], 0x00);
      const __m128i high = _mm_clmulepi64_si128(x.lane[i], k.lane[i], 0x11);
      x.lane[i] = _mm_xor_si128(_mm_xor_si128(low, high), next.lane[i]);
    }
    return x;
  }
  static void Split(Vector x, __m128i* lanes) {
    for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = x.lane[i];
  }
};

// As Crc32Vpclmul256/512 use their kernels: the tables below four registers and for the tail.
template <std::size_t kLanes>
std::uint32_t ModelCrc(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  if (length < 4 * 16 * kLanes) return Crc32Slicing(crc, data, length);
  std::size_t consumed = 0;
  crc = clmul32::FoldWide<PclmulLanes<kLanes>>(crc, data, length, &consumed);
  return Crc32Slicing(crc, data + consumed, length - consumed);
}

constexpr std::size_t kMaxLength = 4096;

TEST(Crc32WideFold, OneLanePerRegisterMatchesTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint32_t>(ModelCrc<1>, BitwiseStep32, kMaxLength, 21);
}

TEST(Crc32WideFold, TwoLanesPerRegisterAsOn256BitsMatchTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint32_t>(ModelCrc<2>, BitwiseStep32, kMaxLength, 22);
}

TEST(Crc32WideFold, FourLanesPerRegisterAsOn512BitsMatchTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint32_t>(ModelCrc<4>, BitwiseStep32, kMaxLength, 23);
}

// Around every multiple of a round (four registers: 128 bytes on 256 bits, 256 on 512 bits) and
// of the 16-byte tail, up to eight rounds, for the models and for the real kernels where the
// processor has them.
TEST(Crc32WideFold, LengthsAroundEveryRoundBoundary) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  std::mt19937 rng(24);
  const auto buffer = RandomBytes(rng, 8 * 256 + 64);
  for (const std::size_t round : {std::size_t{128}, std::size_t{256}}) {
    for (std::size_t rounds = 1; rounds <= 8; ++rounds) {
      for (const int delta : {-17, -16, -15, -1, 0, 1, 15, 16, 17}) {
        const std::size_t length = static_cast<std::size_t>(static_cast<long>(round * rounds) + delta);
        const unsigned char* data = buffer.data() + rounds % 3;
        std::uint32_t reference = 0x12345678u;
        for (std::size_t i = 0; i < length; ++i) reference = BitwiseStep32(reference, data[i]);
        EXPECT_EQ(ModelCrc<2>(0x12345678u, data, length), reference) << "2 lanes, length " << length;
        EXPECT_EQ(ModelCrc<4>(0x12345678u, data, length), reference) << "4 lanes, length " << length;
        if (CpuHasVpclmul256()) {
          EXPECT_EQ(Crc32Vpclmul256(0x12345678u, data, length), reference) << "256 bits, length " << length;
        }
        if (CpuHasVpclmul512()) {
          EXPECT_EQ(Crc32Vpclmul512(0x12345678u, data, length), reference) << "512 bits, length " << length;
        }
        EXPECT_EQ(Crc32Update(0x12345678u, data, length), reference) << "dispatched, length " << length;
      }
    }
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util::crc_internal
