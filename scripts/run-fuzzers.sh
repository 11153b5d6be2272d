#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "fuzz": clang, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs each for SECONDS (default 60), as many at a time as TAVRO_JOBS (default 2), starting
# from the committed seeds in fuzz/corpus/config
# (the configuration fuzzers and the checksum kernels' fuzzer, which takes any bytes),
# fuzz/corpus/keys (the key press string fuzzer) or
# fuzz/corpus/format (the wide formatter fuzzer); the image fuzzer starts from the image test
# fixtures, written by Pillow into the scratch directory, and is held to 1 GiB.
#
#   scripts/run-fuzzers.sh [SECONDS]
#
# TAVRO_FUZZ_BUILD names another build directory for the fuzz preset (default build/fuzz), and
# TAVRO_FUZZERS a space-separated choice of fuzzers (default all).
#
# New corpus entries, the fuzzers' temporary files and any reproducers go to a scratch directory
# (kept and printed when something was found, removed otherwise); the committed corpus is only
# read. Inputs stay below 64 KiB: the huge cases (1 MiB lines, 100,000 lines) are covered by
# tests/config/bad_input_test.cpp instead. A hang of more than 10 s is a failure, as is a crash, a
# leak, a failed check or more than 2 GiB of memory. The formatter fuzzer is held tighter: no single
# allocation over 64 MiB and no more than 512 MiB in all, since no format may make it allocate much
# beyond its output limit. Exits non-zero when any fuzzer found anything.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
jobs=${TAVRO_JOBS:-2}
build=${TAVRO_FUZZ_BUILD:-build/fuzz}
read -r -a fuzzers <<<"${TAVRO_FUZZERS:-config_parse_fuzzer config_write_fuzzer key_string_fuzzer wide_format_fuzzer image_fuzzer crc_kernels_fuzzer}"

cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" -j"$jobs" --target "${fuzzers[@]}"

# Memory-backed when possible: each input is written to a file before it is parsed.
scratch_base=/dev/shm
[ -d "$scratch_base" ] && [ -w "$scratch_base" ] || scratch_base=${TMPDIR:-/tmp}
scratch=$(mktemp -d "$scratch_base/tavro-fuzz-XXXXXX")

# Runs one fuzzer with its seeds and limits; its output goes to $work/log.
run_one() {
  local fuzzer=$1 work=$scratch/$1 seeds dict memory status=0
  mkdir -p "$work/corpus" "$work/artifacts" "$work/tmp"
  memory=(-rss_limit_mb=2048)
  case $fuzzer in
    key_*) seeds=fuzz/corpus/keys dict=fuzz/keys.dict ;;
    wide_format_*)
      seeds=fuzz/corpus/format dict=fuzz/format.dict
      memory=(-malloc_limit_mb=64 -rss_limit_mb=512)
      ;;
    image_*)
      # Seeds: the test fixtures, written by Pillow (small images of every input format).
      seeds=$work/seeds dict=fuzz/image.dict
      /usr/bin/python3 tests/image/make_fixtures.py "$seeds" >/dev/null
      memory=(-rss_limit_mb=1024)
      ;;
    crc_*)
      # Any bytes will do: the committed configuration seeds are a start.
      seeds=fuzz/corpus/config dict=
      ;;
    *) seeds=fuzz/corpus/config dict=fuzz/config.dict ;;
  esac
  # The first corpus directory receives new entries; the committed seeds come second, read only.
  TMPDIR=$work/tmp "$build/bin/$fuzzer" "$work/corpus" "$seeds" \
    ${dict:+-dict="$dict"} \
    -max_total_time="$seconds" \
    -max_len=65536 \
    -timeout=10 \
    "${memory[@]}" \
    -artifact_prefix="$work/artifacts/" \
    -print_final_stats=1 >"$work/log" 2>&1 || status=$?
  echo "$status" >"$work/status"
}

# Each fuzzer is one process on one core: they run $jobs at a time, and their results are printed
# in the order of the list once all have ended.
running=0
for fuzzer in "${fuzzers[@]}"; do
  if [ "$running" -ge "$jobs" ]; then
    wait -n || true
    running=$((running - 1))
  fi
  run_one "$fuzzer" &
  running=$((running + 1))
done
wait || true

failed=()
for fuzzer in "${fuzzers[@]}"; do
  work=$scratch/$fuzzer
  printf '\n==== %s: %s s ====\n' "$fuzzer" "$seconds"
  status=$(cat "$work/status" 2>/dev/null || echo "no status")
  grep -E '^(#[0-9]+ +DONE|Done [0-9]+ runs|stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb)' \
    "$work/log" || true
  if [ "$status" != 0 ] || [ -n "$(ls -A "$work/artifacts")" ]; then
    echo "$fuzzer FOUND SOMETHING (exit $status). Log: $work/log"
    grep -E -A25 '^==[0-9]+== ?ERROR|^SUMMARY|check failed|Test unit written' "$work/log" | head -60 || true
    failed+=("$fuzzer")
  else
    echo "$fuzzer: nothing found"
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo
  echo "Findings in: ${failed[*]}. Reproducers and logs are kept in $scratch"
  exit 1
fi
rm -rf "$scratch"
echo
echo "all fuzzers ran ${seconds} s each without findings"
