// TcurveEvaluator: evaluation of a curve between and beyond its keys, and
// the caches that make sweeps and repeated lookups cheap.

#include "curve/detail/curveEvaluator.h"

#include "keelanim/base/numeric.h"
#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/pluginInterp.h"
#include "segments/hermiteCubic.h"

#include <cmath>

TcurveEvaluator::~TcurveEvaluator()
{
    delete fInterpolator;
}

void TcurveEvaluator::invalidate(int index)
{
    unsigned const from = index < 0 ? 0u : static_cast<unsigned>(index);
    fFloatTimes.invalidateFrom(from);
    fTickTimes.invalidateFrom(from);
    if (fCurve.fFloatKeys != nullptr) {
        fFloatTimes.reserve(fCurve.fFloatKeys->count());
    } else if (fCurve.fTickKeys != nullptr) {
        fTickTimes.reserve(fCurve.fTickKeys->count());
    }
    fInterpolatorSpan = -1;
    fCubicSpan = -1;
    fFastSpan = -1;
    fCachedKey = nullptr;
    fCachedKeyIndex = 0;
}

// --- Times ------------------------------------------------------------------------------

TcurveEvaluator::TevalTime TcurveEvaluator::evalTime(TtimeValue const& time) const
{
    bool const exact = time.isTicks() && fCurve.isAnimTimeCurve();
    return TevalTime{time.seconds(), exact ? time.animTime().ticks() : 0, exact};
}

// -1, 0 or 1 as `time` lies before, at or after key `index`, in host time.
// Every locating step makes this comparison: it is kept inline.
[[gnu::always_inline]] inline int TcurveEvaluator::compareWithKey(TevalTime const& time, unsigned index) const
{
    Tkeyframe const* key = fCurve.keyframe(index);
    if (time.fExactTicks) {
        TanimTime const ticks = key->animTime();
        std::int32_t const keyTicks = (fCurve.fNleData != nullptr ? fCurve.fNleData->toZeva(ticks) : ticks).ticks();
        return time.fTicks < keyTicks ? -1 : (time.fTicks > keyTicks ? 1 : 0);
    }
    double const keySeconds = hostSeconds(key);
    return time.fSeconds < keySeconds ? -1 : (time.fSeconds > keySeconds ? 1 : 0);
}

// --- Evaluation ------------------------------------------------------------------------------

double TcurveEvaluator::evaluateRules(TevalTime const& time)
{
    unsigned const count = fCurve.arrayCount();
    if (std::isnan(time.fSeconds)) {
        return count == 0 ? 0.0 : fCurve.value(0);
    }
    // Rotation channels evaluated together as a quaternion answer here once
    // the rotation evaluator is part of the engine.
    if (fCurve.fPreInfinity != TparamCurveEnums::kConstant && count > 0 && compareWithKey(time, 0) < 0) {
        return evaluateInfinities(time.fSeconds, true);
    }
    if (count == 0) {
        return 0.0;
    }
    if (fCurve.fPostInfinity != TparamCurveEnums::kConstant && compareWithKey(time, count - 1) > 0) {
        return evaluateInfinities(time.fSeconds, false);
    }
    if (fCurve.isStatic()) {
        return fCurve.value(0);
    }
    return evaluateBetweenKeys(time, count);
}

// A time within the keys' range (or before the first key / after the last
// with constant infinities) on a curve that is not static.
double TcurveEvaluator::evaluateBetweenKeys(TevalTime const& time, unsigned count)
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
bool TcurveEvaluator::searchedSpan(TevalTime const& time, unsigned& span)
{
    if (fCurve.fFloatKeys != nullptr) {
        return fFloatTimes.refresh(*fCurve.fFloatKeys) &&
               fFloatTimes.spanHolding(narrowToFloat(time.fSeconds), fCachedKeyIndex, span);
    }
    return time.fExactTicks && fCurve.fNleData == nullptr && fTickTimes.refresh(*fCurve.fTickKeys) &&
           fTickTimes.spanHolding(time.fTicks, fCachedKeyIndex, span);
}

bool TcurveEvaluator::valueInSearchedSpan(TevalTime const& time, double& value)
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
bool TcurveEvaluator::spanHoldsTime(TspanKeys const& span, TevalTime const& time)
{
    if (time.fExactTicks) {
        return time.fTicks > span.fFirst->animTime().ticks() && time.fTicks < span.fSecond->animTime().ticks();
    }
    return time.fSeconds > span.fStart && time.fSeconds < span.fEnd;
}

void TcurveEvaluator::cacheKey(unsigned index)
{
    fCachedKey = fCurve.keyframe(index);
    fCachedKeyIndex = index;
}

