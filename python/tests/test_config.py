"""The configuration store on files written here."""

from __future__ import annotations

import shutil
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

from support import InstallFolder, write_utf16_file
from tavro_medivane import (
    Config,
    ConfigFileError,
    ConversionError,
    InvalidArgumentError,
    NotFoundError,
    Status,
    WriteFailedError,
    WriteNotAllowedError,
    status_text,
)

SAMPLE = (
    "// sample\r\n"
    "/Tavro/App/Name=Korvina\r\n"
    "/Tavro/App/Count=42\r\n"
    "/Tavro/App/Ratio=2.5\r\n"
    "/Tavro/App/Mask=0xFF\r\n"
    "/Tavro/App/Word=abc\r\n"
    "/Tavro/App/Zero=00\r\n"
    "/Tavro/App/Blank=\r\n"
    "/Tavro/Other/Name=x\r\n"
    "/Tavro/List[3]/Id=c\r\n"
    "/Tavro/List[1]/Id=a\r\n"
    "/Tavro/List[3]/Name=c\r\n"
)

NUMBERS = (
    "/N/Negative=-5\r\n"
    "/N/Trailing=12abc\r\n"
    "/N/ExactZero=0\r\n"
    "/N/Largest=18446744073709551615\r\n"
    "/N/Octal=017\r\n"
    "/N/Binary=1011\r\n"
    "/N/Spaced=  7\r\n"
)


@pytest.fixture
def sample(tmp_path: Path) -> Path:
    path = tmp_path / "sample.cfg"
    write_utf16_file(path, SAMPLE)
    return path


@pytest.fixture
def config(sample: Path) -> Iterator[Config]:
    with Config(sample) as opened:
        yield opened


# ---- text values ----


def test_get_gives_the_value_as_text(config: Config) -> None:
    assert config.get("/Tavro/App/Name") == "Korvina"


def test_get_gives_a_value_longer_than_the_first_buffer(tmp_path: Path) -> None:
    path = tmp_path / "long.cfg"
    value = "".join(chr(0x41 + i % 26) for i in range(1000)) + "é€😀"
    write_utf16_file(path, f"/Long={value}\r\n")
    with Config(path) as config:
        assert config.get("/Long") == value


@pytest.mark.parametrize("key", ["/Tavro/App/Nope", "/Tavro/App/Blank", ""])
def test_missing_blank_and_empty_keys_raise_not_found(config: Config, key: str) -> None:
    with pytest.raises(NotFoundError) as caught:
        config.get(key)
    assert isinstance(caught.value, KeyError)
    assert caught.value.status == Status.NOT_FOUND
    assert caught.value.message == status_text(Status.NOT_FOUND)
    assert str(caught.value) == f"Config.get({key!r}): TMU_NOT_FOUND: no such key, section, array or entry"


def test_get_with_a_default_gives_it_for_a_missing_key(config: Config) -> None:
    assert config.get("/Tavro/App/Nope", "fallback") == "fallback"
    assert config.get("/Tavro/App/Nope", None) is None
    assert config.get("/Tavro/App/Name", "fallback") == "Korvina"


# ---- numbers ----


def test_numbers_convert_as_the_store_reads_them(config: Config) -> None:
    assert config.get_int("/Tavro/App/Count") == 42
    assert config.get_float("/Tavro/App/Ratio") == 2.5
    assert config.get_uint64("/Tavro/App/Mask", 16) == 255
    assert config.get_uint64("/Tavro/App/Mask") == 255


def test_number_text_is_read_from_its_start(tmp_path: Path) -> None:
    path = tmp_path / "numbers.cfg"
    write_utf16_file(path, NUMBERS)
    with Config(path) as config:
        assert config.get_int("/N/Negative") == -5
        assert config.get_int("/N/Trailing") == 12
        assert config.get_int("/N/ExactZero") == 0
        assert config.get_int("/N/Spaced") == 7
        assert config.get_float("/N/Trailing") == 12.0
        assert config.get_uint64("/N/Largest") == 2**64 - 1
        assert config.get_uint64("/N/Octal") == 0o17
        assert config.get_uint64("/N/Octal", 10) == 17
        assert config.get_uint64("/N/Binary", 2) == 11
        assert config.get_uint64("/N/Binary", 36) == 1 * 36**3 + 0 * 36**2 + 36 + 1


@pytest.mark.parametrize("key", ["/Tavro/App/Word", "/Tavro/App/Zero"])
def test_text_that_is_no_number_raises_conversion_error(config: Config, key: str) -> None:
    readers: list[Callable[[str], object]] = [config.get_int, config.get_float, config.get_uint64]
    for read in readers:
        with pytest.raises(ConversionError) as caught:
            read(key)
        assert isinstance(caught.value, ValueError)
        assert caught.value.status == Status.CONVERSION_FAILED


