"""What harvesters' numpy view holds: the generated pattern in every pixel format, padding, and an
image file's pixels."""

from __future__ import annotations

import struct
import zlib

import numpy as np
import pytest
from conftest import FIRST_PIXEL, frame_pixels, generated

from lmmocktl import Stream

FORMATS = {  # bits per pixel
    "Mono8": 8, "Mono16": 16, "Mono12p": 12, "RGB8": 24, "RGB10": 48,
    "BayerBG12p": 12, "BayerRG12p": 12, "BayerGB12p": 12, "BayerGR12p": 12,
}  # fmt: skip


def fetch_one(ia, timeout=2):
    ia.start()
    buffer = ia.fetch(timeout=timeout)
    return buffer


@pytest.mark.parametrize("fmt", FORMATS)
def test_pixel_format_write_resizes_payload_and_frames_hold_the_pattern(camera, fmt):
    ia = camera()
    nm = ia.remote_device.node_map
    nm.PixelFormat.value = fmt
    assert nm.PayloadSize.value == 64 * 48 * FORMATS[fmt] // 8
    with fetch_one(ia) as buffer:
        component = buffer.payload.components[0]
        assert (component.width, component.height, component.data_format) == (64, 48, fmt)
        np.testing.assert_array_equal(component.data[FIRST_PIXEL:], generated(fmt, 64, 48)[FIRST_PIXEL:])
    ia.stop()


def test_mono8_frames_are_exact_with_their_timestamp_and_ids_count_up(camera):
    ia = camera()
    ia.start()
    seen = []
    for _ in range(3):
        with ia.fetch(timeout=2) as buffer:
            pixels = frame_pixels(buffer)
            # The frame carries its timestamp in its first 8 bytes, little-endian.
            assert int.from_bytes(pixels[:FIRST_PIXEL].tobytes(), "little") == buffer.timestamp_ns
            np.testing.assert_array_equal(pixels[FIRST_PIXEL:], generated("Mono8", 64, 48)[FIRST_PIXEL:])
            seen.append((buffer.frame_id, buffer.timestamp_ns))
    ids, stamps = zip(*seen)
    assert ids == (0, 1, 2) and stamps[0] < stamps[1] < stamps[2]
    ia.stop()


@pytest.mark.parametrize(
    "feature, value, payload",
    [("Width", 32, 32 * 48), ("Height", 10, 64 * 10)],
)
def test_geometry_writes_move_payload_size_and_frames(camera, feature, value, payload):
    ia = camera()
    getattr(ia.remote_device.node_map, feature).value = value
    assert ia.remote_device.node_map.PayloadSize.value == payload
    with fetch_one(ia) as buffer:
        assert frame_pixels(buffer).size == payload
    ia.stop()


def test_padding_as_harvesters_sees_it(camera):
    # harvesters reports the padding in bytes (x per line, y per image) and leaves the line padding
    # in its view: reshape to the padded lines and cut it off.
    ia = camera([Stream("S0", width=64, height=48, padding_mode=1, padding_pixel_count_x=3, padding_line_count_y=2)])
    nm = ia.remote_device.node_map
    assert (nm.PaddingMode.value, nm.PaddingPixelCountX.value, nm.PaddingLineCountY.value) == ("On", 3, 2)
    assert nm.PayloadSize.value == 67 * 50
    with fetch_one(ia) as buffer:
        component = buffer.payload.components[0]
        assert (component.x_padding, component.y_padding) == (3, 2 * 67)
        lines = component.data.reshape(48, 67)
        assert not lines[:, 64:].any()
        np.testing.assert_array_equal(lines[:, :64].ravel()[FIRST_PIXEL:], generated("Mono8", 64, 48)[FIRST_PIXEL:])
    ia.stop()


def png(pixels: np.ndarray) -> bytes:
    """An 8-bit gray (2-D) or RGB (3-D) PNG of ``pixels``, unfiltered."""
    height, width = pixels.shape[:2]
    colour_type = 2 if pixels.ndim == 3 else 0

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + row.tobytes() for row in pixels)
    header = struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


@pytest.mark.parametrize("shape, fmt", [((12, 20), "Mono8"), ((6, 10, 3), "RGB8")])
def test_image_file_stream_delivers_the_files_pixels(camera, tmp_path, shape, fmt):
    pixels = np.random.default_rng(7).integers(0, 256, shape, dtype=np.uint8)
    (tmp_path / "shot.png").write_bytes(png(pixels))
    ia = camera([Stream("S0", image_directory_path=tmp_path, image_order=["shot.png"])])
    nm = ia.remote_device.node_map
    assert (nm.Width.value, nm.Height.value, nm.PixelFormat.value) == (shape[1], shape[0], fmt)
    with fetch_one(ia) as buffer:
        np.testing.assert_array_equal(frame_pixels(buffer)[FIRST_PIXEL:], pixels.ravel()[FIRST_PIXEL:])
    ia.stop()
