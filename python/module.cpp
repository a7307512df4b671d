// The keelanim Python module: the engine's curves for technical directors.

#include "bindings.h"

#include <keelanim/base/relmark.h>

PYBIND11_MODULE(_keelanim, module)
{
    module.doc() = "Keelanim animation curves: build, evaluate, bake, edit with undo, and read and write the "
                   "keelcurve tool's files.";
    bindEnums(module);
    bindCurves(module);
    bindUndo(module);
    bindCurveSets(module);
    module.attr("__version__") = relmarkVersion();
}
