"""Shared fixtures of the keelanim module's tests.

ctest runs them with the configured interpreter, PYTHONPATH at the build
tree's package and KEELCURVE naming the built keelcurve tool.
"""

import os
import pathlib
import subprocess

import keelanim
import pytest

SOURCE_DIR = pathlib.Path(__file__).resolve().parents[2]
GLTF_SAMPLES = SOURCE_DIR / "tests" / "tools" / "data"
ASSIMP_GLTF = pathlib.Path("/usr/share/assimp/models/glTF2")


def keelcurve_binary() -> pathlib.Path:
    """The keelcurve tool of the build tree the module comes from."""
    given = os.environ.get("KEELCURVE")
    if given:
        return pathlib.Path(given)
    build = pathlib.Path(keelanim.__file__).resolve().parents[2]
    return build / "tools" / "keelcurve" / "keelcurve"


def run_keelcurve(*args: str) -> str:
    """Runs the tool and answers its standard output; fails the test on any error."""
    done = subprocess.run([str(keelcurve_binary()), *args], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stderr
    return done.stdout


def make_curve(name, keys, in_type=keelanim.TangentType.AUTO, out_type=keelanim.TangentType.AUTO, **settings):
    """A curve with (time, value) keys of the given types and settings (pre_infinity=..., ...)."""
    form = settings.pop("time_form", keelanim.TimeForm.SECONDS)
    curve = keelanim.Curve(name, form)
    for time, value in keys:
        curve.add(time, value, in_type, out_type)
    for setting, value in settings.items():
        setattr(curve, setting, value)
    return curve


def curve_state(curve) -> str:
    """Everything a curve file keeps of a curve: keys, tangents, types, flags, settings."""
    return keelanim.CurveSet([curve]).to_json()


@pytest.fixture
def bouncy():
    """Four keys over two seconds, cycling after the last key."""
    return make_curve(
        "bouncy", [(0.0, 0.0), (0.5, 2.0), (1.25, -1.0), (2.0, 0.5)], post_infinity=keelanim.Infinity.CYCLE
    )
