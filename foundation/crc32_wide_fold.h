// CRC-32 folding over registers of any width: the kernel the 256-bit and 512-bit VPCLMULQDQ paths
// instantiate, each in a file compiled for its instructions. x86 only.
//
// `Wide` supplies the register and its steps:
//   Wide::Vector                       the register type
//   Wide::kLanes                       16-byte lanes per register
//   Wide::Load(p)                      kLanes*16 bytes from p, lane 0 first, any alignment
//   Wide::AddToFirst32(x, crc)         x with crc added (XOR) to bits 0-31 of lane 0
//   Wide::Broadcast(low, high)         every lane holding {low, high}
//   Wide::Fold(x, k, next)             in every lane: low(x)*low(k) ^ high(x)*high(k) ^ next,
//                                      carry-less, as PCLMULQDQ's selectors 0x00 and 0x11 give
//   Wide::Split(x, lanes)              the lanes of x into lanes[0..kLanes), lane 0 first
// The tests instantiate it with lanes made of 16-byte PCLMULQDQ registers, so that the constants
// and the order of the lanes are checked on any processor with PCLMULQDQ.
#ifndef TAVROMEDIVANEUTIL_FOUNDATION_CRC32_WIDE_FOLD_H
#define TAVROMEDIVANEUTIL_FOUNDATION_CRC32_WIDE_FOLD_H

#include "foundation/crc32_fold_steps.h"

namespace Tavro_KVO_Util::crc_internal::clmul32 {

// Requires length >= 4 * Wide::kLanes * 16. Folds four registers at a time, then hands their
// lanes to FinishFold; returns the register and adds the bytes folded to `*consumed`.
template <class Wide>
std::uint32_t FoldWide(std::uint32_t crc, const unsigned char* data, std::size_t length,
                       std::size_t* consumed) {
  constexpr std::size_t kLanes = Wide::kLanes;
  constexpr std::size_t kRegisterBytes = 16 * kLanes;
  constexpr std::size_t kStep = 4 * kRegisterBytes;
  const unsigned char* const start = data;

  typename Wide::Vector x0 = Wide::AddToFirst32(Wide::Load(data), crc);
  typename Wide::Vector x1 = Wide::Load(data + kRegisterBytes);
  typename Wide::Vector x2 = Wide::Load(data + 2 * kRegisterBytes);
  typename Wide::Vector x3 = Wide::Load(data + 3 * kRegisterBytes);
  data += kStep;
  length -= kStep;

  // Four independent registers keep the multipliers busy while earlier products are in flight.
  constexpr FoldPair kAcross = FoldAcross(4 * kLanes);
  const typename Wide::Vector k = Wide::Broadcast(kAcross.low, kAcross.high);
  while (length >= kStep) {
    x0 = Wide::Fold(x0, k, Wide::Load(data));
    x1 = Wide::Fold(x1, k, Wide::Load(data + kRegisterBytes));
    x2 = Wide::Fold(x2, k, Wide::Load(data + 2 * kRegisterBytes));
    x3 = Wide::Fold(x3, k, Wide::Load(data + 3 * kRegisterBytes));
    data += kStep;
    length -= kStep;
  }

  __m128i lanes[4 * kLanes];
  Wide::Split(x0, lanes);
  Wide::Split(x1, lanes + kLanes);
  Wide::Split(x2, lanes + 2 * kLanes);
  Wide::Split(x3, lanes + 3 * kLanes);
  *consumed += static_cast<std::size_t>(data - start);
  return FinishFold(lanes, 4 * kLanes, data, length, consumed);
}

}  // namespace Tavro_KVO_Util::crc_internal::clmul32

#endif  // TAVROMEDIVANEUTIL_FOUNDATION_CRC32_WIDE_FOLD_H
