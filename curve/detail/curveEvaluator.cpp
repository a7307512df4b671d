// TcurveEvaluator: evaluation of a curve between and beyond its keys, and
// the caches that make sweeps and repeated lookups cheap.

#include "curve/detail/curveEvaluator.h"

#include "curve/detail/rotationHook.h"
#include "keelanim/curve/evalCursor.h"

#include "keelanim/base/numeric.h"
#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/pluginInterp.h"
#include "segments/hermiteCubic.h"

#include <algorithm>
#include <cmath>
#include <mutex>

TcurveEvaluator::~TcurveEvaluator()
{
    delete fInterpolator;
}

void TcurveEvaluator::invalidate(TparamCurve& curve, int index)
{
    unsigned const from = index < 0 ? 0u : static_cast<unsigned>(index);
    fFloatTimes.invalidateFrom(from);
    fTickTimes.invalidateFrom(from);
    if (curve.fFloatKeys != nullptr) {
        fFloatTimes.reserve(curve.fFloatKeys->count());
    } else if (curve.fTickKeys != nullptr) {
        fTickTimes.reserve(curve.fTickKeys->count());
    }
    fInterpolatorSpan = -1;
    fCurrentSpan = -1;
    fCubicSpan = -1;
    fFastSpan = -1;
    fCachedKey = nullptr;
    fCachedKeyIndex = 0;
}

// --- Times ------------------------------------------------------------------------------

TcurveEvaluator::TevalTime TcurveEvaluator::evalTime(TparamCurve const& curve, TtimeValue const& time) const
{
    bool const exact = time.isTicks() && curve.isAnimTimeCurve();
    return TevalTime{time.seconds(), exact ? time.animTime().ticks() : 0, exact};
}

// -1, 0 or 1 as `time` lies before, at or after key `index`, in host time.
// Every locating step makes this comparison: it is kept inline.
[[gnu::always_inline]] inline int TcurveEvaluator::compareWithKey(TparamCurve const& curve, TevalTime time,
                                                                  unsigned index)
{
    Tkeyframe const* key = curve.keyframe(index);
    if (time.fExactTicks) {
        TanimTime const ticks = key->animTime();
        std::int32_t const keyTicks = (curve.fNleData != nullptr ? curve.fNleData->toZeva(ticks) : ticks).ticks();
        return time.fTicks < keyTicks ? -1 : (time.fTicks > keyTicks ? 1 : 0);
    }
    double const keySeconds = comparedSeconds(curve, key);
    return time.fSeconds < keySeconds ? -1 : (time.fSeconds > keySeconds ? 1 : 0);
}

// --- Evaluation ------------------------------------------------------------------------------

// The curve's own value by its keys and infinities: the common path, kept
// inline in evaluateRules.
[[gnu::always_inline]] inline double TcurveEvaluator::evaluateOwnRules(TparamCurve& curve, TevalTime time)
{
    unsigned const count = curve.arrayCount();
    if (curve.fPreInfinity != TparamCurveEnums::kConstant && count > 0 && compareWithKey(curve, time, 0) < 0) {
        return evaluateInfinities(curve, time.fSeconds, true);
    }
    if (count == 0) {
        return 0.0;
    }
    if (curve.fPostInfinity != TparamCurveEnums::kConstant && compareWithKey(curve, time, count - 1) > 0) {
        return evaluateInfinities(curve, time.fSeconds, false);
    }
    if (curve.isStatic()) {
        return curve.value(0);
    }
    return evaluateBetweenKeys(curve, time, count);
}

double TcurveEvaluator::evaluateRules(TparamCurve& curve, TevalTime time)
{
    if (std::isnan(time.fSeconds)) {
        return curve.arrayCount() == 0 ? 0.0 : curve.value(0);
    }
    if (curve.evaluatesAsRotation() && TrotationHook::fsEulerComponent != nullptr) [[unlikely]] {
        return evaluateAsRotation(curve, time);
    }
    return evaluateOwnRules(curve, time);
}

// A rotation channel in a quaternion mode: its component of the triple's
// rotation, or, for an incomplete triple, its own value, never remembered as
// the fast span: a sibling's edit can complete the triple without this curve
// hearing of it. (Edits of the channel itself reset the span anyway.)
double TcurveEvaluator::evaluateAsRotation(TparamCurve& curve, TevalTime time)
{
    TtimeValue const at =
        time.fExactTicks ? TtimeValue(TanimTime::fromTicks(time.fTicks)) : TtimeValue(narrowToFloat(time.fSeconds));
    double angle = 0.0;
    if (TrotationHook::fsEulerComponent(curve, at, angle)) {
        return angle;
    }
    double const value = evaluateOwnRules(curve, time);
    fFastSpan = -1;
    return value;
}

