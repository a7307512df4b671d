"""Type stubs of the keelanim extension module.

Times are float seconds unless given as Ticks (6000 per second); a TICKS
curve rounds seconds to the nearest tick. Errors: ValueError for NaN,
non-finite input and refused edits, IndexError for key indices,
ReferenceError for a key view whose curve is gone, RuntimeError for a curve
used while another thread bakes it.
"""

import enum
import os
from collections.abc import Callable, Iterable, Iterator, Sequence
from typing import overload

import numpy as np
import numpy.typing as npt

__version__: str

_Time = float | Ticks
_Path = str | os.PathLike[str]
_Float64Array = npt.NDArray[np.float64]

class TangentType(enum.IntEnum):
    """How a key's tangent on one side is computed; GLOBAL takes the preference's default."""

    GLOBAL = 0
    FIXED = 1
    LINEAR = 2
    FLAT = 3
    SMOOTH = 4
    STEP = 5
    SLOW = 6
    FAST = 7
    OLD_CLAMPED = 8
    SPLINE = 9
    CLAMPED = 10
    HERMITE = 11
    BEZIER = 12
    SINE = 13
    PARABOLIC = 14
    LOG = 15
    PLATEAU = 16
    STEP_NEXT = 17
    AUTO = 18

class TimeForm(enum.IntEnum):
    """How a curve stores key times: float seconds or 32-bit ticks."""

    SECONDS = 0
    TICKS = 1

class Infinity(enum.IntEnum):
    """How a curve goes on before its first and after its last key."""

    CONSTANT = 0
    LINEAR = 1
    CYCLE = 3
    CYCLE_RELATIVE = 4
    OSCILLATE = 5

class RotationMode(enum.IntEnum):
    """How the three channels of a rotation triple are interpolated."""

    EULER = 0
    QUATERNION_TANGENT_DEPENDENT = 3
    QUATERNION_SLERP = 4
    QUATERNION_CUBIC = 5

class MoveOption(enum.IntEnum):
    """What a move may do to the keys it does not move."""

    BETWEEN_NEIGHBOURS = 0
    REPLACE = 2
    ANYWHERE = 5

class Falloff(enum.IntEnum):
    """How a soft-selection move fades with distance."""

    LINEAR = 0
    QUADRATIC = 1

class CopyOption(enum.IntEnum):
    """What a copy takes besides the keys inside the range."""

    KEYS = 0
    WITH_RANGE_ENDS = 1

class CutOption(enum.IntEnum):
    """What a cut does to the keys after the range."""

    KEYS = 0
    CLOSE = 1
    JOIN = 2
    RANGE = 3
    RANGE_CLOSE = 4
    RANGE_JOIN = 5
    CLOSE_ON_KEYS = 6

class PasteOption(enum.IntEnum):
    """How pasted keys meet the keys already there."""

    INSERT = 0
    REPLACE = 2
    MERGE = 3
    SCALE_INSERT = 4
    SCALE_REPLACE = 5
    SCALE_MERGE = 6
    FIT_INSERT = 7
    FIT_REPLACE = 8
    FIT_MERGE = 9

class Part(enum.IntEnum):
    """Which part of a key a selection picks."""

    KEY = 0
    IN_TANGENT = 1
    OUT_TANGENT = 2

class ChangeKind(enum.IntEnum):
    """What a change callback is told happened."""

    KEY_INSERTED = 0
    KEY_REMOVED = 1
    KEY_CHANGED = 2
    TANGENT_CHANGED = 3
    COLOR_CHANGED = 4
    WEIGHTING_CHANGED = 5
    LOCK_CHANGED = 6
    BREAKDOWN_CHANGED = 7

class Ticks:
    """A time in ticks (6000 per second), exact on a TICKS curve."""

    def __init__(self, ticks: int) -> None:
        """Ticks from a count; ValueError beyond the signed 32-bit range."""
    @staticmethod
    def from_seconds(seconds: float) -> Ticks:
        """The nearest tick to a time in seconds; ValueError for NaN and times beyond the range."""
    @property
    def ticks(self) -> int:
        """The count of ticks."""
    @property
    def seconds(self) -> float:
        """The time in seconds."""
    def __int__(self) -> int: ...
    def __index__(self) -> int: ...
    def __hash__(self) -> int: ...
    def __eq__(self, other: object) -> bool: ...
    def __lt__(self, other: Ticks) -> bool: ...
    def __le__(self, other: Ticks) -> bool: ...

