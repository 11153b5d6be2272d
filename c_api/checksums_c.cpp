// The checksum functions of the C interface over Crc32 and CRC16. The caller's state structure
// holds the class object itself, so an update costs one call into the class. The objects are made
// in it by placement and never destroyed: their destructors are empty, and their members are
// plain integers, so a caller may copy the structure as C copies any structure.
#include <climits>
#include <new>
#include <type_traits>

#include "CRC16.h"
#include "Crc32.h"
#include "TavroMedivaneUtil_c.h"
#include "c_api/c_api_support.h"

using Tavro_KVO_Util::CRC16;
using Tavro_KVO_Util::Crc32;
using Tavro_KVO_Util::c_api::Present;

static_assert(sizeof(Crc32) <= sizeof(tmu_crc32_state) && alignof(Crc32) <= alignof(tmu_crc32_state),
              "tmu_crc32_state holds a Crc32");
static_assert(sizeof(CRC16) <= sizeof(tmu_crc16_state) && alignof(CRC16) <= alignof(tmu_crc16_state),
              "tmu_crc16_state holds a CRC16");

namespace {

Crc32* Crc32In(tmu_crc32_state* state) { return std::launder(reinterpret_cast<Crc32*>(state->opaque)); }
const Crc32* Crc32In(const tmu_crc32_state* state) {
  return std::launder(reinterpret_cast<const Crc32*>(state->opaque));
}
CRC16* Crc16In(tmu_crc16_state* state) { return std::launder(reinterpret_cast<CRC16*>(state->opaque)); }

// The classes take at most UINT_MAX (Crc32) or ULONG_MAX (CRC16) bytes a call; longer buffers go
// in pieces, which gives the same checksum.
void Feed(Crc32& crc, const void* data, std::size_t length) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (length > 0) {
    const auto piece = static_cast<unsigned int>(length < UINT_MAX ? length : UINT_MAX);
    crc.ProcessBuffer(bytes, piece);
    bytes += piece;
    length -= piece;
  }
}

void Feed(CRC16& crc, const void* data, std::size_t length) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (length > 0) {
    const auto piece = static_cast<unsigned long>(length < ULONG_MAX ? length : ULONG_MAX);
    crc.Digest(bytes, piece);
    bytes += piece;
    length -= piece;
  }
}

// The checks both update functions make before `crc` (the object in `state`) takes the bytes.
template <typename State, typename Crc>
tmu_status Update(const char* function, State* state, const void* data, std::size_t length,
                  Crc* (*objectIn)(State*)) {
  if (!Present(function, "state", state)) return TMU_INVALID_ARGUMENT;
  if (length == 0) return TMU_OK;
  if (!Present(function, "data", data)) return TMU_INVALID_ARGUMENT;
  Feed(*objectIn(state), data, length);
  return TMU_OK;
}

}  // namespace

extern "C" {

uint32_t tmu_crc32(const void* data, size_t length) {
  if (length == 0 || !Present("tmu_crc32", "data", data)) return 0;  // the checksum of no bytes is 0
  Crc32 crc;
  Feed(crc, data, length);
  return static_cast<uint32_t>(crc.GetResult());
}

tmu_status tmu_crc32_begin(tmu_crc32_state* state, uint32_t init) {
  if (!Present("tmu_crc32_begin", "state", state)) return TMU_INVALID_ARGUMENT;
  new (state->opaque) Crc32(init);
  return TMU_OK;
}

tmu_status tmu_crc32_update(tmu_crc32_state* state, const void* data, size_t length) {
  return Update<tmu_crc32_state, Crc32>("tmu_crc32_update", state, data, length, Crc32In);
}

uint32_t tmu_crc32_result(const tmu_crc32_state* state) {
  if (state == nullptr) return 0;
  return static_cast<uint32_t>(Crc32In(state)->GetResult());
}

uint16_t tmu_crc16(const void* data, size_t length) {
  if (length == 0 || !Present("tmu_crc16", "data", data)) return 0;  // the checksum of no bytes is 0
  CRC16 crc;
  Feed(crc, data, length);
  return crc.Final();
}

tmu_status tmu_crc16_begin(tmu_crc16_state* state) {
  if (!Present("tmu_crc16_begin", "state", state)) return TMU_INVALID_ARGUMENT;
  new (state->opaque) CRC16();
  return TMU_OK;
}

tmu_status tmu_crc16_update(tmu_crc16_state* state, const void* data, size_t length) {
  return Update<tmu_crc16_state, CRC16>("tmu_crc16_update", state, data, length, Crc16In);
}

uint16_t tmu_crc16_final(tmu_crc16_state* state) {
  if (state == nullptr) return 0;
  return Crc16In(state)->Final();
}

}  // extern "C"
