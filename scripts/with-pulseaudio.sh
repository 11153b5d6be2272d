#!/usr/bin/env bash
# Runs a command with a private PulseAudio server whose only sink is a null sink, so that sound
# played by the tests can be recorded from the sink's monitor (parec) and checked.
# Usage: scripts/with-pulseaudio.sh RUNTIME_DIR COMMAND [ARGS...]
#
# The server listens on RUNTIME_DIR/native with anonymous access and is stopped by its own
# process id afterwards. The command gets PULSE_SERVER (for Wine, parec and libcanberra) and
# TAVRO_PULSE_SINK, the sink's name.
set -euo pipefail
runtime=$(realpath -m "$1"); shift
original_home=$HOME
sink=tavro_test_sink
rm -rf "$runtime"
mkdir -p "$runtime/home"
log="$runtime.log"

# A server of our own: no user session, no autospawned daemon, no saved state.
export PULSE_RUNTIME_PATH=$runtime HOME=$runtime/home PULSE_STATE_PATH=$runtime/state
pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --disallow-exit \
  -L "module-null-sink sink_name=$sink rate=44100 channels=1" \
  -L "module-native-protocol-unix socket=$runtime/native auth-anonymous=1" \
  -L module-always-sink </dev/null >"$log" 2>&1 &
server=$!
stop_server() { kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true; }
trap stop_server EXIT

export PULSE_SERVER=unix:$runtime/native TAVRO_PULSE_SINK=$sink
for _ in $(seq 100); do
  pactl info >/dev/null 2>&1 && break
  kill -0 "$server" 2>/dev/null || { cat "$log" >&2; echo "with-pulseaudio: the server did not start" >&2; exit 1; }
  sleep 0.1
done
pactl info >/dev/null 2>&1 || { cat "$log" >&2; echo "with-pulseaudio: no answer from the server" >&2; exit 1; }
export HOME=$original_home
unset PULSE_STATE_PATH
"$@"
