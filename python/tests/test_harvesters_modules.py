"""Discovery, node maps, file access and the producer's lifecycle as harvesters drives them."""

from __future__ import annotations

import os

import genicam.genapi as genapi
import pytest

import lmmocktl
from lmmocktl import Config, Device, Interface, Stream

TWO_INTERFACES = Config(
    interfaces=[
        Interface("Left", devices=[Device("Cam0", [Stream("A", width=64, height=48), Stream("B", width=32, height=8)],
                                          model="Bench Camera", vendor="Acme", serial_number="SN-7")]),
        Interface("Right", devices=[Device("Cam1", streams=[Stream("S0", width=64, height=48)])]),
    ]
)


def test_device_list_carries_the_configured_texts(harvester):
    h = harvester(TWO_INTERFACES)
    found = [(d.id_, d.model, d.vendor, d.serial_number, d.user_defined_name) for d in h.device_info_list]
    assert found == [
        ("Cam0", "Bench Camera", "Acme", "SN-7", "Cam0"),
        ("Cam1", "Mock Camera (Default)", "KORVANE IMAGING", "Cam1", "Cam1"),
    ]


def test_only_our_producer_is_mapped(harvester, lmmocktl_cti):
    # The genicam wheel carries a producer of its own; nothing may load it behind our back.
    h = harvester(Config())
    with open("/proc/self/maps", encoding="utf-8") as maps:
        mapped = {line.split()[-1] for line in maps if line.rstrip().endswith(".cti")}
    assert h.files == [str(lmmocktl_cti)]
    assert mapped == {str(lmmocktl_cti)}


def test_every_module_node_map_reads(harvester, lmmocktl_cti):
    ia = harvester(TWO_INTERFACES).create({"id_": "Cam0"})
    expected = [
        (ia.system, "TLVendorName", "KORVANE IMAGING"),
        (ia.system, "TLPath", str(lmmocktl_cti)),
        (ia.interface, "InterfaceID", "Left"),
        (ia.interface, "DeviceID", "Cam0"),
        (ia.device, "DeviceID", "Cam0"),
        (ia.device, "StreamCount", 2),
        (ia.remote_device, "DeviceModelName", "Bench Camera"),
        (ia.remote_device, "DeviceSerialNumber", "SN-7"),
        (ia.remote_device, "SourceCount", 2),
        (ia.data_streams[0], "StreamID", "A"),
        (ia.data_streams[1], "StreamID", "B"),
    ]
    assert [getattr(module.node_map, name).value for module, name, _ in expected] == [v for *_, v in expected]
    assert all(ds.node_map.StreamAnnounceBufferMinimum.value >= 1 for ds in ia.data_streams)


@pytest.mark.parametrize(
    "name, expected",
    [("TestFile1", [9, b"TestFile1"]), ("TestFile0", "std::exception caught. TestFile0 always fails to open")],
)
def test_file_access_through_the_protocol_adapter(camera, name, expected):
    adapter = genapi.FileProtocolAdapter()
    assert adapter.attach(camera().remote_device.node_map.pointer)
    if isinstance(expected, str):
        # The adapter raises SystemError; the camera's own exception is its cause.
        with pytest.raises(SystemError) as failure:
            adapter.open_file(name, "r")
        assert expected in str(failure.value.__cause__)
        return
    assert adapter.open_file(name, "r")
    assert adapter.read(9, 0, name) == expected
    assert adapter.close_file(name)


def resources():
    with open("/proc/self/statm", encoding="ascii") as statm:
        rss_pages = int(statm.read().split()[1])
    return rss_pages * os.sysconf("SC_PAGE_SIZE"), len(os.listdir("/proc/self/fd"))


# 2 MiB frames: a buffer, render cache or stream the producer failed to release shows at once.
BIG = Config.of(Device("Cam0", streams=[Stream("S0", pixel_format="Mono16", width=1024, height=1024)]))


def test_start_stop_and_reload_cycles_do_not_grow(harvester):
    h = harvester(BIG)

    def grab(ia):
        ia.start()
        with ia.fetch(timeout=2):
            pass
        ia.stop()

    def reload():
        # update() closes and reopens the producer; reset() would act only once per Harvester.
        h.update()
        ia = h.create(0)
        grab(ia)
        ia.destroy()

    ia = h.create(0)
    for cycle, count, allowed in ((lambda: grab(ia), 30, 1 << 20), (reload, 20, 20 << 20)):
        for _ in range(3):
            cycle()
        rss, fds = resources()
        for _ in range(count):
            cycle()
        grown, now_fds = resources()
        # harvesters' node maps keep about 0.35 MiB per created acquirer (the producer alone, driven
        # through ctypes, keeps nothing); a leaked frame would add 2 MiB a cycle.
        assert (now_fds, grown - rss < allowed) == (fds, True)
        ia.destroy()
