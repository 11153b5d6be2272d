"""The button registries, per window and per process."""

from __future__ import annotations

from collections.abc import Callable

import pytest

from tavro_medivane import NotFoundError, OperationFailedError, Status
from tavro_medivane.buttons import ProcessButtonAction, ProcessRegistry, WindowButtonAction, WindowRegistry


def test_window_registry_adds_gets_reports_and_removes() -> None:
    with WindowRegistry() as registry:
        registry.add(WindowButtonAction(0x1234, 2, 7, 11, 12))
        registry.add(WindowButtonAction(0x1234, 1, -3, 21, 22))
        registry.add(WindowButtonAction(0xABC, 1, 9))
        assert len(registry) == 3

        assert registry.get(0x1234, 2) == WindowButtonAction(0x1234, 2, 7, 11, 12)
        with pytest.raises(NotFoundError) as caught:
            registry.get(0x1234, 3)
        assert isinstance(caught.value, KeyError)
        assert caught.value.status == Status.NOT_FOUND

        # Every entry of one window, in button-type order.
        assert registry.all(0x1234) == [
            WindowButtonAction(0x1234, 1, -3, 21, 22),
            WindowButtonAction(0x1234, 2, 7, 11, 12),
        ]
        assert registry.all(0x999) == []

        report = registry.report()
        assert report == (
            "Total Actions: 3\n"
            "HWND: 0000000000000ABC, Button Type: 1, Button Action: 9\n"
            "HWND: 0000000000001234, Button Type: 1, Button Action: -3\n"
            "HWND: 0000000000001234, Button Type: 2, Button Action: 7\n"
        )
        assert len(report) == 189

        registry.remove(0x1234, 2)
        with pytest.raises(NotFoundError):
            registry.remove(0x1234, 2)
        assert len(registry) == 2


def test_an_existing_entry_is_never_replaced() -> None:
    with WindowRegistry() as registry:
        registry.add(WindowButtonAction(0x10, 1, 1, 1, 1))
        with pytest.raises(OperationFailedError) as caught:
            registry.add(WindowButtonAction(0x10, 1, 2, 2**64 - 1, 0))
        assert caught.value.status == Status.FAILED
        assert registry.get(0x10, 1) == WindowButtonAction(0x10, 1, 1, 1, 1)
        # Changing an entry is removing it and adding it again.
        registry.remove(0x10, 1)
        registry.add(WindowButtonAction(0x10, 1, 2, 2**64 - 1, 0))
        assert len(registry) == 1
        assert registry.get(0x10, 1) == WindowButtonAction(0x10, 1, 2, 2**64 - 1, 0)


def test_an_existing_process_entry_is_never_replaced() -> None:
    with ProcessRegistry() as registry:
        registry.add(ProcessButtonAction(5, 1, 1))
        with pytest.raises(OperationFailedError):
            registry.add(ProcessButtonAction(5, 1, 2))
        assert registry.get(5, 1) == ProcessButtonAction(5, 1, 1)


def test_the_null_window_and_the_widest_handle_are_keys_like_any_other() -> None:
    with WindowRegistry() as registry:
        registry.add(WindowButtonAction(0, -(2**31), 2**31 - 1))
        registry.add(WindowButtonAction(2**64 - 1, 1, 1))
        assert registry.get(0, -(2**31)) == WindowButtonAction(0, -(2**31), 2**31 - 1)
        assert registry.all(2**64 - 1) == [WindowButtonAction(2**64 - 1, 1, 1)]


def test_an_empty_registry_reports_its_header_line() -> None:
    with WindowRegistry() as registry, ProcessRegistry() as processes:
        assert len(registry) == 0
        assert registry.report() == "Total Actions: 0\n"
        assert processes.report() == "Total Actions: 0\n"
        assert processes.every() == []


@pytest.mark.parametrize(
    "action",
    [
        WindowButtonAction(-1, 1, 1),
        WindowButtonAction(2**64, 1, 1),
        WindowButtonAction(1, 2**31, 1),
        WindowButtonAction(1, 1, -(2**31) - 1),
        WindowButtonAction(1, 1, 1, -1),
        WindowButtonAction(1, 1, 1, 0, 2**64),
    ],
)
def test_window_values_that_do_not_fit_are_refused(action: WindowButtonAction) -> None:
    with WindowRegistry() as registry:
        with pytest.raises(ValueError):
            registry.add(action)
        assert len(registry) == 0


