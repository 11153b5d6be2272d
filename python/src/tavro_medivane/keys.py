"""Key press strings turned into keyboard input records, and sent to the system.

A key press string is a sequence of key groups; a group is one or more keys joined by "+". A key
is one ASCII letter or digit, or a braced name: "{ALT}", "{SHIFT}", "{CONTROL}", "{ADD}" or
"{VK<n>}". Within a group the keys go down in the written order, then come up in the same order:
"{CONTROL}+{ALT}+d" is one chord, "ab" types a then b.

With ``from_config=True`` the string names a key of the default configuration whose value is the
key press string; a missing key means no key presses. Problems are logged in `log_area`.
"""

from __future__ import annotations

from typing import Any, NamedTuple

from . import _library
from ._buffers import read_array
from ._convert import to_c_text
from ._errors import Status, check

KEY_UP = 2  # KEYEVENTF_KEYUP, the flag of a record that releases its key
DEFAULT_LOG_AREA = "tavro_medivane"


class KeyRecord(NamedTuple):
    """One input record: a key going down (flags 0) or coming up (flags KEY_UP)."""

    virtual_key: int
    scan_code: int
    flags: int

    @property
    def key_up(self) -> bool:
        return bool(self.flags & KEY_UP)


def validate(keys: str, *, log_area: str = DEFAULT_LOG_AREA) -> bool:
    """True when `keys` is a valid key press string, False (and its reasons logged) when not."""
    raw_keys = to_c_text(keys, "keys")
    raw_area = to_c_text(log_area, "log_area")
    status = int(_library.library().tmu_keys_validate(raw_keys, raw_area))
    if status == Status.INVALID_FORMAT:
        return False
    check(status, f"keys.validate({keys!r})")
    return True


def records(keys: str, *, from_config: bool = False, log_area: str = DEFAULT_LOG_AREA) -> list[KeyRecord]:
    """The records ``send`` would hand to the system for `keys`.

    InvalidKeyStringError (a ValueError) when a literal string does not parse.
    """
    raw_keys = to_c_text(keys, "keys")
    raw_area = to_c_text(log_area, "log_area")
    library = _library.library()

    def fill(array: Any, capacity: int, count: Any) -> int:
        return int(library.tmu_keys_records(raw_keys, int(from_config), raw_area, array, capacity, count))

    prepared = read_array(fill, _library.KeyRecordStruct, f"keys.records({keys!r})")
    return [KeyRecord(record.virtual_key, record.scan_code, record.flags) for record in prepared]


def send(keys: str, *, from_config: bool = False, log_area: str = DEFAULT_LOG_AREA) -> None:
    """Sends the key presses of `keys` to the system in one go.

    InvalidKeyStringError when a literal string does not parse; SendFailedError when the system
    refuses the input, which on Linux (no input back end) is every non-empty send.
    """
    raw_keys = to_c_text(keys, "keys")
    raw_area = to_c_text(log_area, "log_area")
    status = int(_library.library().tmu_keys_send(raw_keys, int(from_config), raw_area))
    check(status, f"keys.send({keys!r})")


__all__ = ["KEY_UP", "DEFAULT_LOG_AREA", "KeyRecord", "validate", "records", "send"]
