#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/tstring.h"
#include "keelanim/keys/keyframe.h"

#include <cstdint>

class TparamCurve;

// The kinds of segment. 4 and 6 deliberately have no segment class (a span
// of those kinds has no segment); 7 and above are plug-in kinds.
enum TinterpolatorType : std::uint32_t {
    kInterpolatorHermite = 0,
    kInterpolatorBezier = 1,
    kInterpolatorSine = 2,
    kInterpolatorParabolic = 3,
    kInterpolatorNone4 = 4,
    kInterpolatorLog = 5,
    kInterpolatorNone6 = 6,
    kInterpolatorFirstPlugin = 7,
};

// T2dAnimCurve: the shape of one span of a curve, between two keys.
//
// A curve holds one segment at a time and builds it for the span it needs
// (TparamCurve::setInterpolationInterval). create() receives the span's four
// Bezier control points in the (input, value) plane: (x0, y0) the first key,
// (x3, y3) the second key, (x1, y1) the end of the first key's out-handle and
// (x2, y2) the end of the second key's in-handle, where a handle is a third
// of the key's stored tangent. Inputs are seconds (ticks / 6000 for tick
// curves). A segment may move the inner points and reports them back.
//
// Segments never fail: a missing key makes key-reading operations do
// nothing. The curve never builds a segment over a zero-length span.
class KEEL_API T2dAnimCurve {
public:
    explicit T2dAnimCurve(bool floatInput) : fFloatInput(floatInput) {}
    T2dAnimCurve(T2dAnimCurve const&) = delete;
    T2dAnimCurve& operator=(T2dAnimCurve const&) = delete;
    virtual ~T2dAnimCurve();

    virtual TinterpolatorType interpolatorType() const = 0;
    virtual Tstring interpolatorName() const = 0;
    // Accepts the span's control points (see the class comment).
    virtual void create(TparamCurve* curve, unsigned index, double x0, double y0, double& x1, double& y1, double& x2,
                        double& y2, double x3, double y3, bool adjust) = 0;
    // The value at input x; not clamped to the span.
    virtual double evaluate(double x) const = 0;
    // Validate and store a key's tangent; true when the key changed.
    virtual bool setTanIn(Tkeyframe* key, float x, float y) = 0;
    virtual bool setTanOut(Tkeyframe* key, float x, float y) = 0;
    // The stationary points of the current span (see each kind).
    virtual void getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const = 0;
    // Widens [min, max] (never narrows it) by a cheap bound of the span
    // between two keys, without create().
    virtual void getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const = 0;
    // Splits the current span at x: answers the value there and the stored
    // tangents that keep the span's shape: (o1, o2) the first key's new
    // out-tangent, (o3, o4) and (o5, o6) the new key's in- and out-tangent,
    // (o7, o8) the second key's new in-tangent.
    virtual double newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                                  float& o8) const = 0;
    // Whether newMatchingKey splits this kind of span into two of the same
    // kind. Kinds that cannot (the base answer) leave a shape-preserving
    // insertion to keep only the curve's value at the new key.
    virtual bool splitsSpans() const { return false; }

    // --- Tangent rules -------------------------------------------------------
    // Each rule sets only the sides of `key` whose effective type is its own,
    // from the neighbours (either may be null), through setTanIn/setTanOut.
    virtual void calculateFixedTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateLinearTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateFlatTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    // The spline rule belongs to each kind; the base does nothing.
    virtual void calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateStepTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateSlowTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateFastTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateClampedTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next,
                                          TparamCurve* curve);
    virtual void calculatePlateauTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateAutoTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    virtual void calculateOldClampedTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next,
                                             TparamCurve* curve);
    virtual void calculateOldSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);

    // The dispatcher: runs the rule of the key's effective in-type, then,
    // when it differs, the rule of its effective out-type, and stops. The
    // rules are those of the segment kind the curve recomputes the key with
    // (TparamCurve::tangentSegment), so a kind supplies its own spline rule;
    // without a curve, those of an unweighted Hermite span.
    static void calculateTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TparamCurve* curve);
    // The same through this segment kind's rules.
    void runTangentRules(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TparamCurve* curve);
    // Flattens spline-like tangents that point against their neighbour;
    // true when it did. Without a segment, a Hermite one applies the flat rule.
    static bool shouldBeFlat(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next,
                             T2dAnimCurve* segment = nullptr);

    // A new segment of that kind (the caller owns it), or null for kinds 4
    // and 6. Kinds 7 and above come from the plug-in registry, and fall
    // back to Hermite when it has none of that number.
    static T2dAnimCurve* new2dAnimCurve(bool floatInput, TinterpolatorType type);
    // The kind the span that starts at `key` wants (see the source for the
    // rules, including the "ZEVA_ANIMATION_INTERPOLATOR" hook for flat spans).
    static TinterpolatorType desiredInterpolatorType(bool weighted, Tkeyframe const* key)
    {
        // Evaluation asks at every span change: the common kinds answer here.
        if (key != nullptr && followsWeighting(effectiveTanOutType(*key))) {
            return byWeighting(weighted);
        }
        return chosenInterpolatorType(weighted, key);
    }
    // The kind of a span whose tangent type does not choose one.
    static TinterpolatorType byWeighting(bool weighted)
    {
        return weighted ? kInterpolatorBezier : kInterpolatorHermite;
    }
    // Whether a tangent rule derives the side's vector from the keys (true
    // for linear, flat, step and the smooth and clamped families); fixed,
    // segment-selecting and plug-in sides keep the vector they hold.
    static bool hasTangentRule(TtangentType type);
    // A key's tangent type on one side as every segment rule reads it:
    // step for blocking-mode tick keys while no file is written.
    static TtangentType effectiveTanInType(Tkeyframe const& key) { return key.tanInType(); }
    static TtangentType effectiveTanOutType(Tkeyframe const& key) { return key.tanOutType(); }

    bool floatInput() const { return fFloatInput; }

