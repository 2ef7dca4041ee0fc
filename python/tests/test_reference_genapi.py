"""Every node of every module's description, evaluated by the reference GenApi engine (genicam) over
the module's port, as a consumer built on it evaluates them: each readable value read, each
writable one written with valid values and read back from the port, each enumeration's entries
checked, the commands executed where harmless. The producer is driven through ctypes alone; the
modules are opened down to announced buffers in each configuration whose camera answers from other
registers: built-in, image files, GenDC and a recorded stream file.
"""

from __future__ import annotations

import ctypes
import struct
import xml.etree.ElementTree as ElementTree
import zlib
from dataclasses import dataclass
from pathlib import Path

import pytest
from genicam import genapi

import lmmocktl

URL_INFO_URL = 0
DEVICE_ACCESS_EXCLUSIVE = 4
STREAM_INFO_PAYLOAD_SIZE = 7
FLOW_INFO_SIZE = 0
Access = genapi.EAccessMode
Kind = genapi.EInterfaceType

MODULES = ["System", "Interface", "Device", "RemoteDevice", "DataStream", "Buffer"]
# Each configuration with what its camera must report streaming from (StreamingDataSource,
# GenDCStreamingStatus): one that fell back to generated images would leave its registers unwalked.
CONFIGURATIONS = {
    "BuiltIn": ("Generated", "Off"),
    "ImageFiles": ("ImageFile", "Off"),
    "GenDC": ("Generated", "On"),
    "StreamFile": ("StreamFile", "On"),
}

# The producer's documented departures from its descriptions, kept on purpose: (module, node) ->
# (how it departs, why). Each is checked to still behave so; a change fails until this table follows.
READ_REFUSED, WRITE_REFUSED, INVERTED, ALIASES = "read refused", "write refused", "reads back inverted", "aliases"
STAT_64 = "the stream's 64-bit counters have never been readable through the port"
KNOWN_EXCEPTIONS = {
    ("Buffer", "BufferSize"): (READ_REFUSED, "declared at the port with 8 bytes against the description's 4"),
    ("DataStream", "Stat_NumFramesDelivered"): (READ_REFUSED, STAT_64),
    ("DataStream", "Stat_NumFramesLostQueueUnderrun"): (READ_REFUSED, STAT_64),
    ("DataStream", "Stat_NumFramesStarted"): (READ_REFUSED, STAT_64),
    ("RemoteDevice", "TriggerCount"): (WRITE_REFUSED, "counted by the camera alone: the port keeps it read-only"),
    ("RemoteDevice", "TLParamsLocked"): (INVERTED, "the register stores the inverse, consumers rely on it"),
    ("RemoteDevice", "r_TLParamsLocked"): (INVERTED, "the register stores the inverse, consumers rely on it"),
    ("RemoteDevice", "GenDCFlowMappingConfiguration"): (ALIASES, "Contiguous and Composite alias the flow modes"),
}
# Executing whatever FileOperationSelector holds could delete or overwrite the camera's file.
COMMANDS_NOT_EXECUTED = {"FileOperationExecute"}


class PortRefused(RuntimeError):
    """A GenTL call that failed; the engine passes it on from the port to the reader or writer."""


