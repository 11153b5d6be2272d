"""Helpers the tests share: paths of the repository's build, and UTF-16 file reading and writing
as the configuration store and the logger use them."""

from __future__ import annotations

import struct
from dataclasses import dataclass
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
REPOSITORY_LIBRARY = REPOSITORY / "build" / "host" / "lib" / "libTavroMedivaneUtil.so"
DEFAULT_MVUTIL = REPOSITORY / "build" / "host" / "bin" / "mvutil"
LOG_FILE_NAME = "python.log"


@dataclass(frozen=True)
class InstallFolder:
    root: Path
    config_file: Path  # Bin/TavroMedivane.cfg, the default configuration file
    log_file: Path
    xdg: Path  # XDG_CONFIG_HOME, where the Linux sound scheme is kept


def write_utf16_file(path: Path, text: str) -> None:
    """Writes `text` as UTF-16LE with a byte-order mark, as the store's files are."""
    path.write_bytes(b"\xff\xfe" + text.encode("utf-16-le"))


def log_settings(log_folder: Path, level: str) -> str:
    """The logging keys of the configuration file: entries "<level letter> <area> <file> <line>
    <message>[;DATA#<data>]" into `log_folder`/python.log, at `level` and more severe."""
    return (
        f"/Tavro/MedivaneSDK/Logging/LogFileLocation={log_folder}\r\n"
        f"/Tavro/MedivaneSDK/Logging/LogFileName={LOG_FILE_NAME}\r\n"
        f"/Tavro/MedivaneSDK/Logging/DefaultLevel={level}\r\n"
        "/Tavro/MedivaneSDK/Logging/FormatString=%L %A %f %l %m\r\n"
        "/Tavro/MedivaneSDK/Logging/FreeSpaceMinimum=0\r\n"
        "/Tavro/MedivaneSDK/Logging/WriteErrorsToEventLog=false\r\n"
    )


def log_lines(path: Path) -> list[str]:
    """The entries of a log file (UTF-16LE with a byte-order mark, each ended by CR LF)."""
    raw = path.read_bytes()
    assert raw.startswith(b"\xff\xfe"), "the log has no UTF-16LE byte-order mark"
    text = raw[2:].decode("utf-16-le")
    assert text.endswith("\r\n"), "the log's last entry is not ended by CR LF"
    return text[:-2].split("\r\n")


def last_log_line(path: Path) -> str:
    return log_lines(path)[-1]


def make_bmp() -> bytes:
    """A 4 x 2 BMP of 24 bits: red, green, blue and white over black, grey, black and grey."""
    header = b"BM" + struct.pack("<IHHI", 78, 0, 0, 54)
    info = struct.pack("<IiiHHIIiiII", 40, 4, 2, 1, 24, 0, 24, 0x0B13, 0x0B13, 0, 0)
    # Bottom row first, each pixel blue, green, red.
    pixels = bytes([0, 0, 0, 128, 128, 128, 0, 0, 0, 128, 128, 128])
    pixels += bytes([0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255])
    return header + info + pixels
