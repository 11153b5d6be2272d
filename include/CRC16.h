// CRC16: the CRC-16/USB checksum (polynomial 0x8005 reflected as 0xA001, start 0xFFFF, final
// inversion).
//
// Bytes may be fed in any number of pieces. Final() returns the checksum and resets the object
// for the next message, unlike Crc32::GetResult(), which keeps its state: the difference is
// deliberate and callers rely on it. Allocates nothing. An object belongs to one thread at a time.
// Everything but Digest is inline, so that checksumming a short buffer costs one call into the
// library.
//
//   CRC16 crc;
//   crc.Digest(data, length);
//   unsigned short value = crc.Final();   // 0xB4C8 for "123456789"
#ifndef TAVROMEDIVANEUTIL_CRC16_H
#define TAVROMEDIVANEUTIL_CRC16_H

#include <cstdint>

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API CRC16 {
 public:
  // Register 0xFFFF.
  TAVRO_KVO_UTIL_KEEP_EXPORTED CRC16() : crc(0xFFFF) {}

  CRC16(const CRC16&) = default;
  // Copies the register.
  CRC16& operator=(const CRC16&) = default;

  // For each byte b in order: crc = table[b ^ (crc & 0xFF)] ^ (crc >> 8), where table is the
  // byte-wise table of 0xA001. `length` 0 does nothing; `data` may then be null. Always returns 1.
  int Digest(const unsigned char* data, unsigned long length);

  // Returns ~crc and resets the register to 0xFFFF, so a second Final() right after returns 0.
  TAVRO_KVO_UTIL_KEEP_EXPORTED unsigned short Final() {
    const auto result = static_cast<unsigned short>(~crc);
    crc = 0xFFFF;
    return result;
  }

 private:
  std::uint16_t crc;  // running register
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_CRC16_H
