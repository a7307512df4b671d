#pragma once

#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/segments/hermite.h"
#include "keys/keyTimeMirror.h"

#include <cstdint>
#include <new>

// The value of a linear span of nonzero length at time t.
inline double linearSpanValue(double t, double t0, double t1, double v0, double v1)
{
    return v0 + (t - t0) / (t1 - t0) * (v1 - v0);
}

// TcurveEvaluator: what a curve remembers between evaluations, and the
// evaluation that reads it.
//
// Every curve builds one in place (see TparamCurve::evaluator()) and drops
// what it remembers through invalidate() whenever its keys change; each call
// names the curve it serves, which evaluation reaches without a pointer of
// its own to load. It holds:
//  - the copy of the key times that searches read (TkeyTimeMirror);
//  - the cached key and its index, which sequential lookups start from;
//  - the span of the last evaluation with its open time interval, so that a
//    sweep landing in it again is answered without any lookup;
//  - the Hermite cubic of the last span that needed one;
//  - the segment of the span evaluated or asked for last (owned; a Hermite
//    span's is built only when someone asks for it).
// While a blocking override is on, the sweep shortcut answers nothing and a
// segment built then is not kept for its span, so the override applies
// exactly while it is on.
// Evaluation allocates nothing; the copy of the key times grows on edits
// (invalidate() reserves room for every key).
//
// Times are in seconds, or exact ticks for a tick time on a tick curve.
class TcurveEvaluator {
public:
    // A time as evaluation compares it with the keys.
    struct TevalTime {
        double fSeconds;
        std::int32_t fTicks;
        bool fExactTicks;  // compare integer ticks (tick curves, tick times)
    };

    TcurveEvaluator()
    {
        static_assert(sizeof(TcurveEvaluator) <= TparamCurve::kEvaluatorSpace &&
                          alignof(TcurveEvaluator) <= TparamCurve::kEvaluatorAlign,
                      "the curve keeps too little room for its evaluator");
    }
    TcurveEvaluator(TcurveEvaluator const&) = delete;
    TcurveEvaluator& operator=(TcurveEvaluator const&) = delete;
    ~TcurveEvaluator();

    TevalTime evalTime(TparamCurve const& curve, TtimeValue const& time) const;

    // The curve's value at a time: the span of the last evaluation first,
    // inline, then the full rules.
    [[gnu::always_inline]] double evaluate(TparamCurve& curve, TevalTime time)
    {
        double fast = 0.0;
        return valueInFastSpan(time.fSeconds, fast) ? fast : evaluateRules(curve, time);
    }
    // The value beyond the keys by the pre- or post-infinity type; the curve
    // has at least one key.
    double evaluateInfinities(TparamCurve& curve, double seconds, bool pre);
    // Whether the plug-in segment of the span starting at key `index`
    // answers at the key itself, and what.
    bool evaluatedAtKey(TparamCurve& curve, unsigned index, float seconds, double& value);

    // The segment held for evaluation, made to the kind the span that starts
    // at `key` wants (null for kinds without a segment).
    T2dAnimCurve* updateInterpolator(TparamCurve& curve, Tkeyframe const* key);
    // Builds the segment of span `index` unless it is the current one;
    // nothing when key index + 1 does not exist.
    void setInterpolationInterval(TparamCurve& curve, unsigned index);
    // The segment and the span it is built for, once the segment of the span
    // evaluated or asked for last is built (settleInterpolator).
    void settleInterpolator(TparamCurve& curve);
    T2dAnimCurve* interpolator() const { return fInterpolator; }
    int interpolatorSpan() const { return fInterpolatorSpan; }

    // Forgets the spans, the cubic and the cached key, and the copy of the
    // key times from key `index` on (-1: all).
    void invalidate(TparamCurve& curve, int index);

private:
    // The two keys of span `fIndex` and their host times, read once per
    // span change. The span's second key must exist.
    struct TspanKeys {
        unsigned fIndex;
        Tkeyframe const* fFirst;
        Tkeyframe const* fSecond;
        double fStart;
        double fEnd;
    };

