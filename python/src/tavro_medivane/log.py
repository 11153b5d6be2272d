"""The shared rolling log that every program on the tablet writes.

    from tavro_medivane import log
    log.info("Scanner", "barcode read", data="0123456789")

An entry is written when its level is at most the configured threshold
("/Tavro/MedivaneSDK/Logging/DefaultLevel") or its area is a configured debug area; REPORT is
always written. Each entry records a source file and line: by default the file name (without its
folder) and line of the Python code that called the log function. ``stacklevel`` moves that
attribution up the call stack, as in the standard ``logging`` module, for helpers that log on
behalf of their callers.

The logger reads its settings on the first log call of the process; set KVO_INSTALL_DIR before
it. As the logger does for every caller, a "%L" or "%s" inside a message that the configured
entry template does not use is filled in like the template's own fields.
"""

from __future__ import annotations

import os
import sys
from enum import IntEnum

from . import _library
from ._convert import INT32_MAX, check_int, to_c_text
from ._errors import check


class Level(IntEnum):
    """Entry levels; lower is more severe."""

    REPORT = 0
    FATAL = 1
    ERROR = 2
    WARN = 3
    INFO = 4
    DEBUG = 5


def write(
    level: Level | int,
    area: str,
    message: str,
    data: str | None = None,
    *,
    file: str | None = None,
    line: int | None = None,
    stacklevel: int = 1,
) -> None:
    """Hands one entry to the logger, which decides by its settings whether it is written.

    `data` is written behind the message after ";DATA#". `file` and `line` replace the caller's
    location (each independently).
    """
    _write(level, area, message, data, file, line, stacklevel)


def report(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    """An entry that is always written."""
    _write(Level.REPORT, area, message, data, None, None, stacklevel)


def fatal(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    _write(Level.FATAL, area, message, data, None, None, stacklevel)


def error(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    _write(Level.ERROR, area, message, data, None, None, stacklevel)


def warn(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    _write(Level.WARN, area, message, data, None, None, stacklevel)


def info(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    _write(Level.INFO, area, message, data, None, None, stacklevel)


def debug(area: str, message: str, data: str | None = None, *, stacklevel: int = 1) -> None:
    _write(Level.DEBUG, area, message, data, None, None, stacklevel)


def is_loggable(area: str, level: Level | int) -> bool:
    """True when an entry of `level` in `area` would be written now."""
    checked_level = Level(level)
    raw_area = to_c_text(area, "area")
    return bool(_library.library().tmu_log_is_loggable(raw_area, checked_level))


def _write(
    level: Level | int,
    area: str,
    message: str,
    data: str | None,
    file: str | None,
    line: int | None,
    stacklevel: int,
) -> None:
    # Everything is checked before the caller's frame is looked up, and before the library is
    # reached, so that a bad argument never leaves half an entry behind.
    checked_level = Level(level)
    raw_area = to_c_text(area, "area")
    raw_message = to_c_text(message, "message")
    raw_data = None if data is None else to_c_text(data, "data")
    check_int(stacklevel, 1, INT32_MAX, "stacklevel")
    if file is None or line is None:
        # Frames: 0 _caller_location, 1 _write, 2 the public function, 3 its caller.
        caller_file, caller_line = _caller_location(stacklevel + 2)
        file = caller_file if file is None else file
        line = caller_line if line is None else line
    raw_file = to_c_text(file, "file")
    check_int(line, 0, INT32_MAX, "line")
    status = _library.library().tmu_log(checked_level, raw_area, raw_message, raw_data, raw_file, line)
    check(status, "tmu_log")


def _caller_location(depth: int) -> tuple[str, int]:
    try:
        frame = sys._getframe(depth)
    except ValueError:  # a stacklevel beyond the outermost frame
        return "<unknown>", 0
    return os.path.basename(frame.f_code.co_filename), frame.f_lineno or 0
