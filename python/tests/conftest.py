"""The harvesters suite drives the installed package as a user would: the plugin's ``mock_camera``
writes the configuration, ``lmmocktl_cti`` is the one producer a Harvester ever loads."""

from __future__ import annotations

import numpy as np
import pytest
from harvesters.core import Harvester

import lmmocktl

# The generated colour (red, green, blue) before each format's shift.
COLOUR = np.array([55, 161, 102], dtype=np.uint16)
# Bayer tiles, row 0 then row 1, as channel indices into COLOUR.
BAYER = {"BG": (2, 1, 1, 0), "RG": (0, 1, 1, 2), "GB": (1, 2, 0, 1), "GR": (1, 0, 2, 1)}
# The timestamp (ns) takes an image frame's first 8 bytes: compare pixels from here on.
FIRST_PIXEL = 8


def generated(fmt: str, width: int, height: int) -> np.ndarray:
    """The generated image as harvesters' numpy view holds it, unpacked and flattened: a diagonal
    ramp for mono (12-bit samples hold it shifted by 4 and cut to 12 bits), one colour for RGB, its
    mosaic for Bayer."""
    y, x = np.mgrid[:height, :width]
    ramp = (x + y).astype(np.uint16)
    if fmt.startswith("Bayer"):
        tile = np.array(BAYER[fmt[5:7]]).reshape(2, 2)
        image = COLOUR[tile[y % 2, x % 2]] << 4
    elif fmt.startswith("RGB"):
        image = np.broadcast_to(COLOUR << (2 if fmt == "RGB10" else 0), (height, width, 3))
    else:
        image = {"Mono8": ramp & 0xFF, "Mono16": ramp, "Mono12p": (ramp << 4) & 0xFFF}[fmt]
    return image.astype(np.uint8 if fmt in ("Mono8", "RGB8") else np.uint16).ravel()


def frame_pixels(buffer) -> np.ndarray:
    return buffer.payload.components[0].data


@pytest.fixture
def harvester(mock_camera, lmmocktl_cti):
    """``harvester(config)``: the cameras of ``config`` behind a Harvester that loaded our producer
    alone. Every Harvester made is reset at the end of the test."""
    made = []

    def make(config: lmmocktl.Config) -> Harvester:
        mock_camera(config)
        h = Harvester()
        made.append(h)
        h.add_file(str(lmmocktl_cti), check_existence=True)
        h.update()
        return h

    yield make
    for h in made:
        h.reset()


@pytest.fixture
def camera(harvester):
    """``camera(device_keys..., streams=[...])``: an ImageAcquirer on one camera ``Cam0`` (one 64 x 48
    Mono8 stream unless given), paced at 1 ms a frame."""

    def make(streams=None, **device):
        streams = streams or [lmmocktl.Stream("S0", width=64, height=48)]
        ia = harvester(lmmocktl.Config.of(lmmocktl.Device("Cam0", streams=streams, **device))).create(0)
        ia.remote_device.node_map.SleepBetweenFrames.value = 1_000_000
        return ia

    return make
