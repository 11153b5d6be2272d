// CRC16: the choice of kernel by length. The start value, final inversion and reset are inline in
// CRC16.h.
#include "CRC16.h"

#include "foundation/crc_kernels.h"

namespace Tavro_KVO_Util {
namespace {

// Out of line so that Digest reaches it by a tail jump and the short path needs no stack frame.
__attribute__((noinline)) int DigestLong(std::uint16_t* crc, const unsigned char* data, std::size_t length) {
  *crc = crc_internal::Crc16Update(*crc, data, length);
  return 1;
}

}  // namespace

int CRC16::Digest(const unsigned char* data, unsigned long length) {
  if (length >= crc_internal::kCrc16ShortLimit) return DigestLong(&crc, data, length);
  crc = crc_internal::Crc16Short(crc, data, length);
  return 1;
}

}  // namespace Tavro_KVO_Util
