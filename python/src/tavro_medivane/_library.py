"""Finds and loads the TavroMedivaneUtil shared library, and declares its C functions.

The library is loaded on first use, not on import: a program (or a test run) can still set
KVO_INSTALL_DIR and TAVRO_MEDIVANE_LIBRARY after importing the package, and importing it never
fails on a machine without the library.

Every C function used by the package is declared in PROTOTYPES below; ctypes would otherwise
pass Python ints as C int and truncate size_t, uint64_t and pointers.
"""

from __future__ import annotations

import ctypes
import os
import sys
import threading
from ctypes import (
    POINTER,
    Structure,
    c_char,
    c_char_p,
    c_double,
    c_int,
    c_int32,
    c_int64,
    c_size_t,
    c_uint8,
    c_uint16,
    c_uint32,
    c_uint64,
    c_void_p,
)
from pathlib import Path
from typing import Any

LIBRARY_VARIABLE = "TAVRO_MEDIVANE_LIBRARY"

if sys.platform == "win32":
    LIBRARY_FILE = "TavroMedivaneUtil.dll"
    SYSTEM_NAMES: tuple[str, ...] = ("TavroMedivaneUtil.dll",)
else:
    LIBRARY_FILE = "libTavroMedivaneUtil.so"
    # The unversioned name exists only where the development files are installed; the soname is
    # what a runtime-only installation has.
    SYSTEM_NAMES = ("libTavroMedivaneUtil.so", "libTavroMedivaneUtil.so.0")


class LibraryNotFoundError(OSError):
    """No TavroMedivaneUtil library could be loaded (or the one found lacks the C interface)."""


# ---- C types of the interface ------------------------------------------------------------------

status_t = c_int32


class Crc32State(Structure):
    _fields_ = [("opaque", c_uint32 * 2)]


class Crc16State(Structure):
    _fields_ = [("opaque", c_uint16 * 1)]


class ButtonAction(Structure):
    _fields_ = [
        ("window", c_void_p),
        ("button_type", c_int32),
        ("button_action", c_int32),
        ("action_data1", c_uint64),
        ("action_data2", c_uint64),
    ]


class ButtonPidAction(Structure):
    _fields_ = [
        ("pid", c_uint32),
        ("button_type", c_int32),
        ("button_action", c_int32),
        ("action_data1", c_uint64),
        ("action_data2", c_uint64),
    ]


class KeyRecordStruct(Structure):
    _fields_ = [("virtual_key", c_uint16), ("scan_code", c_uint16), ("flags", c_uint32)]


# Handles are opaque: a void pointer is all Python needs to hold.
handle_t = c_void_p
handle_out = POINTER(c_void_p)
size_out = POINTER(c_size_t)
bytes_out = POINTER(POINTER(c_uint8))
pairs_out = POINTER(POINTER(c_char))

