// Crc32: the choice of kernel by length. The start value and final XOR are inline in Crc32.h.
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

// Aligned so that the entry and the single-byte path share one 64-byte line: at one byte per call
// the time goes into fetching instructions, and straddling two lines was measurably slower.
__attribute__((aligned(64))) void Crc32::ProcessBuffer(const unsigned char* data, unsigned int length) {
  if (length >= crc_internal::kCrc32ShortLimit) return UpdateLong(&crc, data, length);
  crc = crc_internal::Crc32Short(crc, data, length);
}

}  // namespace Tavro_KVO_Util