class Key:
    """A view of one key that follows it across re-indexing, removal and undo.

    Edits go through the curve (undoable in a modification); ValueError when
    the key is not on its curve. ReferenceError once the curve is gone.
    """

    @property
    def curve(self) -> Curve:
        """The curve the key belongs to."""
    @property
    def present(self) -> bool:
        """Whether the key is on its curve now."""
    @property
    def index(self) -> int | None:
        """The key's index, or None while it is not on its curve."""
    @property
    def time(self) -> float:
        """The key's time in seconds; setting it moves the key (ValueError when another key lies there)."""
    @time.setter
    def time(self, time: _Time) -> None: ...
    @property
    def ticks(self) -> int:
        """The key's time in ticks (nearest tick on a SECONDS curve)."""
    @property
    def value(self) -> float:
        """The key's value."""
    @value.setter
    def value(self, value: float) -> None: ...
    @property
    def in_type(self) -> TangentType:
        """The in-tangent's type; setting it recomputes the tangents around the key."""
    @in_type.setter
    def in_type(self, type: TangentType) -> None: ...
    @property
    def out_type(self) -> TangentType:
        """The out-tangent's type; it decides the span that starts at the key."""
    @out_type.setter
    def out_type(self, type: TangentType) -> None: ...
    @property
    def in_tangent(self) -> tuple[float, float]:
        """(time, value) of the in-tangent: three times the Bezier handle. Setting it makes the side FIXED."""
    @in_tangent.setter
    def in_tangent(self, vector: tuple[float, float]) -> None: ...
    @property
    def out_tangent(self) -> tuple[float, float]:
        """(time, value) of the out-tangent: three times the Bezier handle. Setting it makes the side FIXED."""
    @out_tangent.setter
    def out_tangent(self, vector: tuple[float, float]) -> None: ...
    @property
    def breakdown(self) -> bool:
        """Whether the key is a breakdown key."""
    @breakdown.setter
    def breakdown(self, on: bool) -> None: ...
    @property
    def locked(self) -> bool:
        """Whether the key is locked."""
    @locked.setter
    def locked(self, on: bool) -> None: ...
    @property
    def tangents_locked(self) -> bool:
        """Whether the in- and out-tangent move together."""
    @tangents_locked.setter
    def tangents_locked(self, on: bool) -> None: ...
    @property
    def weights_locked(self) -> bool:
        """Whether the tangents keep their weights when dragged."""
    @weights_locked.setter
    def weights_locked(self, on: bool) -> None: ...
    def __eq__(self, other: object) -> bool: ...

class Keys(Sequence[Key]):
    """The keys of a curve in time order: len(), indexing, slicing, iteration."""

    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int) -> Key: ...
    @overload
    def __getitem__(self, index: slice) -> list[Key]: ...
    def __iter__(self) -> Iterator[Key]:
        """Iterates over views of the keys as they are when iteration begins."""
    @property
    def times(self) -> _Float64Array:
        """Every key's time in seconds."""
    @property
    def values(self) -> _Float64Array:
        """Every key's value."""

class Change:
    """One change a curve announced to its change callbacks."""

    @property
    def kind(self) -> ChangeKind:
        """What changed."""
    @property
    def curve(self) -> Curve:
        """The curve that changed."""
    @property
    def key(self) -> Key | None:
        """The key concerned while it is on the curve, else None."""

class Subscription:
    """A change callback's registration; cancel() or the end of a with block stops it."""

    @property
    def active(self) -> bool:
        """Whether the callback is still called."""
    def cancel(self) -> bool:
        """Stops the callbacks; False when they had stopped already."""
    def __enter__(self) -> Subscription: ...
    def __exit__(self, *args: object) -> None: ...

class UndoStep:
    """The edits of one modification; undo() and redo() replay them (RuntimeError in the wrong state)."""

    def undo(self) -> None:
        """Puts the curves back as they were before the step."""
    def redo(self) -> None:
        """Makes the step's edits again."""
    @property
    def state(self) -> str:
        """'new', 'open', 'done' or 'undone'."""
    @property
    def undone(self) -> bool:
        """Whether the step is undone."""
    def __len__(self) -> int:
        """The number of undo records the step holds."""

class Modification:
    """Records the edits of its with block as one UndoStep (given by 'as')."""

    def __enter__(self) -> UndoStep: ...
    def __exit__(self, type: object, value: object, traceback: object) -> bool: ...

