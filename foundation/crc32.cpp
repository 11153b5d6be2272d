// Crc32: start value, final XOR and the choice of kernel by length.
#include "Crc32.h"

#include "foundation/crc_kernels.h"

namespace Tavro_KVO_Util {
namespace {

// Out of line so that ProcessBuffer reaches it by a tail jump: the short path then needs no stack
// frame and costs no more than the plain byte loop.
__attribute__((noinline)) void UpdateLong(std::uint32_t* crc, const unsigned char* data, std::size_t length) {
  *crc = crc_internal::Crc32Update(*crc, data, length);
}

}  // namespace

Crc32::Crc32() : crc(0xFFFFFFFF), xorOut(0xFFFFFFFF) {}

Crc32::Crc32(unsigned long init)
    : crc(static_cast<std::uint32_t>(init)), xorOut(static_cast<std::uint32_t>(init)) {}

Crc32::~Crc32() = default;

// Aligned so that the entry and the single-byte path share one 64-byte line: at one byte per call
// the time goes into fetching instructions, and straddling two lines was measurably slower.
__attribute__((aligned(64))) void Crc32::ProcessBuffer(const unsigned char* data, unsigned int length) {
  if (length >= crc_internal::kCrc32ShortLimit) return UpdateLong(&crc, data, length);
  crc = crc_internal::Crc32Short(crc, data, length);
}

unsigned long Crc32::GetResult() const { return crc ^ xorOut; }

}  // namespace Tavro_KVO_Util
