// keelanim.UndoStep and keelanim.Modification.

#include "bindings.h"
#include "pyErrors.h"

#include <utility>

namespace {

// The context manager of a modification: entering opens the step, leaving
// closes it and hands it to the history, or undoes it when the block raised.
class TpyModification {
public:
    TpyModification(py::object owner, TpyHistory& history, std::vector<std::shared_ptr<TparamCurve>> curves)
        : fOwner(std::move(owner)), fHistory(history), fStep(std::make_shared<TpyUndoStep>(std::move(curves)))
    {
    }

    std::shared_ptr<TpyUndoStep> enter()
    {
        fStep->open();
        return fStep;
    }

    bool exit(py::handle error)
    {
        fStep->close();
        if (error.is_none()) {
            fHistory.push(fStep);
        } else if (fStep->recordCount() != 0) {
            fStep->undo();
        }
        return false;
    }

private:
    py::object fOwner;  // keeps fHistory alive
    TpyHistory& fHistory;
    std::shared_ptr<TpyUndoStep> fStep;
};

char const* stateName(TpyUndoStep::Tstate state)
{
    switch (state) {
    case TpyUndoStep::Tstate::kNew: return "new";
    case TpyUndoStep::Tstate::kOpen: return "open";
    case TpyUndoStep::Tstate::kDone: return "done";
    case TpyUndoStep::Tstate::kUndone: return "undone";
    }
    return "";
}

}  // namespace

py::object makeModification(py::object owner, TpyHistory& history, std::vector<std::shared_ptr<TparamCurve>> curves)
{
    return py::cast(TpyModification(std::move(owner), history, std::move(curves)));
}

void bindUndo(py::module_& module)
{
    py::class_<TpyUndoStep, std::shared_ptr<TpyUndoStep>>(
        module, "UndoStep",
        "The edits of one modification, recorded by the engine; undo() and redo() replay them. RuntimeError in "
        "the wrong state (undo twice, redo before undo).")
        .def("undo", &TpyUndoStep::undo, "Puts the curves back as they were before the step.")
        .def("redo", &TpyUndoStep::redo, "Makes the step's edits again.")
        .def_property_readonly(
            "state", [](TpyUndoStep const& step) { return stateName(step.state()); },
            "'new', 'open', 'done' or 'undone'.")
        .def_property_readonly(
            "undone", [](TpyUndoStep const& step) { return step.state() == TpyUndoStep::Tstate::kUndone; },
            "Whether the step is undone.")
        .def("__len__", &TpyUndoStep::recordCount, "The number of undo records the step holds.")
        .def("__repr__", [](TpyUndoStep const& step) {
            return "<keelanim.UndoStep " + std::string(stateName(step.state())) + ", " +
                   std::to_string(step.recordCount()) + " records>";
        });
    py::class_<TpyModification>(module, "Modification",
                                "Records the edits of its with block as one UndoStep (given by 'as').")
        .def("__enter__", &TpyModification::enter)
        .def(
            "__exit__", [](TpyModification& self, py::handle type, py::handle, py::handle) { return self.exit(type); },
            py::arg("type"), py::arg("value"), py::arg("traceback"));
}
