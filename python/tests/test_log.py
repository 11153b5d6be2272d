"""Entries of the shared log, read back from the file the logger wrote.

The session's settings (conftest.py) write "<level letter> <area> <file> <line> <message>" at
INFO and more severe into the install folder's logs/python.log.
"""

from __future__ import annotations

import sys
from collections.abc import Callable
from pathlib import Path

import pytest

from support import InstallFolder, last_log_line
from tavro_medivane import log


def next_line() -> int:
    """The number of the line after the one that calls this function."""
    return sys._getframe(1).f_lineno + 1


@pytest.fixture
def log_file(install_folder: InstallFolder) -> Path:
    return install_folder.log_file


def test_an_entry_names_the_calling_file_and_line(log_file: Path) -> None:
    line = next_line()
    log.info("PyLog", "plain entry")
    assert last_log_line(log_file) == f"I PyLog test_log.py {line} plain entry"


@pytest.mark.parametrize(
    ("write", "letter"),
    [(log.report, "R"), (log.fatal, "F"), (log.error, "E"), (log.warn, "W"), (log.info, "I")],
)
def test_each_level_has_its_letter(log_file: Path, write: Callable[..., None], letter: str) -> None:
    line = next_line()
    write("PyLog", f"at level {letter}")
    assert last_log_line(log_file) == f"{letter} PyLog test_log.py {line} at level {letter}"


def test_data_follows_the_message(log_file: Path) -> None:
    line = next_line()
    log.error("PyLog", "with data", "value 1")
    assert last_log_line(log_file) == f"E PyLog test_log.py {line} with data;DATA#value 1"


def test_empty_data_is_written_as_an_empty_field(log_file: Path) -> None:
    line = next_line()
    log.info("PyLog", "empty data", data="")
    assert last_log_line(log_file) == f"I PyLog test_log.py {line} empty data;DATA#"


def test_write_takes_the_level_and_an_explicit_location(log_file: Path) -> None:
    log.write(log.Level.WARN, "PyLog", "placed", file="given.py", line=7)
    assert last_log_line(log_file) == "W PyLog given.py 7 placed"
    log.write(4, "PyLog", "by number", "d", file=".\\Other.cpp", line=0)
    assert last_log_line(log_file) == "I PyLog .\\Other.cpp 0 by number;DATA#d"


def test_write_fills_in_the_file_or_line_left_out(log_file: Path) -> None:
    line = next_line()
    log.write(log.Level.INFO, "PyLog", "file only", file="given.py")
    assert last_log_line(log_file) == f"I PyLog given.py {line} file only"
    log.write(log.Level.INFO, "PyLog", "line only", line=99)
    assert last_log_line(log_file) == "I PyLog test_log.py 99 line only"


def log_on_behalf_of_caller(message: str) -> None:
    log.info("PyLog", message, stacklevel=2)


def test_stacklevel_names_a_caller_further_up(log_file: Path) -> None:
    line = next_line()
    log_on_behalf_of_caller("from a helper")
    assert last_log_line(log_file) == f"I PyLog test_log.py {line} from a helper"


def test_a_stacklevel_beyond_the_stack_names_no_location(log_file: Path) -> None:
    log.info("PyLog", "nowhere", stacklevel=10_000)
    assert last_log_line(log_file) == "I PyLog <unknown> 0 nowhere"


def test_text_beyond_ascii_is_written_as_utf16(log_file: Path) -> None:
    log.write(log.Level.INFO, "C", "é€😀", file="f", line=1)
    expected = "I C f 1 é€😀\r\n".encode("utf-16-le")
    assert log_file.read_bytes()[-len(expected) :] == expected


def test_levels_above_the_threshold_are_not_written(log_file: Path) -> None:
    line = next_line()
    log.info("PyLog", "kept")
    log.debug("PyLog", "dropped")
    assert last_log_line(log_file) == f"I PyLog test_log.py {line} kept"
    assert log.is_loggable("PyLog", log.Level.INFO)
    assert log.is_loggable("PyLog", log.Level.REPORT)
    assert log.is_loggable("PyLog", 2)
    assert not log.is_loggable("PyLog", log.Level.DEBUG)


@pytest.mark.parametrize("level", [-1, 6, 9])
def test_a_level_outside_report_to_debug_is_refused(log_file: Path, level: int) -> None:
    before = log_file.read_bytes()
    with pytest.raises(ValueError):
        log.write(level, "PyLog", "never")
    with pytest.raises(ValueError):
        log.is_loggable("PyLog", level)
    assert log_file.read_bytes() == before


@pytest.mark.parametrize(
    "arguments",
    [
        {"area": "Py\0Log", "message": "m"},
        {"area": "PyLog", "message": "m\0hidden"},
        {"area": "PyLog", "message": "m", "data": "\0"},
        {"area": "PyLog", "message": "m", "file": "f\0.py"},
        {"area": "\udc80", "message": "m"},
        {"area": "PyLog", "message": "lone \ud800 surrogate"},
        {"area": "PyLog", "message": "m", "data": "\udfff"},
    ],
)
def test_text_c_cannot_carry_is_refused_and_nothing_written(log_file: Path, arguments: dict[str, str]) -> None:
    before = log_file.read_bytes()
    with pytest.raises(ValueError):
        log.write(log.Level.ERROR, **arguments)  # type: ignore[arg-type]
    assert log_file.read_bytes() == before


def test_a_location_that_does_not_fit_is_refused(log_file: Path) -> None:
    with pytest.raises(ValueError, match="line"):
        log.write(log.Level.INFO, "PyLog", "m", file="f", line=-1)
    with pytest.raises(ValueError, match="stacklevel"):
        log.info("PyLog", "m", stacklevel=0)
    with pytest.raises(TypeError):
        log.info(None, "m")  # type: ignore[arg-type]
