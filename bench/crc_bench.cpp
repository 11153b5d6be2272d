// Checksum throughput: the library against zlib's crc32() and against the byte-at-a-time loops.
// Names pair up (BM_Crc32_Ours/65536 next to BM_Crc32_Zlib/65536) so ratios read off directly;
// crc_ratios.py computes them and checks the goals. The program links the shared library as a
// user's program does, so every call into it crosses the library boundary.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "CRC16.h"
#include "Crc32.h"
#include "TavroMedivaneUtil_c.h"

// In crc_reference.cpp, a shared library of its own so the calls cost what calls into ours cost.
void Crc32BytewiseUpdate(std::uint32_t* crc, const unsigned char* data, unsigned int length);
void Crc16BytewiseUpdate(std::uint16_t* crc, const unsigned char* data, unsigned long length);
void Crc32Clmul128Update(std::uint32_t* crc, const unsigned char* data, unsigned int length);
const char* Crc32LongInputKernelName();

namespace {

const unsigned char* TestData() {
  static const std::vector<unsigned char> data = [] {
    std::mt19937 rng(12345);
    std::vector<unsigned char> v(1 << 20);
    for (auto& b : v) b = static_cast<unsigned char>(rng());
    return v;
  }();
  return data.data();
}

void Finish(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void BM_Crc32_Ours(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned int>(state.range(0));
  Tavro_KVO_Util::Crc32 crc;
  for (auto _ : state) {
    crc.ProcessBuffer(data, length);
    benchmark::DoNotOptimize(crc);
  }
  Finish(state);
}

void BM_Crc32_Zlib(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<uInt>(state.range(0));
  uLong crc = crc32(0, Z_NULL, 0);
  for (auto _ : state) {
    crc = crc32(crc, data, length);
    benchmark::DoNotOptimize(crc);
  }
  Finish(state);
}

// Today's 128-bit folding kernel, the reference for the wide kernels.
void BM_Crc32_Clmul128(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned int>(state.range(0));
  std::uint32_t crc = 0xFFFFFFFFu;
  for (auto _ : state) {
    Crc32Clmul128Update(&crc, data, length);
    benchmark::DoNotOptimize(crc);
  }
  state.SetLabel(Crc32LongInputKernelName());
  Finish(state);
}

void BM_Crc32_Bytewise(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned int>(state.range(0));
  std::uint32_t crc = 0xFFFFFFFF;
  for (auto _ : state) {
    Crc32BytewiseUpdate(&crc, data, length);
    benchmark::DoNotOptimize(crc);
  }
  Finish(state);
}

void BM_Crc16_Ours(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned long>(state.range(0));
  Tavro_KVO_Util::CRC16 crc;
  for (auto _ : state) {
    crc.Digest(data, length);
    benchmark::DoNotOptimize(crc);
  }
  Finish(state);
}

void BM_Crc16_Bytewise(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned long>(state.range(0));
  std::uint16_t crc = 0xFFFF;
  for (auto _ : state) {
    Crc16BytewiseUpdate(&crc, data, length);
    benchmark::DoNotOptimize(crc);
  }
  Finish(state);
}

// A whole short message, as a caller checksums a small record: a new object, one ProcessBuffer,
// the result. Only ProcessBuffer should cost a call; the reference is the byte loop behind one
// call, with the same start value and final XOR done by the caller.
void BM_Crc32_Message_Ours(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned int>(state.range(0));
  for (auto _ : state) {
    Tavro_KVO_Util::Crc32 crc;
    crc.ProcessBuffer(data, length);
    benchmark::DoNotOptimize(crc.GetResult());
  }
  Finish(state);
}

// The same message through the C interface: one call does all three steps.
void BM_Crc32_Message_C(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(tmu_crc32(data, length));
  Finish(state);
}

void BM_Crc32_Message_Bytewise(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned int>(state.range(0));
  for (auto _ : state) {
    std::uint32_t crc = 0xFFFFFFFF;
    Crc32BytewiseUpdate(&crc, data, length);
    benchmark::DoNotOptimize(crc ^ 0xFFFFFFFF);
  }
  Finish(state);
}

void BM_Crc16_Message_Ours(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned long>(state.range(0));
  for (auto _ : state) {
    Tavro_KVO_Util::CRC16 crc;
    crc.Digest(data, length);
    benchmark::DoNotOptimize(crc.Final());
  }
  Finish(state);
}

void BM_Crc16_Message_Bytewise(benchmark::State& state) {
  const unsigned char* data = TestData();
  const auto length = static_cast<unsigned long>(state.range(0));
  for (auto _ : state) {
    std::uint16_t crc = 0xFFFF;
    Crc16BytewiseUpdate(&crc, data, length);
    benchmark::DoNotOptimize(static_cast<std::uint16_t>(~crc));
  }
  Finish(state);
}

}  // namespace

BENCHMARK(BM_Crc32_Ours)->Arg(1)->Arg(7)->Arg(64)->Arg(1024)->Arg(65536)->Arg(1 << 20);
BENCHMARK(BM_Crc32_Zlib)->Arg(1)->Arg(7)->Arg(64)->Arg(1024)->Arg(65536)->Arg(1 << 20);
BENCHMARK(BM_Crc32_Clmul128)->Arg(65536)->Arg(1 << 20);
BENCHMARK(BM_Crc32_Bytewise)->Arg(1)->Arg(7)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_Crc16_Ours)->Arg(1)->Arg(7)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_Crc16_Bytewise)->Arg(1)->Arg(7)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_Crc32_Message_Ours)->Arg(1)->Arg(7)->Arg(64);
BENCHMARK(BM_Crc32_Message_Bytewise)->Arg(1)->Arg(7)->Arg(64);
BENCHMARK(BM_Crc32_Message_C)->Arg(64);
BENCHMARK(BM_Crc16_Message_Ours)->Arg(1)->Arg(7)->Arg(64);
BENCHMARK(BM_Crc16_Message_Bytewise)->Arg(1)->Arg(7)->Arg(64);

BENCHMARK_MAIN();
