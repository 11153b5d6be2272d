// Crc32 through the library's exported interface only.
#include "Crc32.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "foundation/crc_test_data.h"

namespace Tavro_KVO_Util {
namespace {

using testing::Bytes;
using testing::RandomBytes;

constexpr std::uint32_t kPolynomial = 0xEDB88320;

// One bit at a time, straight from the polynomial: shares nothing with the library's tables.
std::uint32_t BitwiseStep(std::uint32_t reg, unsigned char byte) {
  reg ^= byte;
  for (int bit = 0; bit < 8; ++bit) reg = (reg >> 1) ^ ((reg & 1) ? kPolynomial : 0);
  return reg;
}

std::uint32_t BitwiseRegister(std::uint32_t reg, const unsigned char* data, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) reg = BitwiseStep(reg, data[i]);
  return reg;
}

TEST(Crc32, CheckValueOfStandardStringIs0xCBF43926) {
  Crc32 crc;
  crc.ProcessBuffer(Bytes("123456789"), 9);
  EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
}

TEST(Crc32, NoBytesGiveZeroAndGetResultDoesNotReset) {
  Crc32 crc;
  EXPECT_EQ(crc.GetResult(), 0ul);
  EXPECT_EQ(crc.GetResult(), 0ul);
  crc.ProcessBuffer(Bytes("123456789"), 9);
  EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
  EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
}

TEST(Crc32, NoBytesGiveZeroWhateverTheStartValue) {
  Crc32 crc(0x12345678ul);
  EXPECT_EQ(crc.GetResult(), 0ul);
  crc.ProcessBuffer(nullptr, 0);
  EXPECT_EQ(crc.GetResult(), 0ul);
}

TEST(Crc32, ZeroLengthWithNullPointerChangesNothing) {
  Crc32 crc;
  crc.ProcessBuffer(Bytes("1234"), 4);
  crc.ProcessBuffer(nullptr, 0);
  crc.ProcessBuffer(Bytes("56789"), 5);
  EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
}

TEST(Crc32, TwoPiecesGiveTheSameResultAsOneCall) {
  Crc32 whole;
  whole.ProcessBuffer(Bytes("123456789"), 9);
  Crc32 pieces;
  pieces.ProcessBuffer(Bytes("1234"), 4);
  pieces.ProcessBuffer(Bytes("56789"), 5);
  EXPECT_EQ(pieces.GetResult(), whole.GetResult());
}

TEST(Crc32, GetResultBetweenPiecesDoesNotDisturbTheRegister) {
  Crc32 crc;
  crc.ProcessBuffer(Bytes("1234"), 4);
  const unsigned long partial = crc.GetResult();
  Crc32 firstPiece;
  firstPiece.ProcessBuffer(Bytes("1234"), 4);
  EXPECT_EQ(partial, firstPiece.GetResult());
  crc.ProcessBuffer(Bytes("56789"), 5);
  EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
}

TEST(Crc32, StartValueZeroGivesTheUnfinalisedRegisterOverAZeroRegister) {
  std::mt19937 rng(20240601);
  for (std::size_t length : {1u, 9u, 63u, 64u, 1000u, 4099u}) {
    const auto data = RandomBytes(rng, length);
    Crc32 crc(0);
    crc.ProcessBuffer(data.data(), static_cast<unsigned int>(length));
    EXPECT_EQ(crc.GetResult(), BitwiseRegister(0, data.data(), length)) << "length " << length;
  }
  Crc32 check(0);
  check.ProcessBuffer(Bytes("123456789"), 9);
  EXPECT_EQ(check.GetResult(), 0x2DFD2D88ul);
}

TEST(Crc32, StartValueIsAlsoXoredIntoTheResult) {
  std::mt19937 rng(7);
  const auto data = RandomBytes(rng, 777);
  for (std::uint32_t init : {0x12345678u, 0xFFFFFFFFu, 0x80000001u}) {
    Crc32 crc(init);
    crc.ProcessBuffer(data.data(), static_cast<unsigned int>(data.size()));
    EXPECT_EQ(crc.GetResult(), BitwiseRegister(init, data.data(), data.size()) ^ init);
  }
}

TEST(Crc32, DefaultStartValueEqualsExplicitAllOnes) {
  Crc32 byDefault;
  Crc32 explicitOnes(0xFFFFFFFFul);
  byDefault.ProcessBuffer(Bytes("123456789"), 9);
  explicitOnes.ProcessBuffer(Bytes("123456789"), 9);
  EXPECT_EQ(byDefault.GetResult(), explicitOnes.GetResult());
}

TEST(Crc32, OnlyTheLowThirtyTwoBitsOfTheStartValueCount) {
  if constexpr (sizeof(unsigned long) > 4) {
    const unsigned long wide = static_cast<unsigned long>(0xABCDull << 32) | 0xFFFFFFFFul;
    Crc32 crc(wide);
    crc.ProcessBuffer(Bytes("123456789"), 9);
    EXPECT_EQ(crc.GetResult(), 0xCBF43926ul);
  } else {
    GTEST_SKIP() << "unsigned long has only 32 bits here";
  }
}

TEST(Crc32, TableEqualsTheTableComputedBitByBit) {
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t entry = i;
    for (int bit = 0; bit < 8; ++bit) entry = (entry >> 1) ^ ((entry & 1) ? kPolynomial : 0);
    EXPECT_EQ(Crc32::mCrc32Table[i], entry) << "entry " << i;
  }
  EXPECT_EQ(Crc32::mCrc32Table[0], 0x00000000u);
  EXPECT_EQ(Crc32::mCrc32Table[1], 0x77073096u);
  EXPECT_EQ(Crc32::mCrc32Table[128], 0xEDB88320u);
  EXPECT_EQ(Crc32::mCrc32Table[255], 0x2D02EF8Du);
}

