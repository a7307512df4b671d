#include "curveSet.h"

#include "toolError.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

using TmodeWord = std::pair<TparamCurveEnums::TrotationInterpolation, char const*>;
constexpr std::array<TmodeWord, 4> kModeWords = {{
    {TparamCurveEnums::kEulerAngles, "euler"},
    {TparamCurveEnums::kQuaternionTangentDependent, "quaternionTangentDependent"},
    {TparamCurveEnums::kQuaternionSlerp, "quaternionSlerp"},
    {TparamCurveEnums::kQuaternionCubic, "quaternionCubic"},
}};

bool sameKeyTimes(TparamCurve const& a, TparamCurve const& b)
{
    if (a.keyframeCountAll() != b.keyframeCountAll()) {
        return false;
    }
    for (unsigned i = 0; i < a.keyframeCountAll(); ++i) {
        if (!(*a.keyframe(i) == *b.keyframe(i))) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool linkRotation(TnamedCurve* const channels[3], std::string const& name,
                  TparamCurveEnums::TrotationInterpolation mode)
{
    TparamCurve const& x = *channels[0]->fCurve;
    if (!sameKeyTimes(x, *channels[1]->fCurve) || !sameKeyTimes(x, *channels[2]->fCurve)) {
        return false;
    }
    auto link = std::make_shared<TrotationLink>();
    link->fName = name;
    for (int axis = 0; axis < 3; ++axis) {
        link->fCurves[axis] = channels[axis]->fCurve;
    }
    link->fTriple = std::make_unique<TrotationTriple>(*link->fCurves[0], *link->fCurves[1], *link->fCurves[2]);
    link->fTriple->setRotationInterpolation(mode);
    for (int axis = 0; axis < 3; ++axis) {
        channels[axis]->fRotation = link;
        channels[axis]->fAxis = axis;
    }
    return true;
}

char const* rotationModeWord(TparamCurveEnums::TrotationInterpolation mode)
{
    for (TmodeWord const& entry : kModeWords) {
        if (entry.first == mode) {
            return entry.second;
        }
    }
    return nullptr;
}

bool rotationModeOfWord(std::string const& word, TparamCurveEnums::TrotationInterpolation& mode)
{
    for (TmodeWord const& entry : kModeWords) {
        if (word == entry.second) {
            mode = entry.first;
            return true;
        }
    }
    return false;
}

TcurveSet selectCurves(TcurveSet curves, std::vector<std::string> const& names, std::string const& file)
{
    if (names.empty()) {
        return curves;
    }
    for (std::string const& name : names) {
        auto const named = [&name](TnamedCurve const& curve) { return curve.fName == name; };
        if (std::none_of(curves.begin(), curves.end(), named)) {
            fail(file, "", "no curve named '" + name + "'");
        }
    }
    std::erase_if(curves, [&names](TnamedCurve const& curve) {
        return std::find(names.begin(), names.end(), curve.fName) == names.end();
    });
    return curves;
}

double bakeFrameCount(double start, double end, double fps)
{
    return std::floor((end - start) * fps + 1e-9);
}

bool keyTimeRange(TcurveSet const& curves, double& first, double& last)
{
    bool any = false;
    for (TnamedCurve const& named : curves) {
        TparamCurve const& curve = *named.fCurve;
        unsigned const count = curve.keyframeCountAll();
        if (count == 0) {
            continue;
        }
        double const start = curve.doubleSeconds(curve.keyframe(0));
        double const end = curve.doubleSeconds(curve.keyframe(count - 1));
        first = any ? std::min(first, start) : start;
        last = any ? std::max(last, end) : end;
        any = true;
    }
    return any;
}
