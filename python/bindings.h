#pragma once

#include "pyUndo.h"

#include <pybind11/pybind11.h>

#include <memory>
#include <vector>

// The parts of the keelanim module, each registering its Python names.
// Order matters: enums and Ticks come first, since the others' signatures
// name them.

namespace py = pybind11;

void bindEnums(py::module_& module);      // bindEnums.cpp: the enums and Ticks
void bindCurves(py::module_& module);     // bindCurves.cpp: Key, Keys, Curve, Change, Subscription
void bindUndo(py::module_& module);       // bindUndo.cpp: UndoStep, Modification
void bindCurveSets(py::module_& module);  // bindCurveSets.cpp: CurveSet and the files
class TpyCurve;
// bindEditing.cpp: batch moves, scales, soft selection, retime, selections
// and the clipboard, as Curve methods and classes of their own.
void bindEditing(py::module_& module, py::class_<TpyCurve, std::shared_ptr<TpyCurve>>& curve);

// A keelanim.Modification over `curves` whose step, once done, joins
// `history`; it keeps `owner` (the Curve or CurveSet holding the history)
// alive.
py::object makeModification(py::object owner, TpyHistory& history, std::vector<std::shared_ptr<TparamCurve>> curves);