def test_process_registry_adds_gets_reports_and_removes() -> None:
    with ProcessRegistry() as registry:
        registry.add(ProcessButtonAction(4_000_000_000, 3, 5, 1, 2))
        registry.add(ProcessButtonAction(17, 2, 8, 5, 6))
        registry.add(ProcessButtonAction(17, 1, 6, 3, 4))
        assert len(registry) == 3
        assert registry.get(4_000_000_000, 3) == ProcessButtonAction(4_000_000_000, 3, 5, 1, 2)
        with pytest.raises(NotFoundError):
            registry.get(18, 1)

        assert registry.all(17) == [ProcessButtonAction(17, 1, 6, 3, 4), ProcessButtonAction(17, 2, 8, 5, 6)]
        assert registry.every() == [
            ProcessButtonAction(17, 1, 6, 3, 4),
            ProcessButtonAction(17, 2, 8, 5, 6),
            ProcessButtonAction(4_000_000_000, 3, 5, 1, 2),
        ]
        assert registry.report() == (
            "Total Actions: 3\n"
            "PID: 17, Button Type: 1, Button Action: 6\n"
            "PID: 17, Button Type: 2, Button Action: 8\n"
            "PID: 4000000000, Button Type: 3, Button Action: 5\n"
        )
        registry.remove(17, 1)
        with pytest.raises(NotFoundError):
            registry.remove(17, 1)
        assert len(registry) == 2


def test_a_report_longer_than_the_first_try_is_whole() -> None:
    with ProcessRegistry() as registry:
        for pid in range(1000, 1200):
            registry.add(ProcessButtonAction(pid, 1, 1))
        report = registry.report()
        # "Total Actions: 200\n" and 200 lines "PID: 1xxx, Button Type: 1, Button Action: 1\n" of 44.
        assert len(report) == 19 + 200 * 44
        assert report.startswith("Total Actions: 200\nPID: 1000, Button Type: 1, Button Action: 1\n")
        assert report.endswith("PID: 1199, Button Type: 1, Button Action: 1\n")
        # More entries than the first record array holds.
        assert registry.every() == [ProcessButtonAction(pid, 1, 1) for pid in range(1000, 1200)]


@pytest.mark.parametrize(
    "action",
    [
        ProcessButtonAction(-1, 1, 1),
        ProcessButtonAction(2**32, 1, 1),
        ProcessButtonAction(1, -(2**31) - 1, 1),
        ProcessButtonAction(1, 1, 2**31),
        ProcessButtonAction(1, 1, 1, 2**64),
        ProcessButtonAction(1, 1, 1, 0, -1),
    ],
)
def test_process_values_that_do_not_fit_are_refused(action: ProcessButtonAction) -> None:
    with ProcessRegistry() as registry:
        with pytest.raises(ValueError):
            registry.add(action)
        assert len(registry) == 0


def test_lookups_refuse_keys_that_do_not_fit() -> None:
    with WindowRegistry() as windows, ProcessRegistry() as processes:
        calls: list[Callable[[], object]] = [
            lambda: windows.get(-1, 1),
            lambda: windows.remove(1, 2**31),
            lambda: windows.all(2**64),
            lambda: processes.get(2**32, 1),
            lambda: processes.remove(-1, 1),
            lambda: processes.all(-1),
        ]
        for call in calls:
            with pytest.raises(ValueError):
                call()
        with pytest.raises(TypeError):
            windows.get(1.5, 1)  # type: ignore[arg-type]


@pytest.mark.parametrize("registry_class", [WindowRegistry, ProcessRegistry])
def test_a_closed_registry_refuses_every_call(registry_class: type[WindowRegistry] | type[ProcessRegistry]) -> None:
    registry = registry_class()
    registry.close()
    registry.close()
    assert registry.closed
    with pytest.raises(ValueError, match=f"closed {registry_class.__name__}"):
        len(registry)
    with pytest.raises(ValueError):
        registry.report()
    with pytest.raises(ValueError):
        registry.all(1)
    with pytest.raises(ValueError):
        registry.get(1, 1)
    with pytest.raises(ValueError):
        registry.remove(1, 1)


def test_registries_are_independent() -> None:
    with WindowRegistry() as first, WindowRegistry() as second:
        first.add(WindowButtonAction(1, 1, 1))
        assert len(first) == 1
        assert len(second) == 0
