#!/usr/bin/env bash
# The main job: builds TavroMedivaneUtil.dll, mvutil.exe and the Windows Installer package,
# installs the package silently into a fresh Wine prefix as a tablet has it, and runs the installed
# mvutil on the installed configuration (the sample, with the log in C:\ProgramData\Tavro\Logs):
# configuration, checksums, key press strings, the shared log written by several processes at
# once, images, the sound scheme with the installed sounds, and the log shipper's service.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/require-packages.sh
require_packages "${WINDOWS_BUILD_PACKAGES[@]}"

cmake --preset windows >/dev/null
cmake --build --preset windows --target mvutil msi -j2
version=$(sed -n 's/^project(TavroMedivaneUtil VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export TABLET_PREFIX=build/windows/tablet
export PACKAGE="Z:$(realpath build/windows/TavroMedivaneUtil-$version.msi | tr / '\\')"
rm -rf "$TABLET_PREFIX"

wine_run() { cmake/wine/wine-run.sh "$TABLET_PREFIX" "$@"; }
run_mvutil() {
  echo "\$ mvutil $*"
  wine_run 'C:\Program Files\Tavro\Medivane\Bin\mvutil.exe' "$@"
}
install_package() {
  echo "\$ msiexec /i TavroMedivaneUtil-$version.msi /qn"
  wine_run msiexec /i "$PACKAGE" /qn
  echo "\$ reg query HKLM\\...\\Session Manager\\Environment /v KVO_INSTALL_DIR"
  wine_run reg query 'HKLM\System\CurrentControlSet\Control\Session Manager\Environment' /v KVO_INSTALL_DIR
  echo "\$ sc query TavroLogShipper"
  wine_run sc query TavroLogShipper
}
main_job() {
  install_package
  # The installed programs find their configuration through the installed KVO_INSTALL_DIR.
  unset KVO_INSTALL_DIR
  local work=build/windows/main-job
  rm -rf "$work" && mkdir -p "$work"
  run_mvutil --version
  run_mvutil config dump
  run_mvutil config get /Tavro/MedivaneSDK/Logging/DefaultLevel
  run_mvutil config set /Tavro/MedivaneSDK/Logging/DefaultLevel INFO
  run_mvutil config section /Tavro/MedivaneSDK/Logging/ --short
  run_mvutil config get /Tavro/MedivaneSDK/Logging/NoSuchKey || echo "(exit code $?)"
  run_mvutil crc32 examples/check-123456789.txt 'C:\Program Files\Tavro\Medivane\Bin\TavroMedivane.cfg'
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
  # The product's sound events in the user's sound scheme (the prefix's registry), as a program
  # registers them; "list" reads each event's current sound back, an installed file each.
  run_mvutil sound register
  run_mvutil sound list
  run_mvutil sound play "Barcode Read Success" --wait 0
}
image_job() {
  # A sample picture converted and stretched in memory by ImageUtil; the results go to a work
  # folder and are read back by the library.
  local images=build/windows/main-job/Images
  mkdir -p "$images"
  run_mvutil image info examples/sample.png
  run_mvutil image convert examples/sample.png "$images/sample.jpg" --to jpeg --quality 80
  run_mvutil image info "$images/sample.jpg"
  run_mvutil image resize examples/sample.png "$images/sample-320x90.bmp" 320x90
  run_mvutil image info "$images/sample-320x90.bmp"
  run_mvutil image convert examples/check-123456789.txt "$images/not-an-image.png" --to png || echo "(exit code $?)"
}
log_job() {
  # The shared log, where the installed configuration puts it.
  local logs='C:\ProgramData\Tavro\Logs'
  run_mvutil log --area main-job --level WARN --data "installed" "log demonstration"
  # Several programs writing at once: four processes of five entries each. The machine-wide log
  # mutex keeps every entry whole and on its own line.
  echo "\$ mvutil log --area writerN \"entry I from writer N\"   (writers 1-4 at once, 5 entries each)"
  local writer
  for writer in 1 2 3 4; do
    (for entry in 1 2 3 4 5; do
       wine_run 'C:\Program Files\Tavro\Medivane\Bin\mvutil.exe' \
         log --area "writer$writer" "entry $entry from writer $writer"
     done) &
  done
  wait
  run_mvutil tail -n 40
  run_mvutil tail -n 2 --area writer3
  local written
  written=$(wine_run 'C:\Program Files\Tavro\Medivane\Bin\mvutil.exe' tail -n 40 --level INFO |
            grep -c ' writer[1-4] .* entry [1-5] from writer [1-4]' || true)
  echo "($written of 20 writer entries in $logs\\KVO.log)"
  [ "$written" -eq 20 ]
}
export -f wine_run run_mvutil install_package main_job log_job image_job sound_job
export version
scripts/with-wineserver.sh "$TABLET_PREFIX" bash -c main_job