class GenTL:
    """LmMockTL.cti through ctypes: every call is checked, handles are plain void pointers."""

    def __init__(self) -> None:
        self.lib = ctypes.CDLL(str(lmmocktl.cti_path()))

    def __call__(self, name: str, *args) -> None:
        code = getattr(self.lib, name)(*args)
        if code != 0:
            raise PortRefused(f"{name} failed with {code}: {self.last_error()}")

    def last_error(self) -> str:
        code, text, size = ctypes.c_int32(), ctypes.create_string_buffer(1024), ctypes.c_size_t(1024)
        self.lib.GCGetLastError(ctypes.byref(code), text, ctypes.byref(size))
        return text.value.decode(errors="replace")

    def handle(self, name: str, *args) -> ctypes.c_void_p:
        handle = ctypes.c_void_p()
        self(name, *args, ctypes.byref(handle))
        return handle

    def text(self, name: str, *args) -> bytes:
        text, size = ctypes.create_string_buffer(1024), ctypes.c_size_t(1024)
        self(name, *args, text, ctypes.byref(size))
        return text.value

    def read(self, port, address: int, length: int) -> bytes:
        data, size = ctypes.create_string_buffer(length), ctypes.c_size_t(length)
        self("GCReadPort", port, ctypes.c_uint64(address), data, ctypes.byref(size))
        return data.raw[: size.value]

    def write(self, port, address: int, data: bytes) -> None:
        self("GCWritePort", port, ctypes.c_uint64(address), data, ctypes.byref(ctypes.c_size_t(len(data))))

    def description(self, port) -> str:
        # "local:[///]name.xml;ADDRESS;SIZE[?SchemaVersion=...]", address and size in hexadecimal
        url = self.text("GCGetPortURLInfo", port, ctypes.c_uint32(0), URL_INFO_URL, ctypes.byref(ctypes.c_int32()))
        _, address, size = url.decode().split("?")[0].split(";")
        return self.read(port, int(address, 16), int(size, 16)).rstrip(b"\0").decode()


def fresh(node):
    """The node's value read from the port (not the engine's cache of what was written), verified by
    the engine against its bounds, increment or entries."""
    return node.get_value(True, True)


def refused(action) -> bool:
    try:
        action()
    except PortRefused:
        return True
    return False


class Port(genapi.AbstractPort):
    def __init__(self, gentl: GenTL, handle) -> None:
        super().__init__()
        self.gentl, self.handle = gentl, handle

    def get_access_mode(self):
        return Access.RW

    def read(self, address, length):
        return self.gentl.read(self.handle, address, length)

    def write(self, address, data):
        self.gentl.write(self.handle, address, bytes(data))


def node_map(gentl: GenTL, handle) -> tuple[genapi.NodeMap, Port, ElementTree.Element]:
    xml = gentl.description(handle)
    nodes = genapi.NodeMap()
    nodes.load_xml_from_string(xml)
    root = ElementTree.fromstring(xml)
    port = Port(gentl, handle)
    nodes.connect(port, next(e for e in root if e.tag.endswith("}Port")).get("Name"))
    return nodes, port, root


def png(path: Path, width: int, height: int) -> None:
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + bytes((x * 7 + y * 13 + c * 50) & 0xFF for x in range(width) for c in range(3))
                    for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows))
                     + chunk(b"IEND", b""))


def recording(info: Path, flow_sets: list[list[bytes]], descriptor: bytes) -> None:
    """A stream file: one data file of equally shaped flow sets and its InfoFile (little-endian:
    magic, version, reserved, fixed sizes, flow sizes, per data file its size and flow set count,
    the descriptor announced before the first container)."""
    sizes = [len(flow) for flow in flow_sets[0]]
    data = b"".join(b"".join(flows) for flows in flow_sets)
    info.with_name(info.stem + "-000000.gdcs").write_bytes(data)
    info.write_bytes(struct.pack(f"<IIBBQ{len(sizes)}QQQQQ", 0x494E464F, 1, 0, 1, len(sizes), *sizes, 1, len(data),
                                 len(flow_sets), len(descriptor)) + descriptor)


def configuration(name: str, directory: Path) -> lmmocktl.Config:
    if name == "ImageFiles":
        (directory / "images").mkdir()
        for file in ("a.png", "b.png"):
            png(directory / "images" / file, 24, 16)
        stream = lmmocktl.Stream("Files", image_directory_path=directory / "images")
    elif name == "GenDC":
        stream = lmmocktl.Stream("Generated", pixel_format="Mono8", width=64, height=8)
    else:  # a GenDC recording: a descriptor flow and a data flow per flow set
        recording(directory / "take.info", [[bytes([n]) * 64, bytes([0x80 + n]) * 512] for n in range(3)],
                  b"\x5a" * 24)
        stream = lmmocktl.Stream("Replay", stream_file_path=directory / "take.info")
    return lmmocktl.Config.of(lmmocktl.Device("Cam", streams=[stream]), interface_id="Bench")