class Curve:
    """An animation curve: keys in time order, evaluated between and beyond them."""

    def __init__(self, name: str = "", time_form: TimeForm = TimeForm.SECONDS) -> None:
        """An empty curve keeping times as float seconds or as ticks."""
    @property
    def keys(self) -> Keys:
        """The keys in time order (a live view)."""
    def add(
        self, time: _Time, value: float, in_type: TangentType = TangentType.GLOBAL,
        out_type: TangentType = TangentType.GLOBAL
    ) -> Key:
        """Adds a key at a time and answers it; a key already there takes the new data."""
    def insert(
        self, time: _Time, value: float | None = None, in_type: TangentType = TangentType.GLOBAL,
        out_type: TangentType = TangentType.GLOBAL
    ) -> Key:
        """Inserts a new key and answers it; without a value it keeps the curve's shape.

        ValueError where a key lies already.
        """
    @overload
    def remove(self, index: int) -> None:
        """Removes the key at an index (negative counts from the end)."""
    @overload
    def remove(self, key: Key) -> None:
        """Removes a key given by its view."""
    def key_at(self, time: _Time) -> Key | None:
        """The key at a time (within 1e-5 s, or the same tick), or None."""
    @property
    def name(self) -> str:
        """The curve's name, as files and plots know it."""
    @name.setter
    def name(self, name: str) -> None: ...
    @property
    def time_form(self) -> TimeForm:
        """How the curve stores key times."""
    @property
    def pre_infinity(self) -> Infinity:
        """How the curve goes on before its first key."""
    @pre_infinity.setter
    def pre_infinity(self, type: Infinity) -> None: ...
    @property
    def post_infinity(self) -> Infinity:
        """How the curve goes on after its last key."""
    @post_infinity.setter
    def post_infinity(self, type: Infinity) -> None: ...
    @property
    def weighted(self) -> bool:
        """Whether spans are weighted Bezier spans (else Hermite); changing it converts the tangents."""
    @weighted.setter
    def weighted(self, weighted: bool) -> None: ...
    @property
    def is_static(self) -> bool:
        """Whether every key has the same value."""
    @property
    def rotation_axis(self) -> str | None:
        """'x', 'y' or 'z' for a channel of a rotation triple, else None."""
    @property
    def rotation_mode(self) -> RotationMode | None:
        """How a rotation triple's channel is interpolated, else None."""
    @overload
    def evaluate(self, time: _Time) -> float:
        """The value at a time (seconds or Ticks); ValueError for NaN."""
    @overload
    def evaluate(self, time: npt.ArrayLike) -> _Float64Array:
        """The values at an array (or sequence) of seconds, in its shape."""
    def bake(
        self, start: float | None = None, end: float | None = None, fps: float = 24.0
    ) -> tuple[_Float64Array, _Float64Array]:
        """(times, values) sampled at fps from start to end (the first and last key by default).

        Evaluated with the GIL released.
        """
    def modification(self) -> Modification:
        """Records the edits of this curve (and its rotation triple) in a with block as one undo step.

        An exception in the block undoes the step.
        """
    def undo(self) -> bool:
        """Undoes the last step of this curve's modifications; False when there is none."""
    def redo(self) -> bool:
        """Redoes the last undone step; False when there is none."""
    @property
    def can_undo(self) -> bool:
        """Whether undo() has a step."""
    @property
    def can_redo(self) -> bool:
        """Whether redo() has a step."""
    def on_change(self, callback: Callable[[Change], object]) -> Subscription:
        """Calls callback(change) for every change the curve announces.

        Exceptions it raises go to sys.unraisablehook. The curve holds the
        callback until the subscription is cancelled.
        """
    def copy(self) -> Curve:
        """A new curve with copies of the keys and settings (no callbacks, history or triple)."""
    def __copy__(self) -> Curve: ...
    def __deepcopy__(self, memo: dict[int, object]) -> Curve: ...
    def move_keys(
        self, keys: Sequence[Key], dt: float = 0.0, dv: float = 0.0, option: MoveOption = MoveOption.BETWEEN_NEIGHBOURS
    ) -> None:
        """Moves the keys by dt seconds and dv in value as one batch (breakdowns follow). ValueError when the curve refuses."""
    def move_keys_with_falloff(
        self, keys: Sequence[Key], grabbed: Key, dt: float = 0.0, dv: float = 0.0, falloff: Falloff = Falloff.LINEAR
    ) -> None:
        """A soft-selection drag: each key moves by the change weighted by its distance in time from the grabbed key."""
    def scale_keys(
        self,
        keys: Sequence[Key],
        time_scale: float,
        time_pivot: float = 0.0,
        value_scale: float = 1.0,
        value_pivot: float = 0.0,
    ) -> None:
        """Scales the keys from the first to the last given in time about time_pivot and in value about value_pivot."""
    def scale_region(self, old_start: _Time, old_end: _Time, new_start: _Time, new_end: _Time) -> None:
        """Maps the keys of [old_start, old_end] onto [new_start, new_end]; the keys around shift clear."""
    def retime(self, region: Sequence[Key], scale: float, pivot: _Time, ripple_offset: float) -> None:
        """Scales the region's keys in time about the pivot and ripples every later key by ripple_offset seconds."""

