"""Registries of the actions that hardware buttons trigger, per window or per process.

A WindowRegistry is keyed by (window handle, button type), a ProcessRegistry by (process id,
button type). An entry is never replaced: adding one whose key is taken raises
OperationFailedError and leaves the stored entry as it was; to change an entry, remove it and add
it again. Both registries may be shared between threads.
"""

from __future__ import annotations

import ctypes
import weakref
from collections.abc import Callable
from types import TracebackType
from typing import Any, NamedTuple, TypeVar

from . import _library
from ._buffers import read_array, read_text
from ._convert import INT32_MAX, INT32_MIN, UINT32_MAX, UINT64_MAX, check_int
from ._errors import check

_Registry = TypeVar("_Registry", bound="_RegistryBase")


class WindowButtonAction(NamedTuple):
    """The action a button triggers in a window; `window` is the HWND as an integer."""

    window: int
    button_type: int
    button_action: int
    action_data1: int = 0
    action_data2: int = 0


class ProcessButtonAction(NamedTuple):
    """The action a button triggers in a process."""

    pid: int
    button_type: int
    button_action: int
    action_data1: int = 0
    action_data2: int = 0


class _RegistryBase:
    """The handle's life cycle, shared by both registries."""

    def __init__(self, create: Callable[[Any], int], destroy: Callable[[Any], None], name: str) -> None:
        handle = ctypes.c_void_p()
        check(create(ctypes.byref(handle)), f"{name} create")
        self._handle = handle
        self._closer = weakref.finalize(self, destroy, handle)

    def close(self) -> None:
        """Destroys the registry; later calls raise ValueError. Closing twice is harmless."""
        self._closer()

    @property
    def closed(self) -> bool:
        return not self._closer.alive

    def __enter__(self: _Registry) -> _Registry:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()

    def _live_handle(self) -> ctypes.c_void_p:
        if self.closed:
            raise ValueError(f"operation on a closed {type(self).__name__}")
        return self._handle

    def _report(self, function: Callable[[Any, Any, int, Any], int], name: str) -> str:
        handle = self._live_handle()
        # A registry of dozens of entries reports a few kilobytes; one try usually fits.
        return read_text(lambda buffer, capacity, length: function(handle, buffer, capacity, length), name, 4096)


def _check_window(window: int) -> int:
    return check_int(window, 0, 2**(8 * ctypes.sizeof(ctypes.c_void_p)) - 1, "window")


def _check_type(button_type: int) -> int:
    return check_int(button_type, INT32_MIN, INT32_MAX, "button_type")


def _check_pid(pid: int) -> int:
    return check_int(pid, 0, UINT32_MAX, "pid")


class WindowRegistry(_RegistryBase):
    """Button actions keyed by (window, button type)."""

    def __init__(self) -> None:
        library = _library.library()
        super().__init__(library.tmu_button_list_create, library.tmu_button_list_destroy, "WindowRegistry")

    def add(self, action: WindowButtonAction) -> None:
        """Stores `action`; OperationFailedError when its window and button type are taken."""
        entry = _library.ButtonAction(
            _check_window(action.window),
            _check_type(action.button_type),
            check_int(action.button_action, INT32_MIN, INT32_MAX, "button_action"),
            check_int(action.action_data1, 0, UINT64_MAX, "action_data1"),
            check_int(action.action_data2, 0, UINT64_MAX, "action_data2"),
        )
        check(_library.library().tmu_button_list_add(self._live_handle(), ctypes.byref(entry)), "WindowRegistry.add")

    def remove(self, window: int, button_type: int) -> None:
        """Removes the entry; NotFoundError (a KeyError) when there is none."""
        status = _library.library().tmu_button_list_remove(
            self._live_handle(), _check_window(window), _check_type(button_type)
        )
        check(status, f"WindowRegistry.remove({window:#x}, {button_type})")

    def get(self, window: int, button_type: int) -> WindowButtonAction:
        """The entry of (window, button_type); NotFoundError (a KeyError) when there is none."""
        entry = _library.ButtonAction()
        status = _library.library().tmu_button_list_get(
            self._live_handle(), _check_window(window), _check_type(button_type), ctypes.byref(entry)
        )
        check(status, f"WindowRegistry.get({window:#x}, {button_type})")
        return _window_action(entry)

    def all(self, window: int) -> list[WindowButtonAction]:
        """Every entry of `window`, in button-type order."""
        handle = self._live_handle()
        checked_window = _check_window(window)
        library = _library.library()
        entries = read_array(
            lambda array, capacity, count: library.tmu_button_list_get_all(
                handle, checked_window, array, capacity, count
            ),
            _library.ButtonAction,
            f"WindowRegistry.all({window:#x})",
        )
        return [_window_action(entry) for entry in entries]

    def report(self) -> str:
        """The registry's report: "Total Actions: <n>\\n", then a line per entry."""
        return self._report(_library.library().tmu_button_list_report, "WindowRegistry.report")

    def __len__(self) -> int:
        return int(_library.library().tmu_button_list_count(self._live_handle()))


