#pragma once

#include <keelanim/curve/paramCurve.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

// Where an imported curve came from in a glTF file, so that export can put it
// back: one component of one channel of one animation.
struct TcurveTarget {
    std::string fAnimation;
    std::string fNode;
    std::string fPath;  // translation, rotation, scale or weights
    int fComponent = 0;

    friend bool operator==(TcurveTarget const&, TcurveTarget const&) = default;
};

// A curve of the tool: the engine curve, its name and, for imported curves,
// its glTF target.
struct TnamedCurve {
    std::string fName;
    std::optional<TcurveTarget> fTarget;
    std::unique_ptr<TparamCurve> fCurve;
};

// The curves of one file, in file order.
using TcurveSet = std::vector<TnamedCurve>;

// Keeps the curves whose name is one of `names` (all when `names` is empty),
// in file order; fails naming `file` for a name no curve has.
TcurveSet selectCurves(TcurveSet curves, std::vector<std::string> const& names, std::string const& file);

// The first and last key time over all curves, in seconds; false when no
// curve has a key.
bool keyTimeRange(TcurveSet const& curves, double& first, double& last);
