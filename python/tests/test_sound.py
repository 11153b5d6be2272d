"""Sound events: the scheme as the Linux store keeps it, the names, and playing."""

from __future__ import annotations

import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

from support import InstallFolder
from tavro_medivane import NotFoundError, Status, sound
from tavro_medivane.sound import SoundEvent

ERROR_SECTION = "[AppEvents\\Schemes\\Apps\\Tavro Korvina\\Error\\.Current]\r\n"
ERROR_VALUE = "@=REG_EXPAND_SZ:%KVO_INSTALL_DIR%Sounds\\Error.wav\r\n"

pytestmark = pytest.mark.skipif(sys.platform == "win32", reason="reads the Linux scheme file")


@pytest.fixture
def scheme_file(install_folder: InstallFolder) -> Path:
    return install_folder.xdg / "TavroMedivane" / "sound-scheme.ini"


@pytest.fixture
def registered() -> Iterator[None]:
    sound.register()
    yield
    sound.unregister()


def scheme_text(path: Path) -> str:
    raw = path.read_bytes()
    assert raw[:2] == b"\xff\xfe"
    return raw[2:].decode("utf-16-le")


def test_register_writes_the_scheme_and_unregister_removes_it(scheme_file: Path) -> None:
    sound.register()
    text = scheme_text(scheme_file)
    assert ERROR_SECTION in text
    after_section = text[text.index(ERROR_SECTION) + len(ERROR_SECTION) :]
    assert after_section.startswith(ERROR_VALUE)
    sound.unregister()
    assert ERROR_SECTION not in (scheme_text(scheme_file) if scheme_file.exists() else "")


def test_events_are_found_by_their_scheme_names() -> None:
    assert sound.event_by_name("Error") == 1
    assert sound.event_by_name(".Default") == 0
    # Two events share this name: the lower number.
    assert sound.event_by_name("Barcode Scan Stop Found") == 15
    assert sound.event_by_name("Inappropriate Button Click") == 26


def test_the_enumeration_has_the_library_numbers() -> None:
    assert [int(event) for event in SoundEvent] == list(range(27))
    assert SoundEvent(1) is SoundEvent.ERROR
    assert SoundEvent(15) is SoundEvent.BARCODE_SCAN_STOP_FOUND
    assert SoundEvent(26) is SoundEvent.INAPPROPRIATE_BUTTON_CLICK


@pytest.mark.parametrize("name", ["error", "Nope", "", "Error "])
def test_an_unknown_name_is_not_found(name: str) -> None:
    with pytest.raises(NotFoundError) as caught:
        sound.event_by_name(name)
    assert isinstance(caught.value, KeyError)
    assert caught.value.status == Status.NOT_FOUND
    assert str(caught.value) == f"sound event {name!r}: TMU_NOT_FOUND: no such key, section, array or entry"


@pytest.mark.usefixtures("registered")
def test_play_takes_names_and_numbers_without_error() -> None:
    sound.play("Error")
    sound.play(SoundEvent.BUTTON_CLICK, interrupt=False)
    sound.play(1)
    sound.play(27, interrupt=False)  # beyond the table: the ".Default" event


def test_play_of_an_unknown_name_raises_not_found() -> None:
    with pytest.raises(NotFoundError):
        sound.play("error")


def test_play_refuses_a_number_beyond_32_bits() -> None:
    with pytest.raises(ValueError, match="event must be within"):
        sound.play(2**31)
    with pytest.raises(TypeError):
        sound.play(1.0)  # type: ignore[arg-type]
