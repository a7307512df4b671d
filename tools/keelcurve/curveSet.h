#pragma once

#include <keelanim/curve/paramCurve.h>
#include <keelanim/rotation/rotationTriple.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
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

// Three curves of a set linked as the X, Y and Z channels of one rotation.
// The three entries share it; it keeps all three curves alive, so that one
// channel picked out of a file still evaluates through its triple, and it
// unlinks them before they go (fTriple is destroyed first).
struct TrotationLink {
    std::string fName;
    std::shared_ptr<TparamCurve> fCurves[3];
    std::unique_ptr<TrotationTriple> fTriple;
};

// A curve of the tool: the engine curve, its name, for imported curves its
// glTF target, and for a rotation channel its triple and axis (0, 1, 2).
struct TnamedCurve {
    TnamedCurve() = default;
    TnamedCurve(std::string name, std::optional<TcurveTarget> target, std::shared_ptr<TparamCurve> curve)
        : fName(std::move(name)), fTarget(std::move(target)), fCurve(std::move(curve))
    {
    }

    std::string fName;
    std::optional<TcurveTarget> fTarget;
    std::shared_ptr<TparamCurve> fCurve;
    std::shared_ptr<TrotationLink> fRotation;
    int fAxis = -1;
};

// The curves of one file, in file order.
using TcurveSet = std::vector<TnamedCurve>;

// Links three entries as one rotation triple named `name`, in `mode`. False
// (nothing linked) when the three are not keyed at the same times.
bool linkRotation(TnamedCurve* const channels[3], std::string const& name,
                  TparamCurveEnums::TrotationInterpolation mode);
// The words the curve file uses for rotation modes and axes; null / false
// for what has none.
char const* rotationModeWord(TparamCurveEnums::TrotationInterpolation mode);
bool rotationModeOfWord(std::string const& word, TparamCurveEnums::TrotationInterpolation& mode);
inline constexpr char const* kAxisWords[3] = {"x", "y", "z"};

// Keeps the curves whose name is one of `names` (all when `names` is empty),
// in file order; fails naming `file` for a name no curve has.
TcurveSet selectCurves(TcurveSet curves, std::vector<std::string> const& names, std::string const& file);

// A bake samples at start + i / fps for i = 0 .. bakeFrameCount(start, end,
// fps): every frame that fits in [start, end], allowing a rounding error of
// 1e-9 frames at the end. The caller checks that fps is positive and finite.
double bakeFrameCount(double start, double end, double fps);
inline double bakeTime(double start, double frame, double fps)
{
    return start + frame / fps;
}

// The first and last key time over all curves, in seconds; false when no
// curve has a key.
bool keyTimeRange(TcurveSet const& curves, double& first, double& last);
