"""Every text argument refuses what C text cannot carry, before the library sees it.

C text ends at its first NUL (a key "/A\\0/B" would silently become "/A"), and the library takes
only well-formed UTF-8, which a str with an unpaired surrogate cannot become. Both raise
ValueError; a value that is not text at all raises TypeError.
"""

from __future__ import annotations

from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

from support import write_utf16_file
from tavro_medivane import Config, keys, log, sound


@pytest.fixture(scope="module")
def config(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Config]:
    path = tmp_path_factory.mktemp("text") / "text.cfg"
    write_utf16_file(path, "/A=1\r\n")
    with Config(path, writable=True) as opened:
        yield opened


CALLS: dict[str, Callable[[Config, str], object]] = {
    "Config(path)": lambda _, text: Config(text),
    "Config.get": lambda config, text: config.get(text),
    "Config.get default": lambda config, text: config.get(text, "default"),
    "Config.get_int": lambda config, text: config.get_int(text),
    "Config.get_float": lambda config, text: config.get_float(text),
    "Config.get_uint64": lambda config, text: config.get_uint64(text),
    "Config.set key": lambda config, text: config.set(text, "v"),
    "Config.set value": lambda config, text: config.set("/A", text),
    "Config.section": lambda config, text: config.section(text),
    "Config.match section": lambda config, text: config.match(text, "A"),
    "Config.match name": lambda config, text: config.match("/", text),
    "Config.array_indices": lambda config, text: config.array_indices(text),
    "log.write area": lambda _, text: log.write(log.Level.INFO, text, "m"),
    "log.write message": lambda _, text: log.write(log.Level.INFO, "A", text),
    "log.write data": lambda _, text: log.write(log.Level.INFO, "A", "m", text),
    "log.write file": lambda _, text: log.write(log.Level.INFO, "A", "m", file=text),
    "log.report": lambda _, text: log.report("A", text),
    "log.fatal": lambda _, text: log.fatal(text, "m"),
    "log.error": lambda _, text: log.error("A", "m", text),
    "log.warn": lambda _, text: log.warn("A", text),
    "log.info": lambda _, text: log.info(text, "m"),
    "log.debug": lambda _, text: log.debug("A", text),
    "log.is_loggable": lambda _, text: log.is_loggable(text, log.Level.INFO),
    "keys.validate": lambda _, text: keys.validate(text),
    "keys.validate log_area": lambda _, text: keys.validate("a", log_area=text),
    "keys.records": lambda _, text: keys.records(text),
    "keys.records from_config": lambda _, text: keys.records(text, from_config=True),
    "keys.records log_area": lambda _, text: keys.records("a", log_area=text),
    "keys.send": lambda _, text: keys.send(text),
    "keys.send log_area": lambda _, text: keys.send("", log_area=text),
    "sound.event_by_name": lambda _, text: sound.event_by_name(text),
    "sound.play": lambda _, text: sound.play(text),
}


@pytest.mark.parametrize("call", CALLS.values(), ids=CALLS.keys())
def test_an_embedded_nul_is_refused(config: Config, call: Callable[[Config, str], object]) -> None:
    with pytest.raises(ValueError, match="contains a NUL character"):
        call(config, "/A\0/B")


@pytest.mark.parametrize("call", CALLS.values(), ids=CALLS.keys())
def test_a_lone_surrogate_is_refused(config: Config, call: Callable[[Config, str], object]) -> None:
    with pytest.raises(ValueError, match="cannot be encoded as UTF-8: surrogates not allowed at position 2"):
        call(config, "/A\ud800")


@pytest.mark.parametrize("call", CALLS.values(), ids=CALLS.keys())
def test_bytes_are_not_text(config: Config, call: Callable[[Config, str], object]) -> None:
    with pytest.raises(TypeError):
        call(config, b"/A")  # type: ignore[arg-type]


def test_the_store_is_untouched_by_the_refused_calls(config: Config) -> None:
    assert config.section("") == {"/A": "1"}
    assert config.path is not None
    assert Path(config.path).read_bytes() == b"\xff\xfe" + "/A=1\r\n".encode("utf-16-le")