# name: (result type, argument types), in the order of TavroMedivaneUtil_c.h.
PROTOTYPES: dict[str, tuple[Any, list[Any]]] = {
    "tmu_status_text": (c_char_p, [status_t]),
    "tmu_free": (None, [c_void_p]),
    # Checksums
    "tmu_crc32": (c_uint32, [c_void_p, c_size_t]),
    "tmu_crc32_begin": (status_t, [POINTER(Crc32State), c_uint32]),
    "tmu_crc32_update": (status_t, [POINTER(Crc32State), c_void_p, c_size_t]),
    "tmu_crc32_result": (c_uint32, [POINTER(Crc32State)]),
    "tmu_crc16": (c_uint16, [c_void_p, c_size_t]),
    "tmu_crc16_begin": (status_t, [POINTER(Crc16State)]),
    "tmu_crc16_update": (status_t, [POINTER(Crc16State), c_void_p, c_size_t]),
    "tmu_crc16_final": (c_uint16, [POINTER(Crc16State)]),
    # Configuration
    "tmu_config_open_default": (status_t, [c_int, c_int, handle_out]),
    "tmu_config_open": (status_t, [c_char_p, c_int, c_int, handle_out]),
    "tmu_config_close": (None, [handle_t]),
    "tmu_config_reload": (status_t, [handle_t, c_int]),
    "tmu_config_get_text": (status_t, [handle_t, c_char_p, c_void_p, c_size_t, size_out]),
    "tmu_config_get_long": (status_t, [handle_t, c_char_p, POINTER(c_int64)]),
    "tmu_config_get_double": (status_t, [handle_t, c_char_p, POINTER(c_double)]),
    "tmu_config_get_uint64": (status_t, [handle_t, c_char_p, c_int, POINTER(c_uint64)]),
    "tmu_config_set": (status_t, [handle_t, c_char_p, c_char_p]),
    "tmu_config_section": (status_t, [handle_t, c_char_p, pairs_out, size_out]),
    "tmu_config_match": (status_t, [handle_t, c_char_p, c_char_p, pairs_out, size_out]),
    "tmu_config_array_indices": (status_t, [handle_t, c_char_p, c_void_p, c_size_t, size_out]),
    # Log
    "tmu_log": (status_t, [c_int, c_char_p, c_char_p, c_char_p, c_char_p, c_int]),
    "tmu_log_is_loggable": (c_int, [c_char_p, c_int]),
    # Button registries
    "tmu_button_list_create": (status_t, [handle_out]),
    "tmu_button_list_destroy": (None, [handle_t]),
    "tmu_button_list_add": (status_t, [handle_t, POINTER(ButtonAction)]),
    "tmu_button_list_remove": (status_t, [handle_t, c_void_p, c_int32]),
    "tmu_button_list_get": (status_t, [handle_t, c_void_p, c_int32, POINTER(ButtonAction)]),
    "tmu_button_list_get_all": (status_t, [handle_t, c_void_p, c_void_p, c_size_t, size_out]),
    "tmu_button_list_report": (status_t, [handle_t, c_void_p, c_size_t, size_out]),
    "tmu_button_list_count": (c_size_t, [handle_t]),
    "tmu_button_pid_list_create": (status_t, [handle_out]),
    "tmu_button_pid_list_destroy": (None, [handle_t]),
    "tmu_button_pid_list_add": (status_t, [handle_t, POINTER(ButtonPidAction)]),
    "tmu_button_pid_list_remove": (status_t, [handle_t, c_uint32, c_int32]),
    "tmu_button_pid_list_get": (status_t, [handle_t, c_uint32, c_int32, POINTER(ButtonPidAction)]),
    "tmu_button_pid_list_get_all": (status_t, [handle_t, c_uint32, c_void_p, c_size_t, size_out]),
    "tmu_button_pid_list_get_every": (status_t, [handle_t, c_void_p, c_size_t, size_out]),
    "tmu_button_pid_list_report": (status_t, [handle_t, c_void_p, c_size_t, size_out]),
    "tmu_button_pid_list_count": (c_size_t, [handle_t]),
    # Key press
    "tmu_keys_validate": (status_t, [c_char_p, c_char_p]),
    "tmu_keys_records": (status_t, [c_char_p, c_int, c_char_p, c_void_p, c_size_t, size_out]),
    "tmu_keys_send": (status_t, [c_char_p, c_int, c_char_p]),
    # Images
    "tmu_image_convert": (
        status_t,
        [c_void_p, c_size_t, c_int, POINTER(c_uint32), c_uint32, bytes_out, size_out],
    ),
    "tmu_image_resize": (status_t, [c_void_p, c_size_t, c_int32, c_int32, bytes_out, size_out]),
    "tmu_image_to_clipboard": (status_t, [c_void_p, c_size_t]),
    # Sound events
    "tmu_sound_register": (status_t, []),
    "tmu_sound_unregister": (status_t, []),
    "tmu_sound_play": (status_t, [c_int32, c_int]),
    "tmu_sound_event_by_name": (status_t, [c_char_p, POINTER(c_int32)]),
}

_lock = threading.Lock()
_loaded: ctypes.CDLL | None = None
_loaded_from: str | None = None


def candidates() -> list[str]:
    """The files (or bare names for the system loader) tried, in order."""
    chosen = os.environ.get(LIBRARY_VARIABLE)
    if chosen:
        # An explicit choice is not second-guessed: falling back to another copy would hide a
        # wrong path behind a library of some other version.
        return [chosen]
    beside_package = Path(__file__).with_name(LIBRARY_FILE)
    found = [str(beside_package)] if beside_package.is_file() else []
    return found + list(SYSTEM_NAMES)


def _declare(library: ctypes.CDLL, origin: str) -> None:
    for name, (result_type, argument_types) in PROTOTYPES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise LibraryNotFoundError(
                f"{origin} has no function {name}: it is not a TavroMedivaneUtil library "
                "with the C interface (TavroMedivaneUtil_c.h)"
            ) from None
        function.restype = result_type
        function.argtypes = argument_types


def _load() -> tuple[ctypes.CDLL, str]:
    failures: list[str] = []
    for candidate in candidates():
        try:
            library = ctypes.CDLL(candidate)
        except OSError as error:
            failures.append(f"  {candidate}: {error}")
            continue
        _declare(library, candidate)
        return library, candidate
    raise LibraryNotFoundError(
        "the TavroMedivaneUtil library could not be loaded; set "
        f"{LIBRARY_VARIABLE} to the full path of {LIBRARY_FILE}. Tried:\n" + "\n".join(failures)
    )


def library() -> ctypes.CDLL:
    """The loaded library, loading it on the first call."""
    global _loaded, _loaded_from
    if _loaded is None:
        with _lock:
            if _loaded is None:
                _loaded, _loaded_from = _load()
    return _loaded


def library_path() -> str:
    """The path or name the library was loaded from (loading it if needed)."""
    library()
    assert _loaded_from is not None
    return _loaded_from


def is_loaded() -> bool:
    return _loaded is not None
