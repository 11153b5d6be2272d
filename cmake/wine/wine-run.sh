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
exec "${TAVRO_WINE64:-/usr/lib/wine/wine64}" "$@"
