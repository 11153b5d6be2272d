// Crc32: the CRC-32 of ISO-HDLC (zip, Ethernet, PNG), with a selectable start value.
//
// Bytes may be fed in any number of pieces; the result covers all of them. The work is done by
// carry-less-multiply folding where the processor has it and by table slicing otherwise; every
// path gives the same result as the byte-wise definition below. Allocates nothing. An object
// belongs to one thread at a time. Everything but ProcessBuffer is inline, so that checksumming a
// short buffer costs one call into the library.
//
//   Crc32 crc;                          // start value 0xFFFFFFFF
//   crc.ProcessBuffer(data, length);
//   unsigned long value = crc.GetResult();   // 0xCBF43926 for "123456789"
#ifndef TAVROMEDIVANEUTIL_CRC32_H
#define TAVROMEDIVANEUTIL_CRC32_H

#include <cstdint>

#include "TavroMedivaneUtilExport.h"

namespace Tavro_KVO_Util {

class TAVRO_KVO_UTIL_API Crc32 {
 public:
  // The byte-wise lookup table of the reflected polynomial 0xEDB88320: entry i is i shifted
  // through eight reflected steps. Callers may use it directly; it never changes.
  static const std::uint32_t mCrc32Table[256];

  // Start value 0xFFFFFFFF, which gives the standard CRC-32.
  TAVRO_KVO_UTIL_KEEP_EXPORTED Crc32() : crc(0xFFFFFFFF), xorOut(0xFFFFFFFF) {}

  // `init` serves both as the start value of the register and as the value XORed into the
  // result. The pairing is deliberate: with `init` 0 the result is the unfinalised CRC over a
  // zero register. Only the low 32 bits of `init` are used.
  TAVRO_KVO_UTIL_KEEP_EXPORTED explicit Crc32(unsigned long init)
      : crc(static_cast<std::uint32_t>(init)), xorOut(static_cast<std::uint32_t>(init)) {}

  // Empty, but user-provided as it always was, not defaulted: a defaulted destructor would make the
  // class trivial for calls and change how it is passed by value between modules.
  TAVRO_KVO_UTIL_KEEP_EXPORTED ~Crc32() {}
  Crc32(const Crc32&) = default;
  Crc32& operator=(const Crc32&) = default;

  // For each byte b in order: crc = mCrc32Table[(crc ^ b) & 0xFF] ^ (crc >> 8).
  // `length` 0 does nothing; `data` may then be null.
  void ProcessBuffer(const unsigned char* data, unsigned int length);

  // Returns crc ^ init. The register is not reset: more data may follow, and a later call covers
  // every byte so far. Over no bytes the result is 0.
  TAVRO_KVO_UTIL_KEEP_EXPORTED unsigned long GetResult() const { return crc ^ xorOut; }

 private:
  std::uint32_t crc;     // running register
  std::uint32_t xorOut;  // always the start value
};

}  // namespace Tavro_KVO_Util

#endif  // TAVROMEDIVANEUTIL_CRC32_H
