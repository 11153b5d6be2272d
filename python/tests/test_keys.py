"""Key press strings: syntax checks, the records they become, and sending them."""

from __future__ import annotations

import sys
from collections.abc import Iterator

import pytest

from support import InstallFolder, last_log_line
from tavro_medivane import Config, InvalidKeyStringError, SendFailedError, Status, keys
from tavro_medivane.keys import KEY_UP, KeyRecord

# Virtual keys and US scan codes: CONTROL 0x11/29, ALT (MENU) 0x12/56, D 0x44/32.
CONTROL_ALT_D = [
    KeyRecord(0x11, 29, 0),
    KeyRecord(0x12, 56, 0),
    KeyRecord(0x44, 32, 0),
    KeyRecord(0x11, 29, 2),
    KeyRecord(0x12, 56, 2),
    KeyRecord(0x44, 32, 2),
]


def test_a_chord_goes_down_in_order_then_up_in_order() -> None:
    records = keys.records("{CONTROL}+{ALT}+d")
    assert records == CONTROL_ALT_D
    assert [record.key_up for record in records] == [False, False, False, True, True, True]
    assert records[3].flags == KEY_UP == 2
    assert records[0]._asdict() == {"virtual_key": 0x11, "scan_code": 29, "flags": 0}


def test_every_key_name_has_its_record() -> None:
    assert keys.records("{SHIFT}+{ADD}+{VK65}+0") == [
        KeyRecord(0x10, 42, 0),
        KeyRecord(0x6B, 78, 0),
        KeyRecord(0x41, 30, 0),
        KeyRecord(0x30, 11, 0),
        KeyRecord(0x10, 42, 2),
        KeyRecord(0x6B, 78, 2),
        KeyRecord(0x41, 30, 2),
        KeyRecord(0x30, 11, 2),
    ]


def test_groups_follow_one_another_and_either_case_is_one_key() -> None:
    assert keys.records("aZ") == keys.records("Az") == [
        KeyRecord(0x41, 30, 0),
        KeyRecord(0x41, 30, 2),
        KeyRecord(0x5A, 44, 0),
        KeyRecord(0x5A, 44, 2),
    ]


def test_more_records_than_the_first_array_holds() -> None:
    records = keys.records("abcdefghijklmnopqrstuvwxyz")
    assert len(records) == 52
    assert records[:2] == [KeyRecord(0x41, 30, 0), KeyRecord(0x41, 30, 2)]
    assert records[-2:] == [KeyRecord(0x5A, 44, 0), KeyRecord(0x5A, 44, 2)]


def test_the_empty_string_gives_no_records() -> None:
    assert keys.records("") == []


@pytest.mark.parametrize("text", ["{NOPE}", "a b", "{control}", "+", "{CONTROL}+"])
def test_a_string_that_does_not_parse_is_refused(text: str) -> None:
    assert keys.validate(text) is False
    with pytest.raises(InvalidKeyStringError) as caught:
        keys.records(text)
    assert isinstance(caught.value, ValueError)
    assert caught.value.status == Status.INVALID_FORMAT
    assert str(caught.value) == f"keys.records({text!r}): TMU_KPS_INVALID_FORMAT: the key string is not valid"


def test_validate_accepts_chords_and_the_empty_string() -> None:
    assert keys.validate("{CONTROL}+{ALT}+d") is True
    assert keys.validate("") is True


def test_the_reasons_are_logged_in_the_given_area(install_folder: InstallFolder) -> None:
    assert keys.validate("{NOPE}", log_area="PyKeys") is False
    line = last_log_line(install_folder.log_file)
    assert line.startswith("E PyKeys ")
    assert line.endswith(" KeyPressAction::ParseInputString - ElementsToInput failed with status: ;DATA#-40")


@pytest.fixture
def saved_key(install_folder: InstallFolder) -> Iterator[str]:
    """A key string stored in the default configuration, which the simulator reads; the file is
    put back afterwards so that the log settings stay as they were."""
    before = install_folder.config_file.read_bytes()
    with Config(writable=True) as config:
        config.set("/Tavro/Keys/Save", "{CONTROL}+s")
    yield "/Tavro/Keys/Save"
    install_folder.config_file.write_bytes(before)


def test_records_of_a_configuration_key_follow_its_value(saved_key: str) -> None:
    assert keys.records(saved_key, from_config=True) == [
        KeyRecord(0x11, 29, 0),
        KeyRecord(0x53, 31, 0),
        KeyRecord(0x11, 29, 2),
        KeyRecord(0x53, 31, 2),
    ]


def test_a_missing_configuration_key_means_no_records() -> None:
    assert keys.records("/Tavro/Keys/Missing", from_config=True) == []
    keys.send("/Tavro/Keys/Missing", from_config=True)


def test_sending_nothing_succeeds() -> None:
    keys.send("")


def test_sending_a_string_that_does_not_parse_is_refused() -> None:
    with pytest.raises(InvalidKeyStringError):
        keys.send("{NOPE}", log_area="PyKeys")


@pytest.mark.skipif(sys.platform == "win32", reason="Windows has an input back end")
def test_linux_has_no_input_back_end() -> None:
    with pytest.raises(SendFailedError) as caught:
        keys.send("{SHIFT}")
    assert caught.value.status == Status.SEND_FAILED
    assert caught.value.message == "TMU_KPS_SEND_FAILED: the system refused the key presses"


def test_a_log_area_beyond_ascii_is_taken() -> None:
    assert keys.validate("a", log_area="Py Keys/é€😀") is True
