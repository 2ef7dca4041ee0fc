"""LmMockTL, a simulated-camera GenTL producer, packaged for Python.

The package carries ``LmMockTL.cti``; any GenTL consumer (harvesters, genicam, your own) loads it
from :func:`cti_path`. :class:`Config` and its parts write the JSON file that shapes the simulated
interfaces, devices and streams, and :func:`use_config` points the producer at one.
"""

from __future__ import annotations

from pathlib import Path

from ._config import Config, Device, Interface, Stream, schema, schema_path, use_config, write_config

__all__ = [
    "Config",
    "Device",
    "Interface",
    "Stream",
    "cti_path",
    "gentl_path",
    "schema",
    "schema_path",
    "use_config",
    "write_config",
]

__version__ = "1.1.0"


def cti_path() -> Path:
    """The producer inside this package, ``.../lmmocktl/LmMockTL.cti``."""
    path = Path(__file__).resolve().with_name("LmMockTL.cti")
    if not path.is_file():
        raise FileNotFoundError(f"LmMockTL.cti is missing from the installed package: {path}")
    return path


def gentl_path() -> Path:
    """The directory holding the producer, for ``GENICAM_GENTL64_PATH``."""
    return cti_path().parent
