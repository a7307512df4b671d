// TparamCurve: evaluation, infinities and the span segments.

#include "keelanim/curve/paramCurve.h"

#include "keelanim/base/numeric.h"
#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/hermite.h"
#include "keelanim/segments/pluginInterp.h"

#include <algorithm>
#include <cmath>
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

// The value of a linear span of nonzero length at time t.
double linearValue(double t, double t0, double t1, double v0, double v1)
{
    return v0 + (t - t0) / (t1 - t0) * (v1 - v0);
}

}  // namespace

// --- Times ------------------------------------------------------------------------------

TparamCurve::TevalTime TparamCurve::evalTime(TtimeValue const& time) const
{
    bool const exact = time.isTicks() && isAnimTimeCurve();
    return TevalTime{time.seconds(), exact ? time.animTime().ticks() : 0, exact};
}

// -1, 0 or 1 as `time` lies before, at or after key `index`, in host time.
// Every locating step makes this comparison: it is kept inline.
[[gnu::always_inline]] inline int TparamCurve::compareWithKey(TevalTime const& time, unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    if (time.fExactTicks) {
        TanimTime const ticks = key->animTime();
        std::int32_t const keyTicks = (fNleData != nullptr ? fNleData->toZeva(ticks) : ticks).ticks();
        return time.fTicks < keyTicks ? -1 : (time.fTicks > keyTicks ? 1 : 0);
    }
    double const keySeconds = hostSeconds(key);
    return time.fSeconds < keySeconds ? -1 : (time.fSeconds > keySeconds ? 1 : 0);
}

// --- Evaluation ------------------------------------------------------------------------------

// The shortcut holds while the curve and the global switches are as they
// were when the span was answered: a time strictly between its keys is
// answered the same way by the cached lookup, and the segment (when the span
// uses one) is still built for it.
[[gnu::always_inline]] inline bool TparamCurve::valueInFastSpan(double seconds, double& value) const
{
    // A static curve never remembers a span (it answers its first value).
    if (fFastSpan < 0 || !(seconds > fFastStart && seconds < fFastEnd) || fsOverrideTangentsForBlockingMode ||
        Tkeyframe::fsOverrideTangentsForBlockingMode) {
        return false;
    }
    switch (fFastMethod) {
    case Tkeyframe::kInterpSegment:
        if (fCubicSpan == fFastSpan) {
            value = fCubic.evaluate(seconds);
            return true;
        }
        if (fInterpolator == nullptr || fInterpolatorSpan != fFastSpan) {
            return false;
        }
        value = fInterpolator->evaluate(seconds);
        return true;
    case Tkeyframe::kInterpLinear:
        if (fFastStart == fFastEnd) {
            return false;
        }
        value = linearValue(seconds, fFastStart, fFastEnd, fFastFirstValue, fFastSecondValue);
        return true;
    case Tkeyframe::kInterpStep: value = fFastFirstValue; return true;
    case Tkeyframe::kInterpStepNext: value = fFastSecondValue; return true;
    }
    return false;
}

// Sweeps land in the span of the previous evaluation almost every time: that
// shortcut is tried first, inline, before the full rules.
[[gnu::always_inline]] inline double TparamCurve::evaluateAt(TevalTime const& time)
{
    double fast = 0.0;
    return valueInFastSpan(time.fSeconds, fast) ? fast : evaluateRules(time);
}

double TparamCurve::evaluate(TtimeValue const& time)
{
    return evaluateAt(evalTime(time));
}

double TparamCurve::evaluate(float seconds)
{
    return evaluateAt(TevalTime{seconds, 0, false});
}

bool TparamCurve::evaluate(unsigned index, double* value, double* outSlope)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    if (value != nullptr) {
        *value = evaluateAt(TevalTime{doubleSeconds(key), 0, false});
    }
    if (outSlope != nullptr) {
        float x = 0.0f;
        float y = 0.0f;
        key->getTanOut(x, y);
        *outSlope = x == 0.0f ? 0.0 : double(y) / double(x);
    }
    return true;
}

