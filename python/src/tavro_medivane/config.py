"""The shared configuration store: one UTF-16LE file of ``key=value`` lines.

Keys are free text matched exactly, by convention slash-separated paths
("/Tavro/MedivaneSDK/Logging/DefaultLevel"). The default file is Bin/TavroMedivane.cfg under the
folder named by KVO_INSTALL_DIR.

Missing keys: ``get`` (and the typed getters) raise NotFoundError, a KeyError, when the key is
absent, empty or its value blank, unless a default is given. The listings (``section``,
``match``, ``array_indices``) return an empty result instead, as a dict or list would.
"""

from __future__ import annotations

import ctypes
import os
import weakref
from collections.abc import Callable
from types import TracebackType
from typing import Any, TypeVar, overload

from . import _library
from ._buffers import free, read_array, read_text
from ._convert import check_int, from_c_text, to_c_path, to_c_text
from ._errors import ConfigFileError, InternalLibraryError, NotFoundError, Status, check

_T = TypeVar("_T")
_Default = TypeVar("_Default")


class _Missing:
    """The marker of "no default given" (None is a legitimate default)."""


_MISSING = _Missing()


class Config:
    """A handle on one configuration file.

    ``Config()`` opens the default file; ``Config(path)`` any other. ``writable=True`` lets
    ``set`` change the file, ``logging=True`` makes the store log what it does.

    ``Config(path)`` raises ConfigFileError when the file cannot be opened for reading or is
    refused (a UTF-8 file): the library would quietly use the default file, or an empty store,
    instead. To start a new file, create it empty first. The default file may be missing: the
    store is then empty and reads raise NotFoundError.

    Use it as a context manager, or call ``close()``; an unclosed handle is closed when the
    object is collected.
    """

    def __init__(
        self,
        path: str | os.PathLike[str] | None = None,
        *,
        writable: bool = False,
        logging: bool = False,
    ) -> None:
        library = _library.library()
        handle = ctypes.c_void_p()
        if path is None:
            self.path: str | None = None
            status = library.tmu_config_open_default(int(logging), int(writable), ctypes.byref(handle))
            check(status, "tmu_config_open_default")
        else:
            self.path = os.fspath(path)
            raw_path = to_c_path(path)
            _require_readable(self.path)
            status = library.tmu_config_open(raw_path, int(logging), int(writable), ctypes.byref(handle))
            check(status, f"Config({self.path!r})")
        self.writable = writable
        self._handle = handle
        # The finalizer closes a handle that was never closed explicitly, exactly once.
        self._closer = weakref.finalize(self, library.tmu_config_close, handle)
        if path is not None:
            # The store opens a file it refuses (a UTF-8 one) as an empty store; every read would
            # then say "not found". A reload without force only reports how the parse went.
            status = library.tmu_config_reload(handle, 0)
            if status != Status.OK:
                self.close()
                check(status, f"Config({self.path!r})")

    # ---- life cycle ----

    def close(self) -> None:
        """Releases the handle; later calls raise ValueError. Closing twice is harmless."""
        self._closer()

    @property
    def closed(self) -> bool:
        return not self._closer.alive

    def __enter__(self) -> Config:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        where = "default file" if self.path is None else repr(self.path)
        state = "closed" if self.closed else ("writable" if self.writable else "read-only")
        return f"<Config {where} {state}>"

    def _live_handle(self) -> ctypes.c_void_p:
        if self.closed:
            raise ValueError("operation on a closed Config")
        return self._handle

    # ---- reading values ----

    @overload
    def get(self, key: str) -> str: ...
    @overload
    def get(self, key: str, default: _Default) -> str | _Default: ...

    def get(self, key: str, default: Any = _MISSING) -> Any:
        """The value of `key` as text; `default` (or NotFoundError) when it has none."""
        handle = self._live_handle()
        raw_key = to_c_text(key, "key")
        library = _library.library()

        def fill(buffer: Any, capacity: int, length: Any) -> int:
            return int(library.tmu_config_get_text(handle, raw_key, buffer, capacity, length))

        return self._or_default(lambda: read_text(fill, _context("get", key)), default)

    @overload
    def get_int(self, key: str) -> int: ...
    @overload
    def get_int(self, key: str, default: _Default) -> int | _Default: ...

    def get_int(self, key: str, default: Any = _MISSING) -> Any:
        """The value as a signed integer, read as the store reads numbers: leading blanks, a sign
        and digits, trailing text ignored ("12abc" is 12); zero only from the exact text "0".
        ConversionError (a ValueError) when it is not a number."""
        value = ctypes.c_int64()
        return self._number(key, "get_int", "tmu_config_get_long", value, (), default)

    @overload
    def get_float(self, key: str) -> float: ...
    @overload
    def get_float(self, key: str, default: _Default) -> float | _Default: ...

    def get_float(self, key: str, default: Any = _MISSING) -> Any:
        """The value as a float, read as ``get_int`` reads integers."""
        value = ctypes.c_double()
        return self._number(key, "get_float", "tmu_config_get_double", value, (), default)

    @overload
    def get_uint64(self, key: str, radix: int = 0) -> int: ...
    @overload
    def get_uint64(self, key: str, radix: int, default: _Default) -> int | _Default: ...

    def get_uint64(self, key: str, radix: int = 0, default: Any = _MISSING) -> Any:
        """The value as an unsigned 64-bit integer in `radix` (2..36), or with radix 0 as its
        prefix says: "0x" hexadecimal, "0" octal, otherwise decimal."""
        if check_int(radix, 0, 36, "radix") == 1:
            raise ValueError("radix must be 0 or within 2..36, not 1")
        value = ctypes.c_uint64()
        return self._number(key, "get_uint64", "tmu_config_get_uint64", value, (radix,), default)

    def _number(
        self,
        key: str,
        method: str,
        function: str,
        value: ctypes.c_int64 | ctypes.c_double | ctypes.c_uint64,
        extra: tuple[int, ...],
        default: Any,
    ) -> Any:
        handle = self._live_handle()
        raw_key = to_c_text(key, "key")
        call = getattr(_library.library(), function)

        def read() -> Any:
            check(call(handle, raw_key, *extra, ctypes.byref(value)), _context(method, key))
            return value.value

        return self._or_default(read, default)

    @staticmethod
    def _or_default(read: Callable[[], _T], default: Any) -> Any:
        if default is _MISSING:
            return read()
        try:
            return read()
        except NotFoundError:
            return default

    # ---- changing values ----

    def set(self, key: str, value: str) -> None:
        """Writes `value` under `key` to the file at once (the file is rewritten as UTF-16LE).
        WriteNotAllowedError on a handle opened without ``writable=True``."""
        handle = self._live_handle()
        raw_key = to_c_text(key, "key")
        raw_value = to_c_text(value, "value")
        check(_library.library().tmu_config_set(handle, raw_key, raw_value), _context("set", key))

    def reload(self, force: bool = True) -> None:
        """Reads the file again: always with `force`, otherwise only when it changed."""
        check(_library.library().tmu_config_reload(self._live_handle(), int(force)), "reload")

    # ---- listings ----

    def section(self, prefix: str) -> dict[str, str]:
        """Every key that starts with `prefix` (a plain text prefix: "/A/B" also covers "/A/BC")
        with its value, in key order; "" lists every key. Keys with a blank value are left out."""
        handle = self._live_handle()
        raw_prefix = to_c_text(prefix, "prefix")
        library = _library.library()
        return _pairs(
            lambda pairs, count: library.tmu_config_section(handle, raw_prefix, pairs, count),
            _context("section", prefix),
        )

    def match(self, section: str, name: str) -> dict[str, str]:
        """The keys under `section` whose last "/" component begins with `name`, with values."""
        handle = self._live_handle()
        raw_section = to_c_text(section, "section")
        raw_name = to_c_text(name, "name")
        library = _library.library()
        return _pairs(
            lambda pairs, count: library.tmu_config_match(handle, raw_section, raw_name, pairs, count),
            _context("match", section),
        )

    def array_indices(self, section: str) -> list[int]:
        """The distinct indices n of the keys "section[n]...", in the order the keys come (key
        text order, not numeric order). `section` must not be empty.

        The library never returns from this call when a key under `section` has an index that
        is negative or not a number ("section[x]"); such keys must not be in the file.
        """
        handle = self._live_handle()
        raw_section = to_c_text(section, "section")
        library = _library.library()

        def fill(indices: Any, capacity: int, count: Any) -> int:
            return int(library.tmu_config_array_indices(handle, raw_section, indices, capacity, count))

        try:
            return read_array(fill, ctypes.c_uint32, _context("array_indices", section))
        except NotFoundError:
            return []


