// The bit-at-a-time CRC definitions and the exhaustive check every kernel is held to.
#ifndef TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_KERNEL_REFERENCE_H
#define TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_KERNEL_REFERENCE_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>

#include "foundation/crc_test_data.h"

namespace Tavro_KVO_Util::testing {

inline std::uint32_t BitwiseStep32(std::uint32_t reg, unsigned char byte) {
  reg ^= byte;
  for (int bit = 0; bit < 8; ++bit) reg = (reg >> 1) ^ ((reg & 1) ? 0xEDB88320u : 0u);
  return reg;
}

inline std::uint16_t BitwiseStep16(std::uint16_t reg, unsigned char byte) {
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

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_KERNEL_REFERENCE_H
