#!/usr/bin/env bash
# The main job: builds TavroMedivaneUtil.dll and mvutil.exe for Windows and runs mvutil under
# Wine on the sample files in examples/: configuration, checksums, key press strings, the shared
# log written by several processes at once, images, and the sound scheme.
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
  log_job
  # Key press strings; the reasons a string is refused go to the log set up above.
  run_mvutil keys check '{CONTROL}+{ALT}+d'
  run_mvutil keys check 'a b' || echo "(exit code $?)"
  run_mvutil keys show '{CONTROL}+{ALT}+d'
  run_mvutil tail -n 2 --area mvutil
  image_job
  sound_job
}
sound_job() {
  # The product's sound events in the user's sound scheme (the prefix's registry), as an
  # installation registers them; "list" reads each event's current sound back.
  run_mvutil sound register
  run_mvutil sound list
  run_mvutil sound play "Barcode Read Success" --wait 0
}
image_job() {
  # A sample picture converted and stretched in memory by ImageUtil; the results go to the
  # install folder and are read back by the library.
  local images=$KVO_INSTALL_DIR/Images
  mkdir -p "$images"
  run_mvutil image info examples/sample.png
  run_mvutil image convert examples/sample.png "$images/sample.jpg" --to jpeg --quality 80
  run_mvutil image info "$images/sample.jpg"
  run_mvutil image resize examples/sample.png "$images/sample-320x90.bmp" 320x90
  run_mvutil image info "$images/sample-320x90.bmp"
  run_mvutil image convert examples/check-123456789.txt "$images/not-an-image.png" --to png || echo "(exit code $?)"
}
log_job() {
  # The shared log: kept in the install folder rather than in the working directory (the default).
  local logs=$KVO_INSTALL_DIR/Logs
  run_mvutil config set /Tavro/MedivaneSDK/Logging/LogFileLocation "$logs"
  run_mvutil log --area main-job --level WARN --data "KVO_INSTALL_DIR=$KVO_INSTALL_DIR" "log demonstration"
  # Several programs writing at once: four processes of five entries each. The machine-wide log
  # mutex keeps every entry whole and on its own line.
  echo "\$ mvutil log --area writerN \"entry I from writer N\"   (writers 1-4 at once, 5 entries each)"
  local writer
  for writer in 1 2 3 4; do
    (for entry in 1 2 3 4 5; do
       cmake/wine/wine-run.sh build/windows/wineprefix build/windows/bin/mvutil.exe \
         log --area "writer$writer" "entry $entry from writer $writer"
     done) &
  done
  wait
  run_mvutil tail -n 40
  run_mvutil tail -n 2 --area writer3
  local written
  written=$(cmake/wine/wine-run.sh build/windows/wineprefix build/windows/bin/mvutil.exe tail -n 40 --level INFO |
            grep -c ' writer[1-4] .* entry [1-5] from writer [1-4]' || true)
  echo "($written of 20 writer entries in $logs/KVO.log)"
  [ "$written" -eq 20 ]
}
export -f run_mvutil main_job log_job image_job sound_job
scripts/with-wineserver.sh build/windows/wineprefix bash -c main_job
