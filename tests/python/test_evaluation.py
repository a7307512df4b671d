"""Evaluation from Python is the engine's: the values agree with the
keelcurve tool's eval on the same curve file, and bakes agree with
per-sample evaluation, bit for bit."""

import keelanim
import numpy as np
import pytest
from conftest import ASSIMP_GLTF, GLTF_SAMPLES, make_curve, run_keelcurve

T = keelanim.TangentType
I = keelanim.Infinity

KEYS = [(0.0, 1.0), (0.4, 3.0), (1.0, -2.0), (1.7, 0.25), (2.5, 4.0)]
# Radians; slerp about one axis is linear in angle up to float rounding.
ANGLE_TOLERANCE = 1e-6
# Times inside, at and beyond the keys, into both infinities.
PROBES = [-3.3, -0.5, 0.0, 0.1, 0.4, 0.77, 1.0, 1.35, 2.5, 2.6, 4.9, 11.0]

CURVE_CASES = [
    pytest.param(T.AUTO, T.AUTO, I.CONSTANT, I.CONSTANT, False, id="auto-constant"),
    pytest.param(T.SPLINE, T.SPLINE, I.LINEAR, I.LINEAR, False, id="spline-linear"),
    pytest.param(T.CLAMPED, T.CLAMPED, I.CYCLE, I.CYCLE_RELATIVE, False, id="clamped-cycles"),
    pytest.param(T.LINEAR, T.LINEAR, I.OSCILLATE, I.OSCILLATE, False, id="linear-oscillate"),
    pytest.param(T.FLAT, T.STEP, I.CONSTANT, I.CYCLE, False, id="stepped"),
    pytest.param(T.PLATEAU, T.PLATEAU, I.CYCLE_RELATIVE, I.LINEAR, True, id="plateau-weighted"),
    pytest.param(T.SPLINE, T.SPLINE, I.CONSTANT, I.OSCILLATE, True, id="spline-weighted"),
    pytest.param(T.SINE, T.PARABOLIC, I.CONSTANT, I.CONSTANT, False, id="ease-kinds"),
]


def tool_eval(path, times):
    """The keelcurve tool's values of the file's only curve at `times`."""
    rows = run_keelcurve("eval", str(path), "--at", *[repr(t) for t in times]).splitlines()[1:]
    return np.array([float(row.split(",")[1]) for row in rows])


@pytest.mark.parametrize("time_form", [keelanim.TimeForm.SECONDS, keelanim.TimeForm.TICKS])
@pytest.mark.parametrize("in_type,out_type,pre,post,weighted", CURVE_CASES)
def test_values_match_the_tool_on_the_same_file(tmp_path, time_form, in_type, out_type, pre, post, weighted):
    curve = make_curve(
        "probe", KEYS, in_type, out_type, pre_infinity=pre, post_infinity=post, weighted=weighted, time_form=time_form
    )
    path = tmp_path / "curve.json"
    keelanim.save_json(path, [curve])
    expected = tool_eval(path, PROBES)
    assert [curve.evaluate(t) for t in PROBES] == expected.tolist()
    np.testing.assert_array_equal(curve.evaluate(np.array(PROBES)), expected)


@pytest.mark.parametrize(
    "gltf",
    [GLTF_SAMPLES / "cubicspline.gltf", GLTF_SAMPLES / "step.gltf", ASSIMP_GLTF / "simple_skin" / "simple_skin.gltf"],
    ids=lambda path: path.name,
)
def test_imported_curves_bake_as_the_tool_bakes_them(tmp_path, gltf):
    curves = keelanim.import_gltf(gltf)
    imported = tmp_path / "imported.json"
    run_keelcurve("import-gltf", str(gltf), "-o", str(imported))
    assert keelanim.load_json(imported).to_json() == curves.to_json()
    samples = tmp_path / "samples.csv"
    run_keelcurve("bake", str(imported), "--fps", "30", "-o", str(samples))
    table = np.loadtxt(samples, delimiter=",", skiprows=1, ndmin=2)
    times, values = curves.bake(fps=30)
    np.testing.assert_array_equal(times, table[:, 0])
    np.testing.assert_array_equal(values, table[:, 1:].T)


