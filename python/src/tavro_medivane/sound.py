"""The product's sound events in the user's sound scheme.

``register()`` writes the events into the scheme (at installation), ``unregister()`` removes them,
and ``play()`` plays one asynchronously. On Windows the scheme is the registry; on Linux the file
$XDG_CONFIG_HOME/TavroMedivane/sound-scheme.ini. Playback problems are logged, not raised.
"""

from __future__ import annotations

import ctypes
from enum import IntEnum

from . import _library
from ._convert import INT32_MAX, INT32_MIN, check_int, to_c_text
from ._errors import check


class SoundEvent(IntEnum):
    """The event numbers (stored by other programs, so fixed). The scheme names are found with
    ``event_by_name``; 15 and 16 share the name "Barcode Scan Stop Found"."""

    DEFAULT = 0
    ERROR = 1
    RFID_READ_SUCCESS = 2
    RFID_READ_FAILURE = 3
    RFID_WRITE_SUCCESS = 4
    RFID_WRITE_FAILURE = 5
    RFID_SCAN_START = 6
    RFID_SCAN_STOP = 7
    RFID_TAG_FOUND = 8
    RFID_WAIT_FOR_TIMED_OUT = 9
    RFID_ERROR = 10
    BARCODE_CONFIGURATION = 11
    BARCODE_READ_SUCCESS = 12
    BARCODE_READ_FAILURE = 13
    BARCODE_SCAN_START = 14
    BARCODE_SCAN_STOP_FOUND = 15
    BARCODE_SCAN_STOP_NOT_FOUND = 16
    BARCODE_WAIT_SUCCESS = 17
    BARCODE_WAIT_TIMEOUT = 18
    BARCODE_ERROR = 19
    CAMERA_PREVIEW_START = 20
    CAMERA_PREVIEW_STOP = 21
    CAMERA_FRAME_CAPTURED = 22
    CAMERA_CAPTURE_FRAME_ERROR = 23
    CAMERA_ERROR = 24
    BUTTON_CLICK = 25
    INAPPROPRIATE_BUTTON_CLICK = 26


def register() -> None:
    """Writes the product's sound events into the user's sound scheme."""
    check(_library.library().tmu_sound_register(), "sound.register")


def unregister() -> None:
    """Removes the product's sound events from the user's sound scheme."""
    check(_library.library().tmu_sound_unregister(), "sound.unregister")


def event_by_name(name: str) -> int:
    """The event number of the scheme name `name` (exact, case included: "Error", ".Default");
    of two events of one name, the lower number. NotFoundError (a KeyError) for an unknown name."""
    raw_name = to_c_text(name, "name")
    event = ctypes.c_int32(-1)
    check(_library.library().tmu_sound_event_by_name(raw_name, ctypes.byref(event)), f"sound event {name!r}")
    return event.value


def play(event: str | int, interrupt: bool = True) -> None:
    """Plays `event` (a scheme name or an event number) and returns at once.

    With `interrupt` a sound that is playing is stopped; without it this one is dropped while
    another plays. Numbers outside 0..26 play the ".Default" event.
    """
    number = event_by_name(event) if isinstance(event, str) else check_int(event, INT32_MIN, INT32_MAX, "event")
    check(_library.library().tmu_sound_play(number, int(interrupt)), f"sound.play({event!r})")
