"""Conversion and stretching of whole image files held in memory.

The input is always the bytes of a complete image file (JPEG, PNG, BMP, GIF, TIFF, or whatever
the system's codecs decode); the output is the bytes of a complete file.
"""

from __future__ import annotations

import ctypes
from typing import Literal

from . import _library
from ._buffers import take_bytes
from ._convert import INT32_MAX, INT32_MIN, UINT32_MAX, BytesLike, to_bytes
from ._errors import check

ImageFormat = Literal["bmp", "jpeg", "png", "gif", "tiff"]

# The library's mvImageType numbers.
_IMAGE_TYPES: dict[str, int] = {"bmp": 1, "jpeg": 3, "png": 4, "gif": 5, "tiff": 6}


def _fit(value: int, low: int, high: int, what: str, c_type: str) -> int:
    """`value` when the C argument (`c_type`, e.g. "32 unsigned bits") holds it.

    Within that range the value goes to the library as it is and the library decides what it
    means; outside it ctypes would wrap it into a different number, so it is refused here.
    """
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{what} must be an int that fits in {c_type}, not {type(value).__name__}")
    if not low <= value <= high:
        raise ValueError(f"{what} must fit in {c_type} ({low}..{high}), not {value}")
    return value


def convert(data: BytesLike, format: ImageFormat, quality: int | None = None) -> bytes:
    """The image in `data` as a file of `format`.

    `quality` (JPEG only) goes to the encoder as it is; None and 0 both mean 100. On Linux
    (libvips) a quality above 100 makes the save fail; on Windows GDI+ takes any value. Only a
    value that 32 unsigned bits cannot hold is refused here (ValueError; TypeError when it is not
    an int), as it cannot be handed to the library at all.

    OperationFailedError (status FAILED) when the bytes do not decode or the file cannot be
    written (including a quality the encoder refuses); the shared log says why.
    """
    image_type = _IMAGE_TYPES.get(format) if isinstance(format, str) else None
    if image_type is None:
        raise ValueError(f"format must be one of {', '.join(_IMAGE_TYPES)}, not {format!r}")
    if quality is None:
        params, param_count = None, 0
    else:
        if format != "jpeg":
            raise ValueError(f"quality applies to JPEG only, not to {format!r}")
        # Passed on unchanged: the library reads 0 as 100, and the encoder judges the rest.
        _fit(quality, 0, UINT32_MAX, "quality", "32 unsigned bits")
        params, param_count = ctypes.pointer(ctypes.c_uint32(quality)), 1
    raw = to_bytes(data)
    output = ctypes.POINTER(ctypes.c_uint8)()
    length = ctypes.c_size_t(0)
    status = _library.library().tmu_image_convert(
        raw, len(raw), image_type, params, param_count, ctypes.byref(output), ctypes.byref(length)
    )
    converted = take_bytes(output, length.value)
    check(status, f"image.convert to {format}")
    return converted


def resize(data: BytesLike, size: tuple[int, int]) -> bytes:
    """The image in `data` stretched to exactly `size` = (width, height) pixels, as a BMP file.

    As the library does, some requests give an empty result (b"") rather than an error: bytes
    that do not decode, and a size that is not stretched to, that is a width or height below 1
    or more than 100,000,000 pixels in all (the library logs a WARN line for those). Any width
    and height that 32 signed bits hold go to the library as they are; others are refused here
    (ValueError; TypeError when not an int), as they cannot be handed to it at all.
    """
    width, height = size
    _fit(width, INT32_MIN, INT32_MAX, "width", "32 signed bits")
    _fit(height, INT32_MIN, INT32_MAX, "height", "32 signed bits")
    raw = to_bytes(data)
    output = ctypes.POINTER(ctypes.c_uint8)()
    length = ctypes.c_size_t(0)
    status = _library.library().tmu_image_resize(
        raw, len(raw), width, height, ctypes.byref(output), ctypes.byref(length)
    )
    stretched = take_bytes(output, length.value)
    check(status, f"image.resize to {width}x{height}")
    return stretched


def to_clipboard(bmp: BytesLike) -> None:
    """Places the BMP file `bmp` on the system clipboard as a device-independent bitmap.

    OperationFailedError when it cannot; always on Linux, which has no clipboard to reach.
    """
    raw = to_bytes(bmp, "bmp")
    check(_library.library().tmu_image_to_clipboard(raw, len(raw)), "image.to_clipboard")
