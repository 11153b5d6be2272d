"""The C interface's output conventions, done once.

Text and record arrays come back through a caller's (buffer, capacity, length) triple: a call that
does not fit returns TMU_BUFFER_TOO_SMALL with the needed length, and is simply repeated with that
size. Larger blocks (image files, section listings) are allocated by the library and must go back
through tmu_free, whatever happens while they are read.
"""

from __future__ import annotations

import ctypes
from collections.abc import Callable
from typing import Any

from . import _library
from ._convert import from_c_text
from ._errors import BufferTooSmallError, Status, check

# How often a call is repeated when its output grows again between two calls (another thread
# adding registry entries, another process rewriting the configuration file). Bounded so that a
# length the library keeps misreporting ends in an error instead of a loop.
_ATTEMPTS = 8

# call(buffer, capacity, length pointer) -> status
FillCall = Callable[[Any, int, Any], Any]


def read_text(call: FillCall, context: str, first_capacity: int = 256) -> str:
    """The text `call` writes into a caller's buffer, retried with the reported size."""
    capacity = first_capacity
    for _ in range(_ATTEMPTS):
        buffer = ctypes.create_string_buffer(capacity)
        length = ctypes.c_size_t(0)
        status = int(call(buffer, capacity, ctypes.byref(length)))
        if status == Status.BUFFER_TOO_SMALL:
            capacity = length.value + 1  # the length excludes the terminating NUL
            continue
        check(status, context)
        return from_c_text(buffer.raw[: length.value])
    raise BufferTooSmallError(Status.BUFFER_TOO_SMALL, None, context)


def read_array(
    call: FillCall, element_type: type[Any], context: str, first_capacity: int = 16
) -> list[Any]:
    """The records `call` writes into a caller's array, retried with the reported count.

    A success may still report more records than the array holds only if the library breaks its
    own rule; the count is clipped to the capacity so that nothing beyond the array is read.
    """
    capacity = first_capacity
    for _ in range(_ATTEMPTS):
        array = (element_type * capacity)()
        count = ctypes.c_size_t(0)
        status = int(call(array, capacity, ctypes.byref(count)))
        if status == Status.BUFFER_TOO_SMALL:
            capacity = max(count.value, 1)
            continue
        check(status, context)
        return list(array[: min(count.value, capacity)])
    raise BufferTooSmallError(Status.BUFFER_TOO_SMALL, None, context)


def take_bytes(pointer: Any, length: int) -> bytes:
    """Copies a library-allocated block and frees it; a null block is empty."""
    try:
        return ctypes.string_at(pointer, length) if pointer and length else b""
    finally:
        free(pointer)


def free(pointer: Any) -> None:
    """Hands memory the library allocated back to it (null is accepted)."""
    _library.library().tmu_free(ctypes.cast(pointer, ctypes.c_void_p))
