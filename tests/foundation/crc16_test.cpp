// CRC16 through the library's exported interface only.
#include "CRC16.h"

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

// One bit at a time, straight from the reflected polynomial: shares nothing with the library.
std::uint16_t BitwiseStep(std::uint16_t reg, unsigned char byte) {
  unsigned r = reg ^ byte;
  for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ ((r & 1) ? 0xA001u : 0u);
  return static_cast<std::uint16_t>(r);
}

std::uint16_t BitwiseCrc16(const unsigned char* data, std::size_t length) {
  std::uint16_t reg = 0xFFFF;
  for (std::size_t i = 0; i < length; ++i) reg = BitwiseStep(reg, data[i]);
  return static_cast<std::uint16_t>(~reg);
}

TEST(CRC16, CheckValueOfStandardStringIs0xB4C8) {
  CRC16 crc;
  crc.Digest(Bytes("123456789"), 9);
  EXPECT_EQ(crc.Final(), 0xB4C8);
}

TEST(CRC16, SecondFinalRightAfterReturnsZero) {
  CRC16 crc;
  crc.Digest(Bytes("123456789"), 9);
  EXPECT_EQ(crc.Final(), 0xB4C8);
  EXPECT_EQ(crc.Final(), 0x0000);
}

TEST(CRC16, FinalResetsTheObjectForTheNextMessage) {
  CRC16 crc;
  crc.Digest(Bytes("unrelated first message"), 23);
  crc.Final();
  crc.Digest(Bytes("123456789"), 9);
  EXPECT_EQ(crc.Final(), 0xB4C8);
}

TEST(CRC16, NoBytesGiveZero) {
  CRC16 crc;
  EXPECT_EQ(crc.Digest(nullptr, 0), 1);
  EXPECT_EQ(crc.Final(), 0x0000);
}

TEST(CRC16, DigestAlwaysReturnsOne) {
  CRC16 crc;
  EXPECT_EQ(crc.Digest(Bytes("123456789"), 9), 1);
  EXPECT_EQ(crc.Digest(nullptr, 0), 1);
  std::vector<unsigned char> big(100000, 0x5A);
  EXPECT_EQ(crc.Digest(big.data(), big.size()), 1);
}

TEST(CRC16, TwoPiecesGiveTheSameResultAsOneCall) {
  CRC16 whole;
  whole.Digest(Bytes("123456789"), 9);
  CRC16 pieces;
  pieces.Digest(Bytes("1234"), 4);
  pieces.Digest(nullptr, 0);
  pieces.Digest(Bytes("56789"), 5);
  EXPECT_EQ(pieces.Final(), whole.Final());
}

TEST(CRC16, CopyAndAssignmentCarryTheRegister) {
  CRC16 original;
  original.Digest(Bytes("1234"), 4);
  CRC16 assigned;
  assigned.Digest(Bytes("something else"), 14);
  assigned = original;
  CRC16 copied(original);

  original.Digest(Bytes("56789"), 5);
  assigned.Digest(Bytes("56789"), 5);
  copied.Digest(Bytes("56789"), 5);
  EXPECT_EQ(original.Final(), 0xB4C8);
  EXPECT_EQ(assigned.Final(), 0xB4C8);
  EXPECT_EQ(copied.Final(), 0xB4C8);
}

// Every length 0..4096 at every start offset 0..15, in one call and in random pieces. The
// reference for all prefixes of one buffer is built byte by byte, so the check stays quick.
TEST(CRC16, EveryLengthAndAlignmentMatchesTheBitwiseDefinition) {
  constexpr std::size_t kMaxLength = 4096;
  std::mt19937 rng(0xC16u);
  for (std::size_t offset = 0; offset < 16; ++offset) {
    const auto buffer = RandomBytes(rng, offset + kMaxLength);
    const unsigned char* data = buffer.data() + offset;
    std::uint16_t reference = 0xFFFF;
    for (std::size_t length = 0; length <= kMaxLength; ++length) {
      if (length > 0) reference = BitwiseStep(reference, data[length - 1]);
      const unsigned short expected = static_cast<unsigned short>(~reference);

      CRC16 whole;
      whole.Digest(data, length);
      const unsigned short oneCall = whole.Final();
      CRC16 pieces;
      testing::FeedInRandomPieces(
          data, length, rng, [&](const unsigned char* piece, std::size_t n) { pieces.Digest(piece, n); });
      const unsigned short inPieces = pieces.Final();
      if (oneCall != expected || inPieces != expected) {
        ADD_FAILURE() << "offset " << offset << " length " << length << ": expected " << std::hex << expected
                      << ", one call " << oneCall << ", pieces " << inPieces;
        return;
      }
    }
  }
}

TEST(CRC16, LongBuffersMatchTheBitwiseDefinition) {
  std::mt19937 rng(16);
  for (std::size_t length : {65536u, 65536u + 13u, 1048576u + 7u}) {
    for (std::size_t offset : {0u, 5u, 15u}) {
      const auto buffer = RandomBytes(rng, offset + length);
      const unsigned char* data = buffer.data() + offset;
      const unsigned short expected = BitwiseCrc16(data, length);
      CRC16 whole;
      whole.Digest(data, length);
      EXPECT_EQ(whole.Final(), expected) << "length " << length << " offset " << offset;
      CRC16 pieces;
      testing::FeedInRandomPieces(
          data, length, rng, [&](const unsigned char* piece, std::size_t n) { pieces.Digest(piece, n); });
      EXPECT_EQ(pieces.Final(), expected) << "length " << length << " offset " << offset;
    }
  }
}

}  // namespace
}  // namespace Tavro_KVO_Util