def test_number_getters_raise_not_found_or_give_the_default(config: Config) -> None:
    with pytest.raises(NotFoundError):
        config.get_int("/Tavro/App/Nope")
    with pytest.raises(NotFoundError):
        config.get_float("/Tavro/App/Nope")
    with pytest.raises(NotFoundError):
        config.get_uint64("/Tavro/App/Nope")
    assert config.get_int("/Tavro/App/Nope", -1) == -1
    assert config.get_float("/Tavro/App/Nope", 0.5) == 0.5
    assert config.get_uint64("/Tavro/App/Nope", 16, None) is None
    # A default covers only a missing key, never a value that does not convert.
    with pytest.raises(ConversionError):
        config.get_int("/Tavro/App/Word", 0)


@pytest.mark.parametrize("radix", [1, 37, -1])
def test_a_radix_outside_2_to_36_is_refused(config: Config, radix: int) -> None:
    with pytest.raises(ValueError, match="radix"):
        config.get_uint64("/Tavro/App/Mask", radix)


# ---- writing ----


def test_set_writes_the_file_as_utf16(tmp_path: Path) -> None:
    path = tmp_path / "set.cfg"
    write_utf16_file(path, "")
    value = "Zürich €😀"
    with Config(path, writable=True) as config:
        config.set("/A", value)
        # The store keeps the empty file's one blank line and puts no CR LF after the last line.
        expected = b"\xff\xfe" + "\r\n/A=Zürich €😀".encode("utf-16-le")
        assert path.read_bytes() == expected
        assert expected == bytes.fromhex(
            "fffe 0d000a00 2f00 4100 3d00 5a00 fc00 7200 6900 6300 6800 2000 ac20 3dd8 00de"
        )
        assert config.get("/A") == value


def test_set_replaces_a_value_in_place(sample: Path) -> None:
    with Config(sample, writable=True) as config:
        config.set("/Tavro/App/Count", "43")
        assert config.get_int("/Tavro/App/Count") == 43
    text = sample.read_bytes()[2:].decode("utf-16-le")
    # Every line stays where it was, comment and blank value included; the file's closing CR LF
    # is a last, empty line, written back as it was.
    assert text == SAMPLE.replace("Count=42", "Count=43")


def test_set_appends_a_new_key_after_the_last_line(tmp_path: Path) -> None:
    path = tmp_path / "append.cfg"
    write_utf16_file(path, "/A=1")
    with Config(path, writable=True) as config:
        config.set("/B", "2")
    assert path.read_bytes() == b"\xff\xfe" + "/A=1\r\n/B=2".encode("utf-16-le")


def test_set_on_a_read_only_handle_is_not_allowed(sample: Path, config: Config) -> None:
    before = sample.read_bytes()
    with pytest.raises(WriteNotAllowedError) as caught:
        config.set("/Tavro/App/Name", "x")
    assert caught.value.status == Status.WRITE_NOT_ALLOWED
    assert str(caught.value) == (
        "Config.set('/Tavro/App/Name'): TMU_CFG_WRITE_NOT_ALLOWED: the configuration was opened read-only"
    )
    assert sample.read_bytes() == before


def test_a_file_that_cannot_be_written_raises_write_failed(tmp_path: Path) -> None:
    folder = tmp_path / "vanishing"
    folder.mkdir()
    write_utf16_file(folder / "x.cfg", "/A=1\r\n")
    with Config(folder / "x.cfg", writable=True) as config:
        shutil.rmtree(folder)
        with pytest.raises(WriteFailedError) as caught:
            config.set("/A", "2")
    assert caught.value.status == Status.WRITE_FAILED


def test_set_takes_only_text(tmp_path: Path) -> None:
    path = tmp_path / "typed.cfg"
    write_utf16_file(path, "")
    with Config(path, writable=True) as config:
        with pytest.raises(TypeError, match="value must be a str, not int"):
            config.set("/A", 5)  # type: ignore[arg-type]


# ---- listings ----


def test_section_lists_whole_keys_with_their_values(config: Config) -> None:
    # A key with a blank value has no value to list.
    assert list(config.section("/Tavro/App/").items()) == [
        ("/Tavro/App/Count", "42"),
        ("/Tavro/App/Mask", "0xFF"),
        ("/Tavro/App/Name", "Korvina"),
        ("/Tavro/App/Ratio", "2.5"),
        ("/Tavro/App/Word", "abc"),
        ("/Tavro/App/Zero", "00"),
    ]


def test_section_is_a_plain_prefix_and_empty_lists_everything(config: Config) -> None:
    assert list(config.section("/Tavro/O")) == ["/Tavro/Other/Name"]
    assert len(config.section("")) == 10


def test_an_empty_section_is_an_empty_dict(config: Config) -> None:
    assert config.section("/Nope") == {}


def test_section_keeps_text_beyond_ascii(tmp_path: Path) -> None:
    path = tmp_path / "wide.cfg"
    write_utf16_file(path, "/Ü/€=😀\r\n/Ü/b=é\r\n")
    with Config(path) as config:
        assert list(config.section("/Ü/").items()) == [("/Ü/b", "é"), ("/Ü/€", "😀")]