double TparamCurve::evaluateRules(TevalTime const& time)
{
    unsigned const count = arrayCount();
    if (std::isnan(time.fSeconds)) {
        return count == 0 ? 0.0 : value(0);
    }
    // Rotation channels evaluated together as a quaternion answer here once
    // the rotation evaluator is part of the engine.
    if (fPreInfinity != TparamCurveEnums::kConstant && count > 0 && compareWithKey(time, 0) < 0) {
        return evaluateInfinitiesAt(time.fSeconds, true);
    }
    if (count == 0) {
        return 0.0;
    }
    if (fPostInfinity != TparamCurveEnums::kConstant && compareWithKey(time, count - 1) > 0) {
        return evaluateInfinitiesAt(time.fSeconds, false);
    }
    if (isStatic()) {
        return value(0);
    }
    return evaluateBetweenKeys(time, count);
}

// A time within the keys' range (or before the first key / after the last
// with constant infinities) on a curve that is not static.
double TparamCurve::evaluateBetweenKeys(TevalTime const& time, unsigned count)
{
    double inSpan = 0.0;
    if (valueInSearchedSpan(time, inSpan)) {
        return inSpan;
    }
    unsigned index = 0;
    bool atKey = false;
    if (!locateCached(time, count, index, atKey)) {
        locateBySearch(time, count, index, atKey);
    }
    if (atKey) {
        fFastSpan = -1;
        return valueAtKey(index);
    }
    TspanKeys const span = spanKeys(index);
    double const value = valueInSpan(span, time.fSeconds);
    rememberFastSpan(span);
    return value;
}

// The span whose keys the copy of the key times puts strictly around the
// time, clear of both (beyond the key tolerance of a float curve). Those are
// exactly the times on which the cached-key test and the key search agree
// (same span, same cached key). Seconds on a tick curve, and ticks mapped
// through a clip, are left to the full rules.
bool TparamCurve::searchedSpan(TevalTime const& time, unsigned& span)
{
    if (fFloatKeys != nullptr) {
        return fFloatTimes.refresh(*fFloatKeys) &&
               fFloatTimes.spanHolding(narrowToFloat(time.fSeconds), fCachedKeyIndex, span);
    }
    return time.fExactTicks && fNleData == nullptr && fTickTimes.refresh(*fTickKeys) &&
           fTickTimes.spanHolding(time.fTicks, fCachedKeyIndex, span);
}

bool TparamCurve::valueInSearchedSpan(TevalTime const& time, double& value)
{
    unsigned lo = 0;
    if (!searchedSpan(time, lo)) {
        return false;
    }
    // The keys themselves must hold the time: a copy made stale behind the
    // curve's back is dropped rather than trusted.
    TspanKeys const span = spanKeys(lo);
    if (!spanHoldsTime(span, time)) {
        fFloatTimes.invalidate();
        fTickTimes.invalidate();
        return false;
    }
    cacheKey(lo);
    value = valueInSpan(span, time.fSeconds);
    rememberFastSpan(span);
    return true;
}

// True when the time lies strictly between the span's keys, compared as
// compareWithKey compares (ticks when exact, host seconds otherwise); the
// searched spans never come from a clip.
bool TparamCurve::spanHoldsTime(TspanKeys const& span, TevalTime const& time)
{
    if (time.fExactTicks) {
        return time.fTicks > span.fFirst->animTime().ticks() && time.fTicks < span.fSecond->animTime().ticks();
    }
    return time.fSeconds > span.fStart && time.fSeconds < span.fEnd;
}

void TparamCurve::cacheKey(unsigned index)
{
    fCachedKey = keyframe(index);
    fCachedKeyIndex = index;
}

