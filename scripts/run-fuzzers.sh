#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "fuzz": clang, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs each for SECONDS (default 60), starting from the committed seeds in fuzz/corpus/config
# (the configuration fuzzers) or fuzz/corpus/keys (the key press string fuzzer).
#
#   scripts/run-fuzzers.sh [SECONDS]
#
# New corpus entries, the fuzzers' temporary files and any reproducers go to a scratch directory
# (kept and printed when something was found, removed otherwise); the committed corpus is only
# read. Inputs stay below 64 KiB: the huge cases (1 MiB lines, 100,000 lines) are covered by
# tests/config/bad_input_test.cpp instead. A hang of more than 10 s is a failure, as is a crash, a
# leak, a failed check or more than 2 GiB of memory. Exits non-zero when any fuzzer found anything.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
jobs=${TAVRO_JOBS:-2}
fuzzers=(config_parse_fuzzer config_write_fuzzer key_string_fuzzer)

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j"$jobs" --target fuzzers

# Memory-backed when possible: each input is written to a file before it is parsed.
scratch_base=/dev/shm
[ -d "$scratch_base" ] && [ -w "$scratch_base" ] || scratch_base=${TMPDIR:-/tmp}
scratch=$(mktemp -d "$scratch_base/tavro-fuzz-XXXXXX")

failed=()
for fuzzer in "${fuzzers[@]}"; do
  work=$scratch/$fuzzer
  mkdir -p "$work/corpus" "$work/artifacts" "$work/tmp"
  printf '\n==== %s: %s s ====\n' "$fuzzer" "$seconds"
  case $fuzzer in
    key_*) seeds=fuzz/corpus/keys dict=fuzz/keys.dict ;;
    *) seeds=fuzz/corpus/config dict=fuzz/config.dict ;;
  esac
  status=0
  # The first corpus directory receives new entries; the committed seeds come second, read only.
  TMPDIR=$work/tmp "build/fuzz/bin/$fuzzer" "$work/corpus" "$seeds" \
    -dict="$dict" \
    -max_total_time="$seconds" \
    -max_len=65536 \
    -timeout=10 \
    -rss_limit_mb=2048 \
    -artifact_prefix="$work/artifacts/" \
    -print_final_stats=1 >"$work/log" 2>&1 || status=$?
  grep -E '^(#[0-9]+ +DONE|Done [0-9]+ runs|stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb)' \
    "$work/log" || true
  if [ "$status" -ne 0 ] || [ -n "$(ls -A "$work/artifacts")" ]; then
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
