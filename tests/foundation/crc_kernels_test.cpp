// Every checksum kernel called directly, so that the table fallbacks are proven even on a
// processor where the classes always dispatch to carry-less-multiply folding.
#include "foundation/crc_kernels.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "foundation/crc_test_data.h"

namespace Tavro_KVO_Util::crc_internal {
namespace {

using testing::RandomBytes;

std::uint32_t BitwiseStep32(std::uint32_t reg, unsigned char byte) {
  reg ^= byte;
  for (int bit = 0; bit < 8; ++bit) reg = (reg >> 1) ^ ((reg & 1) ? 0xEDB88320u : 0u);
  return reg;
}

std::uint16_t BitwiseStep16(std::uint16_t reg, unsigned char byte) {
  unsigned r = reg ^ byte;
  for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ ((r & 1) ? 0xA001u : 0u);
  return static_cast<std::uint16_t>(r);
}

// Runs `kernel` over every length 0..maxLength at offsets 0..63, each offset with its own random
// start register, against the bitwise reference built up byte by byte over the prefixes. Then a
// few large inputs, each with a fresh random register. Stops at the first mismatch.
template <typename Reg, typename Kernel, typename Step>
void ExpectMatchesBitwise(Kernel kernel, Step step, std::size_t maxLength, std::uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<std::uint32_t> anyRegister;
  for (std::size_t offset = 0; offset < 64; ++offset) {
    const auto buffer = RandomBytes(rng, offset + maxLength);
    const unsigned char* data = buffer.data() + offset;
    const Reg start = static_cast<Reg>(anyRegister(rng));
    Reg reference = start;
    for (std::size_t length = 0; length <= maxLength; ++length) {
      if (length > 0) reference = step(reference, data[length - 1]);
      const Reg got = kernel(start, length == 0 ? nullptr : data, length);
      if (got != reference) {
        ADD_FAILURE() << "offset " << offset << " length " << length << " start " << std::hex << +start
                      << ": expected " << +reference << ", got " << +got;
        return;
      }
    }
  }
  if (maxLength < 64) return;
  for (std::size_t length : {4096u + 3u, 65536u, 65536u + 15u, 1048576u + 9u}) {
    const std::size_t offset = length % 16;
    const auto buffer = RandomBytes(rng, offset + length);
    const unsigned char* data = buffer.data() + offset;
    const Reg start = static_cast<Reg>(anyRegister(rng));
    Reg reference = start;
    for (std::size_t i = 0; i < length; ++i) reference = step(reference, data[i]);
    EXPECT_EQ(kernel(start, data, length), reference) << "length " << length;
  }
}

// Every length up to 4096 crosses every block boundary of the folding kernels (16-byte lanes,
// 64-byte blocks of four lanes, and where the dispatch changes kernels) many times over.
constexpr std::size_t kMaxLength = 4096;

TEST(Crc32Kernels, ByteTableRowIsTheBytewiseTable) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ(kCrc32Slices.row[0][b], BitwiseStep32(0, static_cast<unsigned char>(b))) << "entry " << b;
  }
  EXPECT_EQ(kCrc32Slices.row[0][1], 0x77073096u);
}

TEST(Crc32Kernels, BytewiseMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Bytewise, BitwiseStep32, kMaxLength, 1);
}

TEST(Crc32Kernels, ShortMatchesTheBitwiseDefinitionBelowItsLimit) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Short, BitwiseStep32, kCrc32ShortLimit - 1, 2);
}

TEST(Crc32Kernels, SlicingMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Slicing, BitwiseStep32, kMaxLength, 3);
}

TEST(Crc32Kernels, ClmulMatchesTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint32_t>(Crc32Clmul, BitwiseStep32, kMaxLength, 4);
}

TEST(Crc32Kernels, DispatchedUpdateMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Update, BitwiseStep32, kMaxLength, 5);
}

TEST(Crc16Kernels, ByteTableRowIsTheBytewiseTable) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ(kCrc16Slices.row[0][b], BitwiseStep16(0, static_cast<unsigned char>(b))) << "entry " << b;
  }
  EXPECT_EQ(kCrc16Slices.row[0][1], 0xC0C1);
}

TEST(Crc16Kernels, BytewiseMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Bytewise, BitwiseStep16, kMaxLength, 6);
}

TEST(Crc16Kernels, SlicingMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Slicing, BitwiseStep16, kMaxLength, 7);
}

TEST(Crc16Kernels, ClmulMatchesTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint16_t>(Crc16Clmul, BitwiseStep16, kMaxLength, 9);
}

TEST(Crc16Kernels, DispatchedUpdateMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Update, BitwiseStep16, kMaxLength, 8);
}

}  // namespace
}  // namespace Tavro_KVO_Util::crc_internal
