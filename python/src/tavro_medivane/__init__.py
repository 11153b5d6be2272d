"""Python access to TavroMedivaneUtil through its C interface (ctypes, no compiled code).

The shared library is found, on first use, through the environment variable
TAVRO_MEDIVANE_LIBRARY (the full path of the .so or .dll), else as a library file placed in this
package's folder, else by the system loader's search.
"""

from __future__ import annotations

from . import buttons, image, keys, log, sound
from ._errors import (
    BufferTooSmallError,
    ConfigFileError,
    ConversionError,
    InternalLibraryError,
    InvalidArgumentError,
    InvalidKeyStringError,
    NotFoundError,
    OperationFailedError,
    OutOfMemoryError,
    SendFailedError,
    Status,
    TavroError,
    WriteFailedError,
    WriteNotAllowedError,
    status_text,
)
from ._library import LIBRARY_VARIABLE, LibraryNotFoundError, library_path
from .checksums import Crc16, Crc32, crc16, crc32
from .config import Config

__version__ = "0.1.0"

__all__ = [
    "BufferTooSmallError",
    "Config",
    "ConfigFileError",
    "ConversionError",
    "Crc16",
    "Crc32",
    "InternalLibraryError",
    "InvalidArgumentError",
    "InvalidKeyStringError",
    "LIBRARY_VARIABLE",
    "LibraryNotFoundError",
    "NotFoundError",
    "OperationFailedError",
    "OutOfMemoryError",
    "SendFailedError",
    "Status",
    "TavroError",
    "WriteFailedError",
    "WriteNotAllowedError",
    "buttons",
    "crc16",
    "crc32",
    "image",
    "keys",
    "library_path",
    "log",
    "sound",
    "status_text",
]
