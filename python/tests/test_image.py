"""Image conversion and stretching, from a BMP made here byte by byte."""

from __future__ import annotations

import struct
import sys
import zlib

import pytest

from support import make_bmp
from tavro_medivane import OperationFailedError, Status, _library, image

JUNK = b"\x5a\x5a\x5a" + bytes(61)


@pytest.fixture
def library_unreachable(monkeypatch: pytest.MonkeyPatch) -> None:
    """Makes any call into the library fail the test: for arguments refused before it."""

    def unreachable() -> object:
        raise AssertionError("the library was called")

    monkeypatch.setattr(_library, "library", unreachable)


def png_chunks(png: bytes) -> list[tuple[bytes, bytes]]:
    assert png[:8] == b"\x89PNG\r\n\x1a\n"
    chunks = []
    at = 8
    while at < len(png):
        (length,) = struct.unpack(">I", png[at : at + 4])
        kind, data = png[at + 4 : at + 8], png[at + 8 : at + 8 + length]
        (crc,) = struct.unpack(">I", png[at + 8 + length : at + 12 + length])
        assert crc == zlib.crc32(kind + data)
        chunks.append((kind, data))
        at += 12 + length
    return chunks


def test_convert_gives_a_whole_png_of_the_same_pixels() -> None:
    chunks = dict(png_chunks(image.convert(make_bmp(), "png")))
    width, height, depth, colour, _, _, _ = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    assert (width, height, depth, colour) == (4, 2, 8, 2)  # 8-bit RGB
    assert chunks[b"IEND"] == b""
    # Top row first, each row after its filter byte (0: none).
    assert zlib.decompress(chunks[b"IDAT"]) == bytes.fromhex(
        "00 ff0000 00ff00 0000ff ffffff" "00 000000 808080 000000 808080"
    )


def test_convert_to_bmp_gives_the_same_file_back() -> None:
    assert image.convert(make_bmp(), "bmp") == make_bmp()


def test_convert_to_jpeg_takes_the_quality() -> None:
    best = image.convert(make_bmp(), "jpeg")
    lower = image.convert(make_bmp(), "jpeg", quality=80)
    for jpeg in (best, lower):
        assert jpeg[:3] == b"\xff\xd8\xff"
        assert jpeg[-2:] == b"\xff\xd9"
    assert image.convert(make_bmp(), "jpeg", quality=100) == best
    assert len(lower) < len(best)


def test_quality_0_is_100_as_is_no_quality() -> None:
    best = image.convert(make_bmp(), "jpeg", quality=100)
    assert image.convert(make_bmp(), "jpeg", quality=0) == best
    assert image.convert(make_bmp(), "jpeg", quality=None) == best


def test_a_lower_quality_gives_a_smaller_file() -> None:
    lower = image.convert(make_bmp(), "jpeg", quality=40)
    assert lower[:3] == b"\xff\xd8\xff"
    assert len(lower) < len(image.convert(make_bmp(), "jpeg", quality=100))


@pytest.mark.skipif(sys.platform == "win32", reason="GDI+ takes a quality above 100")
@pytest.mark.parametrize("quality", [101, 150, 2**32 - 1])
def test_a_quality_above_100_fails_in_the_encoder_on_linux(quality: int) -> None:
    with pytest.raises(OperationFailedError) as caught:
        image.convert(make_bmp(), "jpeg", quality=quality)
    assert caught.value.status == Status.FAILED
    assert str(caught.value) == "image.convert to jpeg: TMU_FAILED: the operation failed; the log says why"


@pytest.mark.skipif(sys.platform != "win32", reason="libvips refuses a quality above 100")
def test_a_quality_above_100_is_taken_on_windows() -> None:
    assert image.convert(make_bmp(), "jpeg", quality=150)[:3] == b"\xff\xd8\xff"


def test_convert_to_gif_and_tiff() -> None:
    gif = image.convert(make_bmp(), "gif")
    assert gif[:6] == b"GIF89a"
    assert struct.unpack("<HH", gif[6:10]) == (4, 2)
    assert image.convert(make_bmp(), "tiff")[:4] == b"II*\0"


def test_convert_takes_any_bytes_like_source() -> None:
    png = image.convert(make_bmp(), "png")
    assert image.convert(bytearray(make_bmp()), "png") == png
    assert image.convert(memoryview(make_bmp()), "png") == png


