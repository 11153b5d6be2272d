#!/usr/bin/env bash
# The main job: builds TavroMedivaneUtil.dll and mvutil.exe for Windows and runs mvutil under
# Wine on the sample files in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/require-packages.sh
require_packages "${WINDOWS_BUILD_PACKAGES[@]}"

cmake --preset windows >/dev/null
cmake --build --preset windows --target mvutil -j2

run_mvutil() {
  echo "\$ mvutil $*"
  cmake/wine/wine-run.sh build/windows/wineprefix build/windows/bin/mvutil.exe "$@"
}
main_job() {
  # The sample configuration, installed where the library looks for it: %KVO_INSTALL_DIR%\Bin.
  local install=build/windows/main-job
  rm -rf "$install" && mkdir -p "$install/Bin"
  cp examples/TavroMedivane.cfg "$install/Bin/TavroMedivane.cfg"
  export KVO_INSTALL_DIR=$PWD/$install
  run_mvutil --version
  run_mvutil config dump
  run_mvutil config get /Tavro/MedivaneSDK/Logging/DefaultLevel
  run_mvutil config set /Tavro/MedivaneSDK/Logging/DefaultLevel INFO
  run_mvutil config section /Tavro/MedivaneSDK/Logging/ --short
  run_mvutil config get /Tavro/MedivaneSDK/Logging/NoSuchKey || echo "(exit code $?)"
  run_mvutil crc32 examples/check-123456789.txt "$install/Bin/TavroMedivane.cfg"
  run_mvutil crc16 examples/check-123456789.txt
}
export -f run_mvutil main_job
scripts/with-wineserver.sh build/windows/wineprefix bash -c main_job