TrotationHook::TeulerComponent TrotationHook::fsEulerComponent = nullptr;
TrotationHook::TkeyComponents TrotationHook::fsKeyComponents = nullptr;
std::atomic<unsigned> TrotationHook::fsGeneration{0};

// A time within the keys' range (or before the first key / after the last
// with constant infinities) on a curve that is not static.
double TcurveEvaluator::evaluateBetweenKeys(TparamCurve& curve, TevalTime time, unsigned count)
{
    double inSpan = 0.0;
    if (valueInSearchedSpan(curve, time, inSpan)) {
        return inSpan;
    }
    unsigned index = 0;
    bool atKey = false;
    if (!locateCached(curve, time, count, index, atKey)) {
        locateBySearch(curve, time, count, index, atKey);
    }
    if (atKey) {
        fFastSpan = -1;
        return valueAtKey(curve, index);
    }
    TspanKeys const span = spanKeys(curve, index);
    double const value = valueInSpan(curve, span, time.fSeconds);
    rememberFastSpan(curve, span);
    return value;
}

// The span whose keys the copy of the key times puts strictly around the
// time, clear of both (beyond the key tolerance of a float curve). Those are
// exactly the times on which the cached-key test and the key search agree
// (same span, same cached key). Seconds on a tick curve, and ticks mapped
// through a clip, are left to the full rules.
bool TcurveEvaluator::searchedSpan(TparamCurve& curve, TevalTime time, unsigned& span)
{
    if (curve.fFloatKeys != nullptr) {
        return fFloatTimes.refresh(*curve.fFloatKeys) &&
               fFloatTimes.spanHolding(narrowToFloat(time.fSeconds), fCachedKeyIndex, span);
    }
    return time.fExactTicks && curve.fNleData == nullptr && fTickTimes.refresh(*curve.fTickKeys) &&
           fTickTimes.spanHolding(time.fTicks, fCachedKeyIndex, span);
}

bool TcurveEvaluator::valueInSearchedSpan(TparamCurve& curve, TevalTime time, double& value)
{
    unsigned lo = 0;
    if (!searchedSpan(curve, time, lo)) {
        return false;
    }
    // The keys themselves must hold the time: a copy made stale behind the
    // curve's back is dropped rather than trusted.
    TspanKeys const span = spanKeys(curve, lo);
    if (!spanHoldsTime(span, time)) {
        fFloatTimes.invalidate();
        fTickTimes.invalidate();
        return false;
    }
    cacheKey(curve, lo);
    value = valueInSpan(curve, span, time.fSeconds);
    rememberFastSpan(curve, span);
    return true;
}

// True when the time lies strictly between the span's keys, compared as
// compareWithKey compares (ticks when exact, host seconds otherwise); the
// searched spans never come from a clip.
bool TcurveEvaluator::spanHoldsTime(TspanKeys const& span, TevalTime time)
{
    if (time.fExactTicks) {
        return time.fTicks > span.fFirst->animTime().ticks() && time.fTicks < span.fSecond->animTime().ticks();
    }
    return time.fSeconds > span.fStart && time.fSeconds < span.fEnd;
}

void TcurveEvaluator::cacheKey(TparamCurve& curve, unsigned index)
{
    fCachedKey = curve.keyframe(index);
    fCachedKeyIndex = index;
}

// Answers from the cached key and up to two keys on either side, so that
// sweeps in small steps never search. `index` is the key answered at, or
// the first key of the span.
bool TcurveEvaluator::locateCached(TparamCurve& curve, TevalTime time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned const cached = fCachedKeyIndex;
    if (fCachedKey == nullptr || cached >= count || curve.keyframe(cached) != fCachedKey) {
        return false;
    }
    int const here = compareWithKey(curve, time, cached);
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
        int const side = compareWithKey(curve, time, neighbour);
        if (side == 0) {
            cacheKey(curve, neighbour);
            index = neighbour;
            atKey = true;
            return true;
        }
        if ((side < 0) == (step > 0)) {  // the time lies between previous and neighbour
            index = step > 0 ? previous : neighbour;
            cacheKey(curve, index);
            atKey = false;
            return true;
        }
        previous = neighbour;
    }
    return false;
}

