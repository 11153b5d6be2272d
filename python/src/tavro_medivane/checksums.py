"""CRC-32 (ISO-HDLC, as zip and PNG use it) and CRC-16/USB, whole or in pieces.

>>> hex(crc32(b"123456789")), hex(crc16(b"123456789"))
('0xcbf43926', '0xb4c8')
"""

from __future__ import annotations

import ctypes

from . import _library
from ._convert import UINT32_MAX, BytesLike, check_int, to_bytes
from ._errors import check


def crc32(data: BytesLike) -> int:
    """The CRC-32 of `data`; 0 for no bytes."""
    raw = to_bytes(data)
    return int(_library.library().tmu_crc32(raw, len(raw)))


def crc16(data: BytesLike) -> int:
    """The CRC-16/USB of `data`; 0 for no bytes."""
    raw = to_bytes(data)
    return int(_library.library().tmu_crc16(raw, len(raw)))


class Crc32:
    """A CRC-32 computed over several pieces of data.

    `init` is both the register's start value and the value XORed into the result, as in the
    library's Crc32 class: 0xFFFFFFFF (the default) gives the standard CRC-32. ``result()`` leaves
    the state as it is, so more data may follow.
    """

    def __init__(self, init: int = 0xFFFFFFFF) -> None:
        check_int(init, 0, UINT32_MAX, "init")
        self._state = _library.Crc32State()
        check(_library.library().tmu_crc32_begin(ctypes.byref(self._state), init), "tmu_crc32_begin")

    def update(self, data: BytesLike) -> Crc32:
        """Adds `data`; returns the object itself, so calls can be chained."""
        raw = to_bytes(data)
        status = _library.library().tmu_crc32_update(ctypes.byref(self._state), raw, len(raw))
        check(status, "tmu_crc32_update")
        return self

    def result(self) -> int:
        """The checksum of everything added so far."""
        return int(_library.library().tmu_crc32_result(ctypes.byref(self._state)))

    def copy(self) -> Crc32:
        """An independent checksum that goes on from this one's present state."""
        duplicate = Crc32.__new__(Crc32)
        duplicate._state = _library.Crc32State.from_buffer_copy(self._state)
        return duplicate


class Crc16:
    """A CRC-16/USB computed over several pieces of data.

    ``final()`` returns the checksum and starts again, as the library's CRC16 class does: a second
    ``final()`` right after returns 0.
    """

    def __init__(self) -> None:
        self._state = _library.Crc16State()
        check(_library.library().tmu_crc16_begin(ctypes.byref(self._state)), "tmu_crc16_begin")

    def update(self, data: BytesLike) -> Crc16:
        """Adds `data`; returns the object itself, so calls can be chained."""
        raw = to_bytes(data)
        status = _library.library().tmu_crc16_update(ctypes.byref(self._state), raw, len(raw))
        check(status, "tmu_crc16_update")
        return self

    def final(self) -> int:
        """The checksum of everything added since the start, then a fresh start."""
        return int(_library.library().tmu_crc16_final(ctypes.byref(self._state)))