class ProcessRegistry(_RegistryBase):
    """Button actions keyed by (process id, button type)."""

    def __init__(self) -> None:
        library = _library.library()
        super().__init__(
            library.tmu_button_pid_list_create, library.tmu_button_pid_list_destroy, "ProcessRegistry"
        )

    def add(self, action: ProcessButtonAction) -> None:
        """Stores `action`; OperationFailedError when its process and button type are taken."""
        entry = _library.ButtonPidAction(
            _check_pid(action.pid),
            _check_type(action.button_type),
            check_int(action.button_action, INT32_MIN, INT32_MAX, "button_action"),
            check_int(action.action_data1, 0, UINT64_MAX, "action_data1"),
            check_int(action.action_data2, 0, UINT64_MAX, "action_data2"),
        )
        status = _library.library().tmu_button_pid_list_add(self._live_handle(), ctypes.byref(entry))
        check(status, "ProcessRegistry.add")

    def remove(self, pid: int, button_type: int) -> None:
        """Removes the entry; NotFoundError (a KeyError) when there is none."""
        status = _library.library().tmu_button_pid_list_remove(
            self._live_handle(), _check_pid(pid), _check_type(button_type)
        )
        check(status, f"ProcessRegistry.remove({pid}, {button_type})")

    def get(self, pid: int, button_type: int) -> ProcessButtonAction:
        """The entry of (pid, button_type); NotFoundError (a KeyError) when there is none."""
        entry = _library.ButtonPidAction()
        status = _library.library().tmu_button_pid_list_get(
            self._live_handle(), _check_pid(pid), _check_type(button_type), ctypes.byref(entry)
        )
        check(status, f"ProcessRegistry.get({pid}, {button_type})")
        return _process_action(entry)

    def all(self, pid: int) -> list[ProcessButtonAction]:
        """Every entry of `pid`, in button-type order."""
        handle = self._live_handle()
        checked_pid = _check_pid(pid)
        library = _library.library()
        entries = read_array(
            lambda array, capacity, count: library.tmu_button_pid_list_get_all(
                handle, checked_pid, array, capacity, count
            ),
            _library.ButtonPidAction,
            f"ProcessRegistry.all({pid})",
        )
        return [_process_action(entry) for entry in entries]

    def every(self) -> list[ProcessButtonAction]:
        """Every entry of every process, in (pid, button type) order."""
        handle = self._live_handle()
        library = _library.library()
        entries = read_array(
            lambda array, capacity, count: library.tmu_button_pid_list_get_every(handle, array, capacity, count),
            _library.ButtonPidAction,
            "ProcessRegistry.every",
        )
        return [_process_action(entry) for entry in entries]

    def report(self) -> str:
        """The registry's report: "Total Actions: <n>\\n", then a line per entry."""
        return self._report(_library.library().tmu_button_pid_list_report, "ProcessRegistry.report")

    def __len__(self) -> int:
        return int(_library.library().tmu_button_pid_list_count(self._live_handle()))


def _window_action(entry: Any) -> WindowButtonAction:
    return WindowButtonAction(
        entry.window or 0,  # ctypes reads a null pointer field as None
        entry.button_type,
        entry.button_action,
        entry.action_data1,
        entry.action_data2,
    )


def _process_action(entry: Any) -> ProcessButtonAction:
    return ProcessButtonAction(
        entry.pid, entry.button_type, entry.button_action, entry.action_data1, entry.action_data2
    )
