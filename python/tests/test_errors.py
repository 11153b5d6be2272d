"""Status codes, the library's texts for them, and the exception chosen for each."""

from __future__ import annotations

import pytest

from tavro_medivane import (
    BufferTooSmallError,
    ConfigFileError,
    ConversionError,
    InternalLibraryError,
    InvalidArgumentError,
    InvalidKeyStringError,
    NotFoundError,
    OperationFailedError,
    OutOfMemoryError,
    SendFailedError,
    Status,
    TavroError,
    WriteFailedError,
    WriteNotAllowedError,
    status_text,
)
from tavro_medivane._errors import check, error_for


def test_status_text_names_every_code() -> None:
    assert status_text(Status.OK) == "TMU_OK: success"
    assert status_text(Status.BUFFER_TOO_SMALL) == "TMU_BUFFER_TOO_SMALL: the output does not fit in the buffer"
    assert (
        status_text(Status.FILE_OPEN_FAILED)
        == "TMU_CFG_FILE_OPEN_FAILED: the configuration file could not be opened"
    )
    assert status_text(Status.FILE_UTF8) == "TMU_CFG_FILE_UTF8: the configuration file has a UTF-8 byte-order mark"
    assert (
        status_text(Status.CONVERSION_FAILED)
        == "TMU_CFG_CONVERSION_FAILED: the value does not convert to that type"
    )
    assert status_text(Status.NOT_FOUND) == "TMU_NOT_FOUND: no such key, section, array or entry"
    assert (
        status_text(Status.WRITE_NOT_ALLOWED)
        == "TMU_CFG_WRITE_NOT_ALLOWED: the configuration was opened read-only"
    )
    assert (
        status_text(Status.WRITE_FAILED) == "TMU_CFG_WRITE_FAILED: the configuration file could not be written"
    )
    assert (
        status_text(Status.INVALID_ARGUMENT)
        == "TMU_INVALID_ARGUMENT: a required argument is null, empty or not UTF-8"
    )
    assert status_text(Status.INVALID_FORMAT) == "TMU_KPS_INVALID_FORMAT: the key string is not valid"
    assert status_text(Status.SEND_FAILED) == "TMU_KPS_SEND_FAILED: the system refused the key presses"
    assert status_text(Status.FAILED) == "TMU_FAILED: the operation failed; the log says why"
    assert status_text(Status.OUT_OF_MEMORY) == "TMU_OUT_OF_MEMORY: memory ran out"
    assert (
        status_text(Status.INTERNAL_ERROR)
        == "TMU_INTERNAL_ERROR: the library failed unexpectedly; the log says why"
    )
    assert status_text(-3) == "unknown status"
    assert status_text(1) == "unknown status"


@pytest.mark.parametrize(
    ("status", "error_class", "builtin"),
    [
        (Status.BUFFER_TOO_SMALL, BufferTooSmallError, None),
        (Status.FILE_OPEN_FAILED, ConfigFileError, None),
        (Status.FILE_UTF8, ConfigFileError, None),
        (Status.CONVERSION_FAILED, ConversionError, ValueError),
        (Status.NOT_FOUND, NotFoundError, KeyError),
        (Status.WRITE_NOT_ALLOWED, WriteNotAllowedError, None),
        (Status.WRITE_FAILED, WriteFailedError, None),
        (Status.INVALID_ARGUMENT, InvalidArgumentError, ValueError),
        (Status.INVALID_FORMAT, InvalidKeyStringError, ValueError),
        (Status.SEND_FAILED, SendFailedError, None),
        (Status.FAILED, OperationFailedError, None),
        (Status.OUT_OF_MEMORY, OutOfMemoryError, MemoryError),
        (Status.INTERNAL_ERROR, InternalLibraryError, None),
    ],
)
def test_each_status_has_its_exception(
    status: Status, error_class: type[TavroError], builtin: type[Exception] | None
) -> None:
    error = error_for(status, "doing something")
    assert type(error) is error_class
    assert isinstance(error, TavroError)
    if builtin is not None:
        assert isinstance(error, builtin)
    assert error.status == status
    assert error.status is status  # the enumeration member, for a readable repr
    assert error.message == status_text(status)
    assert error.context == "doing something"
    assert str(error) == f"doing something: {status_text(status)}"
    assert error.args == (status, status_text(status))


def test_an_unknown_status_is_a_plain_tavro_error() -> None:
    error = error_for(-3)
    assert type(error) is TavroError
    assert error.status == -3
    assert str(error) == "unknown status"


def test_a_not_found_error_prints_its_message_not_a_key_repr() -> None:
    # KeyError would print repr(args); the status text reads better.
    assert str(NotFoundError(Status.NOT_FOUND, "gone", "Config.get('/A')")) == "Config.get('/A'): gone"


def test_check_passes_success_and_raises_failure() -> None:
    check(Status.OK, "fine")
    with pytest.raises(OperationFailedError, match="^image: TMU_FAILED: the operation failed; the log says why$"):
        check(Status.FAILED, "image")
