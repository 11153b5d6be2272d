// The byte-at-a-time loops the library's checksums are measured against. They are built into a
// shared library of their own (see CMakeLists.txt) and never inlined, so that each buffer pays the
// same call into another library as the exported ProcessBuffer and Digest do; and like those they
// keep the register in memory between calls.
#include <cstdint>

#include "CRC16.h"
#include "Crc32.h"
#include "foundation/crc_kernels.h"

namespace {

struct Crc16Table {
  std::uint16_t entry[256];
};

constexpr Crc16Table MakeCrc16Table() {
  Crc16Table t{};
  for (unsigned b = 0; b < 256; ++b) {
    unsigned r = b;
    for (int bit = 0; bit < 8; ++bit) r = (r >> 1) ^ ((r & 1) ? 0xA001u : 0u);
    t.entry[b] = static_cast<std::uint16_t>(r);
  }
  return t;
}

constexpr Crc16Table kCrc16Table = MakeCrc16Table();

}  // namespace

__attribute__((noinline)) void Crc32BytewiseUpdate(std::uint32_t* crc, const unsigned char* data,
                                                   unsigned int length) {
  const std::uint32_t* table = Tavro_KVO_Util::Crc32::mCrc32Table;
  std::uint32_t c = *crc;
  for (unsigned int i = 0; i < length; ++i) c = table[(c ^ data[i]) & 0xFF] ^ (c >> 8);
  *crc = c;
}

__attribute__((noinline)) void Crc16BytewiseUpdate(std::uint16_t* crc, const unsigned char* data,
                                                   unsigned long length) {
  std::uint16_t c = *crc;
  for (unsigned long i = 0; i < length; ++i) c = kCrc16Table.entry[(c ^ data[i]) & 0xFF] ^ (c >> 8);
  *crc = c;
}

// The 128-bit PCLMULQDQ folding kernel on its own, as every long input took it before the wide
// kernels: the reference they must beat (or, on a processor without them, match).
__attribute__((noinline)) void Crc32Clmul128Update(std::uint32_t* crc, const unsigned char* data,
                                                   unsigned int length) {
  namespace kernels = Tavro_KVO_Util::crc_internal;
  // Asked once, as the library does at load: CPUID traps to the hypervisor in a virtual machine.
  static const bool hasClmul = kernels::CpuHasClmul();
  *crc = hasClmul ? kernels::Crc32Clmul(*crc, data, length) : kernels::Crc32Slicing(*crc, data, length);
}

// What the library chose at load for long inputs, for the benchmark's report.
const char* Crc32LongInputKernelName() {
  namespace kernels = Tavro_KVO_Util::crc_internal;
  return kernels::Crc32KernelName(kernels::ChooseCrc32Kernel());
}