void TcurveEvaluator::locateBySearch(TparamCurve& curve, TevalTime time, unsigned count, unsigned& index, bool& atKey)
{
    unsigned found = 0;
    bool exact = false;
    if (curve.isFloatCurve() || time.fExactTicks) {
        TtimeValue const probe =
            time.fExactTicks ? TtimeValue(TanimTime::fromTicks(time.fTicks)) : TtimeValue(narrowToFloat(time.fSeconds));
        exact = curve.find(probe, found);
    } else {
        // Seconds on a tick curve: the first key the time is not after, by
        // the keys' host seconds.
        found = firstKeyNotBefore(curve, time, count);
        exact = found < count && compareWithKey(curve, time, found) == 0;
    }
    if (exact) {
        cacheKey(curve, found);
        index = found;
        atKey = true;
    } else if (found == 0) {
        cacheKey(curve, 0);
        index = 0;
        atKey = true;
    } else if (found >= count) {
        cacheKey(curve, 0);
        index = count - 1;
        atKey = true;
    } else {
        index = found - 1;
        cacheKey(curve, index);
        atKey = false;
    }
}

unsigned TcurveEvaluator::firstKeyNotBefore(TparamCurve const& curve, TevalTime time, unsigned count)
{
    unsigned first = 0;
    unsigned length = count;
    while (length > 0) {
        unsigned const half = length / 2;
        if (compareWithKey(curve, time, first + half) > 0) {
            first += half + 1;
            length -= half + 1;
        } else {
            length = half;
        }
    }
    return first;
}

[[gnu::always_inline]] inline void TcurveEvaluator::rememberFastSpan(TparamCurve& curve, TspanKeys const& span)
{
    if (curve.isStatic()) {
        fFastSpan = -1;
        return;
    }
    fFastSpan = static_cast<std::int32_t>(span.fIndex);
    fFastStart = span.fStart;
    fFastEnd = span.fEnd;
    fFastLow = span.fStart;
    fFastHigh = span.fEnd;
    if (curve.fTickKeys != nullptr) {
        narrowToComparedSeconds(curve, span);
    }
    fFastFirstValue = span.fFirst->value();
    fFastSecondValue = span.fSecond->value();
    // The key's own method: the shortcut answers nothing while a blocking
    // override is on, and must not keep a stepped span once it ends.
    fFastMethod = span.fFirst->storedInterpMethod();
}

// On tick curves the shortcut's interval also leaves out each key's time as
// seconds are compared with it.
void TcurveEvaluator::narrowToComparedSeconds(TparamCurve const& curve, TspanKeys const& span)
{
    fFastLow = std::max(fFastLow, comparedSeconds(curve, span.fFirst));
    fFastHigh = std::min(fFastHigh, comparedSeconds(curve, span.fSecond));
}

double TcurveEvaluator::valueAtKey(TparamCurve& curve, unsigned index)
{
    double pluginValue = 0.0;
    if (evaluatedAtKey(curve, index, curve.seconds(index), pluginValue)) {
        return pluginValue;
    }
    return curve.value(index);
}

double TcurveEvaluator::valueInSpan(TparamCurve& curve, TspanKeys const& span, double secondsTime)
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
        fCurrentSpan = static_cast<std::int32_t>(span.fIndex);
        if (valueInHermiteSpan(curve, span, secondsTime, value)) {
            return value;
        }
        if (fInterpolatorSpan != static_cast<std::int32_t>(span.fIndex)) {
            buildSpanSegment(curve, span);
        }
        return fInterpolator != nullptr ? fInterpolator->evaluate(secondsTime) : 0.0;
    }
    }
    return 0.0;
}