class CurveSet:
    """Named curves in order, as curve files keep them, with an undo history."""

    def __init__(self, curves: Iterable[Curve] = ()) -> None:
        """A set of the given curves; ValueError for an unnamed curve or a repeated name."""
    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int) -> Curve: ...
    @overload
    def __getitem__(self, name: str) -> Curve: ...
    def __iter__(self) -> Iterator[Curve]: ...
    def __contains__(self, item: str | Curve) -> bool: ...
    def __delitem__(self, name: str) -> None: ...
    @property
    def names(self) -> list[str]:
        """The curves' names, in order."""
    def add(self, curve: Curve) -> None:
        """Adds a curve; ValueError when it has no name or the set has that name."""
    def remove(self, name: str) -> None:
        """Removes the curve of a name; KeyError when none is."""
    def bake(
        self, start: float | None = None, end: float | None = None, fps: float = 24.0
    ) -> tuple[_Float64Array, _Float64Array]:
        """(times, values[curve, sample]) sampled at fps from start to end (the keys' range by default)."""
    def modification(self) -> Modification:
        """Records the edits of every curve in the set in a with block as one undo step."""
    def undo(self) -> bool:
        """Undoes the last step of the set's modifications; False when there is none."""
    def redo(self) -> bool:
        """Redoes the last undone step; False when there is none."""
    @property
    def can_undo(self) -> bool:
        """Whether undo() has a step."""
    @property
    def can_redo(self) -> bool:
        """Whether redo() has a step."""
    def to_json(self) -> str:
        """The curves as the keelcurve tool's JSON curve file."""
    @staticmethod
    def from_json(text: str) -> CurveSet:
        """The curves of a JSON curve file's text."""
    def save_json(self, path: _Path) -> None:
        """Writes the curves to a JSON curve file (whole or not at all)."""
    def plot(
        self, path: _Path, names: Sequence[str] = ..., time_range: tuple[float, float] | None = None,
        handles: bool = False, width: int = 960, height: int = 540
    ) -> None:
        """Draws the curves (those named, or all) to an .svg or .png file as the keelcurve tool's plot does."""

def load_json(path: _Path) -> CurveSet:
    """The curves of a keelcurve JSON curve file (FileNotFoundError, or ValueError naming the place)."""

def save_json(path: _Path, curves: CurveSet | Iterable[Curve]) -> None:
    """Writes a CurveSet (or named curves) to a JSON curve file."""

def import_gltf(path: _Path, time_form: TimeForm = TimeForm.SECONDS) -> CurveSet:
    """The animation of a glTF 2.0 file as curves named NODE/PATH/COMPONENT.

    The import's warnings go to the warnings module (UserWarning).
    """

class Selection:
    """Picked keys or tangents of one curve: add(), len(), keys, and | & - between selections of the same curve."""

    def __init__(self, curve: Curve) -> None:
        """An empty selection of the curve's keys."""
    def add(self, key: Key, part: Part = Part.KEY) -> None:
        """Picks a key, or one of its tangents; a whole-key pick takes over its tangent picks."""
    def __len__(self) -> int: ...
    @property
    def keys(self) -> list[Key]:
        """The picked keys still on the curve, in time order."""
    @property
    def curve(self) -> Curve:
        """The selection's curve."""
    def __or__(self, other: Selection) -> Selection: ...
    def __and__(self, other: Selection) -> Selection: ...
    def __sub__(self, other: Selection) -> Selection: ...

class Clipboard:
    """The keys of one copy or cut (a rotation triple's three curves for a channel of one), ready to paste."""

    def __init__(self) -> None: ...
    def __len__(self) -> int: ...
    def copy(self, curve: Curve, start: _Time, end: _Time, option: CopyOption = CopyOption.KEYS) -> int:
        """Copies the keys of [start, end]; answers the number of clipboard curves, 0 when nothing was copied."""
    def cut(self, curve: Curve, start: _Time, end: _Time, option: CutOption = CutOption.KEYS) -> int:
        """Copies and removes the keys of [start, end] as the option says (undoable in a modification)."""
    def paste(
        self,
        curve: Curve,
        start: _Time,
        end: _Time | None = None,
        option: PasteOption = PasteOption.INSERT,
        repetitions: int = 1,
        connect: bool = False,
        value_offset: float = 0.0,
        value_scale: float = 1.0,
    ) -> int:
        """Pastes the clipboard at start; answers the number of curves pasted. ValueError on refusal."""
