"""Finding the library: the environment variable, a file beside the package, the system loader.

The library is loaded once per process, so each way of finding it is tried in a fresh Python.
"""

from __future__ import annotations

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import tavro_medivane
from support import REPOSITORY
from tavro_medivane import LIBRARY_VARIABLE, _library

PACKAGE_FOLDER = Path(tavro_medivane.__file__).parent


def run_python(code: str, environment: dict[str, str], cwd: Path | None = None) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, "-c", code], env=environment, cwd=cwd, capture_output=True, text=True, timeout=60
    )


def environment_without_library() -> dict[str, str]:
    environment = dict(os.environ)
    environment.pop(LIBRARY_VARIABLE, None)
    environment.pop("LD_LIBRARY_PATH", None)
    return environment


@pytest.fixture(scope="module")
def library_file() -> Path:
    return Path(os.environ[LIBRARY_VARIABLE])


def test_the_variable_names_the_library_that_is_loaded(library_file: Path) -> None:
    assert tavro_medivane.library_path() == str(library_file)
    assert _library.candidates() == [str(library_file)]


def test_without_the_variable_a_file_beside_the_package_comes_first(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.delenv(LIBRARY_VARIABLE)
    assert _library.candidates() == list(_library.SYSTEM_NAMES)
    (tmp_path / _library.LIBRARY_FILE).write_bytes(b"")
    monkeypatch.setattr(_library, "__file__", str(tmp_path / "_library.py"))
    assert _library.candidates() == [str(tmp_path / _library.LIBRARY_FILE), *_library.SYSTEM_NAMES]


def test_importing_needs_no_library_and_a_wrong_path_fails_clearly(tmp_path: Path) -> None:
    environment = environment_without_library()
    environment[LIBRARY_VARIABLE] = str(tmp_path / "nowhere" / "libTavroMedivaneUtil.so")
    result = run_python(
        "import tavro_medivane\n"
        "try:\n"
        "    tavro_medivane.crc32(b'')\n"
        "except tavro_medivane.LibraryNotFoundError as error:\n"
        "    print(type(error).__mro__[1].__name__, error)\n",
        environment,
    )
    assert result.returncode == 0, result.stderr
    assert result.stdout.startswith(
        "OSError the TavroMedivaneUtil library could not be loaded; set TAVRO_MEDIVANE_LIBRARY to the full"
        f" path of libTavroMedivaneUtil.so. Tried:\n  {tmp_path}/nowhere/libTavroMedivaneUtil.so: "
    )


def test_a_library_without_the_c_interface_is_refused() -> None:
    environment = environment_without_library()
    environment[LIBRARY_VARIABLE] = "libc.so.6"
    result = run_python(
        "import tavro_medivane\n"
        "try:\n"
        "    tavro_medivane.crc16(b'')\n"
        "except tavro_medivane.LibraryNotFoundError as error:\n"
        "    print(error)\n",
        environment,
    )
    assert result.stdout == (
        "libc.so.6 has no function tmu_status_text: it is not a TavroMedivaneUtil library with the C interface"
        " (TavroMedivaneUtil_c.h)\n"
    )


@pytest.mark.skipif(sys.platform == "win32", reason="LD_LIBRARY_PATH is the Linux loader's")
def test_the_system_loader_finds_the_library_on_its_path(library_file: Path) -> None:
    environment = environment_without_library()
    environment["LD_LIBRARY_PATH"] = str(library_file.parent)
    result = run_python(
        "import tavro_medivane\n"
        "print(tavro_medivane.library_path(), hex(tavro_medivane.crc32(b'123456789')))\n",
        environment,
    )
    assert result.stdout == "libTavroMedivaneUtil.so 0xcbf43926\n", result.stderr


def test_a_library_beside_the_package_is_found(tmp_path: Path, library_file: Path) -> None:
    copy = tmp_path / "tavro_medivane"
    shutil.copytree(PACKAGE_FOLDER, copy, ignore=shutil.ignore_patterns("__pycache__"))
    shutil.copyfile(library_file, copy / _library.LIBRARY_FILE)
    environment = environment_without_library()
    environment["PYTHONPATH"] = str(tmp_path)
    result = run_python(
        "import tavro_medivane\n"
        "print(tavro_medivane.__file__)\n"
        "print(tavro_medivane.library_path(), hex(tavro_medivane.crc16(b'123456789')))\n",
        environment,
        cwd=tmp_path,
    )
    assert result.stdout == (
        f"{copy / '__init__.py'}\n{copy / _library.LIBRARY_FILE} 0xb4c8\n"
    ), result.stderr


@pytest.mark.skipif(os.environ.get("TAVRO_EXPECT_INSTALLED") != "1", reason="only when run by run-tests.sh")
def test_the_package_under_test_is_the_installed_one() -> None:
    assert not PACKAGE_FOLDER.is_relative_to(REPOSITORY / "python"), PACKAGE_FOLDER
    assert PACKAGE_FOLDER.parent.name == "site-packages"


def test_the_version_is_the_project_version() -> None:
    assert tavro_medivane.__version__ == "0.1.0"
