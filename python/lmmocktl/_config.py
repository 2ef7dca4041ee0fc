"""Writes LmMockTL's JSON configuration and points the producer at it.

The producer reads its configuration when a consumer opens the system module (``TLOpen``), the
first time after ``GCInitLib``; it keeps it until ``GCCloseLib``. harvesters closes and reopens the
producer in every ``Harvester.update()``, so each update reads the configuration again. The
configuration comes from the first of: the host program's ``LmMockTLConfigExport``,
``$LMMOCKTL_CONFIG``, ``./LmMockTL.json``, ``$LUMODATA/drivers/LmMockTL.json``.
"""

from __future__ import annotations

import contextlib
import dataclasses
import json
import os
import tempfile
from dataclasses import dataclass, field
from functools import lru_cache
from pathlib import Path
from typing import Any, Dict, Iterator, List, Mapping, Optional, Sequence, Union

PathLike = Union[str, "os.PathLike[str]"]
ConfigLike = Union["Config", Mapping[str, Any]]

ENVIRONMENT_VARIABLE = "LMMOCKTL_CONFIG"


def _key(name: str) -> str:
    # pixel_format -> PixelFormat, padding_pixel_count_x -> PaddingPixelCountX, id -> ID
    return "ID" if name == "id" else "".join(part.capitalize() for part in name.split("_"))


def _json(value: Any) -> Any:
    if isinstance(value, _Record):
        return value.to_dict()
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if isinstance(value, (list, tuple)):
        return [_json(item) for item in value]
    return value


class _Record:
    """A dataclass whose set fields become the JSON keys of the same name in CamelCase."""

    def to_dict(self) -> Dict[str, Any]:
        entries = ((f.name, getattr(self, f.name)) for f in dataclasses.fields(self))  # type: ignore[arg-type]
        return {_key(name): _json(value) for name, value in entries if value is not None}


@dataclass
class Stream(_Record):
    """One data stream. Unset fields keep the producer's defaults (1920 x 1080 Mono8)."""

    id: str
    pixel_format: Optional[str] = None
    width: Optional[int] = None
    height: Optional[int] = None
    padding_mode: Optional[int] = None
    padding_pixel_count_x: Optional[int] = None
    padding_line_count_y: Optional[int] = None
    image_directory_path: Optional[PathLike] = None
    image_order: Optional[Sequence[str]] = None
    stream_file_path: Optional[PathLike] = None
    incomplete_frame_every: Optional[int] = None
    lost_frame_every: Optional[int] = None
    error_event_every: Optional[int] = None


@dataclass
class Device(_Record):
    """One simulated camera with up to four streams; left without ``streams`` it has none."""

    id: str
    streams: Optional[List[Stream]] = None
    serial_number: Optional[str] = None
    user_name: Optional[str] = None
    display_name: Optional[str] = None
    model: Optional[str] = None
    vendor: Optional[str] = None
    version: Optional[str] = None
    trigger_mode: Optional[str] = None
    remove_after_frames: Optional[int] = None


@dataclass
class Interface(_Record):
    id: str
    devices: Optional[List[Device]] = None


@dataclass
class Config(_Record):
    """The whole configuration. A list left out is empty (an empty Config has no interfaces); the
    built-in tree is served only when no configuration file is found at all."""

    id: Optional[str] = None
    interfaces: Optional[List[Interface]] = None

    @classmethod
    def of(cls, *devices: Device, interface_id: str = "MockInterface0") -> "Config":
        """The given cameras on one interface."""
        return cls(interfaces=[Interface(interface_id, devices=list(devices))])

    def validate(self) -> Dict[str, Any]:
        document = self.to_dict()
        _validate(document)
        return document


def schema_path() -> Path:
    """The JSON Schema of the configuration file, shipped with the package."""
    return Path(__file__).resolve().with_name("config.schema.json")


@lru_cache(maxsize=1)
def schema() -> Dict[str, Any]:
    with open(schema_path(), encoding="utf-8") as file:
        return json.load(file)


def _validate(document: Mapping[str, Any]) -> None:
    import jsonschema  # a dependency of the package; imported late to keep `import lmmocktl` light

    jsonschema.validate(document, schema())


def write_config(config: ConfigLike, path: PathLike) -> Path:
    """Writes ``config`` to ``path`` after checking it against the schema; returns the path."""
    document = config.to_dict() if isinstance(config, Config) else dict(config)
    _validate(document)
    target = Path(path)
    target.write_text(json.dumps(document, indent=2), encoding="utf-8")
    return target


@contextlib.contextmanager
def use_config(config: Union[ConfigLike, PathLike]) -> Iterator[Path]:
    """Points the producer at ``config`` (a Config, a mapping or an existing file) while the block runs.

    The producer reads it on the next ``TLOpen`` after ``GCInitLib`` (for harvesters: the next
    ``Harvester.update()``); ``$LMMOCKTL_CONFIG`` is restored afterwards.
    """
    previous = os.environ.get(ENVIRONMENT_VARIABLE)
    with contextlib.ExitStack() as stack:
        if isinstance(config, (str, os.PathLike)):
            path = Path(config)
            if not path.is_file():
                raise FileNotFoundError(f"no configuration file at {path}")
        else:
            directory = stack.enter_context(tempfile.TemporaryDirectory(prefix="lmmocktl-"))
            path = write_config(config, Path(directory) / "LmMockTL.json")
        os.environ[ENVIRONMENT_VARIABLE] = str(path)
        try:
            yield path
        finally:
            if previous is None:
                os.environ.pop(ENVIRONMENT_VARIABLE, None)
            else:
                os.environ[ENVIRONMENT_VARIABLE] = previous
