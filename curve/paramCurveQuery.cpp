// TparamCurve: read-only questions of curve editors.

#include "keelanim/curve/paramCurve.h"

#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/segments/animCurve.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

// |a - b| in the form of the times: ticks when both are ticks, else seconds.
double timeDistance(TtimeValue const& a, TtimeValue const& b)
{
    TtimeValue const difference = a - b;
    return difference.isTicks() ? std::fabs(double(difference.animTime().ticks())) / kTicksPerSecond
                                : std::fabs(difference.seconds());
}

}  // namespace

TkeyframeHandle* TparamCurve::findClosestKeyframe(TtimeValue const& time)
{
    unsigned const count = arrayCount();
    if (count == 0) {
        return nullptr;
    }
    unsigned index = 0;
    if (find(time, index)) {
        return new TkeyframeHandle(this, index, false);
    }
    if (index == 0 || index >= count) {
        return new TkeyframeHandle(this, index == 0 ? 0u : count - 1, false);
    }
    double const before = timeDistance(time, timeValue(index - 1));
    double const at = timeDistance(time, timeValue(index));
    bool const hasAfter = index + 1 < count;
    double const after = hasAfter ? timeDistance(time, timeValue(index + 1)) : 0.0;
    unsigned winner = index;
    if (before < at && (!hasAfter || before < after)) {
        winner = index - 1;
    } else if (hasAfter && after < at) {
        winner = index + 1;
    }
    return new TkeyframeHandle(this, winner, false);
}

TkeyframeHandle* TparamCurve::findClosestKeyframe(TtimeValue const& time, double tolerance, bool visibleOnly)
{
    if (std::isnan(tolerance) || tolerance < 0.0 || (!time.isTicks() && std::isnan(time.seconds()))) {
        return nullptr;
    }
    bool const skipHidden = visibleOnly && fCurveFlags.isSet(kHideKeysBit);
    unsigned index = 0;
    find(time, index);
    // The candidates are the keys around the insertion point; walk outwards
    // while they are within the tolerance.
    double best = DBL_MAX;
    unsigned winner = kArrayFailure;
    unsigned const count = arrayCount();
    // Takes key i when it is the nearest so far; false once it lies
    // beyond the tolerance, which ends that direction's walk.
    auto const consider = [&](unsigned i) {
        double const distance = timeDistance(time, timeValue(i));
        if (distance > tolerance) {
            return false;
        }
        if ((!skipHidden || !keyframe(i)->hidden()) && distance < best) {
            best = distance;
            winner = i;
        }
        return true;
    };
    for (unsigned i = index; i < count; ++i) {
        if (!consider(i)) {
            break;
        }
    }
    for (unsigned i = index; i-- > 0;) {
        if (!consider(i)) {
            break;
        }
    }
    return winner == kArrayFailure ? nullptr : new TkeyframeHandle(this, winner, false);
}

TkeyframeHandle* TparamCurve::findClosestValue(double target)
{
    unsigned const count = arrayCount();
    if (count == 0 || std::isnan(target)) {
        return nullptr;
    }
    unsigned winner = 0;
    double best = std::fabs(value(0) - target);
    for (unsigned i = 1; i < count && best != 0.0; ++i) {
        double const distance = std::fabs(value(i) - target);
        if (distance < best) {
            best = distance;
            winner = i;
        }
    }
    return new TkeyframeHandle(this, winner, false);
}

TtimeValue TparamCurve::getNextKey(TtimeValue const& time, bool forward, bool& found) const
{
    unsigned index = 0;
    bool const atKey = find(time, index);
    found = false;
    if (forward) {
        unsigned const next = atKey ? index + 1 : index;
        if (next < arrayCount()) {
            found = true;
            return timeValue(next);
        }
    } else if (index > 0) {
        found = true;
        return timeValue(index - 1);
    }
    return time;
}

bool TparamCurve::boundingBox(unsigned span, float& t0, double& vMin, float& t1, double& vMax, bool exact)
{
    Tkeyframe const* first = keyframe(span);
    Tkeyframe const* second = keyframe(span + 1);
    if (first == nullptr || second == nullptr) {
        return false;
    }
    t0 = seconds(first);
    t1 = seconds(second);
    // A rotation channel evaluated through its triple spans the angles its
    // Euler samples hold, not its stored quaternion components.
    if (float const* samples = evaluatesAsQuaternion() ? first->eulerSampleCache() : nullptr) {
        auto const [low, high] = std::minmax_element(samples, samples + Tkeyframe::kEulerSamples);
        vMin = *low;
        vMax = *high;
        return true;
    }
    vMin = std::min(first->value(), second->value());
    vMax = std::max(first->value(), second->value());
    if (!exact) {
        // The span's segment widens the keys' values, whatever the span's
        // method: a cheap bound, never narrower than the curve.
        if (T2dAnimCurve const* segment = updateInterpolator(first)) {
            segment->getBoundingValue(first, second, vMin, vMax);
        }
        return true;
    }
    if (first->interpMethod() != Tkeyframe::kInterpSegment || fsOverrideTangentsForBlockingMode) {
        return true;  // the true extremes of linear and stepped spans are their keys
    }
    float timeA = 0.0f;
    float timeB = 0.0f;
    double valueA = -DBL_MAX;
    double valueB = -DBL_MAX;
    if (minMaxValueAndTime(span, timeA, valueA, timeB, valueB)) {
        for (double v : {valueA, valueB}) {
            if (v != -DBL_MAX) {
                vMin = std::min(vMin, v);
                vMax = std::max(vMax, v);
            }
        }
    }
    return true;
}

bool TparamCurve::boundingBox(float& t0, double& vMin, float& t1, double& vMax, bool exact)
{
    unsigned const count = arrayCount();
    if (count == 0) {
        return false;
    }
    t0 = seconds(0u);
    t1 = seconds(count - 1);
    vMin = vMax = value(0);
    for (unsigned span = 0; span + 1 < count; ++span) {
        float spanStart = 0.0f;
        float spanEnd = 0.0f;
        double low = 0.0;
        double high = 0.0;
        boundingBox(span, spanStart, low, spanEnd, high, exact);
        vMin = std::min(vMin, low);
        vMax = std::max(vMax, high);
    }
    return true;
}

bool TparamCurve::minMaxValueAndTime(unsigned span, float& t0, double& vMin, float& t1, double& vMax)
{
    if (keyframe(span) == nullptr || keyframe(span + 1) == nullptr) {
        return false;
    }
    setInterpolationInterval(span);  // nothing when the span's segment is built already
    T2dAnimCurve const* segment = interpolator();
    if (segment == nullptr) {
        return false;
    }
    segment->getMinMaxTimeAndValue(t0, vMin, t1, vMax);
    return true;
}