// Most spans are Hermite cubics: their coefficients are computed here, as
// T2dHermite computes them, without building the span's segment.
[[gnu::always_inline]] inline bool TcurveEvaluator::valueInHermiteSpan(TparamCurve& curve, TspanKeys const& span,
                                                                       double secondsTime, double& value)
{
    auto const index = static_cast<std::int32_t>(span.fIndex);
    if (fCubicSpan != index) {
        if (T2dAnimCurve::desiredInterpolatorType(curve.isWeighted(), span.fFirst) != kInterpolatorHermite) {
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

bool TcurveEvaluator::evaluatedAtKey(TparamCurve& curve, unsigned index, float seconds, double& value)
{
    Tkeyframe const* key = curve.keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TtangentType const type = key->tanOutType();  // step for a blocked key
    if (!isPluginTangentType(type)) {
        return false;
    }
    TpluginAnimCurveInterp const* plugin = TpluginAnimCurveInterpDBase::find(static_cast<unsigned>(type));
    if (plugin == nullptr || (plugin->extra() & TpluginAnimCurveInterp::kEvaluatesAtKeys) == 0) {
        return false;
    }
    if (curve.keyframe(index + 1) != nullptr) {
        // The key starts a span of the plug-in's kind: its segment answers.
        setInterpolationInterval(curve, index);
    } else if (index > 0) {
        // The last key starts no span: a segment of its kind made over the
        // span it ends answers at the key.
        buildSegmentOver(curve, spanKeys(curve, index - 1), key);
        fInterpolatorSpan = -1;
    } else {
        return false;  // a lone key gives the plug-in no span to work over
    }
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
[[gnu::always_inline]] inline double TcurveEvaluator::valueInRange(TparamCurve& curve, double secondsTime)
{
    double fast = 0.0;
    if (!curve.isAnimTimeCurve()) {
        // find() looks within the key tolerance of the time narrowed to
        // single precision: beyond that reach of the span's ends no key can
        // answer.
        double const reach = kTimeTolerance + std::fabs(secondsTime) * 0x1p-23;
        if (secondsTime - reach > fFastLow && secondsTime + reach < fFastHigh && valueInFastSpan(secondsTime, fast)) {
            return fast;
        }
    }
    return valueInRangeSearched(curve, secondsTime);
}

double TcurveEvaluator::valueInRangeSearched(TparamCurve& curve, double secondsTime)
{
    unsigned index = 0;
    double fast = 0.0;
    if (curve.isAnimTimeCurve()) {
        TtimeValue const ticks(TanimTime(secondsTime, kSeconds));
        if (valueInFastSpan(ticks.seconds(), fast)) {
            return fast;  // strictly between two keys: no key at this tick
        }
        return curve.find(ticks, index) ? curve.value(index) : evaluateRules(curve, evalTime(curve, ticks));
    }
    // A time clear of every key inside a span: find() would find no key and
    // evaluation would answer it just so.
    if (!curve.isStatic() && valueInSearchedSpan(curve, TevalTime{secondsTime, 0, false}, fast)) {
        return fast;
    }
    if (curve.find(TtimeValue(narrowToFloat(secondsTime)), index)) {
        return curve.value(index);
    }
    return evaluate(curve, TevalTime{secondsTime, 0, false});
}

// The end key's value continued along its outer tangent.
double TcurveEvaluator::linearInfinityValue(TparamCurve const& curve, double t, bool pre, double first, double end)
{
    unsigned const last = curve.arrayCount() - 1;
    double const slope = std::tan(curve.tangentAngle(pre ? 0 : last, pre, 1.0, 1.0));
    double const run = pre ? first - t : t - end;
    double const rise = slope == 0.0 ? 0.0 : slope * run;
    return pre ? curve.value(0) - rise : curve.value(last) + rise;
}

double TcurveEvaluator::evaluateInfinities(TparamCurve& curve, double t, bool pre)
{
    Tkeyframe const* firstKey = curve.keyframe(0);
    Tkeyframe const* lastKey = curve.keyframe(curve.arrayCount() - 1);
    double const first = curve.hostSeconds(firstKey);
    double const end = curve.hostSeconds(lastKey);
    double const range = end - first;
    if (range == 0.0 || std::isnan(t)) {
        return firstKey->value();
    }
    double const reference = t > end ? end : first;
    double whole = 0.0;
    double const fraction = splitWhole((t - reference) / range, whole);
    double const cycles = std::fabs(whole) + 1.0;
    double const offset = std::fabs(fraction) * range;
    TparamCurveEnums::TinfinityType const type = pre ? curve.fPreInfinity : curve.fPostInfinity;

    if (type == TparamCurveEnums::kLinear) {
        return linearInfinityValue(curve, t, pre, first, end);
    }
    double mapped = offset;  // every other type: deliberately unshifted
    if (type == TparamCurveEnums::kOscillate) {
        bool const oddCycle = std::fmod(cycles, 2.0) == 1.0;
        mapped = (oddCycle == !pre) ? end - offset : first + offset;
    } else if (type == TparamCurveEnums::kCycle || type == TparamCurveEnums::kCycleRelative) {
        mapped = pre ? end - offset : first + offset;
    }
    double result = valueInRange(curve, mapped);
    if (type == TparamCurveEnums::kCycleRelative) {
        double const shift = lastKey->value() - firstKey->value();
        if (shift != 0.0) {
            result += pre ? -shift * cycles : shift * cycles;
        }
    }
    return result;
}

// --- Span segments -------------------------------------------------------------------------------------

T2dAnimCurve* TcurveEvaluator::updateInterpolator(TparamCurve& curve, Tkeyframe const* key)
{
    TinterpolatorType const desired = T2dAnimCurve::desiredInterpolatorType(curve.isWeighted(), key);
    if (fInterpolator != nullptr && fInterpolator->interpolatorType() == desired) {
        return fInterpolator;
    }
    delete fInterpolator;
    fInterpolator = T2dAnimCurve::new2dAnimCurve(curve.isFloatCurve(), desired);
    fInterpolatorSpan = -1;
    return fInterpolator;
}

void TcurveEvaluator::setInterpolationInterval(TparamCurve& curve, unsigned index)
{
    Tkeyframe* first = curve.keyframe(index);
    Tkeyframe* second = curve.keyframe(index + 1);
    if (first == nullptr || second == nullptr) {
        return;
    }
    fCurrentSpan = static_cast<std::int32_t>(index);
    if (fInterpolatorSpan == fCurrentSpan) {
        return;
    }
    buildSpanSegment(curve, spanKeys(curve, index));
}

// While a blocking override is on, keys report stepped types and the segment
// takes the kind they ask for then: it is not remembered for its span, so the
// override applies only while it is on.
void TcurveEvaluator::buildSpanSegment(TparamCurve& curve, TspanKeys const& span)
{
    buildSegmentOver(curve, span, span.fFirst);
    fInterpolatorSpan = blockingOverride() ? -1 : static_cast<std::int32_t>(span.fIndex);
}

void TcurveEvaluator::buildSegmentOver(TparamCurve& curve, TspanKeys const& span, Tkeyframe const* kindOf)
{
    double c[8];
    spanControls(span, c);
    if (T2dAnimCurve* segment = updateInterpolator(curve, kindOf)) {
        segment->create(&curve, span.fIndex, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], true);
    }
}

// Hermite spans are evaluated from their cubic, without the segment: the
// segment of the span evaluated last is built when it is asked for.
void TcurveEvaluator::settleInterpolator(TparamCurve& curve)
{
    if (fCurrentSpan >= 0 && fInterpolatorSpan != fCurrentSpan) {
        setInterpolationInterval(curve, static_cast<unsigned>(fCurrentSpan));
    }
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

namespace {

// Rotation channels in a quaternion mode fill the Euler caches of their
// triple and evaluate their siblings: cursors take turns on them.
std::mutex sSharedRotationLock;

// Values as evaluate() answers them: a finite time is owed a finite value.
template <class Evaluate> double finiteForFiniteTime(double value, double seconds, Evaluate&& nearTheLimit)
{
    return std::isfinite(value) || !std::isfinite(seconds) ? value : nearTheLimit();
}

}  // namespace

// --- The curve's entry points ------------------------------------------------------------
// Kept with the evaluator so that the full rules can be inlined into them.

double TparamCurve::evaluate(TtimeValue const& time)
{
    TcurveEvaluator& curveEvaluator = evaluator();
    double const value = curveEvaluator.evaluate(*this, curveEvaluator.evalTime(*this, time));
    // Only a finite time is owed a finite value (a linear infinity at an
    // infinite time is infinite).
    return finiteForFiniteTime(value, time.seconds(), [&] { return evaluateNearTheLimit(time); });
}

double TparamCurve::evaluate(float seconds)
{
    double const value = evaluator().evaluate(*this, TcurveEvaluator::TevalTime{seconds, 0, false});
    return finiteForFiniteTime(value, seconds, [&] { return evaluateNearTheLimit(TtimeValue(seconds)); });
}

// The cursor's evaluator does what the curve's own does, on the cursor's
// state: nothing of the curve is written. (The near-limit fallback
// evaluates a scaled copy of the curve.)
double TparamCurve::evaluate(TtimeValue const& time, TevalCursor& cursor) const
{
    auto& curve = const_cast<TparamCurve&>(*this);
    TcurveEvaluator& cursorEvaluator = cursor.boundTo(*this);
    std::unique_lock<std::mutex> turn(sSharedRotationLock, std::defer_lock);
    if (evaluatesAsRotation()) {
        turn.lock();
    }
    double const value = cursorEvaluator.evaluate(curve, cursorEvaluator.evalTime(curve, time));
    return finiteForFiniteTime(value, time.seconds(), [&] { return curve.evaluateNearTheLimit(time); });
}

double TparamCurve::evaluate(float seconds, TevalCursor& cursor) const
{
    return evaluate(TtimeValue(seconds), cursor);
}

bool TparamCurve::evaluate(unsigned index, double* value, double* outSlope)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    if (value != nullptr) {
        TcurveEvaluator& curveEvaluator = evaluator();  // at the key's own time, ticks exact
        *value = curveEvaluator.evaluate(*this, curveEvaluator.evalTime(*this, timeValue(key)));
    }
    if (outSlope != nullptr) {
        float x = 0.0f;
        float y = 0.0f;
        key->getTanOut(x, y);
        *outSlope = x == 0.0f ? 0.0 : double(y) / double(x);
    }
    return true;
}
