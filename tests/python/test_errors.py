"""Bad input raises a Python exception with a clear message and leaves the
curve as it was; key views outliving their curve raise, never crash."""

import gc
import math
import sys
import threading
import time

import keelanim
import numpy as np
import pytest
from conftest import curve_state, make_curve

NAN = float("nan")
INF = float("inf")

BAD_CALLS = [
    ("key index", lambda c: c.keys[4], IndexError, "key index 4 is out of range for 4 keys"),
    ("negative key index", lambda c: c.keys[-5], IndexError, "out of range"),
    ("remove index", lambda c: c.remove(9), IndexError, "out of range"),
    ("NaN time", lambda c: c.add(NAN, 1.0), ValueError, "the time is NaN"),
    ("NaN value", lambda c: c.add(1.0, NAN), ValueError, "the value is NaN"),
    ("infinite value", lambda c: c.add(1.0, INF), ValueError, "not finite"),
    ("time beyond float", lambda c: c.add(1e300, 1.0), ValueError, "not finite"),
    ("NaN evaluation", lambda c: c.evaluate(NAN), ValueError, "the time is NaN"),
    ("NaN in an array", lambda c: c.evaluate(np.array([0.0, NAN])), ValueError, "time 1 is NaN"),
    ("NaN key value", lambda c: setattr(c.keys[0], "value", NAN), ValueError, "NaN"),
    ("NaN key time", lambda c: setattr(c.keys[0], "time", NAN), ValueError, "NaN"),
    ("NaN tangent", lambda c: setattr(c.keys[0], "in_tangent", (1.0, NAN)), ValueError, "NaN"),
    ("occupied time", lambda c: setattr(c.keys[0], "time", 0.5), ValueError, "another key lies at 0.5"),
    ("insert on a key", lambda c: c.insert(1.25), ValueError, "a key lies at 1.25"),
    ("foreign key", lambda c, x=make_curve("x", [(0.0, 0.0)]): c.remove(x.keys[0]), ValueError, "not on this curve"),
    ("NaN bake", lambda c: c.bake(0.0, NAN, 24), ValueError, "end is NaN"),
    ("zero fps", lambda c: c.bake(0.0, 1.0, 0.0), ValueError, "fps must be positive"),
    ("reversed bake", lambda c: c.bake(2.0, 1.0, 24), ValueError, "comes before the start"),
    ("huge bake", lambda c: c.bake(0.0, 1e9, 1e3), ValueError, "too many samples"),
    ("string time", lambda c: c.evaluate("1.0"), TypeError, "not a string"),
    ("object time", lambda c: c.evaluate(object()), TypeError, ""),
    ("string times", lambda c: c.evaluate(["a"]), TypeError, "numbers of seconds"),
    ("string value", lambda c: c.add(0.0, "one"), TypeError, ""),
    ("int for an enum", lambda c: setattr(c, "pre_infinity", 3), TypeError, ""),
    ("ticks too large", lambda c: keelanim.Ticks(2**31), ValueError, "32-bit range"),
    ("seconds beyond ticks", lambda c: keelanim.Ticks.from_seconds(1e6), ValueError, "tick range"),
]


@pytest.mark.parametrize("call,error,message", [case[1:] for case in BAD_CALLS], ids=[c[0] for c in BAD_CALLS])
def test_bad_input_raises_and_changes_nothing(bouncy, call, error, message):
    before = curve_state(bouncy)
    with pytest.raises(error, match=message):
        call(bouncy)
    assert curve_state(bouncy) == before


def test_infinite_times_evaluate_into_the_infinities(bouncy):
    bouncy.pre_infinity = keelanim.Infinity.CONSTANT
    assert bouncy.evaluate(-INF) == bouncy.keys[0].value
    assert math.isfinite(bouncy.evaluate(INF))


@pytest.mark.parametrize(
    "read",
    [
        lambda key: key.value,
        lambda key: key.time,
        lambda key: key.index,
        lambda key: key.in_tangent,
        lambda key: key.curve,
        lambda key: setattr(key, "value", 1.0),
    ],
)
def test_a_key_view_outliving_its_curve_raises(read):
    curve = make_curve("gone", [(0.0, 1.0), (1.0, 2.0)])
    key = curve.keys[1]
    del curve
    gc.collect()
    assert not key.present
    assert "deleted curve" in repr(key)
    with pytest.raises(ReferenceError, match="no longer exists"):
        read(key)


def test_a_key_removed_without_undo_reads_as_it_was(bouncy):
    key = bouncy.keys[2]
    bouncy.remove(2)
    assert (key.present, key.index, key.time, key.value) == (False, None, 1.25, -1.0)
    with pytest.raises(ReferenceError, match="was deleted"):
        key.in_type
    assert "removed" in repr(key)


def test_sets_and_views_keep_curves_alive_while_they_hold_them():
    curves = keelanim.CurveSet([make_curve("held", [(0.0, 1.0)])])
    keys = curves["held"].keys
    key = keys[0]
    del curves
    gc.collect()
    assert key.present and keys[0].value == 1.0


def test_change_callbacks_hear_the_curves_messages(bouncy):
    heard = []
    subscription = bouncy.on_change(lambda change: heard.append((change.kind, change.key, change.curve)))
    bouncy.keys[1].value = 3.0
    bouncy.add(3.0, 1.0)
    bouncy.keys[0].breakdown = True
    kinds = [kind for kind, _, _ in heard]
    assert keelanim.ChangeKind.KEY_CHANGED in kinds and keelanim.ChangeKind.KEY_INSERTED in kinds
    assert keelanim.ChangeKind.BREAKDOWN_CHANGED in kinds
    assert all(curve is bouncy for _, _, curve in heard)
    assert any(key == bouncy.keys[-1] for _, key, _ in heard)
    assert subscription.cancel() and not subscription.active and not subscription.cancel()
    heard.clear()
    bouncy.keys[1].value = 4.0
    assert heard == []


def test_a_raising_callback_is_reported_and_the_edit_stands(bouncy, monkeypatch):
    reported = []
    monkeypatch.setattr(sys, "unraisablehook", reported.append)
    with bouncy.on_change(lambda change: 1 / 0):
        bouncy.keys[0].value = 6.0
    assert bouncy.keys[0].value == 6.0
    assert reported and reported[0].exc_type is ZeroDivisionError


def test_a_curve_being_baked_refuses_other_threads():
    curve = make_curve("busy", [(0.0, 0.0), (1.0, 1.0)])
    refusals = []
    started = threading.Event()
    finished = threading.Event()

    def edit_while_baking():
        started.wait()
        flip = 0
        while not finished.is_set():
            flip ^= 1
            try:
                # A new value each time: setting the value a key has is no edit.
                curve.keys[0].value = 0.25 + 0.5 * flip
            except RuntimeError as error:
                refusals.append(str(error))

    editor = threading.Thread(target=edit_while_baking)
    editor.start()
    started.set()
    # Bakes release the GIL, so the editor meets one sooner or later; the
    # deadline only bounds a machine too busy to schedule it.
    deadline = time.monotonic() + 20.0
    while not refusals and time.monotonic() < deadline:
        times, values = curve.bake(0.0, 1.0, 2e5)
        assert np.all(np.isfinite(values))
    finished.set()
    editor.join()
    assert refusals and all("being baked on another thread" in message for message in refusals)
    curve.keys[0].value = 0.5
    assert curve.evaluate(0.0) == 0.5
