"""What Python writes, the C++ side reads, and the other way round, through the mvutil tool.

mvutil finds the configuration (and through it the log) by KVO_INSTALL_DIR, which the session's
install folder sets for it as it does for the library in this process.
"""

from __future__ import annotations

import subprocess
import sys
from pathlib import Path

from support import InstallFolder, last_log_line, write_utf16_file
from tavro_medivane import Config, log


def run_mvutil(mvutil: Path, *arguments: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [str(mvutil), *arguments], capture_output=True, text=True, encoding="utf-8", timeout=60
    )


def test_a_value_set_by_python_is_read_by_mvutil(tmp_path: Path, mvutil: Path) -> None:
    path = tmp_path / "round.cfg"
    write_utf16_file(path, "")
    with Config(path, writable=True) as config:
        config.set("/A", "Zürich €😀")
    # The bytes the C interface's own test expects: the empty file's CR LF, then the line.
    assert path.read_bytes() == b"\xff\xfe\r\x00\n\x00" + "/A=Zürich €😀".encode("utf-16-le")
    result = run_mvutil(mvutil, "config", "get", "--file", str(path), "/A")
    assert (result.returncode, result.stdout) == (0, "Zürich €😀\n"), result.stderr


def test_a_value_set_by_mvutil_is_read_by_python(tmp_path: Path, mvutil: Path) -> None:
    by_mvutil = tmp_path / "mvutil.cfg"
    by_python = tmp_path / "python.cfg"
    for path in (by_mvutil, by_python):
        write_utf16_file(path, "/A=1\r\n")
    result = run_mvutil(mvutil, "config", "set", "--file", str(by_mvutil), "/B", "é € 😀")
    assert result.returncode == 0, result.stderr
    with Config(by_mvutil) as config:
        assert config.section("") == {"/A": "1", "/B": "é € 😀"}
    with Config(by_python, writable=True) as config:
        config.set("/B", "é € 😀")
    # The closing CR LF of "/A=1" was an empty last line; the new key follows it.
    expected = b"\xff\xfe" + "/A=1\r\n\r\n/B=é € 😀".encode("utf-16-le")
    assert by_mvutil.read_bytes() == by_python.read_bytes() == expected


def test_a_missing_key_is_missing_for_both(tmp_path: Path, mvutil: Path) -> None:
    path = tmp_path / "round.cfg"
    write_utf16_file(path, "/A=1\r\n")
    assert run_mvutil(mvutil, "config", "get", "--file", str(path), "/Nope").returncode == 1
    with Config(path) as config:
        assert config.get("/Nope", None) is None


def test_an_entry_logged_by_python_is_read_by_mvutil_tail(mvutil: Path) -> None:
    line = sys._getframe().f_lineno + 1
    log.warn("PyTail", "from Python é€😀", data="d 1")
    result = run_mvutil(mvutil, "tail", "-n", "1", "--area", "PyTail")
    expected = f"W PyTail test_round_trips.py {line} from Python é€😀;DATA#d 1\n"
    assert (result.returncode, result.stdout) == (0, expected), result.stderr


def test_mvutil_tail_filters_python_entries_by_level(mvutil: Path) -> None:
    log.write(log.Level.ERROR, "PyTailLevel", "severe", file="a.py", line=1)
    log.write(log.Level.INFO, "PyTailLevel", "mild", file="a.py", line=2)
    result = run_mvutil(mvutil, "tail", "-n", "2", "--area", "PyTailLevel", "--level", "error")
    assert (result.returncode, result.stdout) == (0, "E PyTailLevel a.py 1 severe\n"), result.stderr


def test_an_entry_logged_by_mvutil_is_in_the_file_python_reads(mvutil: Path, install_folder: InstallFolder) -> None:
    result = run_mvutil(mvutil, "log", "--area", "MvArea", "--level", "warn", "--data", "x", "from", "mvutil")
    assert result.returncode == 0, result.stderr
    assert last_log_line(install_folder.log_file) == "W MvArea .\\mvutil 0 from mvutil;DATA#x"