// Answers from the cached key and up to two keys on either side, so that
// sweeps in small steps never search. `index` is the key answered at, or
// the first key of the span.
bool TcurveEvaluator::locateCached(TevalTime const& time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned const cached = fCachedKeyIndex;
    if (fCachedKey == nullptr || cached >= count || fCurve.keyframe(cached) != fCachedKey) {
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

void TcurveEvaluator::locateBySearch(TevalTime const& time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned found = 0;
    bool exact = false;
    if (fCurve.isFloatCurve() || time.fExactTicks) {
        TtimeValue const probe =
            time.fExactTicks ? TtimeValue(TanimTime::fromTicks(time.fTicks)) : TtimeValue(narrowToFloat(time.fSeconds));
        exact = fCurve.find(probe, found);
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

unsigned TcurveEvaluator::firstKeyNotBefore(TevalTime const& time, unsigned count) const
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

void TcurveEvaluator::rememberFastSpan(TspanKeys const& span)
{
    if (fCurve.isStatic()) {
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

double TcurveEvaluator::valueAtKey(unsigned index)
{
    double pluginValue = 0.0;
    if (evaluatedAtKey(index, fCurve.seconds(index), pluginValue)) {
        return pluginValue;
    }
    return fCurve.value(index);
}

double TcurveEvaluator::valueInSpan(TspanKeys const& span, double secondsTime)
{
    Tkeyframe const* first = span.fFirst;
    if (TparamCurve::fsOverrideTangentsForBlockingMode) {
        return first->value();
    }
    switch (first->interpMethod()) {
    case Tkeyframe::kInterpLinear: {
        double const t0 = span.fStart;
        double const t1 = span.fEnd;
        if (t0 == t1) {
            return first->value();
        }
        return linearSpanValue(secondsTime, t0, t1, first->value(), span.fSecond->value());
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
[[gnu::always_inline]] inline bool TcurveEvaluator::valueInHermiteSpan(TspanKeys const& span, double secondsTime,
                                                                       double& value)
{
    auto const index = static_cast<std::int32_t>(span.fIndex);
    if (fCubicSpan != index) {
        if (T2dAnimCurve::desiredInterpolatorType(fCurve.isWeighted(), span.fFirst) != kInterpolatorHermite) {
            return false;
        }
        double c[8];
        spanControls(span, c);
        fCubic = hermiteCubicFromControls(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
        fCubicSpan = index;
    }
    value = fCubic.evaluate(secondsTime);
    return true;
}

bool TcurveEvaluator::evaluatedAtKey(unsigned index, float seconds, double& value)
{
    Tkeyframe const* key = fCurve.keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TtangentType const type = key->tanOutType();  // step for a blocked key
    if (!isPluginTangentType(type)) {
        return false;
    }
    TpluginAnimCurveInterp const* plugin = TpluginAnimCurveInterpDBase::find(static_cast<unsigned>(type));
    if (plugin == nullptr || (plugin->extra() & TpluginAnimCurveInterp::kEvaluatesAtKeys) == 0 ||
        fCurve.keyframe(index + 1) == nullptr) {
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

// The value at a time inside the key range, preferring a key's own value.
// Mapped infinity times mostly sweep the span of the previous one: that
// shortcut is inline, the rest is not.
[[gnu::always_inline]] inline double TcurveEvaluator::valueInRange(double secondsTime)
{
    double fast = 0.0;
    if (!fCurve.isAnimTimeCurve()) {
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

double TcurveEvaluator::valueInRangeSearched(double secondsTime)
{
    unsigned index = 0;
    double fast = 0.0;
    if (fCurve.isAnimTimeCurve()) {
        TtimeValue const ticks(TanimTime(secondsTime, kSeconds));
        if (valueInFastSpan(ticks.seconds(), fast)) {
            return fast;  // strictly between two keys: no key at this tick
        }
        return fCurve.find(ticks, index) ? fCurve.value(index) : evaluateRules(evalTime(ticks));
    }
    // A time clear of every key inside a span: find() would find no key and
    // evaluation would answer it just so.
    if (!fCurve.isStatic() && valueInSearchedSpan(TevalTime{secondsTime, 0, false}, fast)) {
        return fast;
    }
    if (fCurve.find(TtimeValue(narrowToFloat(secondsTime)), index)) {
        return fCurve.value(index);
    }
    return evaluate(TevalTime{secondsTime, 0, false});
}

// The end key's value continued along its outer tangent.
double TcurveEvaluator::linearInfinityValue(double t, bool pre, double first, double end) const
{
    unsigned const last = fCurve.arrayCount() - 1;
    double const slope = std::tan(fCurve.tangentAngle(pre ? 0 : last, pre, 1.0, 1.0));
    double const run = pre ? first - t : t - end;
    double const rise = slope == 0.0 ? 0.0 : slope * run;
    return pre ? fCurve.value(0) - rise : fCurve.value(last) + rise;
}

double TcurveEvaluator::evaluateInfinities(double t, bool pre)
{
    Tkeyframe const* firstKey = fCurve.keyframe(0);
    Tkeyframe const* lastKey = fCurve.keyframe(fCurve.arrayCount() - 1);
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
    TparamCurveEnums::TinfinityType const type = pre ? fCurve.fPreInfinity : fCurve.fPostInfinity;

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

T2dAnimCurve* TcurveEvaluator::updateInterpolator(Tkeyframe const* key)
{
    TinterpolatorType const desired = T2dAnimCurve::desiredInterpolatorType(fCurve.isWeighted(), key);
    if (fInterpolator != nullptr && fInterpolator->interpolatorType() == desired) {
        return fInterpolator;
    }
    delete fInterpolator;
    fInterpolator = T2dAnimCurve::new2dAnimCurve(fCurve.isFloatCurve(), desired);
    fInterpolatorSpan = -1;
    return fInterpolator;
}

void TcurveEvaluator::setInterpolationInterval(unsigned index)
{
    Tkeyframe* first = fCurve.keyframe(index);
    Tkeyframe* second = fCurve.keyframe(index + 1);
    if (first == nullptr || second == nullptr) {
        return;
    }
    if (fInterpolatorSpan == static_cast<std::int32_t>(index)) {
        return;
    }
    buildSpanSegment(spanKeys(index));
}

void TcurveEvaluator::buildSpanSegment(TspanKeys const& span)
{
    double c[8];
    spanControls(span, c);
    if (T2dAnimCurve* segment = updateInterpolator(span.fFirst)) {
        segment->create(&fCurve, span.fIndex, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], true);
    }
    fInterpolatorSpan = static_cast<std::int32_t>(span.fIndex);
}

// Keys and handle ends: each handle reaches a third of its tangent vector.
void TcurveEvaluator::spanControls(TspanKeys const& span, double c[8])
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
