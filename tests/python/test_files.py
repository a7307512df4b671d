"""Curve files and glTF through the keelcurve tool's library: what the
module writes the tool reads, byte for byte, and bad files raise."""

import ast
import base64
import inspect
import json
import math
import pathlib
import struct

import keelanim
import pytest
from conftest import ASSIMP_GLTF, GLTF_SAMPLES, make_curve, run_keelcurve

SAMPLES = [
    GLTF_SAMPLES / "cubicspline.gltf",
    GLTF_SAMPLES / "cubicspline.glb",
    GLTF_SAMPLES / "step.gltf",
    ASSIMP_GLTF / "simple_skin" / "simple_skin.gltf",
    ASSIMP_GLTF / "glTF-Sample-Models" / "AnimatedMorphCube-glTF" / "AnimatedMorphCube.gltf",
]


@pytest.mark.parametrize("gltf", SAMPLES, ids=lambda path: path.name)
@pytest.mark.parametrize("time_form", [keelanim.TimeForm.SECONDS, keelanim.TimeForm.TICKS])
def test_json_round_trips_byte_for_byte(tmp_path, gltf, time_form):
    curves = keelanim.import_gltf(gltf, time_form)
    assert len(curves) > 0
    assert all(curve.time_form == time_form for curve in curves)
    path = tmp_path / "curves.json"
    curves.save_json(path)
    assert path.read_text() == curves.to_json()
    assert keelanim.load_json(path).to_json() == curves.to_json()
    assert keelanim.CurveSet.from_json(curves.to_json()).to_json() == curves.to_json()
    assert run_keelcurve("info", str(path)).count("\n") >= len(curves)


def write_cubic_rotation(path):
    """A glTF file turning one node by a CUBICSPLINE rotation sampler over two keys."""
    times = struct.pack("<2f", 0.0, 1.0)
    half = math.sqrt(0.5)
    # Per key: in-tangent, value, out-tangent, each an x, y, z, w quaternion.
    outputs = struct.pack("<24f", *([0.0] * 4 + [0, 0, 0, 1] + [0.0] * 4 + [0.0] * 4 + [0, half, 0, half] + [0.0] * 4))
    data = base64.b64encode(times + outputs).decode()
    document = {
        "asset": {"version": "2.0"},
        "nodes": [{"name": "Spinner"}],
        "buffers": [{"byteLength": len(times + outputs), "uri": "data:application/octet-stream;base64," + data}],
        "bufferViews": [
            {"buffer": 0, "byteOffset": 0, "byteLength": len(times)},
            {"buffer": 0, "byteOffset": len(times), "byteLength": len(outputs)},
        ],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0.0], "max": [1.0]},
            {"bufferView": 1, "componentType": 5126, "count": 6, "type": "VEC4"},
        ],
        "animations": [
            {
                "samplers": [{"input": 0, "output": 1, "interpolation": "CUBICSPLINE"}],
                "channels": [{"sampler": 0, "target": {"node": 0, "path": "rotation"}}],
            }
        ],
    }
    path.write_text(json.dumps(document))


def test_cubic_rotations_warn_on_import(tmp_path):
    path = tmp_path / "spin.gltf"
    write_cubic_rotation(path)
    with pytest.warns(UserWarning, match="its tangents are not kept"):
        curves = keelanim.import_gltf(path)
    assert curves.names == ["Spinner/rotation/x", "Spinner/rotation/y", "Spinner/rotation/z"]
    assert curves["Spinner/rotation/y"].rotation_mode == keelanim.RotationMode.QUATERNION_CUBIC


def swap_key_times(document):
    keys = document["curves"][0]["keys"]
    keys[0]["time"], keys[1]["time"] = keys[1]["time"], keys[0]["time"]
    return json.dumps(document)


def rename_type(document):
    document["curves"][0]["keys"][1]["inType"] = "wobbly"
    return json.dumps(document)


BAD_FILES = [
    ("syntax", lambda document: '{"version": 1,, }', "line 1, column 15"),
    ("member", lambda document: '{"version": 1, "curves": [{}]}', "/curves/0: missing member 'name'"),
    ("version", lambda document: '{"version": 7, "curves": []}', "version"),
    ("order", swap_key_times, "/curves/0/keys/1: key times are not increasing"),
    ("type", rename_type, "/curves/0/keys/1/inType: unknown tangent type 'wobbly'"),
]