    // A key's time as seconds are compared with it: as the curve reads it
    // out in seconds (seconds(Tkeyframe), single precision), on tick curves
    // too, so that a host asking at the seconds the curve gave it gets the key.
    static double comparedSeconds(TparamCurve const& curve, Tkeyframe const* key)
    {
        return curve.fTickKeys == nullptr ? double(key->floatTime()) : double(narrowToFloat(curve.doubleSeconds(key)));
    }
    static TspanKeys spanKeys(TparamCurve const& curve, unsigned lo)
    {
        Tkeyframe const* first = curve.keyframe(lo);
        Tkeyframe const* second = curve.keyframe(lo + 1);
        return TspanKeys{lo, first, second, curve.hostSeconds(first), curve.hostSeconds(second)};
    }
    static int compareWithKey(TparamCurve const& curve, TevalTime time, unsigned index);
    double evaluateRules(TparamCurve& curve, TevalTime time);
    [[gnu::noinline]] double evaluateAsRotation(TparamCurve& curve, TevalTime time);
    double evaluateOwnRules(TparamCurve& curve, TevalTime time);
    [[gnu::noinline]] double evaluateBetweenKeys(TparamCurve& curve, TevalTime time, unsigned count);
    [[gnu::noinline]] static double linearInfinityValue(TparamCurve const& curve, double seconds, bool pre,
                                                        double first, double end);
    double valueInRange(TparamCurve& curve, double seconds);
    [[gnu::noinline]] double valueInRangeSearched(TparamCurve& curve, double seconds);
    bool searchedSpan(TparamCurve& curve, TevalTime time, unsigned& span);
    bool valueInSearchedSpan(TparamCurve& curve, TevalTime time, double& value);
    bool locateCached(TparamCurve& curve, TevalTime time, unsigned count, unsigned& index, bool& atKey);
    void locateBySearch(TparamCurve& curve, TevalTime time, unsigned count, unsigned& index, bool& atKey);
    // The first of `count` keys that the time is not after, by compareWithKey.
    static unsigned firstKeyNotBefore(TparamCurve const& curve, TevalTime time, unsigned count);
    double valueAtKey(TparamCurve& curve, unsigned index);
    double valueInSpan(TparamCurve& curve, TspanKeys const& span, double seconds);
    static bool spanHoldsTime(TspanKeys const& span, TevalTime time);
    // The value at a time strictly inside the span of the last evaluation,
    // computed as valueInSpan would; false when that shortcut does not hold.
    [[gnu::always_inline]] bool valueInFastSpan(double seconds, double& value) const;
    void rememberFastSpan(TparamCurve& curve, TspanKeys const& span);
    [[gnu::noinline]] void narrowToComparedSeconds(TparamCurve const& curve, TspanKeys const& span);
    // The control points of a span as its segment is built from them:
    // x0, y0, x1, y1, x2, y2, x3, y3.
    static void spanControls(TspanKeys const& span, double c[8]);
    // Builds the segment of the span (its keys both present).
    void buildSpanSegment(TparamCurve& curve, TspanKeys const& span);
    // Builds the held segment over a span, of the kind `kindOf` wants.
    void buildSegmentOver(TparamCurve& curve, TspanKeys const& span, Tkeyframe const* kindOf);
    // The value in a Hermite span, through fCubic; false when the span is
    // answered by another kind of segment.
    bool valueInHermiteSpan(TparamCurve& curve, TspanKeys const& span, double seconds, double& value);
    void cacheKey(TparamCurve& curve, unsigned index);
    static bool blockingOverride()
    {
        return TparamCurve::fsOverrideTangentsForBlockingMode || Tkeyframe::fsOverrideTangentsForBlockingMode;
    }

    // The sweep shortcut's fields come first and together, those of a
    // Hermite span (the most common) foremost: a host evaluating many curves
    // once per frame reads them from a cold cache.
    //
    // The span the last evaluation landed in, with the open interval it
    // answers: a time strictly inside it is answered at once, as the cached
    // lookup would answer it. On tick curves the interval also leaves out
    // each key's time read as float seconds, which seconds are compared with.
    std::int32_t fFastSpan = -1;
    Tkeyframe::TspanInterpMethod fFastMethod = Tkeyframe::kInterpSegment;
    double fFastLow = 0.0;
    double fFastHigh = 0.0;
    // The cubic of Hermite span fCubicSpan (-1: none), computed here rather
    // than in a segment so that changing span and the shortcut make no call.
    std::int32_t fCubicSpan = -1;
    std::int32_t fInterpolatorSpan = -1;  // the span fInterpolator is built for
    ThermiteCubic fCubic;
    T2dAnimCurve* fInterpolator = nullptr;
    // The shortcut's span keys' times and values, for linear and stepped spans.
    double fFastStart = 0.0;
    double fFastEnd = 0.0;
    double fFastFirstValue = 0.0;
    double fFastSecondValue = 0.0;
    // The segment span evaluated or asked for last (-1: none).
    std::int32_t fCurrentSpan = -1;
    Tkeyframe const* fCachedKey = nullptr;
    unsigned fCachedKeyIndex = 0;
    // Contiguous copies of the key times for searches; only the one of the
    // curve's time form is used. Stale from the index given to invalidate().
    TkeyTimeMirror<TfloatKeyframePtrSObj> fFloatTimes;
    TkeyTimeMirror<TanimTimeKeyframePtrSObj> fTickTimes;
};

// The evaluator lives in storage inside the curve, so that evaluation reaches
// it without a pointer hop while the installed header keeps its members out
// of sight.
inline TcurveEvaluator& TparamCurve::evaluator()
{
    return *std::launder(reinterpret_cast<TcurveEvaluator*>(fEvaluatorSpace));
}

inline TcurveEvaluator const& TparamCurve::evaluator() const
{
    return *std::launder(reinterpret_cast<TcurveEvaluator const*>(fEvaluatorSpace));
}

// The shortcut holds while the curve and the global switches are as they
// were when the span was answered: a time strictly between its keys is
// answered the same way by the cached lookup, and the segment (when the span
// uses one) is still built for it.
[[gnu::always_inline]] inline bool TcurveEvaluator::valueInFastSpan(double seconds, double& value) const
{
    // A static curve never remembers a span (it answers its first value).
    if (fFastSpan < 0 || !(seconds > fFastLow && seconds < fFastHigh) || blockingOverride()) {
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
        value = linearSpanValue(seconds, fFastStart, fFastEnd, fFastFirstValue, fFastSecondValue);
        return true;
    case Tkeyframe::kInterpStep: value = fFastFirstValue; return true;
    case Tkeyframe::kInterpStepNext: value = fFastSecondValue; return true;
    }
    return false;
}
