#!/usr/bin/env bash
# Every test: the Linux build (Debug), the same under AddressSanitizer and UndefinedBehaviorSanitizer,
# the same under ThreadSanitizer, the Python package over the Linux library, the Windows build under
# Wine, a short smoke run of the benchmarks, and the fuzzers. Stops at the first failure.
#
# host-tsan runs the whole suite but four logger tests, whose lock holder dies on purpose, and the
# image tests, whose libvips threads synchronise where ThreadSanitizer cannot see, and the exhaustive
# checksum tests, which run on one thread: the preset
# leaves them out and says why (CMakePresets.json), and scripts/tsan-suppressions.txt names the
# one report it silences.
#
# The sound tests that record what was played need a sound server: the host and Windows test runs
# get a private PulseAudio server with a null sink (scripts/with-pulseaudio.sh), and
# TAVRO_REQUIRE_AUDIO=1 makes those tests fail rather than skip if it is missing. The sanitizer
# runs have none, so there they skip: the sound server's client libraries are not instrumented.
#
# At the end, also after a failure, a table gives each stage's wall time and the total, so that a
# run that nears CI's time limit shows where the time went.
set -euo pipefail
cd "$(dirname "$0")/.."

stage_names=()
stage_times=()
stage=""
stage_start=$SECONDS

# Closes the running stage (if any) with `$1` after its time, and starts the stage named `$2`.
next_stage() {
  if [ -n "$stage" ]; then
    stage_names+=("$stage")
    stage_times+=("$(minutes $((SECONDS - stage_start)))$1")
  fi
  stage=${2:-}
  stage_start=$SECONDS
  [ -z "$stage" ] || printf '\n==== %s ====\n' "$stage"
}
step() { next_stage "" "$*"; }
minutes() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

print_times() {
  local status=$?
  if [ "$status" -eq 0 ]; then next_stage ""; else next_stage "  FAILED (exit code $status)"; fi
  printf '\n==== wall time per stage ====\n'
  local i
  for i in "${!stage_names[@]}"; do printf '%-40s %s\n' "${stage_names[$i]}" "${stage_times[$i]}"; done
  printf '%-40s %s\n' "total" "$(minutes "$SECONDS")"
}
trap print_times EXIT

step "packages: install what is missing"
source scripts/lib/require-packages.sh
require_packages "${WINDOWS_BUILD_PACKAGES[@]}" "${HOST_TEST_PACKAGES[@]}"

jobs=${TAVRO_JOBS:-2}

for preset in host host-asan host-tsan; do
  step "$preset: build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j"$jobs"
  step "$preset: test"
  if [ "$preset" = host ]; then
    TAVRO_REQUIRE_AUDIO=1 scripts/with-pulseaudio.sh build/host/pulse ctest --preset "$preset" -j"$jobs"
    # The Python package, installed into a fresh virtual environment, over the library just built.
    step "python: package over the C interface"
    rm -rf build/python-venv
    TAVRO_MEDIVANE_LIBRARY=$PWD/build/host/lib/libTavroMedivaneUtil.so TAVRO_MVUTIL=$PWD/build/host/bin/mvutil \
      python/run-tests.sh build/python-venv -q
  else
    env -u PULSE_SERVER ctest --preset "$preset" -j"$jobs"
  fi
done

step "windows: build"
cmake --preset windows >/dev/null
cmake --build --preset windows -j"$jobs"
step "windows: test under Wine"
# A test that fails under Wine is run once more: now and then Wine's loader ends a program at its
# start without any output, or asserts in ld.so at its exit ("dl-fini.c: 87"), on code that passes
# on every other run. A test that fails twice still fails the stage.
TAVRO_REQUIRE_AUDIO=1 scripts/with-pulseaudio.sh build/windows/pulse \
  scripts/with-wineserver.sh build/windows/wineprefix ctest --preset windows -j"$jobs" --repeat until-pass:2

# The ratios are measured with bench/*_ratios.py (see README); here each benchmark only runs once.
step "bench: build and smoke-run"
cmake --preset bench >/dev/null
cmake --build --preset bench -j"$jobs"
build/bench/bin/crc_bench --benchmark_min_time=0.01 >/dev/null
build/bench/bin/config_bench --benchmark_min_time=0.01 >/dev/null
build/bench/bin/logger_bench --benchmark_min_time=0.01 >/dev/null
build/bench/bin/image_c_call_bench --smoke >/dev/null
/usr/bin/python3 bench/image_ratios.py --smoke >/dev/null
# mvutil ship against a private rsyslog: every measurement at tiny sizes (ship_writer from the host build).
/usr/bin/python3 bench/ship_ratios.py --smoke >/dev/null

# A crash, leak, hang or running out of memory fails.
step "fuzz: ${TAVRO_FUZZ_SECONDS:-30} s per fuzzer"
scripts/run-fuzzers.sh "${TAVRO_FUZZ_SECONDS:-30}"

next_stage ""
printf '\n==== all test suites passed ====\n'