// Answers from the cached key and up to two keys on either side, so that
// sweeps in small steps never search. `index` is the key answered at, or
// the first key of the span.
bool TparamCurve::locateCached(TevalTime const& time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned const cached = fCachedKeyIndex;
    if (fCachedKey == nullptr || cached >= count || keyframe(cached) != fCachedKey) {
        return false;
    }
    int const here = compareWithKey(time, cached);
    if (here == 0) {
        index = cached;
        atKey = true;
        return true;
    }
    int const step = here > 0 ? 1 : -1;
    unsigned previous = cached;
    for (int reach = 1; reach <= 2; ++reach) {
        long long const next = static_cast<long long>(cached) + static_cast<long long>(step) * reach;
        if (next < 0 || next >= static_cast<long long>(count)) {
            return false;
        }
        auto const neighbour = static_cast<unsigned>(next);
        int const side = compareWithKey(time, neighbour);
        if (side == 0) {
            cacheKey(neighbour);
            index = neighbour;
            atKey = true;
            return true;
        }
        if ((side < 0) == (step > 0)) {  // the time lies between previous and neighbour
            index = step > 0 ? previous : neighbour;
            cacheKey(index);
            atKey = false;
            return true;
        }
        previous = neighbour;
    }
    return false;
}

void TparamCurve::locateBySearch(TevalTime const& time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned found = 0;
    bool exact = false;
    if (isFloatCurve() || time.fExactTicks) {
        TtimeValue const probe =
            time.fExactTicks ? TtimeValue(TanimTime::fromTicks(time.fTicks)) : TtimeValue(narrowToFloat(time.fSeconds));
        exact = find(probe, found);
    } else {
        // Seconds on a tick curve: the first key the time is not after, by
        // the keys' host seconds.
        found = firstKeyNotBefore(time, count);
        exact = found < count && compareWithKey(time, found) == 0;
    }
    if (exact) {
        cacheKey(found);
        index = found;
        atKey = true;
    } else if (found == 0) {
        cacheKey(0);
        index = 0;
        atKey = true;
    } else if (found >= count) {
        cacheKey(0);
        index = count - 1;
        atKey = true;
    } else {
        index = found - 1;
        cacheKey(index);
        atKey = false;
    }
}

unsigned TparamCurve::firstKeyNotBefore(TevalTime const& time, unsigned count) const
{
    unsigned first = 0;
    unsigned length = count;
    while (length > 0) {
        unsigned const half = length / 2;
        if (compareWithKey(time, first + half) > 0) {
            first += half + 1;
            length -= half + 1;
        } else {
            length = half;
        }
    }
    return first;
}

void TparamCurve::rememberFastSpan(TspanKeys const& span)
{
    if (isStatic()) {
        fFastSpan = -1;
        return;
    }
    fFastSpan = static_cast<std::int32_t>(span.fIndex);
    fFastStart = span.fStart;
    fFastEnd = span.fEnd;
    fFastFirstValue = span.fFirst->value();
    fFastSecondValue = span.fSecond->value();
    fFastMethod = span.fFirst->interpMethod();
}

double TparamCurve::valueAtKey(unsigned index)
{
    double pluginValue = 0.0;
    if (evaluatedAtKey(index, seconds(index), pluginValue)) {
        return pluginValue;
    }
    return value(index);
}

double TparamCurve::valueInSpan(TspanKeys const& span, double secondsTime)
{
    Tkeyframe const* first = span.fFirst;
    if (fsOverrideTangentsForBlockingMode) {
        return first->value();
    }
    switch (first->interpMethod()) {
    case Tkeyframe::kInterpLinear: {
        double const t0 = span.fStart;
        double const t1 = span.fEnd;
        if (t0 == t1) {
            return first->value();
        }
        return linearValue(secondsTime, t0, t1, first->value(), span.fSecond->value());
    }
    case Tkeyframe::kInterpStep: return first->value();
    case Tkeyframe::kInterpStepNext: return span.fSecond->value();
    case Tkeyframe::kInterpSegment: {
        double value = 0.0;
        if (valueInHermiteSpan(span, secondsTime, value)) {
            return value;
        }
        if (fInterpolatorSpan != static_cast<std::int32_t>(span.fIndex)) {
            buildSpanSegment(span);
        }
        return fInterpolator != nullptr ? fInterpolator->evaluate(secondsTime) : 0.0;
    }
    }
    return 0.0;
}

