"""Acquisition through harvesters: cycles, several streams, triggers, timeouts and injected faults,
with the consumer-side workaround wherever the camera's behaviour trips harvesters."""

from __future__ import annotations

import time

import genicam.gentl as gentl
import pytest
from conftest import FIRST_PIXEL, generated
from genicam.genapi import AccessException
from harvesters.core import Callback

from lmmocktl import Config, Device, Stream


def frame_ids(ia, count, timeout=2):
    ids = []
    for _ in range(count):
        with ia.fetch(timeout=timeout) as buffer:
            ids.append(buffer.frame_id)
    return ids


def test_start_stop_cycles_restart_frame_ids_and_unlock_the_geometry(camera):
    ia = camera()
    nm = ia.remote_device.node_map
    for width in (64, 48, 32):
        nm.Width.value = width
        ia.start()
        assert frame_ids(ia, 2) == [0, 1]
        with pytest.raises(AccessException, match="not writable"):
            nm.Width.value = 16
        ia.stop()


def test_tl_params_locked_reads_back_inverted_behind_genapi_cache(camera):
    # harvesters writes TLParamsLocked 1 on start and 0 on stop (while the streams still grab, so the
    # camera ignores it). GenApi answers from its cache what harvesters wrote; only the register
    # shows the camera's inverted read-back. Take the lock state from the node map, never the port.
    ia = camera()
    nm = ia.remote_device.node_map
    port = ia.device.module.remote_port
    register = lambda: int.from_bytes(port.read(0x9000, 4)[1], "little")  # noqa: E731
    seen = [(nm.TLParamsLocked.value, register())]
    ia.start()
    seen.append((nm.TLParamsLocked.value, register()))
    ia.stop()
    seen.append((nm.TLParamsLocked.value, register()))
    assert seen == [(0, 0), (1, 0), (0, 1)]
    nm.Width.value = 32  # the geometry is writable again after stop


def test_stream_reopens_only_after_the_producer_reloads(harvester):
    # A stream opens once per producer load; harvesters reopens every stream in create(), so a second
    # create() on the same load fails. Harvester.update() reloads the producer and it works again.
    h = harvester(Config.of(Device("Cam0", streams=[Stream("S0", width=64, height=48)])))
    h.create(0).destroy()
    with pytest.raises(gentl.ClosedException):
        h.create(0)
    h.update()
    ia = h.create(0)
    ia.start()
    assert frame_ids(ia, 1) == [0]
    ia.stop()


def test_four_streams_deliver_one_buffer_each(camera):
    formats = ["Mono8", "Mono16", "RGB8", "RGB10"]
    ia = camera([Stream(f"S{i}", pixel_format=f, width=16 << i, height=8) for i, f in enumerate(formats)])
    ia.start()
    buffers = ia.fetch(timeout=2)  # one buffer per stream when there are several
    try:
        for i, (fmt, buffer) in enumerate(zip(formats, buffers)):
            component = buffer.payload.components[0]
            assert (component.data_format, component.width, buffer.frame_id) == (fmt, 16 << i, 0)
            assert (component.data[FIRST_PIXEL:] == generated(fmt, 16 << i, 8)[FIRST_PIXEL:]).all()
    finally:
        for buffer in buffers:
            buffer.queue()
    # harvesters revokes the last stream's buffers from every stream, which the first stream refuses
    # (GC_ERR_INVALID_ID); let it revoke none: DSClose in destroy() releases each stream's own.
    ia._announced_buffers = []
    ia.stop()
    ia.destroy()


def test_software_trigger_gives_exactly_one_frame_and_no_trigger_times_out(camera):
    ia = camera(trigger_mode="Software")
    nm = ia.remote_device.node_map
    ia.start()
    began = time.monotonic()
    with pytest.raises(gentl.TimeoutException):
        ia.fetch(timeout=0.3)
    assert time.monotonic() - began < 2
    for expected in range(3):
        nm.TriggerSoftware.execute()
        assert frame_ids(ia, 1) == [expected]
        assert ia.try_fetch(timeout=0.2) is None
    assert nm.TriggerCount.value == 3
    ia.stop()


class Counter(Callback):
    def __init__(self):
        super().__init__()
        self.count = 0

    def emit(self, context=None):
        self.count += 1


@pytest.mark.parametrize(
    "device, stream, ids, dropped, errors",
    [
        ({}, {"lost_frame_every": 2}, [0, 2, 4], 0, []),
        # harvesters drops incomplete buffers, requeues them and only calls INCOMPLETE_BUFFER.
        ({}, {"incomplete_frame_every": 2}, [0, 2, 4], 2, []),
        ({}, {"error_event_every": 2}, [0, 1, 2, 3], 0, [1, 3]),
        # Unplugged after 3 frames: nothing more arrives.
        ({"remove_after_frames": 3}, {}, [0, 1, 2], 0, []),
    ],
)
def test_injected_faults_as_harvesters_reports_them(camera, device, stream, ids, dropped, errors):
    ia = camera([Stream("S0", width=64, height=48, **stream)], **device)
    incomplete = Counter()
    ia.add_callback(ia.Events.INCOMPLETE_BUFFER, incomplete)
    # harvesters never registers a stream's error event: register it on the stream module directly.
    error_event = gentl.EventManagerError(ia.data_streams[0].module.register_event(gentl.EVENT_TYPE_LIST.EVENT_ERROR))
    ia.start()
    assert frame_ids(ia, len(ids)) == ids
    assert incomplete.count == dropped
    texts = []
    while error_event.num_in_queue:
        error_event.update_event_data(100)
        texts.append((error_event.gc_error, error_event.description))
    assert texts == [(-1001, f"Device error injected at frame id {i}") for i in errors]
    if device:
        # The removal event goes to the camera's port, where harvesters cannot register: a consumer
        # sees an unplugged camera only as fetches that time out.
        with pytest.raises(gentl.TimeoutException):
            ia.fetch(timeout=0.3)
    ia.stop()
