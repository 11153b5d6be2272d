// libFuzzer target: the checksum kernels compared with each other on any bytes, at the offset and
// with the start register the input chooses. Every CRC-32 kernel (byte table, slicing, folding
// at each width the processor has, the dispatched path) must give the same register, and so must every
// CRC-16 kernel; a split of the input into two updates must give the same as one.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/crc_kernels.h"
#include "fuzz_check.h"

namespace crc = Tavro_KVO_Util::crc_internal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  // The first five bytes choose the start register, the alignment and where the input is split.
  if (size < 5) return 0;
  std::uint32_t start = 0;
  std::memcpy(&start, input, sizeof start);
  const std::size_t offset = input[4] % 64;
  const unsigned char* message = input + 5;
  const std::size_t length = size - 5;
  const std::size_t split = length == 0 ? 0 : start % (length + 1);

  // A copy at the chosen offset from a 64-byte boundary, so that every alignment is reached.
  std::vector<unsigned char> buffer(offset + length + 64);
  auto* aligned = reinterpret_cast<unsigned char*>((reinterpret_cast<std::uintptr_t>(buffer.data()) + 63) &
                                                   ~static_cast<std::uintptr_t>(63));
  unsigned char* data = aligned + offset;
  if (length > 0) std::memcpy(data, message, length);
  const unsigned char* bytes = length == 0 ? nullptr : data;

  const std::uint32_t expected32 = crc::Crc32Bytewise(start, bytes, length);
  FUZZ_CHECK(crc::Crc32Slicing(start, bytes, length) == expected32);
  FUZZ_CHECK(crc::Crc32Update(start, bytes, length) == expected32);
  FUZZ_CHECK(crc::Crc32Update(crc::Crc32Update(start, bytes, split), data + split, length - split) ==
             expected32);
  if (crc::CpuHasClmul()) FUZZ_CHECK(crc::Crc32Clmul(start, bytes, length) == expected32);
  if (crc::CpuHasVpclmul256()) FUZZ_CHECK(crc::Crc32Vpclmul256(start, bytes, length) == expected32);
  if (crc::CpuHasVpclmul512()) FUZZ_CHECK(crc::Crc32Vpclmul512(start, bytes, length) == expected32);

  const auto start16 = static_cast<std::uint16_t>(start);
  const std::uint16_t expected16 = crc::Crc16Bytewise(start16, bytes, length);
  FUZZ_CHECK(crc::Crc16Slicing(start16, bytes, length) == expected16);
  FUZZ_CHECK(crc::Crc16Update(start16, bytes, length) == expected16);
  FUZZ_CHECK(crc::Crc16Update(crc::Crc16Update(start16, bytes, split), data + split, length - split) ==
             expected16);
  if (crc::CpuHasClmul()) FUZZ_CHECK(crc::Crc16Clmul(start16, bytes, length) == expected16);
  return 0;
}
