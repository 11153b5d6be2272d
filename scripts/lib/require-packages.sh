# Sourced by the set-up scripts. require_packages PKG... installs the Debian packages that are
# missing (as root), or prints the apt-get line and stops (as anyone else).
require_packages() {
  local missing=()
  local pkg
  for pkg in "$@"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -eq 0 ]; then
    echo "Installing: ${missing[*]}"
    apt-get update -q
    DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
  else
    echo "Missing packages. Run as root:" >&2
    echo "  apt-get update && apt-get install -y --no-install-recommends ${missing[*]}" >&2
    exit 1
  fi
}

# What the Windows build needs: the MinGW-w64 cross compiler and Wine to run the results,
# Pillow, which writes the image tests' inputs and decodes their outputs, a PulseAudio server
# with its tools (parec), which the sound tests play to and record from, msitools' wixl and
# msibuild, which build the Windows Installer package, and osslsigncode with openssl, which sign it
# (the signing test makes a throwaway certificate).
WINDOWS_BUILD_PACKAGES=(cmake ninja-build g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64 googletest
                        python3-pil pulseaudio pulseaudio-utils wixl msitools osslsigncode openssl)
# What the Linux builds, tests, fuzzers and benchmarks add; rsyslog with its RELP input and its
# GnuTLS driver is the collector the log shipper's tests send to, GnuTLS (library and certtool)
# its TLS and the tests' certificates; PostgreSQL with rsyslog's output to it is the ward's
# central collector (dbconfig-no-thanks keeps rsyslog-pgsql from setting up a database of its own).
HOST_TEST_PACKAGES=(g++ clang libclang-rt-14-dev googletest libbenchmark-dev zlib1g-dev
                    libinih-dev liblog4cplus-dev pkgconf python3 libvips-dev python3-pil imagemagick
                    libcanberra-dev libcanberra-pulse pulseaudio pulseaudio-utils
                    python3-pytest python3-setuptools python3-wheel python3-venv python3-pip
                    rsyslog rsyslog-relp rsyslog-gnutls libgnutls28-dev gnutls-bin
                    dbconfig-no-thanks postgresql rsyslog-pgsql)
