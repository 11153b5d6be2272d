#!/usr/bin/env bash
# Runs a command with a booted, persistent Wine server for one private prefix, then stops that
# server (and only that one).
# Usage: scripts/with-wineserver.sh PREFIX COMMAND [ARGS...]
#
# Why: a wineserver started inside a test inherits ctest's pipes and stalls the run, so the server
# is started here first with its standard streams sent to a log. The prefix gets the null graphics
# driver, with which windows, the clipboard and SendInput work without an X server, and the
# PulseAudio driver, so that sound reaches the test sound server (scripts/with-pulseaudio.sh).
set -euo pipefail
prefix=$(realpath -m "$1"); shift
wine64=${TAVRO_WINE64:-/usr/lib/wine/wine64}
wineserver=${TAVRO_WINESERVER:-/usr/lib/wine/wineserver}
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml="
unset DISPLAY WAYLAND_DISPLAY
mkdir -p "$prefix"
log="$prefix.log"

stop_server() { "$wineserver" -k >/dev/null 2>&1 || true; "$wineserver" -w >/dev/null 2>&1 || true; }
trap stop_server EXIT

if [ ! -f "$prefix/.tavro-ready" ]; then
  echo "with-wineserver: creating Wine prefix $prefix (once per build directory)"
  "$wineserver" -p </dev/null >>"$log" 2>&1
  "$wine64" wineboot --init </dev/null >>"$log" 2>&1
  "$wine64" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f </dev/null >>"$log" 2>&1
  stop_server
  touch "$prefix/.tavro-ready"
fi
if [ ! -f "$prefix/.tavro-audio" ]; then
  "$wineserver" -p </dev/null >>"$log" 2>&1
  "$wine64" reg add 'HKCU\Software\Wine\Drivers' /v Audio /d pulse /f </dev/null >>"$log" 2>&1
  stop_server
  touch "$prefix/.tavro-audio"
fi

"$wineserver" -p </dev/null >>"$log" 2>&1
"$wine64" wineboot </dev/null >>"$log" 2>&1
"$@"
