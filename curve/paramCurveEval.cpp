// TparamCurve: infinities, values at plug-in keys, the cache reset and the
// span segments, answered by the curve's evaluator (curve/detail/
// curveEvaluator.h, which also holds the evaluate() entry points so that the
// full rules inline into them); tangent angles and span interpolation methods.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/curveEvaluator.h"
#include "curve/detail/rotationHook.h"
#include "keelanim/segments/animCurve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr double kVerticalTangent = 1e-5;

bool isLinear(TtangentType type)
{
    return type == kTangentLinear;
}

bool isStepped(TtangentType type)
{
    return type == kTangentStep || type == kTangentStepNext;
}

}  // namespace

// Keys near the ends of the double range overflow a span's arithmetic even
// where the curve itself stays in range. The span is evaluated again on a
// copy whose values are scaled down by a power of two (exactly), and the
// answer scaled back and held to the range. Tangent slopes, at most the
// float range, are negligible beside such values and stay as they are.
double TparamCurve::evaluateNearTheLimit(TtimeValue const& time)
{
    constexpr double kDown = 0x1p-64;
    constexpr double kUp = 0x1p64;
    if (std::isnan(time.seconds()) || arrayCount() == 0) {
        return arrayCount() == 0 ? 0.0 : value(0);
    }
    TparamCurve scaled(*this);
    scaled.setHostHooks(ThostHooks{}, false);
    for (unsigned i = 0; i < scaled.arrayCount(); ++i) {
        Tkeyframe* key = scaled.keyframe(i);
        key->setTimeAndValue(key->timeValue(), key->value() * kDown, key->quatComponent());
    }
    scaled.invalidateCache();
    double const value = scaled.evaluator().evaluate(scaled, scaled.evaluator().evalTime(scaled, time)) * kUp;
    if (std::isnan(value)) {
        return this->value(0);
    }
    return std::clamp(value, -std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
}

double TparamCurve::evaluateInfinities(TtimeValue const& time, bool pre)
{
    return arrayCount() == 0 ? 0.0 : evaluator().evaluateInfinities(*this, time.seconds(), pre);
}

double TparamCurve::evaluateInfinities(float seconds, bool pre)
{
    return arrayCount() == 0 ? 0.0 : evaluator().evaluateInfinities(*this, seconds, pre);
}

bool TparamCurve::evaluatedAtKey(unsigned index, float seconds, double& value)
{
    return evaluator().evaluatedAtKey(*this, index, seconds, value);
}

void TparamCurve::invalidateCache(int index)
{
    ++fEvaluationEdits;
    evaluator().invalidate(*this, index);
    if (isRotationCurve()) {
        dirtyQuaternionEulerCache(index);
    }
}

// The samples describe spans of the triple: an edit of one channel changes
// the spans of all three around the key.
void TparamCurve::dirtyQuaternionEulerCache(int index)
{
    TrotationHook::fsGeneration.fetch_add(1, std::memory_order_relaxed);
    TparamCurve* triple[3] = {this, nullptr, nullptr};
    if (!getSiblingRotationCurves(&triple[0], &triple[1], &triple[2])) {
        triple[0] = this;
    }
    unsigned const count = triple[0] != nullptr ? triple[0]->keyframeCountAll() : 0;
    if (count == 0) {
        return;
    }
    unsigned const first = index < 0 ? 0 : unsigned(std::max(index - 2, 0));
    unsigned const last = index < 0 ? count - 1 : std::min(unsigned(index) + 1, count - 1);
    // The samples are unwrapped from the first key on: without the first
    // key's, the triple's cache counts as dropped and is rebuilt whole.
    for (TparamCurve* channel : triple) {
        for (unsigned i = first; channel != nullptr && i <= last; ++i) {
            if (Tkeyframe* key = channel->keyframe(i)) {
                key->setEulerSampleCache(nullptr);
            }
        }
        if (Tkeyframe* key = channel != nullptr ? channel->keyframe(0) : nullptr) {
            key->setEulerSampleCache(nullptr);
        }
    }
}

double TparamCurve::tangentAngle(unsigned index, bool in, double xScale, double yScale) const
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return 0.0;
    }
    float x = 0.0f;
    float y = 0.0f;
    in ? key->getTanIn(x, y) : key->getTanOut(x, y);
    if (std::fabs(x) <= kVerticalTangent) {
        if (y > kVerticalTangent) {
            return std::numbers::pi / 2.0;
        }
        return y < -kVerticalTangent ? -std::numbers::pi / 2.0 : 0.0;
    }
    return std::atan((yScale * y) / (xScale * x));
}

// --- Span segments -------------------------------------------------------------------------------------

T2dAnimCurve* TparamCurve::updateInterpolator(Tkeyframe const* key)
{
    return evaluator().updateInterpolator(*this, key);
}

T2dAnimCurve* TparamCurve::updateInterpolator(TtimeValue const& time)
{
    if (arrayCount() == 0) {
        return updateInterpolator(static_cast<Tkeyframe const*>(nullptr));
    }
    unsigned index = 0;
    if (!find(time, index) && index > 0) {
        --index;
    }
    return updateInterpolator(keyframe(index));
}

void TparamCurve::setInterpolationInterval(unsigned index)
{
    evaluator().setInterpolationInterval(*this, index);
}

// Reading the segment builds it for the span evaluated last: evaluation's
// caches are logically const.
T2dAnimCurve* TparamCurve::interpolator() const
{
    auto& curve = const_cast<TparamCurve&>(*this);
    curve.evaluator().settleInterpolator(curve);
    return evaluator().interpolator();
}

int TparamCurve::interpolatorSpan() const
{
    auto& curve = const_cast<TparamCurve&>(*this);
    curve.evaluator().settleInterpolator(curve);
    return evaluator().interpolatorSpan();
}

void TparamCurve::setSpanInterpMethod(unsigned index)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return;
    }
    TtangentType const out = key->tanOutType();
    Tkeyframe const* next = keyframe(index + 1);
    bool const linearSpan = isLinear(out) && next != nullptr && isLinear(next->tanInType());
    key->setInterpMethod(linearSpan ? Tkeyframe::kInterpLinear : Tkeyframe::kInterpSegment);
    Tkeyframe* previous = index > 0 ? keyframe(index - 1) : nullptr;
    if (previous == nullptr) {
        return;
    }
    if (isLinear(key->tanInType())) {
        if (isLinear(previous->tanOutType())) {
            previous->setInterpMethod(Tkeyframe::kInterpLinear);
        }
    } else if (!isStepped(previous->tanOutType())) {
        previous->setInterpMethod(Tkeyframe::kInterpSegment);
    }
}