TEST(Crc32, CopyAndAssignmentCarryTheRegisterAndStartValue) {
  Crc32 original(0x0BADF00Dul);
  original.ProcessBuffer(Bytes("1234"), 4);

  Crc32 assigned;
  assigned = original;
  Crc32 copied(original);
  EXPECT_EQ(assigned.GetResult(), original.GetResult());
  EXPECT_EQ(copied.GetResult(), original.GetResult());

  original.ProcessBuffer(Bytes("56789"), 5);
  assigned.ProcessBuffer(Bytes("56789"), 5);
  copied.ProcessBuffer(Bytes("56789"), 5);
  EXPECT_EQ(assigned.GetResult(), original.GetResult());
  EXPECT_EQ(copied.GetResult(), original.GetResult());
  EXPECT_EQ(original.GetResult(), BitwiseRegister(0x0BADF00D, Bytes("123456789"), 9) ^ 0x0BADF00Du);
}

// Every length 0..4096 at every start offset 0..15, in one call and in random pieces. The
// reference for all prefixes of one buffer is built byte by byte, so the check stays quick.
TEST(Crc32, EveryLengthAndAlignmentMatchesTheBitwiseDefinition) {
  constexpr std::size_t kMaxLength = 4096;
  std::mt19937 rng(0xC4C32u);
  for (std::size_t offset = 0; offset < 16; ++offset) {
    const auto buffer = RandomBytes(rng, offset + kMaxLength);
    const unsigned char* data = buffer.data() + offset;
    std::uint32_t reference = 0xFFFFFFFF;
    for (std::size_t length = 0; length <= kMaxLength; ++length) {
      if (length > 0) reference = BitwiseStep(reference, data[length - 1]);
      const unsigned long expected = reference ^ 0xFFFFFFFFu;

      Crc32 whole;
      whole.ProcessBuffer(data, static_cast<unsigned int>(length));
      Crc32 pieces;
      testing::FeedInRandomPieces(data, length, rng, [&](const unsigned char* piece, std::size_t n) {
        pieces.ProcessBuffer(piece, static_cast<unsigned int>(n));
      });
      if (whole.GetResult() != expected || pieces.GetResult() != expected) {
        ADD_FAILURE() << "offset " << offset << " length " << length << ": expected " << std::hex << expected
                      << ", one call " << whole.GetResult() << ", pieces " << pieces.GetResult();
        return;
      }
    }
  }
}

TEST(Crc32, LongBuffersMatchTheBitwiseDefinition) {
  std::mt19937 rng(99);
  for (std::size_t length : {65536u, 65536u + 13u, 1048576u + 7u}) {
    for (std::size_t offset : {0u, 3u, 8u, 15u}) {
      const auto buffer = RandomBytes(rng, offset + length);
      const unsigned char* data = buffer.data() + offset;
      const unsigned long expected = BitwiseRegister(0xFFFFFFFF, data, length) ^ 0xFFFFFFFFu;
      Crc32 whole;
      whole.ProcessBuffer(data, static_cast<unsigned int>(length));
      EXPECT_EQ(whole.GetResult(), expected) << "length " << length << " offset " << offset;
      Crc32 pieces;
      testing::FeedInRandomPieces(data, length, rng, [&](const unsigned char* piece, std::size_t n) {
        pieces.ProcessBuffer(piece, static_cast<unsigned int>(n));
      });
      EXPECT_EQ(pieces.GetResult(), expected) << "length " << length << " offset " << offset;
    }
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util
