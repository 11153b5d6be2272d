"""Status codes and the exceptions that carry them.

Every failing call raises a TavroError (or a subclass chosen by the status) holding the status
code and the library's own text for it (tmu_status_text). Subclasses also derive from the
built-in exception a Python caller would expect: a missing key is a KeyError, a refused argument
a ValueError, so ``except KeyError`` works as it does for a dict.
"""

from __future__ import annotations

from enum import IntEnum

from . import _library


class Status(IntEnum):
    """The tmu_status values. The configuration store, the key-press simulator and the rest of
    the C interface share one numbering, so one enumeration names them all."""

    OK = 0
    BUFFER_TOO_SMALL = -15
    FILE_OPEN_FAILED = -16
    FILE_UTF8 = -17
    CONVERSION_FAILED = -18
    NOT_FOUND = -19
    WRITE_NOT_ALLOWED = -20
    WRITE_FAILED = -21
    INVALID_ARGUMENT = -22
    INVALID_FORMAT = -40
    FAILED = -101
    OUT_OF_MEMORY = -102
    INTERNAL_ERROR = -103
    SEND_FAILED = -1000


def status_text(status: int) -> str:
    """The library's text for `status` ("unknown status" for a value it does not know)."""
    raw: bytes = _library.library().tmu_status_text(status)
    return raw.decode("utf-8", errors="replace")


class TavroError(Exception):
    """A call into TavroMedivaneUtil failed.

    ``status`` is the library's status code (a Status member when the value is known),
    ``message`` the library's text for it, and ``context`` says which call failed and on what.
    """

    status: int
    message: str
    context: str

    def __init__(self, status: int, message: str | None = None, context: str = "") -> None:
        if message is None:
            message = _text_or_number(status)
        try:
            status = Status(status)
        except ValueError:
            pass
        super().__init__(status, message)
        self.status = status
        self.message = message
        self.context = context

    def __str__(self) -> str:
        return f"{self.context}: {self.message}" if self.context else self.message


class BufferTooSmallError(TavroError):
    """The output kept outgrowing the buffer (it changed between the retries)."""


class ConfigFileError(TavroError):
    """The configuration file could not be opened, or is UTF-8 (only UTF-16LE is read)."""


class ConversionError(TavroError, ValueError):
    """A configuration value does not convert to the requested type."""


class NotFoundError(TavroError, KeyError):
    """No such key, section, array, event or registry entry."""


class WriteNotAllowedError(TavroError):
    """A change to a configuration opened without ``writable=True``."""


class WriteFailedError(TavroError):
    """The configuration file could not be written."""


class InvalidArgumentError(TavroError, ValueError):
    """The library refused an argument (empty, missing or not UTF-8)."""


class InvalidKeyStringError(TavroError, ValueError):
    """A key press string breaks the syntax or names an unknown key."""


class SendFailedError(TavroError):
    """The system refused the simulated key presses (always on Linux, which has no back end)."""


class OperationFailedError(TavroError):
    """The wrapped operation reported failure; the shared log says why."""


class OutOfMemoryError(TavroError, MemoryError):
    """The library ran out of memory."""


class InternalLibraryError(TavroError):
    """The library failed unexpectedly; nothing was done and the log says why."""


_ERROR_CLASSES: dict[int, type[TavroError]] = {
    Status.BUFFER_TOO_SMALL: BufferTooSmallError,
    Status.FILE_OPEN_FAILED: ConfigFileError,
    Status.FILE_UTF8: ConfigFileError,
    Status.CONVERSION_FAILED: ConversionError,
    Status.NOT_FOUND: NotFoundError,
    Status.WRITE_NOT_ALLOWED: WriteNotAllowedError,
    Status.WRITE_FAILED: WriteFailedError,
    Status.INVALID_ARGUMENT: InvalidArgumentError,
    Status.INVALID_FORMAT: InvalidKeyStringError,
    Status.SEND_FAILED: SendFailedError,
    Status.FAILED: OperationFailedError,
    Status.OUT_OF_MEMORY: OutOfMemoryError,
    Status.INTERNAL_ERROR: InternalLibraryError,
}


def error_for(status: int, context: str = "") -> TavroError:
    """The exception for a failed `status`, of the class that matches it."""
    return _ERROR_CLASSES.get(status, TavroError)(status, None, context)


def check(status: int, context: str) -> None:
    """Raises the matching exception unless `status` is success."""
    if status != Status.OK:
        raise error_for(status, context)


def _text_or_number(status: int) -> str:
    # An exception made while the library cannot be loaded must still describe itself.
    try:
        return status_text(status)
    except OSError:
        return f"status {status}"
