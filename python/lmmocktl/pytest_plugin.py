"""pytest fixtures for tests of camera code against LmMockTL (registered through ``pytest11``)."""

from __future__ import annotations

from pathlib import Path
from typing import Callable

import pytest

from . import cti_path
from ._config import ENVIRONMENT_VARIABLE, ConfigLike, write_config


@pytest.fixture(scope="session")
def lmmocktl_cti() -> Path:
    """The path of the packaged ``LmMockTL.cti``."""
    return cti_path()


@pytest.fixture
def mock_camera(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Callable[..., Path]:
    """``mock_camera(config)`` writes ``config`` under ``tmp_path`` and points the producer at it
    for this test; the environment is restored afterwards. Returns the written file's path."""

    def configure(config: ConfigLike) -> Path:
        path = write_config(config, tmp_path / "LmMockTL.json")
        monkeypatch.setenv(ENVIRONMENT_VARIABLE, str(path))
        return path

    return configure
