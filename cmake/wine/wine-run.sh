#!/usr/bin/env bash
# CMake's cross-compiling emulator: runs one Windows program under Wine in the given prefix.
# Usage: wine-run.sh PREFIX PROGRAM.exe [ARGS...]
# The prefix must have been booted by scripts/with-wineserver.sh; a wineserver born here would
# inherit the caller's pipes and hold them open after the program ends.
set -euo pipefail
prefix=$(realpath -m "$1"); shift
export WINEPREFIX=$prefix
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree=;mshtml=}
wine64=${TAVRO_WINE64:-/usr/lib/wine/wine64}

# ctest lists each program's tests before it runs them, and one failed listing ends the whole run.
# Now and then Wine's loader ends a program at its start with exit code 1 and no output at all, on
# a program that lists its tests on every other run; a listing that fails that way is tried again.
# A listing that prints anything, ends otherwise, or fails three times is passed on as it is.
is_listing=0
for argument in "$@"; do
  [ "$argument" = "--gtest_list_tests" ] && is_listing=1
done
if [ "$is_listing" = 1 ]; then
  for attempt in 1 2 3; do
    status=0
    listing=$("$wine64" "$@") || status=$?
    if [ "$status" -ne 1 ] || [ -n "$listing" ] || [ "$attempt" -eq 3 ]; then
      [ -z "$listing" ] || printf '%s\n' "$listing"
      exit "$status"
    fi
    echo "wine-run: listing the tests of $1 ended with exit code $status and no output; trying again" >&2
    sleep 1
  done
fi
exec "$wine64" "$@"
