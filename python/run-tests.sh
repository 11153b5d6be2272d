#!/bin/sh
# Installs the tavro_medivane package into a virtual environment and runs its tests against the
# installed copy (not the source tree).
#
#   python/run-tests.sh VENV_DIR [PYTEST_ARGUMENTS...]
#
# VENV_DIR is made with --system-site-packages (pytest and setuptools come from the system: the
# package index is not reachable), or reused when it exists. From the environment:
#   TAVRO_MEDIVANE_LIBRARY  the library under test (default: build/host/lib/libTavroMedivaneUtil.so)
#   TAVRO_MVUTIL            mvutil for the round-trip tests (default: build/host/bin/mvutil)
#   PYTHON                  the interpreter (default: the first python3 that has pytest and setuptools)
set -eu

if [ $# -lt 1 ] || [ -z "$1" ]; then
  echo "usage: $0 VENV_DIR [PYTEST_ARGUMENTS...]" >&2
  exit 2
fi
venv=$1
shift
here=$(cd "$(dirname "$0")" && pwd)

# A pyenv or other python3 first on PATH often lacks pytest; Debian's own has it from apt.
# Without build isolation the build runs on the interpreter's own packages: setuptools, and
# before setuptools 70.1 also wheel (for bdist_wheel).
usable='
import sys, pytest, setuptools, venv
try:
    import wheel
except ImportError:
    wheel = None
setuptools_version = tuple(int(number) for number in setuptools.__version__.split(".")[:2])
sys.exit(sys.version_info < (3, 11) or (setuptools_version < (70, 1) and wheel is None))
'
if [ -z "${PYTHON:-}" ]; then
  for candidate in python3 /usr/bin/python3; do
    if "$candidate" -c "$usable" 2>/dev/null; then
      PYTHON=$candidate
      break
    fi
  done
fi
if [ -z "${PYTHON:-}" ]; then
  echo "$0: no python3 (3.11 or later) with pytest, setuptools and wheel;" \
    "install python3-pytest python3-setuptools python3-wheel python3-venv" >&2
  exit 2
fi

"$PYTHON" -m venv --system-site-packages "$venv"
venv=$(cd "$venv" && pwd)

# Build from a copy: setuptools builds inside the source folder and would pack whatever an
# earlier build left in python/build, including modules deleted since.
staging=$(mktemp -d)
trap 'rm -rf "$staging"' EXIT INT TERM
cp -R "$here/pyproject.toml" "$here/README.md" "$here/src" "$staging/"
find "$staging" \( -name __pycache__ -o -name '*.egg-info' \) -prune -exec rm -rf {} +
"$venv/bin/python" -m pip install --quiet --no-build-isolation --no-index --no-deps --force-reinstall "$staging"

echo "library: ${TAVRO_MEDIVANE_LIBRARY:-(default of tests/conftest.py)}"
echo "mvutil:  ${TAVRO_MVUTIL:-(default of tests/conftest.py)}"
# python/ itself holds no importable tavro_medivane (the sources are under src/), so the one
# imported is the installed copy; no caches are left behind in the tree.
cd "$here"
TAVRO_EXPECT_INSTALLED=1 PYTHONDONTWRITEBYTECODE=1 \
  "$venv/bin/python" -m pytest -p no:cacheprovider "$here/tests" "$@"