BAKE_CASES = [
    pytest.param(0.0, 2.0, 24.0, id="keys-at-24"),
    pytest.param(-1.0, 5.0, 30.0, id="into-infinities"),
    pytest.param(0.3, 0.3, 60.0, id="one-sample"),
    pytest.param(0.0, 1.0, 7.5, id="fractional-fps"),
    pytest.param(0.1, 1.0, 10.0, id="end-between-frames-rounding"),
]


@pytest.mark.parametrize("start,end,fps", BAKE_CASES)
def test_bake_equals_evaluation_per_sample(bouncy, start, end, fps):
    times, values = bouncy.bake(start, end, fps)
    assert times.dtype == values.dtype == np.float64
    assert len(times) == int(np.floor((end - start) * fps + 1e-9)) + 1
    np.testing.assert_array_equal(times, start + np.arange(len(times)) / fps)
    assert values.tolist() == [bouncy.evaluate(t) for t in times.tolist()]


def test_bake_defaults_to_the_key_range(bouncy):
    times, _ = bouncy.bake(fps=4)
    assert (times[0], times[-1]) == (0.0, 2.0)


def test_set_bake_holds_each_curves_bake(bouncy):
    other = make_curve("other", [(1.0, 5.0), (3.0, 6.0)], T.LINEAR, T.LINEAR)
    times, values = keelanim.CurveSet([bouncy, other]).bake(fps=12)
    assert values.shape == (2, len(times))
    for row, curve in zip(values, [bouncy, other]):
        np.testing.assert_array_equal(row, curve.bake(0.0, 3.0, 12)[1])


@pytest.mark.parametrize("shape", [(7,), (2, 3), (1, 1, 4), ()])
def test_array_evaluation_keeps_the_shape(bouncy, shape):
    times = np.linspace(-1.0, 3.0, int(np.prod(shape))).reshape(shape)
    values = bouncy.evaluate(times)
    assert values.shape == shape
    assert values.ravel().tolist() == [bouncy.evaluate(float(t)) for t in times.ravel()]


def test_sequences_and_integer_arrays_evaluate_as_seconds(bouncy):
    expected = [bouncy.evaluate(float(t)) for t in (0, 1, 2)]
    assert bouncy.evaluate([0, 1, 2]).tolist() == expected
    assert bouncy.evaluate(np.arange(3)).tolist() == expected
    assert bouncy.evaluate(1) == expected[1]


def test_ticks_evaluate_exactly_on_a_tick_curve():
    curve = make_curve("ticks", [(0.0, 0.0), (1.0, 6000.0)], T.LINEAR, T.LINEAR, time_form=keelanim.TimeForm.TICKS)
    assert [key.ticks for key in curve.keys] == [0, 6000]
    assert curve.evaluate(keelanim.Ticks(1)) == 1.0
    assert curve.evaluate(keelanim.Ticks(4321)) == 4321.0
    assert curve.key_at(keelanim.Ticks(6000)) == curve.keys[1]


def test_rotation_channels_evaluate_through_their_triple():
    # Turner turns a quarter turn about y in one second, keyed as quaternions.
    curves = keelanim.import_gltf(GLTF_SAMPLES / "cubicspline.gltf")
    channel = curves["Turner/rotation/y"]
    assert (channel.rotation_axis, channel.rotation_mode) == ("y", keelanim.RotationMode.QUATERNION_SLERP)
    assert channel.keys.values.tolist() == pytest.approx([0.0, np.sqrt(0.5)])
    times, angles = channel.bake(0.0, 1.0, 4)
    np.testing.assert_allclose(angles, times * np.pi / 2, atol=ANGLE_TOLERANCE)
    del curves  # the channel keeps its triple
    np.testing.assert_array_equal(channel.bake(0.0, 1.0, 4)[1], angles)
