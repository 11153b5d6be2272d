"""CRC-32 and CRC-16/USB, whole and in pieces, against the check values and Python's own zlib."""

from __future__ import annotations

import array
import random
import zlib

import pytest

from tavro_medivane import Crc16, Crc32, crc16, crc32

DIGITS = b"123456789"


def crc16_usb_reference(data: bytes) -> int:
    """CRC-16/USB bit by bit: reflected polynomial 0x8005, start 0xFFFF, result XOR 0xFFFF."""
    register = 0xFFFF
    for byte in data:
        register ^= byte
        for _ in range(8):
            register = (register >> 1) ^ 0xA001 if register & 1 else register >> 1
    return register ^ 0xFFFF


def test_crc32_of_the_check_string() -> None:
    assert crc32(DIGITS) == 0xCBF43926
    assert crc32(b"") == 0


def test_crc32_takes_every_bytes_like_object() -> None:
    assert crc32(bytearray(DIGITS)) == 0xCBF43926
    assert crc32(memoryview(b"xx123456789")[2:]) == 0xCBF43926
    assert crc32(array.array("B", DIGITS)) == 0xCBF43926  # type: ignore[arg-type]


def test_crc32_agrees_with_zlib_on_a_megabyte() -> None:
    data = random.Random(7).randbytes(1 << 20)
    assert crc32(data) == zlib.crc32(data)


@pytest.mark.parametrize("wrong", ["123456789", 123456789, None])
def test_checksums_refuse_what_is_not_bytes(wrong: object) -> None:
    with pytest.raises(TypeError):
        crc32(wrong)  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        crc16(wrong)  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        Crc32().update(wrong)  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        Crc16().update(wrong)  # type: ignore[arg-type]


def test_crc32_in_pieces_keeps_its_state_between_results() -> None:
    checksum = Crc32()
    assert checksum.update(DIGITS[:4]).result() == crc32(b"1234")
    checksum.update(b"").update(DIGITS[4:])
    assert checksum.result() == 0xCBF43926
    assert checksum.result() == 0xCBF43926


def test_crc32_start_value_is_also_the_final_xor() -> None:
    checksum = Crc32(0)
    assert checksum.result() == 0
    assert checksum.update(DIGITS).result() == 0x2DFD2D88


def test_crc32_copy_goes_on_independently() -> None:
    original = Crc32().update(b"1234")
    duplicate = original.copy()
    duplicate.update(b"56789")
    assert duplicate.result() == 0xCBF43926
    assert original.result() == crc32(b"1234")


@pytest.mark.parametrize("init", [-1, 1 << 32])
def test_crc32_start_value_must_fit_32_bits(init: int) -> None:
    with pytest.raises(ValueError, match="init must be within 0..4294967295"):
        Crc32(init)


def test_crc32_start_value_must_be_an_int() -> None:
    with pytest.raises(TypeError):
        Crc32(True)
    with pytest.raises(TypeError):
        Crc32(1.0)  # type: ignore[arg-type]


def test_crc16_of_the_check_string() -> None:
    assert crc16(DIGITS) == 0xB4C8
    assert crc16(b"") == 0


def test_crc16_agrees_with_the_bitwise_definition() -> None:
    data = random.Random(16).randbytes(4096)
    assert crc16(data) == crc16_usb_reference(data)


def test_crc16_final_starts_again() -> None:
    checksum = Crc16()
    checksum.update(DIGITS[:3]).update(DIGITS[3:])
    assert checksum.final() == 0xB4C8
    assert checksum.final() == 0
    assert checksum.update(DIGITS).final() == 0xB4C8
