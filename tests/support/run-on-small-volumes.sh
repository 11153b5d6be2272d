#!/usr/bin/env bash
# Runs a command with two small file systems of its own, so that its tests can fill a disk for real.
# Usage: tests/support/run-on-small-volumes.sh [--dos] COMMAND [ARGS...]
#
# In a mount namespace of its own (unshare --mount, every mount private), a 4 MiB tmpfs is mounted
# on a fresh folder and a 64 KiB one on its subfolder "small" (the layout of
# tests/support/private_volumes.h). TAVRO_SMALL_VOLUMES names the folder; with --dos, as Wine's
# drive Z: shows it (Z:\tmp\...). Only COMMAND and its children see the mounts, and they go when it
# ends. A Windows test program needs its wineserver started inside too (scripts/with-wineserver.sh
# with a prefix no server outside runs for): Wine's server opens the files for its clients, and a
# server outside would not see the mounts.
#
# Needs root (CAP_SYS_ADMIN). Without it the script exits 77, which ctest takes as a skip.
set -euo pipefail

dos=0
if [ "${1:-}" = --dos ]; then dos=1; shift; fi
[ $# -gt 0 ] || { echo "usage: $0 [--dos] COMMAND [ARGS...]" >&2; exit 2; }

if [ "${TAVRO_IN_PRIVATE_MOUNTS:-}" != 1 ]; then
  if ! unshare --mount --propagation private true 2>/dev/null; then
    echo "run-on-small-volumes: no mount namespace here (needs root); skipped" >&2
    exit 77
  fi
  args=("$@")
  [ "$dos" = 1 ] && args=(--dos "${args[@]}")
  exec env TAVRO_IN_PRIVATE_MOUNTS=1 unshare --mount --propagation private "$0" "${args[@]}"
fi
unset TAVRO_IN_PRIVATE_MOUNTS  # so that COMMAND may use this script again

root=$(mktemp -d /tmp/tavro-volumes.XXXXXX)
cleanup() {
  umount "$root/small" 2>/dev/null || true
  umount "$root" 2>/dev/null || true
  rmdir "$root" 2>/dev/null || true
}
trap cleanup EXIT
if ! mount -t tmpfs -o size=4m tavro-test "$root"; then
  echo "run-on-small-volumes: cannot mount a tmpfs; skipped" >&2
  exit 77
fi
mkdir "$root/small"
mount -t tmpfs -o size=64k tavro-test "$root/small"

if [ "$dos" = 1 ]; then
  export TAVRO_SMALL_VOLUMES="Z:${root//\//\\}"
else
  export TAVRO_SMALL_VOLUMES="$root"
fi
status=0
"$@" || status=$?
exit "$status"