// Most spans are Hermite cubics: their coefficients are computed here, as
// T2dHermite computes them, without building the span's segment.
[[gnu::always_inline]] inline bool TparamCurve::valueInHermiteSpan(TspanKeys const& span, double secondsTime,
                                                                   double& value)
{
    auto const index = static_cast<std::int32_t>(span.fIndex);
    if (fCubicSpan != index) {
        if (T2dAnimCurve::desiredInterpolatorType(isWeighted(), span.fFirst) != kInterpolatorHermite) {
            return false;
        }
        double c[8];
        spanControls(span, c);
        fCubic = ThermiteCubic::fromControls(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
        fCubicSpan = index;
    }
    value = fCubic.evaluate(secondsTime);
    return true;
}

bool TparamCurve::evaluatedAtKey(unsigned index, float seconds, double& value)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TtangentType const type = key->tanOutType();  // step for a blocked key
    if (!isPluginTangentType(type)) {
        return false;
    }
    TpluginAnimCurveInterp const* plugin = TpluginAnimCurveInterpDBase::find(static_cast<unsigned>(type));
    if (plugin == nullptr || (plugin->extra() & TpluginAnimCurveInterp::kEvaluatesAtKeys) == 0 ||
        keyframe(index + 1) == nullptr) {
        return false;
    }
    // The key starts a span of the plug-in's kind: its segment answers there.
    setInterpolationInterval(index);
    if (fInterpolator == nullptr || fInterpolator->interpolatorType() != static_cast<TinterpolatorType>(type)) {
        return false;
    }
    value = fInterpolator->evaluate(seconds);
    return true;
}

// --- Infinities ------------------------------------------------------------------------------------

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

double TparamCurve::evaluateInfinities(TtimeValue const& time, bool pre)
{
    return arrayCount() == 0 ? 0.0 : evaluateInfinitiesAt(time.seconds(), pre);
}

double TparamCurve::evaluateInfinities(float seconds, bool pre)
{
    return arrayCount() == 0 ? 0.0 : evaluateInfinitiesAt(seconds, pre);
}

// The value at a time inside the key range, preferring a key's own value.
// Mapped infinity times mostly sweep the span of the previous one: that
// shortcut is inline, the rest is not.
[[gnu::always_inline]] inline double TparamCurve::valueInRange(double secondsTime)
{
    double fast = 0.0;
    if (!isAnimTimeCurve()) {
        // find() looks within the key tolerance of the time narrowed to
        // single precision: beyond that reach of the span's ends no key can
        // answer.
        double const reach = kTimeTolerance + std::fabs(secondsTime) * 0x1p-23;
        if (secondsTime - reach > fFastStart && secondsTime + reach < fFastEnd && valueInFastSpan(secondsTime, fast)) {
            return fast;
        }
    }
    return valueInRangeSearched(secondsTime);
}

double TparamCurve::valueInRangeSearched(double secondsTime)
{
    unsigned index = 0;
    double fast = 0.0;
    if (isAnimTimeCurve()) {
        TtimeValue const ticks(TanimTime(secondsTime, kSeconds));
        if (valueInFastSpan(ticks.seconds(), fast)) {
            return fast;  // strictly between two keys: no key at this tick
        }
        return find(ticks, index) ? value(index) : evaluateRules(evalTime(ticks));
    }
    // A time clear of every key inside a span: find() would find no key and
    // evaluation would answer it just so.
    if (!isStatic() && valueInSearchedSpan(TevalTime{secondsTime, 0, false}, fast)) {
        return fast;
    }
    if (find(TtimeValue(narrowToFloat(secondsTime)), index)) {
        return value(index);
    }
    return evaluateAt(TevalTime{secondsTime, 0, false});
}

