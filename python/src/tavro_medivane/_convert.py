"""Checks and conversions of Python values on their way into C.

C text ends at its first NUL and the library takes only well-formed UTF-8, and ctypes silently
wraps integers that do not fit a C field; each of those would turn a caller's mistake into a
different request. They are refused here instead, with a ValueError or TypeError that names the
argument.
"""

from __future__ import annotations

import os
from typing import Union

# What the byte-taking functions accept: anything with the buffer protocol (bytes, bytearray,
# memoryview, array.array, ...). collections.abc.Buffer only arrived in Python 3.12.
BytesLike = Union[bytes, bytearray, memoryview]


def to_c_text(value: str, what: str) -> bytes:
    """`value` as NUL-free UTF-8 for a const char* argument."""
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a str, not {type(value).__name__}")
    if "\0" in value:
        raise ValueError(f"{what} contains a NUL character, which C text cannot carry")
    try:
        return value.encode("utf-8")
    except UnicodeEncodeError as error:
        raise ValueError(
            f"{what} cannot be encoded as UTF-8: {error.reason} at position {error.start}"
        ) from error


def to_c_path(path: str | os.PathLike[str], what: str = "path") -> bytes:
    """A file system path as UTF-8, the encoding of the library's text arguments."""
    value = os.fspath(path)
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a str or os.PathLike[str], not {type(value).__name__}")
    return to_c_text(value, what)


def from_c_text(raw: bytes) -> str:
    """Text the library wrote: always UTF-8 (it writes U+FFFD for an unpaired surrogate of a
    UTF-16 file). Anything else would be a library fault, shown as U+FFFD rather than failing
    the whole read."""
    return raw.decode("utf-8", errors="replace")


def to_bytes(data: BytesLike, what: str = "data") -> bytes:
    """The bytes of any buffer-protocol object (bytes themselves are passed without a copy)."""
    if isinstance(data, bytes):
        return data
    if isinstance(data, str):
        raise TypeError(f"{what} must be bytes-like, not str (encode it first)")
    try:
        return memoryview(data).tobytes()
    except TypeError:
        raise TypeError(f"{what} must be bytes-like, not {type(data).__name__}") from None


def check_int(value: int, low: int, high: int, what: str) -> int:
    """`value` when it is an int within [low, high]; bool is refused as a likely mistake."""
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{what} must be an int, not {type(value).__name__}")
    if not low <= value <= high:
        raise ValueError(f"{what} must be within {low}..{high}, not {value}")
    return value


INT32_MIN = -(2**31)
INT32_MAX = 2**31 - 1
UINT32_MAX = 2**32 - 1
UINT64_MAX = 2**64 - 1