private:
    // True for the tangent types whose span kind is the curve's weighting:
    // not flat (which a host may redirect), not a segment-kind type, not a
    // plug-in's.
    static bool followsWeighting(TtangentType out)
    {
        return out < kTangentPluginFirst && out != kTangentFlat && (out < kTangentHermite || out > kTangentLog);
    }
    static TinterpolatorType chosenInterpolatorType(bool weighted, Tkeyframe const* key);

protected:
    // Keeps the span's control points as create() settles them.
    void storeControls(double x0, double y0, double x1, double y1, double x2, double y2, double x3, double y3);
    // The current span's control points (see the class comment).
    double fX0 = 0, fY0 = 0, fX1 = 0, fY1 = 0, fX2 = 0, fY2 = 0, fX3 = 0, fY3 = 0;
    // The tangent check of kinds whose tangent lengths are weights: only an
    // input component below 0 is corrected, to 0.
    static void keepInputForward(float& x, float& y);
    // Widens [min, max] by both keys' values and the ends of their facing
    // handles at a third of each tangent's value component.
    static void widenByHandleValues(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max);
    // A key's input in seconds as segments read it themselves.
    double keySeconds(Tkeyframe const& key) const;
    // Stores an already validated tangent when it differs from the key's;
    // true when the key changed.
    static bool storeTanIn(Tkeyframe* key, float x, float y);
    static bool storeTanOut(Tkeyframe* key, float x, float y);
    // Validates (x, y) with the kind's rule, then stores it on one side.
    template <class Validate> static bool setValidated(Tkeyframe* key, float x, float y, bool in, Validate validate)
    {
        if (key == nullptr || x != x || y != y) {  // NaN never reaches a key
            return false;
        }
        validate(x, y);
        return in ? storeTanIn(key, x, y) : storeTanOut(key, x, y);
    }
    // The spline rule of Hermite spans: one pair for both sides, through the
    // neighbours (a near-vertical slope when they almost coincide in time).
    // Other kinds may use it as their own.
    void applySmoothPair(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next);
    // Sets the sides of `type` through `rule`, with those sides' types
    // temporarily replaced by `asType`.
    using TruleFn = void (T2dAnimCurve::*)(Tkeyframe const*, Tkeyframe*, Tkeyframe const*);
    void runAs(TruleFn rule, TtangentType asType, bool in, bool out, Tkeyframe const* prev, Tkeyframe* key,
               Tkeyframe const* next);
    // Ends keys copy the opposite tangent onto the missing neighbour's side.
    static void copyOppositeAtEnds(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TtangentType type);

private:
    // The slow and fast rules: the sides of type `rule` get a fixed,
    // always rising `slope` over each side's length.
    void applyFixedSlope(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, float slope, TtangentType rule);

    bool fFloatInput;
};

// One third, as the control-point rules use it.
inline constexpr double kOneThird = 0.3333333333333333;
