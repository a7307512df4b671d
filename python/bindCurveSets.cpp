// keelanim.CurveSet and the keelcurve tool's files.

#include "bindings.h"
#include "pyCurveSet.h"
#include "pyTimeForm.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <utility>

namespace {

TpyCurveSet setOf(py::iterable const& curves)
{
    TpyCurveSet set;
    for (py::handle curve : curves) {
        set.add(curve.cast<std::shared_ptr<TpyCurve>>());
    }
    return set;
}

void bindSetContents(py::class_<TpyCurveSet>& set)
{
    set.def(py::init(&setOf), py::arg("curves") = py::tuple(),
            "A set of the given curves; ValueError for an unnamed curve or a repeated name.")
        .def("__len__", &TpyCurveSet::size)
        .def("__getitem__", &TpyCurveSet::at, py::arg("index"), "The curve at an index.")
        .def("__getitem__", &TpyCurveSet::named, py::arg("name"), "The curve of a name; KeyError when none is.")
        .def("__iter__", [](TpyCurveSet const& self) { return py::iter(py::cast(self.curves())); })
        .def("__contains__", &TpyCurveSet::contains, py::arg("name"))
        .def(
            "__contains__",
            [](TpyCurveSet const& self, std::shared_ptr<TpyCurve> const& curve) {
                return std::find(self.curves().begin(), self.curves().end(), curve) != self.curves().end();
            },
            py::arg("curve"))
        .def_property_readonly("names", &TpyCurveSet::names, "The curves' names, in order.")
        .def("add", &TpyCurveSet::add, py::arg("curve"),
             "Adds a curve; ValueError when it has no name or the set has that name.")
        .def("remove", &TpyCurveSet::remove, py::arg("name"), "Removes the curve of a name; KeyError when none is.")
        .def("__delitem__", &TpyCurveSet::remove, py::arg("name"))
        .def("__repr__",
             [](TpyCurveSet const& self) { return "<keelanim.CurveSet: " + std::to_string(self.size()) + " curves>"; });
}

void bindSetUse(py::class_<TpyCurveSet>& set)
{
    set.def("bake", &TpyCurveSet::bake, py::arg("start") = py::none(), py::arg("end") = py::none(),
            py::arg("fps") = 24.0,
            "(times, values): times as a float64 array, values as a float64 array of one row per curve, sampled "
            "at fps from start to end (the keys' range by default), with the GIL released.")
        .def(
            "modification",
            [](py::object const& self) {
                auto& curves = self.cast<TpyCurveSet&>();
                return makeModification(self, curves.history(), curves.engineCurves());
            },
            "A context manager recording the edits of every curve in the set as one undo step; 'as' gives the "
            "UndoStep. An exception in the block undoes the step.")
        .def(
            "undo", [](TpyCurveSet& self) { return self.history().undo(); },
            "Undoes the last step of the set's modifications; False when there is none.")
        .def(
            "redo", [](TpyCurveSet& self) { return self.history().redo(); },
            "Redoes the last undone step; False when there is none.")
        .def_property_readonly(
            "can_undo", [](TpyCurveSet& self) { return self.history().canUndo(); }, "Whether undo() has a step.")
        .def_property_readonly(
            "can_redo", [](TpyCurveSet& self) { return self.history().canRedo(); }, "Whether redo() has a step.")
        .def("to_json", &curvesToJson, "The curves as the keelcurve tool's JSON curve file.")
        .def_static("from_json", &curvesFromJson, py::arg("text"), "The curves of a JSON curve file's text.")
        .def(
            "save_json", [](TpyCurveSet const& self, std::filesystem::path const& path) { saveJson(path, self); },
            py::arg("path"), "Writes the curves to a JSON curve file (whole or not at all).")
        .def(
            "plot",
            [](TpyCurveSet const& self, std::filesystem::path const& path, std::vector<std::string> const& names,
               std::optional<std::pair<double, double>> range, bool handles, int width,
               int height) { plotCurves(self, path, names, range, handles, width, height); },
            py::arg("path"), py::arg("names") = std::vector<std::string>(), py::arg("time_range") = py::none(),
            py::arg("handles") = false, py::arg("width") = 960, py::arg("height") = 540,
            "Draws the curves (those named, or all) to an .svg or .png file as the keelcurve tool's plot does.");
}

void bindFiles(py::module_& module)
{
    module.def("load_json", &loadJson, py::arg("path"),
               "The curves of a keelcurve JSON curve file. FileNotFoundError, or ValueError naming the place.");
    module.def(
        "save_json",
        [](std::filesystem::path const& path, py::iterable const& curves) {
            if (py::isinstance<TpyCurveSet>(curves)) {
                saveJson(path, curves.cast<TpyCurveSet const&>());
            } else {
                saveJson(path, setOf(curves));
            }
        },
        py::arg("path"), py::arg("curves"), "Writes a CurveSet (or named curves) to a JSON curve file.");
    module.def(
        "import_gltf",
        [](std::filesystem::path const& path, TpyTimeForm form) {
            return importGltf(path, form == TpyTimeForm::kTicks);
        },
        py::arg("path"), py::arg_v("time_form", TpyTimeForm::kSeconds, "TimeForm.SECONDS"),
        "The animation of a glTF 2.0 file as curves named NODE/PATH/COMPONENT; warnings go to the warnings module.");
}

}  // namespace

void bindCurveSets(py::module_& module)
{
    py::class_<TpyCurveSet> set(module, "CurveSet",
                                "Named curves in order, as curve files keep them, with an undo history.");
    bindSetContents(set);
    bindSetUse(set);
    bindFiles(module);
}