@pytest.mark.parametrize("spoil,message", [case[1:] for case in BAD_FILES], ids=[case[0] for case in BAD_FILES])
def test_bad_files_raise_value_error_naming_the_place(tmp_path, bouncy, spoil, message):
    path = tmp_path / "bad.json"
    path.write_text(spoil(json.loads(keelanim.CurveSet([bouncy]).to_json())))
    with pytest.raises(ValueError, match=message):
        keelanim.load_json(path)
    with pytest.raises(ValueError, match=message.split(": ", 1)[-1]):
        keelanim.CurveSet.from_json(path.read_text())


@pytest.mark.parametrize("load", [keelanim.load_json, keelanim.import_gltf])
def test_missing_files_raise_file_not_found(tmp_path, load):
    with pytest.raises(FileNotFoundError):
        load(tmp_path / "missing")


def test_sets_refuse_names_a_file_cannot_hold():
    with pytest.raises(ValueError, match="needs a name"):
        keelanim.CurveSet([keelanim.Curve()])
    first, second = make_curve("a", [(0.0, 1.0)]), make_curve("b", [(0.0, 2.0)])
    curves = keelanim.CurveSet([first, second])
    with pytest.raises(ValueError, match="named 'a' already"):
        curves.add(make_curve("a", []))
    second.name = "a"
    with pytest.raises(ValueError, match="two curves are named 'a'"):
        curves.to_json()
    with pytest.raises(KeyError):
        curves["missing"]


def test_a_lone_rotation_channel_is_not_written(tmp_path):
    channel = keelanim.import_gltf(GLTF_SAMPLES / "cubicspline.gltf")["Turner/rotation/y"]
    path = tmp_path / "lone.json"
    with pytest.raises(ValueError):
        keelanim.save_json(path, [channel])
    assert not path.exists()


@pytest.mark.parametrize("suffix", [".svg", ".png"])
def test_plots_are_written_whole(tmp_path, suffix, bouncy):
    path = tmp_path / ("plot" + suffix)
    keelanim.CurveSet([bouncy]).plot(path, handles=True, time_range=(-1.0, 3.0))
    assert path.stat().st_size > 0


@pytest.mark.parametrize(
    "arguments,message",
    [
        ({"path": "plot.txt"}, "written as .svg or .png"),
        ({"path": "plot.svg", "width": 10}, "width and height"),
        ({"path": "plot.svg", "time_range": (2.0, 1.0)}, "time range is empty"),
        ({"path": "plot.svg", "names": ["nobody"]}, "no curve named 'nobody'"),
    ],
)
def test_bad_plots_raise_and_write_nothing(tmp_path, bouncy, arguments, message):
    arguments["path"] = tmp_path / arguments["path"]
    with pytest.raises(ValueError, match=message):
        keelanim.CurveSet([bouncy]).plot(**arguments)
    assert list(tmp_path.iterdir()) == []


def stub_tree():
    return ast.parse((pathlib.Path(keelanim.__file__).parent / "_keelanim.pyi").read_text())


def stub_members(node):
    names = set()
    for item in node.body:
        if isinstance(item, (ast.FunctionDef, ast.ClassDef)):
            names.add(item.name)
        elif isinstance(item, ast.AnnAssign):
            names.add(item.target.id)
        elif isinstance(item, ast.Assign):
            names.update(target.id for target in item.targets)
    return {name for name in names if not name.startswith("_") or name == "__version__"}


def public(names):
    return {name for name in names if not name.startswith("_")}


def test_stubs_name_what_the_module_has():
    tree = stub_tree()
    module_names = public(dir(keelanim)) | {"__version__"}
    assert stub_members(tree) == module_names
    for node in tree.body:
        if isinstance(node, ast.ClassDef):
            runtime = getattr(keelanim, node.name)
            members = public(name for name, _ in inspect.getmembers(runtime))
            if isinstance(runtime, type) and hasattr(runtime, "__members__"):
                members -= {"name", "value"}  # pybind11's enum machinery
            assert stub_members(node) == members, node.name


def test_every_public_name_has_a_docstring():
    for name in public(dir(keelanim)):
        item = getattr(keelanim, name)
        assert item.__doc__, name
        for member, value in inspect.getmembers(item):
            enum_machinery = hasattr(item, "__members__") and member in ("name", "value")
            if not member.startswith("_") and not enum_machinery and (callable(value) or isinstance(value, property)):
                assert value.__doc__, f"{name}.{member}"
