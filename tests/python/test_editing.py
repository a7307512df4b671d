"""Editing beyond single keys: batch moves and scales, soft selection,
retime, selections and the clipboard, each undoable in a modification."""

import keelanim
import numpy as np
import pytest
from conftest import make_curve

EXACT = 1e-6
SHAPE = 1e-4
RAMP = [(0.0, 0.0), (1.0, 10.0), (2.0, 20.0), (3.0, 30.0), (4.0, 40.0)]


def state(curve):
    return curve.to_json() if hasattr(curve, "to_json") else keelanim.CurveSet([curve]).to_json()


def ramp(form=keelanim.TimeForm.SECONDS):
    return make_curve("ramp", RAMP, keelanim.TangentType.LINEAR, keelanim.TangentType.LINEAR, time_form=form)


def times_and_values(curve):
    return [(round(key.time, 4), round(key.value, 4)) for key in curve.keys]


@pytest.mark.parametrize("form", [keelanim.TimeForm.SECONDS, keelanim.TimeForm.TICKS])
def test_a_batch_move_undoes_and_redoes(form):
    curve = ramp(form)
    before = state(curve)
    with curve.modification() as step:
        curve.move_keys([curve.keys[1], curve.keys[2]], dt=0.5, dv=1.0)
    assert times_and_values(curve)[1:3] == [(1.5, 11.0), (2.5, 21.0)]
    after = state(curve)
    step.undo()
    assert state(curve) == before
    step.redo()
    assert state(curve) == after


@pytest.mark.parametrize(
    "falloff, weights",
    [
        (keelanim.Falloff.LINEAR, [1.0, 2 / 3, 1 / 3, 0.0]),
        (keelanim.Falloff.QUADRATIC, [1.0, 4 / 9, 1 / 9, 0.0]),
    ],
)
def test_soft_selection_fades_with_distance(falloff, weights):
    curve = ramp()
    keys = list(curve.keys)[:4]
    curve.move_keys_with_falloff(keys, keys[0], dv=3.0, falloff=falloff)
    for key, weight, (_, value) in zip(keys, weights, RAMP):
        assert key.value == pytest.approx(value + 3.0 * weight, abs=EXACT)


def test_scales_keep_the_line():
    curve = ramp()
    curve.scale_keys(list(curve.keys)[1:3], time_scale=0.5, time_pivot=1.0, value_scale=2.0, value_pivot=10.0)
    # The keys after the scaled ones shift to keep clear of them.
    assert times_and_values(curve) == [(0.0, 0.0), (1.0, 10.0), (1.5, 30.0), (2.5, 30.0), (3.5, 40.0)]
    curve.scale_region(2.5, 3.5, 2.5, 5.5)
    assert [key.time for key in curve.keys][-2:] == pytest.approx([2.5, 5.5])


def test_a_retime_keeps_the_shape_between_keys():
    curve = make_curve("wave", [(0.0, 0.0), (1.0, 2.0), (2.0, -1.0), (3.0, 1.0), (4.0, 0.5)])
    old = make_curve("wave", [(0.0, 0.0), (1.0, 2.0), (2.0, -1.0), (3.0, 1.0), (4.0, 0.5)])
    curve.retime([curve.keys[1], curve.keys[2]], scale=2.0, pivot=1.0, ripple_offset=1.0)
    assert [key.time for key in curve.keys] == pytest.approx([0.0, 1.0, 3.0, 4.0, 5.0])
    for t in np.linspace(1.0, 3.0, 9):
        assert curve.evaluate(t) == pytest.approx(old.evaluate(1.0 + (t - 1.0) / 2.0), abs=SHAPE)


def test_selections_combine():
    curve = ramp()
    a = keelanim.Selection(curve)
    b = keelanim.Selection(curve)
    for key in list(curve.keys)[:3]:
        a.add(key)
    for key in list(curve.keys)[2:]:
        b.add(key)
    assert [key.time for key in (a | b).keys] == [0.0, 1.0, 2.0, 3.0, 4.0]
    assert [key.time for key in (a & b).keys] == [2.0]
    assert [key.time for key in (a - b).keys] == [0.0, 1.0]
    with pytest.raises(ValueError):
        a | keelanim.Selection(ramp())


@pytest.mark.parametrize(
    "option, start, end, expected",
    [
        (keelanim.PasteOption.INSERT, 10.0, None, [(10.0, 10.0), (11.0, 20.0)]),
        (keelanim.PasteOption.MERGE, 10.0, None, [(10.0, 10.0), (11.0, 20.0)]),
        (keelanim.PasteOption.SCALE_MERGE, 10.0, 14.0, [(10.0, 10.0), (14.0, 20.0)]),
        (keelanim.PasteOption.FIT_REPLACE, 10.0, 12.0, [(10.0, 10.0), (12.0, 20.0)]),
    ],
)
def test_pasted_blocks_land_where_asked(option, start, end, expected):
    source = ramp()
    target = ramp()
    clipboard = keelanim.Clipboard()
    assert clipboard.copy(source, 1.0, 2.0) == 1
    assert clipboard.paste(target, start, end, option) == 1
    assert times_and_values(target)[-2:] == expected


def test_a_cut_undoes_and_bad_pastes_refuse():
    curve = ramp()
    before = state(curve)
    clipboard = keelanim.Clipboard()
    with curve.modification() as step:
        assert clipboard.cut(curve, 1.0, 2.0, keelanim.CutOption.CLOSE) == 1
    assert times_and_values(curve) == [(0.0, 0.0), (2.0, 30.0), (3.0, 40.0)]
    step.undo()
    assert state(curve) == before
    with pytest.raises(ValueError):
        keelanim.Clipboard().paste(curve, 1.0)
    with pytest.raises(ValueError):
        clipboard.paste(ramp(keelanim.TimeForm.TICKS), 1.0)
    with pytest.raises(ValueError):
        clipboard.paste(curve, float("nan"))
    with pytest.raises(ValueError):
        clipboard.paste(curve, 1.0, 1.0, keelanim.PasteOption.SCALE_INSERT)
    other = ramp()
    with pytest.raises(ValueError):
        curve.move_keys([other.keys[0]], dt=1.0)
    with pytest.raises(ValueError):
        curve.move_keys([curve.keys[0]], dt=float("inf"))