def _require_readable(path: str) -> None:
    """Refuses a file that cannot be opened for reading. The library would use the default
    configuration file in its place, and a later ``set`` would then change the shared file."""
    try:
        with open(path, "rb"):
            pass
    except OSError as error:
        raise ConfigFileError(
            Status.FILE_OPEN_FAILED,
            f"the configuration file could not be opened ({error.strerror or error})",
            f"Config({path!r})",
        ) from error


def _context(method: str, key: str) -> str:
    return f"Config.{method}({key!r})"


def _pairs(call: Callable[[Any, Any], Any], context: str) -> dict[str, str]:
    """Reads a listing the library allocates: `count` pairs of NUL-terminated key and value."""
    pairs = ctypes.POINTER(ctypes.c_char)()
    count = ctypes.c_size_t(0)
    status = int(call(ctypes.byref(pairs), ctypes.byref(count)))
    try:
        if status == Status.NOT_FOUND:
            return {}
        check(status, context)
        listing: dict[str, str] = {}
        address = ctypes.cast(pairs, ctypes.c_void_p).value or 0
        if count.value and not address:
            raise InternalLibraryError(Status.INTERNAL_ERROR, None, f"{context}: no listing returned")
        for _ in range(count.value):
            key = ctypes.string_at(address)
            address += len(key) + 1
            value = ctypes.string_at(address)
            address += len(value) + 1
            listing[from_c_text(key)] = from_c_text(value)
        return listing
    finally:
        free(pairs)
