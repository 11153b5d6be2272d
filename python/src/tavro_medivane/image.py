"""Conversion and stretching of whole image files held in memory.

The input is always the bytes of a complete image file (JPEG, PNG, BMP, GIF, TIFF, or whatever
the system's codecs decode); the output is the bytes of a complete file.
"""

from __future__ import annotations

import ctypes
from typing import Literal

from . import _library
from ._buffers import take_bytes
from ._convert import INT32_MAX, BytesLike, check_int, to_bytes
from ._errors import check

ImageFormat = Literal["bmp", "jpeg", "png", "gif", "tiff"]

# The library's mvImageType numbers.
_IMAGE_TYPES: dict[str, int] = {"bmp": 1, "jpeg": 3, "png": 4, "gif": 5, "tiff": 6}


def convert(data: BytesLike, format: ImageFormat, quality: int | None = None) -> bytes:
    """The image in `data` as a file of `format`.

    `quality` (1..100, JPEG only) defaults to 100. OperationFailedError (status FAILED) when the
    bytes do not decode or the file cannot be written; the shared log says why.
    """
    image_type = _IMAGE_TYPES.get(format) if isinstance(format, str) else None
    if image_type is None:
        raise ValueError(f"format must be one of {', '.join(_IMAGE_TYPES)}, not {format!r}")
    if quality is None:
        params, param_count = None, 0
    else:
        if format != "jpeg":
            raise ValueError(f"quality applies to JPEG only, not to {format!r}")
        # The library reads 0 as 100 and hands anything above 100 to an encoder that refuses it.
        check_int(quality, 1, 100, "quality")
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

    As the library does, bytes that do not decode give an empty result rather than an error.
    """
    width, height = size
    check_int(width, 1, INT32_MAX, "width")
    check_int(height, 1, INT32_MAX, "height")
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