def test_match_lists_keys_whose_last_component_begins_so(config: Config) -> None:
    assert list(config.match("/Tavro", "Na").items()) == [
        ("/Tavro/App/Name", "Korvina"),
        ("/Tavro/List[3]/Name", "c"),
        ("/Tavro/Other/Name", "x"),
    ]
    assert config.match("/Tavro", "Nope") == {}


def test_array_indices_come_in_the_order_of_the_keys(config: Config) -> None:
    # The keys are met in key order: "/Tavro/List[1]/Id" before "/Tavro/List[3]/Id".
    assert config.array_indices("/Tavro/List") == [1, 3]
    assert config.array_indices("/Nope") == []


def test_array_indices_beyond_the_first_buffer(tmp_path: Path) -> None:
    path = tmp_path / "array.cfg"
    write_utf16_file(path, "".join(f"/Arr[{n}]/Id={n}\r\n" for n in range(40)))
    with Config(path) as config:
        # "/Arr[10]/Id" sorts before "/Arr[1]/Id" ("0" before "]").
        assert config.array_indices("/Arr") == sorted(range(40), key=lambda n: f"/Arr[{n}]/Id")
        assert config.array_indices("/Arr")[:4] == [0, 10, 11, 12]


def test_array_indices_of_an_empty_section_is_refused(config: Config) -> None:
    with pytest.raises(InvalidArgumentError) as caught:
        config.array_indices("")
    assert caught.value.status == Status.INVALID_ARGUMENT


# ---- files and handles ----


def test_reload_reads_a_changed_file(sample: Path, config: Config) -> None:
    write_utf16_file(sample, "/Tavro/App/Count=43\r\n")
    config.reload()
    assert config.get_int("/Tavro/App/Count") == 43
    config.reload(force=False)
    assert config.get_int("/Tavro/App/Count") == 43


def test_reload_reports_a_file_that_became_unreadable(sample: Path, config: Config) -> None:
    sample.write_bytes(b"\xef\xbb\xbf/A=1\r\n")
    with pytest.raises(ConfigFileError) as caught:
        config.reload()
    assert caught.value.status == Status.FILE_UTF8


def test_the_default_file_is_found_through_the_install_folder(install_folder: InstallFolder) -> None:
    with Config() as config:
        assert config.path is None
        assert config.get("/Tavro/MedivaneSDK/Logging/LogFileName") == "python.log"
        assert config.get("/Tavro/MedivaneSDK/Logging/LogFileLocation") == str(install_folder.log_file.parent)


def test_a_missing_file_is_refused_and_the_default_file_left_alone(
    tmp_path: Path, install_folder: InstallFolder
) -> None:
    before = install_folder.config_file.read_bytes()
    missing = tmp_path / "missing.cfg"
    with pytest.raises(ConfigFileError) as caught:
        Config(missing, writable=True)
    assert caught.value.status == Status.FILE_OPEN_FAILED
    assert str(caught.value).startswith(f"Config({str(missing)!r}): the configuration file could not be opened")
    assert not missing.exists()
    assert install_folder.config_file.read_bytes() == before


def test_a_folder_is_no_configuration_file(tmp_path: Path) -> None:
    with pytest.raises(ConfigFileError) as caught:
        Config(tmp_path)
    assert caught.value.status == Status.FILE_OPEN_FAILED


def test_a_utf8_file_is_refused(tmp_path: Path) -> None:
    path = tmp_path / "utf8.cfg"
    path.write_bytes(b"\xef\xbb\xbf/A=1\r\n")
    with pytest.raises(ConfigFileError) as caught:
        Config(path)
    assert caught.value.status == Status.FILE_UTF8
    assert caught.value.message == "TMU_CFG_FILE_UTF8: the configuration file has a UTF-8 byte-order mark"


def test_an_empty_file_is_an_empty_store(tmp_path: Path) -> None:
    path = tmp_path / "empty.cfg"
    path.write_bytes(b"")
    with Config(path) as config:
        assert config.section("") == {}


def test_a_path_may_be_text_or_path_like(sample: Path) -> None:
    with Config(str(sample)) as by_text, Config(sample, logging=True) as by_path:
        assert by_text.get("/Tavro/App/Name") == by_path.get("/Tavro/App/Name") == "Korvina"
        assert by_text.path == by_path.path == str(sample)


def test_a_closed_handle_refuses_every_call(sample: Path) -> None:
    config = Config(sample)
    assert repr(config) == f"<Config {str(sample)!r} read-only>"
    config.close()
    config.close()
    assert config.closed
    assert repr(config) == f"<Config {str(sample)!r} closed>"
    calls: list[Callable[[], object]] = [
        lambda: config.get("/A"),
        lambda: config.get_int("/A"),
        lambda: config.set("/A", "1"),
        lambda: config.section(""),
        lambda: config.match("/", "A"),
        lambda: config.array_indices("/A"),
        lambda: config.reload(),
    ]
    for call in calls:
        with pytest.raises(ValueError, match="closed Config"):
            call()


def test_the_context_manager_closes_the_handle(sample: Path) -> None:
    with Config(sample, writable=True) as config:
        assert repr(config) == f"<Config {str(sample)!r} writable>"
    assert config.closed
