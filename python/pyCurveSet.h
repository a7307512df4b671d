#pragma once

#include "pyCurve.h"

#include <toolError.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// TpyCurveSet: what a Python keelanim.CurveSet holds: named curves in order,
// as the keelcurve tool's files keep them, and the undo history of the
// modifications made over them.
//
// Names are unique within a set and never empty. A curve may belong to
// several sets (they share it); renaming a curve after it joined a set may
// break the rule, which save_json and friends then report (ValueError).
class TpyCurveSet {
public:
    TpyCurveSet() = default;
    explicit TpyCurveSet(TcurveSet const& curves);

    std::size_t size() const { return fCurves.size(); }
    std::shared_ptr<TpyCurve> const& at(std::int64_t index) const;
    // The curve named `name`; KeyError when none is.
    std::shared_ptr<TpyCurve> const& named(std::string const& name) const;
    bool contains(std::string const& name) const;
    std::vector<std::string> names() const;
    std::vector<std::shared_ptr<TpyCurve>> const& curves() const { return fCurves; }

    // ValueError for an empty name or one the set has.
    void add(std::shared_ptr<TpyCurve> curve);
    void remove(std::string const& name);

    // The engine curves of every member, rotation siblings included.
    std::vector<std::shared_ptr<TparamCurve>> engineCurves() const;
    // The tool's view of the set; ValueError when names are empty or repeat.
    TcurveSet toolCurves() const;

    // (times, values[curve, sample]) of every curve, sampled at `fps` from
    // `start` to `end` (the keys' range by default), without the GIL.
    py::tuple bake(std::optional<double> start, std::optional<double> end, double fps) const;

    TpyHistory& history() { return fHistory; }

private:
    std::vector<std::shared_ptr<TpyCurve>> fCurves;
    TpyHistory fHistory;
};

// The keelcurve tool's files. Reading failures raise FileNotFoundError for
// a missing file and ValueError naming the file and place for bad content;
// writing raises ValueError (nothing written) when the tool refuses.
TpyCurveSet loadJson(std::filesystem::path const& path);
TpyCurveSet curvesFromJson(std::string const& text);
std::string curvesToJson(TpyCurveSet const& curves);
void saveJson(std::filesystem::path const& path, TpyCurveSet const& curves);
// glTF 2.0 animation as the tool imports it; the import's warnings go to
// Python's warnings module (UserWarning).
TpyCurveSet importGltf(std::filesystem::path const& path, bool ticks);
// Draws the curves named `names` (all when empty) to SVG or PNG.
void plotCurves(TpyCurveSet const& curves, std::filesystem::path const& path, std::vector<std::string> const& names,
                std::optional<std::pair<double, double>> range, bool handles, int width, int height);

// Runs `action`, turning the tool's failures into ValueError.
template <class Action> auto toolCall(Action&& action)
{
    try {
        return action();
    } catch (TtoolFailure const& failure) {
        raiseValueError(failure.what());
    }
}
