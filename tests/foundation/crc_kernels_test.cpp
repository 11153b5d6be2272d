// Every checksum kernel called directly, so that the table fallbacks are proven even on a
// processor where the classes always dispatch to carry-less-multiply folding.
#include "foundation/crc_kernels.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

#include "foundation/crc_kernel_reference.h"
#include "foundation/crc_test_data.h"

namespace Tavro_KVO_Util::crc_internal {
namespace {

using testing::BitwiseStep16;
using testing::BitwiseStep32;
using testing::ExpectMatchesBitwise;
using testing::RandomBytes;

// Every length up to 4096 crosses every block boundary of the folding kernels (16-byte lanes,
// 64-byte blocks of four lanes, and where the dispatch changes kernels) many times over.
constexpr std::size_t kMaxLength = 4096;

TEST(Crc32Kernels, ByteTableRowIsTheBytewiseTable) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ(kCrc32Slices.row[0][b], BitwiseStep32(0, static_cast<unsigned char>(b))) << "entry " << b;
  }
  EXPECT_EQ(kCrc32Slices.row[0][1], 0x77073096u);
}

TEST(Crc32Kernels, BytewiseMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Bytewise, BitwiseStep32, kMaxLength, 1);
}

TEST(Crc32Kernels, ShortMatchesTheBitwiseDefinitionBelowItsLimit) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Short, BitwiseStep32, kCrc32ShortLimit - 1, 2);
}

TEST(Crc32Kernels, SlicingMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Slicing, BitwiseStep32, kMaxLength, 3);
}

TEST(Crc32Kernels, ClmulMatchesTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint32_t>(Crc32Clmul, BitwiseStep32, kMaxLength, 4);
}

TEST(Crc32Kernels, Vpclmul256MatchesTheBitwiseDefinition) {
  if (!CpuHasVpclmul256()) GTEST_SKIP() << "this processor or its system lacks VPCLMULQDQ with AVX2";
  ExpectMatchesBitwise<std::uint32_t>(Crc32Vpclmul256, BitwiseStep32, kMaxLength, 10);
}

TEST(Crc32Kernels, Vpclmul512MatchesTheBitwiseDefinition) {
  if (!CpuHasVpclmul512()) GTEST_SKIP() << "this processor or its system lacks VPCLMULQDQ with AVX-512F";
  ExpectMatchesBitwise<std::uint32_t>(Crc32Vpclmul512, BitwiseStep32, kMaxLength, 11);
}

// Support staff read which kernel a machine runs off the test output.
TEST(Crc32Kernels, ChosenKernelIsTheWidestAllowedAndIsRightOnOneMebibyte) {
  const Crc32Kernel chosen = ChosenCrc32Kernel();
  std::printf("CRC-32 kernel for long inputs: %s\n", Crc32KernelName(chosen));
  ::testing::Test::RecordProperty("crc32_kernel", Crc32KernelName(chosen));
  const Crc32Kernel expected = CpuHasVpclmul512()   ? Crc32Kernel::kVpclmul512
                               : CpuHasVpclmul256() ? Crc32Kernel::kVpclmul256
                               : CpuHasClmul()      ? Crc32Kernel::kClmul128
                                                    : Crc32Kernel::kSlicing;
  EXPECT_EQ(chosen, expected);

  std::mt19937 rng(12);
  const auto data = RandomBytes(rng, std::size_t{1} << 20);
  std::uint32_t reference = 0xFFFFFFFFu;
  for (const unsigned char byte : data) reference = BitwiseStep32(reference, byte);
  EXPECT_EQ(Crc32Update(0xFFFFFFFFu, data.data(), data.size()), reference);
}

TEST(Crc32Kernels, KernelNamesAreTheOnesReported) {
  EXPECT_STREQ(Crc32KernelName(Crc32Kernel::kSlicing), "slicing-by-8");
  EXPECT_STREQ(Crc32KernelName(Crc32Kernel::kClmul128), "pclmulqdq-128");
  EXPECT_STREQ(Crc32KernelName(Crc32Kernel::kVpclmul256), "vpclmulqdq-256");
  EXPECT_STREQ(Crc32KernelName(Crc32Kernel::kVpclmul512), "vpclmulqdq-512");
}

TEST(Crc32Kernels, DispatchedUpdateMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint32_t>(Crc32Update, BitwiseStep32, kMaxLength, 5);
}

TEST(Crc16Kernels, ByteTableRowIsTheBytewiseTable) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ(kCrc16Slices.row[0][b], BitwiseStep16(0, static_cast<unsigned char>(b))) << "entry " << b;
  }
  EXPECT_EQ(kCrc16Slices.row[0][1], 0xC0C1);
}

TEST(Crc16Kernels, BytewiseMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Bytewise, BitwiseStep16, kMaxLength, 6);
}

TEST(Crc16Kernels, SlicingMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Slicing, BitwiseStep16, kMaxLength, 7);
}

TEST(Crc16Kernels, ClmulMatchesTheBitwiseDefinition) {
  if (!CpuHasClmul()) GTEST_SKIP() << "this processor lacks PCLMULQDQ or SSE4.1";
  ExpectMatchesBitwise<std::uint16_t>(Crc16Clmul, BitwiseStep16, kMaxLength, 9);
}

TEST(Crc16Kernels, DispatchedUpdateMatchesTheBitwiseDefinition) {
  ExpectMatchesBitwise<std::uint16_t>(Crc16Update, BitwiseStep16, kMaxLength, 8);
}

}  // namespace
}  // namespace Tavro_KVO_Util::crc_internal
