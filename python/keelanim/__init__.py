"""Keelanim animation curves for Python.

Build curves, evaluate and bake them to numpy arrays, edit keys with undo,
listen to changes, and read and write the keelcurve tool's JSON curve files
and glTF animation::

    import keelanim
    curve = keelanim.Curve("bounce")
    curve.add(0.0, 0.0)
    curve.add(1.0, 2.0)
    times, values = curve.bake(0.0, 1.0, fps=24)
"""

from ._keelanim import (
    Change,
    ChangeKind,
    Clipboard,
    CopyOption,
    Curve,
    CurveSet,
    CutOption,
    Falloff,
    Infinity,
    Key,
    Keys,
    Modification,
    MoveOption,
    Part,
    PasteOption,
    RotationMode,
    Selection,
    Subscription,
    TangentType,
    Ticks,
    TimeForm,
    UndoStep,
    __version__,
    import_gltf,
    load_json,
    save_json,
)

__all__ = [
    "Change",
    "ChangeKind",
    "Clipboard",
    "CopyOption",
    "Curve",
    "CurveSet",
    "CutOption",
    "Falloff",
    "Infinity",
    "Key",
    "Keys",
    "Modification",
    "MoveOption",
    "Part",
    "PasteOption",
    "RotationMode",
    "Selection",
    "Subscription",
    "TangentType",
    "Ticks",
    "TimeForm",
    "UndoStep",
    "__version__",
    "import_gltf",
    "load_json",
    "save_json",
]
