// Test data for the checksum tests: random buffers from a fixed seed, and random splitting.
#ifndef TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_TEST_DATA_H
#define TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_TEST_DATA_H

#include <cstddef>
#include <random>
#include <vector>

namespace Tavro_KVO_Util::testing {

inline const unsigned char* Bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

inline std::vector<unsigned char> RandomBytes(std::mt19937& rng, std::size_t count) {
  std::uniform_int_distribution<int> byte(0, 255);
  std::vector<unsigned char> v(count);
  for (auto& b : v) b = static_cast<unsigned char>(byte(rng));
  return v;
}

// Calls `feed(piece, pieceLength)` for random consecutive pieces of `data`, zero-length ones
// included, until all `length` bytes were given.
template <typename Feed>
void FeedInRandomPieces(const unsigned char* data, std::size_t length, std::mt19937& rng, Feed feed) {
  std::size_t done = 0;
  while (done < length) {
    std::uniform_int_distribution<std::size_t> piece(0, length - done);
    const std::size_t n = piece(rng);
    feed(data + done, n);
    done += n;
  }
}

}  // namespace Tavro_KVO_Util::testing

#endif  // TAVROMEDIVANEUTIL_TESTS_FOUNDATION_CRC_TEST_DATA_H
