// Internal checksum kernels behind Crc32 and CRC16. Not exported from the library.
//
// Each path is declared separately so that the white-box test can call every one of them: on a
// processor that always takes the carry-less-multiply path the table fallbacks would otherwise
// never run under test. All kernels work on the raw register, without any inversion on the way in
// or out; the classes apply their own start value and final XOR. Every kernel accepts any length,
// including 0 with a null pointer, and any alignment.
#ifndef TAVROMEDIVANEUTIL_FOUNDATION_CRC_KERNELS_H
#define TAVROMEDIVANEUTIL_FOUNDATION_CRC_KERNELS_H

#include <cstddef>
#include <cstdint>

// Nothing here is part of the shared library's interface: on ELF platforms these symbols stay out
// of the dynamic symbol table, which also lets the inline short paths in other files of the
// library reach the tables directly instead of through the GOT. (A DLL exports only what is marked.)
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(hidden)
#endif

namespace Tavro_KVO_Util::crc_internal {

// True when the processor has PCLMULQDQ and SSE4.1. Each call asks the processor (CPUID, which
// traps to the hypervisor in a virtual machine), so the library asks once, while it loads.
bool CpuHasClmul();

// True when the processor has VPCLMULQDQ with AVX2 (256-bit registers) or with AVX-512F (512-bit
// registers), and the operating system saves those registers (XGETBV). Like CpuHasClmul, each
// call asks the processor.
bool CpuHasVpclmul256();
bool CpuHasVpclmul512();

// ---- CRC-32, reflected polynomial 0xEDB88320 ----

// row[k][b] is the register after byte b followed by k zero bytes, from a zero register. Row 0 is
// the byte-wise table.
struct Crc32SliceTables {
  std::uint32_t row[8][256];
};
extern const Crc32SliceTables kCrc32Slices;

// Inputs shorter than this take Crc32Short.
constexpr std::size_t kCrc32ShortLimit = 8;

// The definition itself: one table step per byte.
std::uint32_t Crc32Bytewise(std::uint32_t crc, const unsigned char* data, std::size_t length);

// Slicing-by-8: eight independent lookups per 8-byte word.
std::uint32_t Crc32Slicing(std::uint32_t crc, const unsigned char* data, std::size_t length);

// Carry-less-multiply folding. Must only be called when CpuHasClmul() is true.
std::uint32_t Crc32Clmul(std::uint32_t crc, const unsigned char* data, std::size_t length);

// VPCLMULQDQ folding over 256-bit and 512-bit registers, four registers at a time. Must only be
// called when CpuHasVpclmul256() or CpuHasVpclmul512() is true. Below four registers of input they
// take Crc32Clmul.
std::uint32_t Crc32Vpclmul256(std::uint32_t crc, const unsigned char* data, std::size_t length);
std::uint32_t Crc32Vpclmul512(std::uint32_t crc, const unsigned char* data, std::size_t length);

// The kernel Crc32Update takes for long inputs: the widest this processor and its operating
// system allow, chosen once while the library loads.
enum class Crc32Kernel { kSlicing, kClmul128, kVpclmul256, kVpclmul512 };
Crc32Kernel ChooseCrc32Kernel();
Crc32Kernel ChosenCrc32Kernel();  // what was chosen at load (kSlicing before that)

// "slicing-by-8", "pclmulqdq-128", "vpclmulqdq-256" or "vpclmulqdq-512".
const char* Crc32KernelName(Crc32Kernel kernel);

// The fastest path for this processor and length.
std::uint32_t Crc32Update(std::uint32_t crc, const unsigned char* data, std::size_t length);

// For length < kCrc32ShortLimit; inline because Crc32 calls it for short inputs, where a further
// call would cost as much as the work. Up to 3 bytes take the byte loop, with a single byte first
// and expected so that it is the straight path (at one byte per call a taken branch costs as much
// as the lookup). From 4 bytes on, the register is consumed whole and byte i, being followed by
// length-1-i more, is looked up in that row of the slicing tables: the lookups are independent
// instead of a chain through the register, so 7 bytes cost little more than 4.
inline std::uint32_t Crc32Short(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  const auto& t = kCrc32Slices.row;
  if (__builtin_expect(length == 1, 1)) return t[0][(crc ^ data[0]) & 0xFF] ^ (crc >> 8);
  if (length < 4) {
    for (std::size_t i = 0; i < length; ++i) crc = t[0][(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return crc;
  }
  const std::size_t last = length - 1;
  std::uint32_t result = t[last][(crc ^ data[0]) & 0xFF] ^ t[last - 1][((crc >> 8) ^ data[1]) & 0xFF] ^
                         t[last - 2][((crc >> 16) ^ data[2]) & 0xFF] ^ t[last - 3][(crc >> 24) ^ data[3]];
  for (std::size_t i = 4; i < length; ++i) result ^= t[last - i][data[i]];
  return result;
}

// ---- CRC-16, reflected polynomial 0xA001 ----

// As for CRC-32. Row 0 is the byte-wise table (entry 1 is 0xC0C1).
struct Crc16SliceTables {
  std::uint16_t row[16][256];
};
extern const Crc16SliceTables kCrc16Slices;

// The definition itself: one table step per byte.
std::uint16_t Crc16Bytewise(std::uint16_t crc, const unsigned char* data, std::size_t length);

// Slicing-by-16: sixteen independent lookups per 16 bytes.
std::uint16_t Crc16Slicing(std::uint16_t crc, const unsigned char* data, std::size_t length);

// Carry-less-multiply folding. Must only be called when CpuHasClmul() is true.
std::uint16_t Crc16Clmul(std::uint16_t crc, const unsigned char* data, std::size_t length);

// Inputs shorter than this take Crc16Short.
constexpr std::size_t kCrc16ShortLimit = 16;

// For length < kCrc16ShortLimit: the byte loop, inline for the same reason as Crc32Short, and like
// it with a single byte first and expected, so that one byte per call takes no branch.
inline std::uint16_t Crc16Short(std::uint16_t crc, const unsigned char* data, std::size_t length) {
  const auto& t = kCrc16Slices.row[0];
  if (__builtin_expect(length == 1, 1))
    return static_cast<std::uint16_t>(t[(crc ^ data[0]) & 0xFF] ^ (crc >> 8));
  for (std::size_t i = 0; i < length; ++i) crc = t[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return crc;
}

// The fastest path for this processor and length.
std::uint16_t Crc16Update(std::uint16_t crc, const unsigned char* data, std::size_t length);

}  // namespace Tavro_KVO_Util::crc_internal

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif

#endif  // TAVROMEDIVANEUTIL_FOUNDATION_CRC_KERNELS_H
