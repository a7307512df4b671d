"""Edits made in a modification undo to the exact curve they started from
and redo to the exact edited one, and key views follow their keys through
both."""

import keelanim
import pytest
from conftest import curve_state, make_curve

T = keelanim.TangentType


def edit_value(curve):
    curve.keys[1].value = 7.5


def edit_time_past_a_neighbour(curve):
    curve.keys[1].time = 1.5


def edit_add(curve):
    curve.add(0.75, -3.0, T.LINEAR, T.LINEAR)


def edit_replace(curve):
    curve.add(0.5, 9.0)


def edit_insert_keeping_shape(curve):
    curve.insert(0.9)


def edit_insert_value(curve):
    curve.insert(0.2, 4.0, T.FLAT, T.FLAT)


def edit_remove(curve):
    curve.remove(2)


def edit_types(curve):
    curve.keys[1].out_type = T.STEP
    curve.keys[2].in_type = T.LINEAR


def edit_tangent(curve):
    curve.keys[0].out_tangent = (1.0, 4.0)


def edit_flags(curve):
    curve.keys[1].breakdown = True
    curve.keys[2].tangents_locked = False
    curve.keys[3].locked = True


def edit_infinities(curve):
    curve.pre_infinity = keelanim.Infinity.OSCILLATE
    curve.post_infinity = keelanim.Infinity.LINEAR


def edit_weighting(curve):
    curve.weighted = not curve.weighted


def edit_many(curve):
    for key in curve.keys:
        key.value = key.value * 2.0 + 1.0
    curve.remove(0)
    curve.add(3.0, 1.0)
    curve.keys[-1].time = 2.75


EDITS = [
    edit_value,
    edit_time_past_a_neighbour,
    edit_add,
    edit_replace,
    edit_insert_keeping_shape,
    edit_insert_value,
    edit_remove,
    edit_types,
    edit_tangent,
    edit_flags,
    edit_infinities,
    edit_weighting,
    edit_many,
]


@pytest.mark.parametrize("time_form", [keelanim.TimeForm.SECONDS, keelanim.TimeForm.TICKS])
@pytest.mark.parametrize("edit", EDITS, ids=lambda edit: edit.__name__)
def test_step_undoes_and_redoes_exactly(bouncy, edit, time_form):
    curve = make_curve("c", [(0.0, 0.0), (0.5, 2.0), (1.25, -1.0), (2.0, 0.5)], time_form=time_form)
    before = curve_state(curve)
    with curve.modification() as step:
        edit(curve)
    after = curve_state(curve)
    assert after != before and len(step) > 0
    for _ in range(2):
        step.undo()
        assert curve_state(curve) == before
        step.redo()
        assert curve_state(curve) == after


def test_key_views_follow_their_keys_through_undo_and_redo(bouncy):
    first, second, third = bouncy.keys[0], bouncy.keys[1], bouncy.keys[2]
    with bouncy.modification():
        bouncy.remove(second)
        first.time = 1.5  # now after the third key
    assert (second.present, second.index, second.time, second.value) == (False, None, 0.5, 2.0)
    assert (first.index, third.index) == (1, 0)
    with pytest.raises(ValueError, match="not on its curve"):
        second.value = 1.0
    bouncy.undo()
    assert [key.index for key in (first, second, third)] == [0, 1, 2]
    assert second.present and second.in_type == bouncy.keys[1].in_type
    bouncy.redo()
    assert (first.index, second.present, third.index) == (1, False, 0)


def test_history_undoes_steps_last_first_and_a_new_step_drops_the_redo(bouncy):
    states = [curve_state(bouncy)]
    for value in (10.0, 20.0, 30.0):
        with bouncy.modification():
            bouncy.keys[0].value = value
        states.append(curve_state(bouncy))
    assert bouncy.undo() and bouncy.undo()
    assert curve_state(bouncy) == states[1]
    assert bouncy.redo()
    assert curve_state(bouncy) == states[2]
    with bouncy.modification():
        bouncy.keys[0].value = 99.0
    assert not bouncy.can_redo and not bouncy.redo()
    assert bouncy.undo() and curve_state(bouncy) == states[2]


def test_an_exception_in_the_block_rolls_the_step_back(bouncy):
    before = curve_state(bouncy)
    with pytest.raises(ZeroDivisionError):
        with bouncy.modification() as step:
            bouncy.keys[0].value = 5.0
            bouncy.remove(3)
            1 / 0
    assert step.undone and curve_state(bouncy) == before and not bouncy.can_undo


def test_a_set_modification_spans_its_curves(bouncy):
    other = make_curve("other", [(0.0, 1.0), (1.0, 2.0)])
    curves = keelanim.CurveSet([bouncy, other])
    before = curves.to_json()
    with curves.modification():
        bouncy.keys[0].value = -4.0
        other.remove(0)
    after = curves.to_json()
    assert curves.undo() and curves.to_json() == before
    assert curves.redo() and curves.to_json() == after


@pytest.mark.parametrize(
    "misuse,message",
    [
        (lambda step: step.redo(), "cannot redo a step that is done"),
        (lambda step: (step.undo(), step.undo()), "cannot undo a step that is undone"),
    ],
)
def test_steps_refuse_replays_in_the_wrong_state(bouncy, misuse, message):
    with bouncy.modification() as step:
        bouncy.keys[0].value = 3.0
    with pytest.raises(RuntimeError, match=message):
        misuse(step)


def test_a_curve_takes_one_modification_at_a_time(bouncy):
    with bouncy.modification():
        with pytest.raises(RuntimeError, match="another modification"):
            with keelanim.CurveSet([bouncy]).modification():
                pass


def test_steps_keep_their_curves_alive():
    curve = make_curve("kept", [(0.0, 0.0), (1.0, 1.0)])
    key = curve.keys[1]
    with curve.modification() as step:
        key.value = 2.0
    del curve  # the step still holds the engine curve; the Python curve is gone
    step.undo()
    step.redo()
    with pytest.raises(ReferenceError):
        key.value