@dataclass
class Figures:
    nodes: int = 0  # value nodes: features and the registers and formulas behind them
    unavailable: int = 0  # not implemented or not available here
    read: int = 0
    selected_reads: int = 0  # features read again at each value of the selector selecting them
    written_nodes: int = 0  # nodes written, each write read back equal from the port
    writes: int = 0
    executed: int = 0
    command_registers: int = 0  # registers a command writes, covered by executing it
    departures: int = 0  # known exceptions, each checked to behave as listed


class Walk:
    """Evaluates every node of one module's node map; rejections are collected in `failures`."""

    def __init__(self, module: str, nodes: genapi.NodeMap, root: ElementTree.Element) -> None:
        self.module, self.nodes, self.figures, self.failures = module, nodes, Figures(), []
        namespace = root.tag[: root.tag.index("}") + 1]
        self.behind_commands = {e.findtext(namespace + "pValue") for e in root.iter(namespace + "Command")}

    def run(self) -> None:
        commands = []
        for node in self.nodes.nodes:
            name, kind = node.node.name, node.node.principal_interface_type
            if kind in (Kind.intfICategory, Kind.intfIPort, Kind.intfIEnumEntry):
                continue
            self.figures.nodes += 1
            try:
                access = node.get_access_mode()
                if access in (Access.NI, Access.NA):
                    self.figures.unavailable += 1
                elif kind == Kind.intfICommand:
                    commands.append(node)
                elif name in self.behind_commands:
                    self.figures.command_registers += 1
                else:
                    self.value(node, name, kind, access)
            except Exception as error:  # noqa: BLE001 -- every rejection is reported, the walk goes on
                self.failures.append(f"{name}: {type(error).__name__} {error}")
        # Commands go last, when every value above is back as it was read.
        for command in commands:
            name = command.node.name
            if name in COMMANDS_NOT_EXECUTED:
                continue
            try:
                command.execute()
                if not command.is_done(True):
                    raise AssertionError("its register does not read back done")
                self.figures.executed += 1
                if name == "AcquisitionStart":  # the camera's acquisition stopped again, as a consumer would
                    self.nodes.get_node("AcquisitionStop").execute()
            except Exception as error:  # noqa: BLE001
                self.failures.append(f"executing {name}: {type(error).__name__} {error}")
        for module, name in KNOWN_EXCEPTIONS:
            if module == self.module and name not in {node.node.name for node in self.nodes.nodes}:
                self.failures.append(f"{name} is a known exception but the description has no such node")

    def value(self, node, name: str, kind, access) -> None:
        self.departure = KNOWN_EXCEPTIONS.get((self.module, name), (None,))[0]
        self.figures.departures += self.departure is not None
        if self.departure == READ_REFUSED:
            if not refused(node.to_string):
                raise AssertionError("listed as refusing reads but was read; update the exceptions")
            return
        if access not in (Access.RO, Access.RW):
            raise AssertionError(f"not readable (access mode {access.name})")
        self.writable, self.feature = access == Access.RW, node.node.is_feature()
        writes = self.figures.writes
        {
            Kind.intfIInteger: self.number,
            Kind.intfIFloat: self.number,
            Kind.intfIBoolean: self.boolean,
            Kind.intfIString: self.string,
            Kind.intfIEnumeration: self.enumeration,
            Kind.intfIRegister: self.register,
        }[kind](node)
        self.figures.written_nodes += self.figures.writes > writes

    def write_reads_back(self, node, value, expected=None, read=fresh) -> None:
        node.value = value
        back, expected = read(node), value if expected is None else expected
        if back != expected:
            raise AssertionError(f"written {value!r}, read back {back!r}")
        self.figures.writes += 1
        # What a selector selects is read at each of its values, not only at the one it held.
        if node.node.is_selector():
            for selected in node.node.selected_features:
                if selected.get_access_mode() in (Access.RO, Access.RW):
                    fresh(selected)
                    self.figures.selected_reads += 1

    def number(self, node) -> None:
        value, low, high = fresh(node), node.min, node.max
        self.figures.read += 1
        if self.departure == WRITE_REFUSED:
            if not self.writable:
                raise AssertionError("the description no longer offers writes; update the exceptions")
            if not refused(lambda: setattr(node, "value", value)):
                raise AssertionError("listed as refusing writes but a write was accepted; update the exceptions")
            return
        if not self.writable:
            return
        # A feature is written with its bounds, a selector with each of its indexes; a register behind
        # a feature only with the value it holds.
        values = [value]
        if self.feature:
            step = node.inc if isinstance(node, genapi.IInteger) else None
            values += [low, high if step is None else low + (high - low) // step * step]
            if step and node.node.is_selector():
                values = list(range(low, high + 1, step))
        for next_value in values + [1 - value if self.departure == INVERTED else value]:
            self.write_reads_back(node, next_value, 1 - next_value if self.departure == INVERTED else None)

    def boolean(self, node) -> None:
        value = fresh(node)
        self.figures.read += 1
        if self.writable:
            for next_value in (not value, value):
                self.write_reads_back(node, next_value)

    def string(self, node) -> None:
        value = fresh(node)
        self.figures.read += 1
        if len(value) > node.max_length:
            raise AssertionError(f"{value!r} is longer than its maximum length {node.max_length}")
        if self.writable and self.feature:
            for next_value in ("LmConformance"[: node.max_length], value):
                self.write_reads_back(node, next_value)

    def enumeration(self, node) -> None:
        current, number = fresh(node), node.get_int_value(True, True)
        self.figures.read += 1
        entries = {entry.symbolic: entry for entry in node.entries}
        values = [entry.value for entry in entries.values()]
        if (len(set(values)) < len(values)) != (self.departure == ALIASES):
            raise AssertionError(f"entries sharing values: {sorted(values)}; update the exceptions if on purpose")
        if current not in entries or entries[current].value != number:
            raise AssertionError(f"reads {current} = {number}, which is none of its entries {list(entries)}")
        available = [name for name, entry in entries.items() if entry.get_access_mode() not in (Access.NI, Access.NA)]
        if current not in available:
            raise AssertionError(f"holds {current}, which is not available")
        if not self.writable:
            return
        for name in available:
            # An alias reads back as the entry its value names first; its value is what round-trips.
            self.write_reads_back(node, name, entries[name].value, read=lambda node: node.get_int_value(True, True))
            if self.departure != ALIASES and fresh(node) != name:
                raise AssertionError(f"set to {name}, reads back {fresh(node)}")
        node.value = current

    def register(self, node) -> None:
        length = node.length
        data = node.get(length, True, True) if length else b""
        self.figures.read += 1
        if self.writable and length:
            node.set(data)
            if node.get(length, True, True) != data:
                raise AssertionError("its bytes written back do not read back")
            self.figures.writes += 1


class OpenProducer:
    """The producer loaded in one configuration, its first device open down to two announced (and
    queued) buffers of its first stream: composite ones when the stream delivers several flows."""

    def __init__(self, gentl: GenTL, config: str) -> None:
        self.gentl = gentl
        gentl("GCInitLib")
        self.system = gentl.handle("TLOpen")
        gentl("TLUpdateInterfaceList", self.system, None, ctypes.c_uint64(0))
        interface_id = gentl.text("TLGetInterfaceID", self.system, ctypes.c_uint32(0))
        self.interface = gentl.handle("TLOpenInterface", self.system, interface_id)
        gentl("IFUpdateDeviceList", self.interface, None, ctypes.c_uint64(0))
        device_id = gentl.text("IFGetDeviceID", self.interface, ctypes.c_uint32(0))
        self.device = gentl.handle("IFOpenDevice", self.interface, device_id, DEVICE_ACCESS_EXCLUSIVE)
        self.remote = gentl.handle("DevGetPort", self.device)
        self.check_source(config)
        stream_id = gentl.text("DevGetDataStreamID", self.device, ctypes.c_uint32(0))
        self.stream = gentl.handle("DevOpenDataStream", self.device, stream_id)
        self.blocks, self.buffers = [], []
        for _ in range(2):
            self.buffers.append(self.announce())
            gentl("DSQueueBuffer", self.stream, self.buffers[-1])

    def check_source(self, config: str) -> None:
        nodes, port, _ = node_map(self.gentl, self.remote)  # the port lives as long as the node map
        if config == "GenDC":
            nodes.get_node("GenDCStreamingMode").value = "On"
        source = tuple(nodes.get_node(name).value for name in ("StreamingDataSource", "GenDCStreamingStatus"))
        assert source == CONFIGURATIONS[config], f"the {config} camera streams from {source}"

    def announce(self) -> ctypes.c_void_p:
        flows = ctypes.c_uint32()
        self.gentl("DSGetNumFlows", self.stream, ctypes.byref(flows))
        if flows.value < 2:
            size = self.info("DSGetInfo", self.stream, STREAM_INFO_PAYLOAD_SIZE)
            return self.gentl.handle("DSAllocAndAnnounceBuffer", self.stream, ctypes.c_size_t(size), None)
        sizes = [
            self.info("DSGetFlowInfo", self.stream, ctypes.c_uint32(i), FLOW_INFO_SIZE) for i in range(flows.value)
        ]
        self.blocks.append(block := [ctypes.create_string_buffer(size) for size in sizes])
        bases = (ctypes.c_void_p * len(sizes))(*[ctypes.addressof(segment) for segment in block])
        return self.gentl.handle("DSAnnounceCompositeBuffer", self.stream, ctypes.c_size_t(len(sizes)), bases,
                                 (ctypes.c_size_t * len(sizes))(*sizes), None)

    def info(self, name: str, *args) -> int:
        value, size = ctypes.c_uint64(), ctypes.c_size_t(8)
        self.gentl(name, *args, ctypes.byref(ctypes.c_int32()), ctypes.byref(value), ctypes.byref(size))
        return value.value

    def port(self, module: str):
        return dict(zip(MODULES, [self.system, self.interface, self.device, self.remote, self.stream,
                                  self.buffers[0]]))[module]

    def close(self) -> None:
        for name, handle in (("DSClose", self.stream), ("DevClose", self.device), ("IFClose", self.interface),
                             ("TLClose", self.system)):
            self.gentl(name, handle)
        self.gentl("GCCloseLib")


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("config", CONFIGURATIONS)
def test_every_node_evaluates_and_every_write_reads_back(
    config: str, module: str, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    # The built-in configuration is the one used when no file is found anywhere.
    monkeypatch.chdir(tmp_path)
    monkeypatch.delenv("LUMODATA", raising=False)
    monkeypatch.delenv("LMMOCKTL_CONFIG", raising=False)
    if config != "BuiltIn":
        monkeypatch.setenv("LMMOCKTL_CONFIG", str(lmmocktl.write_config(configuration(config, tmp_path), "c.json")))
    gentl = GenTL()
    producer = OpenProducer(gentl, config)
    try:
        nodes, port, root = node_map(gentl, producer.port(module))
        walk = Walk(module, nodes, root)
        walk.run()
        del nodes, port
    finally:
        producer.close()
    # The genicam wheel carries a producer of its own; only ours may ever be mapped.
    assert "viky.cti" not in Path("/proc/self/maps").read_text()
    summary = f"{config} {module}: {walk.figures}"
    print(summary)
    assert walk.figures.read > 0 and not walk.failures, summary + "\n" + "\n".join(walk.failures)