def test_a_converted_file_converts_again() -> None:
    png = image.convert(make_bmp(), "png")
    assert image.convert(png, "bmp") == make_bmp()


@pytest.mark.parametrize("source", [JUNK, b""], ids=["junk", "empty"])
def test_bytes_that_do_not_decode_fail_the_conversion(source: bytes) -> None:
    with pytest.raises(OperationFailedError) as caught:
        image.convert(source, "png")
    assert caught.value.status == Status.FAILED
    assert str(caught.value) == "image.convert to png: TMU_FAILED: the operation failed; the log says why"


@pytest.mark.parametrize("format", ["webp", "PNG", "", 4])
def test_an_unknown_format_is_refused(format: object) -> None:
    with pytest.raises(ValueError, match="format must be one of bmp, jpeg, png, gif, tiff"):
        image.convert(make_bmp(), format)  # type: ignore[arg-type]


@pytest.mark.parametrize("quality", [-1, 2**32])
def test_a_quality_that_32_unsigned_bits_cannot_hold_is_refused(quality: int, library_unreachable: None) -> None:
    with pytest.raises(ValueError) as caught:
        image.convert(make_bmp(), "jpeg", quality=quality)
    assert str(caught.value) == f"quality must fit in 32 unsigned bits (0..4294967295), not {quality}"


@pytest.mark.parametrize("quality", [True, 80.0, "80"])
def test_a_quality_that_is_not_an_int_is_refused(quality: object, library_unreachable: None) -> None:
    with pytest.raises(TypeError, match="quality must be an int that fits in 32 unsigned bits"):
        image.convert(make_bmp(), "jpeg", quality=quality)  # type: ignore[arg-type]


def test_quality_is_for_jpeg_only() -> None:
    with pytest.raises(ValueError, match="quality applies to JPEG only"):
        image.convert(make_bmp(), "png", quality=80)


def test_resize_gives_a_bmp_of_the_asked_size() -> None:
    stretched = image.resize(make_bmp(), (8, 6))
    assert len(stretched) == 54 + 8 * 6 * 3
    assert stretched[:54] == b"BM" + struct.pack("<IHHI", len(stretched), 0, 0, 54) + struct.pack(
        "<IiiHHIIiiII", 40, 8, 6, 1, 24, 0, 8 * 6 * 3, 0x0B13, 0x0B13, 0, 0
    )


def test_resize_to_the_same_size_keeps_the_pixels() -> None:
    assert image.resize(make_bmp(), (4, 2))[54:] == make_bmp()[54:]


def test_resize_of_bytes_that_do_not_decode_is_empty() -> None:
    assert image.resize(JUNK, (4, 4)) == b""


@pytest.mark.parametrize("size", [(0, 10), (10, 0), (-5, 10), (70000, 70000)])
def test_resize_to_a_size_without_pixels_or_beyond_100_megapixels_is_empty(size: tuple[int, int]) -> None:
    assert image.resize(make_bmp(), size) == b""


@pytest.mark.parametrize(
    ("size", "what", "value"),
    [((2**31, 1), "width", 2**31), ((1, -(2**31) - 1), "height", -(2**31) - 1)],
)
def test_resize_refuses_a_size_that_32_signed_bits_cannot_hold(
    size: tuple[int, int], what: str, value: int, library_unreachable: None
) -> None:
    with pytest.raises(ValueError) as caught:
        image.resize(make_bmp(), size)
    assert str(caught.value) == f"{what} must fit in 32 signed bits (-2147483648..2147483647), not {value}"


def test_image_functions_refuse_text() -> None:
    with pytest.raises(TypeError):
        image.convert("not bytes", "png")  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        image.resize("not bytes", (1, 1))  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        image.to_clipboard("not bytes")  # type: ignore[arg-type]


@pytest.mark.skipif(sys.platform == "win32", reason="Windows has a clipboard")
def test_linux_has_no_clipboard() -> None:
    with pytest.raises(OperationFailedError) as caught:
        image.to_clipboard(make_bmp())
    assert caught.value.status == Status.FAILED


def test_a_source_shorter_than_a_bmp_header_is_refused() -> None:
    with pytest.raises(OperationFailedError):
        image.to_clipboard(make_bmp()[:10])