// The end key's value continued along its outer tangent.
double TparamCurve::linearInfinityValue(double t, bool pre, double first, double end) const
{
    unsigned const last = arrayCount() - 1;
    double const slope = std::tan(tangentAngle(pre ? 0 : last, pre, 1.0, 1.0));
    double const run = pre ? first - t : t - end;
    double const rise = slope == 0.0 ? 0.0 : slope * run;
    return pre ? value(0) - rise : value(last) + rise;
}

double TparamCurve::evaluateInfinitiesAt(double t, bool pre)
{
    Tkeyframe const* firstKey = keyframe(0);
    Tkeyframe const* lastKey = keyframe(arrayCount() - 1);
    double const first = hostSeconds(firstKey);
    double const end = hostSeconds(lastKey);
    double const range = end - first;
    if (range == 0.0 || std::isnan(t)) {
        return firstKey->value();
    }
    double const reference = t > end ? end : first;
    double whole = 0.0;
    double const fraction = splitWhole((t - reference) / range, whole);
    double const cycles = std::fabs(whole) + 1.0;
    double const offset = std::fabs(fraction) * range;
    TparamCurveEnums::TinfinityType const type = pre ? fPreInfinity : fPostInfinity;

    if (type == TparamCurveEnums::kLinear) {
        return linearInfinityValue(t, pre, first, end);
    }
    double mapped = offset;  // every other type: deliberately unshifted
    if (type == TparamCurveEnums::kOscillate) {
        bool const oddCycle = std::fmod(cycles, 2.0) == 1.0;
        mapped = (oddCycle == !pre) ? end - offset : first + offset;
    } else if (type == TparamCurveEnums::kCycle || type == TparamCurveEnums::kCycleRelative) {
        mapped = pre ? end - offset : first + offset;
    }
    double result = valueInRange(mapped);
    if (type == TparamCurveEnums::kCycleRelative) {
        double const shift = lastKey->value() - firstKey->value();
        if (shift != 0.0) {
            result += pre ? -shift * cycles : shift * cycles;
        }
    }
    return result;
}

// --- Span segments -------------------------------------------------------------------------------------

T2dAnimCurve* TparamCurve::updateInterpolator(Tkeyframe const* key)
{
    TinterpolatorType const desired = T2dAnimCurve::desiredInterpolatorType(isWeighted(), key);
    if (fInterpolator != nullptr && fInterpolator->interpolatorType() == desired) {
        return fInterpolator;
    }
    delete fInterpolator;
    fInterpolator = T2dAnimCurve::new2dAnimCurve(isFloatCurve(), desired);
    fInterpolatorSpan = -1;
    return fInterpolator;
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
    Tkeyframe* first = keyframe(index);
    Tkeyframe* second = keyframe(index + 1);
    if (first == nullptr || second == nullptr) {
        return;
    }
    if (fInterpolatorSpan == static_cast<std::int32_t>(index)) {
        return;
    }
    buildSpanSegment(spanKeys(index));
}

void TparamCurve::buildSpanSegment(TspanKeys const& span)
{
    double c[8];
    spanControls(span, c);
    if (T2dAnimCurve* segment = updateInterpolator(span.fFirst)) {
        segment->create(this, span.fIndex, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], true);
    }
    fInterpolatorSpan = static_cast<std::int32_t>(span.fIndex);
}

// Keys and handle ends: each handle reaches a third of its tangent vector.
void TparamCurve::spanControls(TspanKeys const& span, double c[8])
{
    float tx = 0.0f;
    float ty = 0.0f;
    c[0] = span.fStart;
    c[1] = span.fFirst->value();
    span.fFirst->getTanOut(tx, ty);
    c[2] = c[0] + tx * kOneThird;
    c[3] = c[1] + ty * kOneThird;
    c[6] = span.fEnd;
    c[7] = span.fSecond->value();
    span.fSecond->getTanIn(tx, ty);
    c[4] = c[6] - tx * kOneThird;
    c[5] = c[7] - ty * kOneThird;
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
