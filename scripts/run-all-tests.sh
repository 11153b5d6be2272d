#!/usr/bin/env bash
# Every test: the Linux build (Debug), the same under AddressSanitizer and UndefinedBehaviorSanitizer,
# the same under ThreadSanitizer, the Windows build under Wine, a short smoke run of the benchmarks,
# and the fuzzers. Stops at the first failure.
#
# host-tsan runs the whole suite but one logger test, whose lock holder dies on purpose: the
# preset leaves it out and says why (CMakePresets.json), and scripts/tsan-suppressions.txt names
# the one report it silences.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/require-packages.sh
require_packages "${WINDOWS_BUILD_PACKAGES[@]}" "${HOST_TEST_PACKAGES[@]}"

jobs=${TAVRO_JOBS:-2}
step() { printf '\n==== %s ====\n' "$*"; }

for preset in host host-asan host-tsan; do
  step "$preset: build and test"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j"$jobs"
  ctest --preset "$preset" -j"$jobs"
done

step "windows: build, then test under Wine"
cmake --preset windows >/dev/null
cmake --build --preset windows -j"$jobs"
scripts/with-wineserver.sh build/windows/wineprefix ctest --preset windows -j"$jobs"

step "bench: build and smoke-run (ratios are measured with bench/*_ratios.py, see README)"
cmake --preset bench >/dev/null
cmake --build --preset bench -j"$jobs"
build/bench/bin/crc_bench --benchmark_min_time=0.01 >/dev/null
build/bench/bin/config_bench --benchmark_min_time=0.01 >/dev/null
build/bench/bin/logger_bench --benchmark_min_time=0.01 >/dev/null

step "fuzz: each fuzzer for ${TAVRO_FUZZ_SECONDS:-60} s (a crash, leak, hang or OOM fails)"
scripts/run-fuzzers.sh "${TAVRO_FUZZ_SECONDS:-60}"

step "all test suites passed"
