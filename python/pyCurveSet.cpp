#include "pyCurveSet.h"

#include <curveFile.h>
#include <gltfImport.h>
#include <outputFile.h>
#include <plotter.h>

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace {

void requireFile(std::filesystem::path const& path)
{
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        PyErr_SetString(PyExc_FileNotFoundError, ("no such file: '" + path.string() + "'").c_str());
        throw py::error_already_set();
    }
}

}  // namespace

TpyCurveSet::TpyCurveSet(TcurveSet const& curves)
{
    for (TnamedCurve const& entry : curves) {
        fCurves.push_back(std::make_shared<TpyCurve>(entry));
    }
}

std::shared_ptr<TpyCurve> const& TpyCurveSet::at(std::int64_t index) const
{
    auto const count = static_cast<std::int64_t>(fCurves.size());
    std::int64_t const resolved = index < 0 ? index + count : index;
    if (resolved < 0 || resolved >= count) {
        raiseIndexError("curve index " + std::to_string(index) + " is out of range for " + std::to_string(count) +
                        " curves");
    }
    return fCurves[static_cast<std::size_t>(resolved)];
}

std::shared_ptr<TpyCurve> const& TpyCurveSet::named(std::string const& name) const
{
    auto const found = std::find_if(fCurves.begin(), fCurves.end(),
                                    [&name](std::shared_ptr<TpyCurve> const& curve) { return curve->name() == name; });
    if (found == fCurves.end()) {
        throw py::key_error("no curve named '" + name + "'");
    }
    return *found;
}

bool TpyCurveSet::contains(std::string const& name) const
{
    return std::any_of(fCurves.begin(), fCurves.end(),
                       [&name](std::shared_ptr<TpyCurve> const& curve) { return curve->name() == name; });
}

std::vector<std::string> TpyCurveSet::names() const
{
    std::vector<std::string> names;
    for (std::shared_ptr<TpyCurve> const& curve : fCurves) {
        names.push_back(curve->name());
    }
    return names;
}

void TpyCurveSet::add(std::shared_ptr<TpyCurve> curve)
{
    if (curve->name().empty()) {
        raiseValueError("a curve in a set needs a name");
    }
    if (contains(curve->name())) {
        raiseValueError("the set has a curve named '" + curve->name() + "' already");
    }
    fCurves.push_back(std::move(curve));
}

void TpyCurveSet::remove(std::string const& name)
{
    std::shared_ptr<TpyCurve> const& curve = named(name);
    std::erase(fCurves, curve);
}

std::vector<std::shared_ptr<TparamCurve>> TpyCurveSet::engineCurves() const
{
    std::vector<std::shared_ptr<TparamCurve>> engines;
    std::unordered_set<TparamCurve const*> seen;
    for (std::shared_ptr<TpyCurve> const& curve : fCurves) {
        for (std::shared_ptr<TparamCurve>& engine : curve->reachableCurves()) {
            if (seen.insert(engine.get()).second) {
                engines.push_back(std::move(engine));
            }
        }
    }
    return engines;
}

TcurveSet TpyCurveSet::toolCurves() const
{
    TcurveSet curves;
    std::unordered_set<std::string_view> names;
    for (std::shared_ptr<TpyCurve> const& curve : fCurves) {
        curve->engine();
        if (curve->name().empty()) {
            raiseValueError("a curve without a name cannot be written");
        }
        if (!names.insert(curve->name()).second) {
            raiseValueError("two curves are named '" + curve->name() + "'");
        }
        curves.push_back(curve->entry());
    }
    return curves;
}

py::tuple TpyCurveSet::bake(std::optional<double> start, std::optional<double> end, double fps) const
{
    TcurveSet const curves = toolCurves();
    if (!start || !end) {
        double first = 0.0;
        double last = 0.0;
        if (!keyTimeRange(curves, first, last)) {
            raiseValueError("the set has no keys: give start and end");
        }
        start = start.value_or(first);
        end = end.value_or(last);
    }
    std::size_t const count = bakeSampleCount(*start, *end, fps);
    py::array_t<double> times(static_cast<py::ssize_t>(count));
    py::array_t<double> values({static_cast<py::ssize_t>(curves.size()), static_cast<py::ssize_t>(count)});
    double* t = times.mutable_data();
    double* v = values.mutable_data();
    {
        TbakeGuard const guard(engineCurves());
        py::gil_scoped_release const release;
        for (std::size_t i = 0; i < count; ++i) {
            t[i] = bakeTime(*start, double(i), fps);
        }
        for (std::size_t c = 0; c < curves.size(); ++c) {
            sampleCurve(*curves[c].fCurve, t, v + c * count, count);
        }
    }
    return py::make_tuple(std::move(times), std::move(values));
}

TpyCurveSet loadJson(std::filesystem::path const& path)
{
    requireFile(path);
    return TpyCurveSet(toolCall([&path] { return readCurveFile(path.string()); }));
}

TpyCurveSet curvesFromJson(std::string const& text)
{
    return TpyCurveSet(toolCall([&text] { return curvesFromText(text, "<text>"); }));
}

// What is written must read back: a rotation channel saved without the rest
// of its triple would not, so the text is read again before it is kept.
std::string curvesToJson(TpyCurveSet const& curves)
{
    std::string text = curvesToText(curves.toolCurves());
    toolCall([&text] { return curvesFromText(text, "<written>"); });
    return text;
}

void saveJson(std::filesystem::path const& path, TpyCurveSet const& curves)
{
    std::string const text = curvesToJson(curves);
    toolCall([&path, &text] {
        writeFileWhole(path.string(), text);
        return 0;
    });
}

TpyCurveSet importGltf(std::filesystem::path const& path, bool ticks)
{
    requireFile(path);
    std::vector<std::string> warnings;
    TimportOptions options;
    options.fTicks = ticks;
    TpyCurveSet curves(toolCall([&] { return importGltf(path.string(), options, warnings); }));
    for (std::string const& warning : warnings) {
        if (PyErr_WarnEx(PyExc_UserWarning, warning.c_str(), 1) != 0) {
            throw py::error_already_set();
        }
    }
    return curves;
}

void plotCurves(TpyCurveSet const& curves, std::filesystem::path const& path, std::vector<std::string> const& names,
                std::optional<std::pair<double, double>> range, bool handles, int width, int height)
{
    TcurveSet const all = curves.toolCurves();
    toolCall([&] {
        std::optional<double> from;
        std::optional<double> to;
        if (range) {
            from = range->first;
            to = range->second;
        }
        TplotOptions const options = plotOptions(from, to, handles, width, height);
        writePlot(selectCurves(all, names, "the set"), options, path.string());
        return 0;
    });
}
