"""Test set-up: finds the library, and gives the whole run one install folder.

The logger reads its settings (log file, level, entry template) on the first log call of the
process and keeps that configuration file for good. So the folder named by KVO_INSTALL_DIR is
made once per session, before any test reaches the library, and every test shares it; a test
that needs a log of its own settings starts a subprocess.
"""

from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from support import (
    DEFAULT_MVUTIL,
    LOG_FILE_NAME,
    REPOSITORY_LIBRARY,
    InstallFolder,
    log_settings,
    write_utf16_file,
)

# Tests run against the library the caller names; the repository's own build otherwise.
if not os.environ.get("TAVRO_MEDIVANE_LIBRARY") and REPOSITORY_LIBRARY.is_file():
    os.environ["TAVRO_MEDIVANE_LIBRARY"] = str(REPOSITORY_LIBRARY)


@pytest.fixture(scope="session", autouse=True)
def install_folder(tmp_path_factory: pytest.TempPathFactory) -> Iterator[InstallFolder]:
    from tavro_medivane import _library

    if _library.is_loaded():
        pytest.fail("the library was loaded before the install folder was made; its logger would keep other settings")
    root = tmp_path_factory.mktemp("install")
    folder = InstallFolder(
        root=root,
        config_file=root / "Bin" / "TavroMedivane.cfg",
        log_file=root / "logs" / LOG_FILE_NAME,
        xdg=root / "xdg",
    )
    folder.config_file.parent.mkdir()
    folder.log_file.parent.mkdir()
    folder.xdg.mkdir()
    write_utf16_file(folder.config_file, log_settings(folder.log_file.parent, "INFO"))
    with pytest.MonkeyPatch.context() as environment:
        # A trailing separator, since sound paths are "%KVO_INSTALL_DIR%Sounds\...".
        environment.setenv("KVO_INSTALL_DIR", str(root) + os.sep)
        environment.setenv("XDG_CONFIG_HOME", str(folder.xdg))
        yield folder


@pytest.fixture(scope="session")
def mvutil() -> Path:
    """The mvutil tool: TAVRO_MVUTIL, else the repository's build."""
    chosen = os.environ.get("TAVRO_MVUTIL")
    if chosen:
        return Path(chosen)
    if DEFAULT_MVUTIL.is_file():
        return DEFAULT_MVUTIL
    pytest.skip(f"mvutil not found: TAVRO_MVUTIL is unset and {DEFAULT_MVUTIL} does not exist")
