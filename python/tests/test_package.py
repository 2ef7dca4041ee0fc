"""The installed package: its wheel, the producer's dependencies, the configuration helpers and
the pytest plugin as a user's suite meets them."""

import json
import os
import subprocess
import zipfile
from pathlib import Path

import jsonschema
import pytest

import lmmocktl
from lmmocktl import Config, Device, Interface, Stream

pytest_plugins = ["pytester"]

# The C and C++ runtimes, and zlib, which the manylinux policy counts as part of every system (the
# vendored PNG and TIFF decoders use it); everything else must come with the wheel.
SYSTEM_LIBRARIES = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "ld-linux-x86-64.so.2", "libz.so.1"}


def test_the_wheel_serves_every_python_3_and_carries_the_producer_and_the_schema():
    wheel = Path(os.environ["LMMOCKTL_WHEEL"]) if "LMMOCKTL_WHEEL" in os.environ else None
    if wheel is None:
        pytest.skip("LMMOCKTL_WHEEL names the wheel under test (scripts/test-python.sh sets it)")
    assert wheel.name.startswith("lmmocktl-1.1.0-py3-none-manylinux_")
    names = zipfile.ZipFile(wheel).namelist()
    for member in ("LmMockTL.cti", "__init__.py", "config.schema.json", "pytest_plugin.py", "py.typed"):
        assert f"lmmocktl/{member}" in names


def test_the_producer_needs_nothing_beyond_the_c_and_cpp_runtimes_and_what_the_wheel_carries():
    cti = lmmocktl.cti_path()
    assert cti.parent == lmmocktl.gentl_path()
    dynamic = subprocess.run(["readelf", "-d", str(cti)], check=True, capture_output=True, text=True).stdout
    needed = {line.split("[")[1].rstrip("]") for line in dynamic.splitlines() if "(NEEDED)" in line}
    vendored = {path.name for path in (cti.parent.parent / "lmmocktl.libs").glob("*.so*")}
    assert needed - SYSTEM_LIBRARIES <= vendored, f"needs {sorted(needed - SYSTEM_LIBRARIES - vendored)}"
    resolved = subprocess.run(["ldd", str(cti)], check=True, capture_output=True, text=True).stdout
    assert "not found" not in resolved
    for line in resolved.splitlines():
        if "=>" in line and line.split()[0] not in SYSTEM_LIBRARIES:
            assert "lmmocktl.libs" in line, line


def full_config() -> Config:
    """Every key the schema knows, each with its schema example."""
    stream = Stream("Main", pixel_format="Mono12p", width=640, height=480, padding_mode=1,
                    padding_pixel_count_x=8, padding_line_count_y=2, image_directory_path="images",
                    image_order=["b.png", "a.png"], stream_file_path="/data/recording/stream",
                    incomplete_frame_every=10, lost_frame_every=25, error_event_every=50)
    device = Device("Cam0", streams=[stream], serial_number="SN-0001", user_name="left camera",
                    display_name="Left camera", model="Bench Camera", vendor="Bench Vendor",
                    version="2.0", trigger_mode="Software", remove_after_frames=100)
    return Config(id="Bench", interfaces=[Interface("Left", devices=[device])])


def test_the_builder_writes_every_key_of_the_schema_with_its_example():
    written = full_config().validate()
    definitions = lmmocktl.schema()["$defs"]
    levels = [(lmmocktl.schema(), written), (definitions["interface"], written["Interfaces"][0]),
              (definitions["device"], written["Interfaces"][0]["Devices"][0]),
              (definitions["stream"], written["Interfaces"][0]["Devices"][0]["Streams"][0])]
    for schema, document in levels:
        assert set(document) == set(schema["properties"])
        for key, value in document.items():
            examples = schema["properties"][key].get("examples")
            assert examples is None or value == examples[0], key


@pytest.mark.parametrize("bad", [
    Config.of(Device("Cam0", streams=[Stream("S", width=0)])),
    Config.of(Device("Cam0", streams=[Stream("S", pixel_format="Mono10")])),
    Config.of(Device("Cam0", trigger_mode="Hardware")),
    Config.of(Device("Cam0", streams=[Stream("S", lost_frame_every=0)])),
    Config.of(Device("Cam0", streams=[Stream(str(n)) for n in range(5)])),
    {"Interfaces": [{"ID": "If0", "Devcies": []}]},
])
def test_a_configuration_outside_the_schema_is_refused_before_it_is_written(tmp_path, bad):
    with pytest.raises(jsonschema.ValidationError):
        lmmocktl.write_config(bad, tmp_path / "LmMockTL.json")
    assert not (tmp_path / "LmMockTL.json").exists()


def test_use_config_points_the_producer_at_a_file_for_the_block_only(tmp_path, monkeypatch):
    monkeypatch.setenv("LMMOCKTL_CONFIG", "/previous.json")
    with lmmocktl.use_config(Config.of(Device("Cam0"))) as path:
        assert os.environ["LMMOCKTL_CONFIG"] == str(path)
        assert json.loads(path.read_text())["Interfaces"][0]["Devices"] == [{"ID": "Cam0"}]
    assert os.environ["LMMOCKTL_CONFIG"] == "/previous.json" and not path.exists()
    monkeypatch.delenv("LMMOCKTL_CONFIG")
    with pytest.raises(FileNotFoundError), lmmocktl.use_config(tmp_path / "absent.json"):
        pass
    assert "LMMOCKTL_CONFIG" not in os.environ


README_EXAMPLE = '''
from harvesters.core import Harvester
from lmmocktl import Config, Device, Stream

def test_my_grab(mock_camera, lmmocktl_cti):
    mock_camera(Config.of(Device("Cam0", streams=[Stream("Main", width=64, height=48)])))
    with Harvester() as h:
        h.add_file(str(lmmocktl_cti)); h.update()
        with h.create() as ia:
            ia.start()
            with ia.fetch(timeout=3) as buffer:
                assert buffer.payload.components[0].data.shape == (64 * 48,)
'''


def test_the_readme_example_runs_with_the_plugin_and_leaves_the_environment_as_it_was(pytester):
    pytester.makepyfile(README_EXAMPLE + '''
import os
def test_after():
    assert "LMMOCKTL_CONFIG" not in os.environ
''')
    pytester.runpytest_subprocess("-p", "no:cacheprovider").assert_outcomes(passed=2)
