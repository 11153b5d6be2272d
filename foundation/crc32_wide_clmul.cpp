// The wide CRC-32 kernels' entry points and the processor checks that allow them. The kernels
// themselves are in files compiled for their instructions (crc32_clmul_ymm.cpp,
// crc32_clmul_zmm.cpp); this file is compiled for the baseline, like the rest of the library.
#include "foundation/crc_kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>

#include "foundation/crc32_fold_steps.h"
#endif

namespace Tavro_KVO_Util::crc_internal {

#if defined(__x86_64__) || defined(__i386__)

namespace {

// CPUID leaf 1, ECX.
constexpr unsigned kCpuidOsxsave = 1u << 27;
constexpr unsigned kCpuidAvx = 1u << 28;
// CPUID leaf 7, sub-leaf 0.
constexpr unsigned kCpuid7EbxAvx2 = 1u << 5;
constexpr unsigned kCpuid7EbxAvx512f = 1u << 16;
constexpr unsigned kCpuid7EcxVpclmulqdq = 1u << 10;
// XCR0: the register state the operating system saves on a task switch.
constexpr unsigned long long kXcr0Ymm = 0x6;   // SSE and AVX state
constexpr unsigned long long kXcr0Zmm = 0xE6;  // and the opmask and both halves of the ZMM state

struct WideFeatures {
  bool vpclmul256 = false;
  bool vpclmul512 = false;
};

// A processor may have the instructions while the operating system does not save the wide
// registers; using them then would corrupt other threads' state, so XGETBV must agree too.
WideFeatures DetectWide() {
  WideFeatures found;
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!CpuHasClmul() || !__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return found;
  if ((ecx & kCpuidOsxsave) == 0 || (ecx & kCpuidAvx) == 0) return found;
  unsigned low = 0, high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  const unsigned long long xcr0 = (static_cast<unsigned long long>(high) << 32) | low;
  if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) || (ecx & kCpuid7EcxVpclmulqdq) == 0) return found;
  found.vpclmul256 = (ebx & kCpuid7EbxAvx2) != 0 && (xcr0 & kXcr0Ymm) == kXcr0Ymm;
  found.vpclmul512 = (ebx & kCpuid7EbxAvx512f) != 0 && (xcr0 & kXcr0Zmm) == kXcr0Zmm;
  return found;
}

// Four registers: below that a wide kernel has nothing to fold.
constexpr std::size_t kYmmMinLength = 4 * 32;
constexpr std::size_t kZmmMinLength = 4 * 64;

// Folds what the wide kernel can and finishes with the tables; below its minimum, the 128-bit
// kernel does it all.
using WideFold = std::uint32_t (*)(std::uint32_t, const unsigned char*, std::size_t, std::size_t*);
std::uint32_t FoldWideThenTables(WideFold fold, std::size_t minimum, std::uint32_t crc,
                                 const unsigned char* data, std::size_t length) {
  if (length < minimum) return Crc32Clmul(crc, data, length);
  std::size_t consumed = 0;
  crc = fold(crc, data, length, &consumed);
  return Crc32Slicing(crc, data + consumed, length - consumed);
}

}  // namespace

bool CpuHasVpclmul256() { return DetectWide().vpclmul256; }
bool CpuHasVpclmul512() { return DetectWide().vpclmul512; }

std::uint32_t Crc32Vpclmul256(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  return FoldWideThenTables(clmul32::FoldYmm, kYmmMinLength, crc, data, length);
}

std::uint32_t Crc32Vpclmul512(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  return FoldWideThenTables(clmul32::FoldZmm, kZmmMinLength, crc, data, length);
}

#else  // not x86: no wide kernels.

bool CpuHasVpclmul256() { return false; }
bool CpuHasVpclmul512() { return false; }

std::uint32_t Crc32Vpclmul256(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  return Crc32Slicing(crc, data, length);
}

std::uint32_t Crc32Vpclmul512(std::uint32_t crc, const unsigned char* data, std::size_t length) {
  return Crc32Slicing(crc, data, length);
}

#endif

Crc32Kernel ChooseCrc32Kernel() {
  if (CpuHasVpclmul512()) return Crc32Kernel::kVpclmul512;
  if (CpuHasVpclmul256()) return Crc32Kernel::kVpclmul256;
  if (CpuHasClmul()) return Crc32Kernel::kClmul128;
  return Crc32Kernel::kSlicing;
}

const char* Crc32KernelName(Crc32Kernel kernel) {
  switch (kernel) {
    case Crc32Kernel::kVpclmul512:
      return "vpclmulqdq-512";
    case Crc32Kernel::kVpclmul256:
      return "vpclmulqdq-256";
    case Crc32Kernel::kClmul128:
      return "pclmulqdq-128";
    case Crc32Kernel::kSlicing:
      break;
  }
  return "slicing-by-8";
}

}  // namespace Tavro_KVO_Util::crc_internal
