// The tangent rules of the segment kinds: each computes a key's tangents on
// the sides whose effective type is the rule's own, from its neighbours.

#include "keelanim/curve/paramCurve.h"
#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/bezier.h"
#include "keelanim/segments/hermite.h"

#include <cfloat>
#include <cmath>

namespace {

constexpr float kSlowSlope = 0.5772f;
constexpr float kFastSlope = 1.732f;
constexpr double kNearlyCoincident = 0.0001;
constexpr float kNearVerticalSlope = 5729578.0f;
constexpr double kClampThreshold = 0.05;
constexpr double kNormTolerance = 1e-10;
constexpr double kPlateauTolerance = 1e-10;

bool inIs(Tkeyframe const* key, TtangentType type)
{
    return T2dAnimCurve::effectiveTanInType(*key) == type;
}

bool outIs(Tkeyframe const* key, TtangentType type)
{
    return T2dAnimCurve::effectiveTanOutType(*key) == type;
}

bool isSmoothLike(TtangentType type)
{
    return type == kTangentSpline || type == kTangentClamped || type == kTangentPlateau;
}

double clampThreshold(TparamCurve const* curve)
{
    if (curve == nullptr) {
        return kClampThreshold;
    }
    double const scale = curve->normScaleValue();
    return std::fabs(scale) <= kNormTolerance ? kClampThreshold : kClampThreshold / scale;
}

double signOf(double slope)
{
    return slope >= 0.0 ? 1.0 : -1.0;
}

// The smallest-magnitude slope when all three agree in sign, else flat.
double autoSlope(double in, double out, double chord)
{
    if (signOf(in) != signOf(out) || signOf(out) != signOf(chord)) {
        return 0.0;
    }
    double const smallest = std::fmin(std::fabs(in), std::fmin(std::fabs(out), std::fabs(chord)));
    return signOf(chord) * smallest;
}

}  // namespace

// --- Helpers -----------------------------------------------------------------------------

void T2dAnimCurve::runAs(TruleFn rule, TtangentType asType, bool in, bool out, Tkeyframe const* prev, Tkeyframe* key,
                         Tkeyframe const* next)
{
    TtangentType const storedIn = key->storedTanInType();
    TtangentType const storedOut = key->storedTanOutType();
    if (in) {
        key->setTanInType(asType);
    }
    if (out) {
        key->setTanOutType(asType);
    }
    (this->*rule)(prev, key, next);
    key->setTanInType(storedIn);
    key->setTanOutType(storedOut);
}

void T2dAnimCurve::copyOppositeAtEnds(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TtangentType type)
{
    float x = 0.0f;
    float y = 0.0f;
    if (prev == nullptr && inIs(key, type)) {
        key->getTanOut(x, y);
        key->setTanIn(x, y);
    }
    if (next == nullptr && outIs(key, type)) {
        key->getTanIn(x, y);
        key->setTanOut(x, y);
    }
}

void T2dAnimCurve::applySmoothPair(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    if (key == nullptr) {
        return;
    }
    double const t = keySeconds(*key);
    double const v = key->value();
    float x = 1.0f;
    float y = 0.0f;
    if (prev != nullptr && next != nullptr) {
        double const span = keySeconds(*next) - keySeconds(*prev);
        y = std::fabs(span) >= kNearlyCoincident ? static_cast<float>((next->value() - prev->value()) / span)
                                                 : kNearVerticalSlope;
    } else if (next != nullptr) {
        x = static_cast<float>(keySeconds(*next) - t);
        y = static_cast<float>(next->value() - v);
    } else if (prev != nullptr) {
        x = static_cast<float>(t - keySeconds(*prev));
        y = static_cast<float>(v - prev->value());
    }
    if (inIs(key, kTangentSpline)) {
        setTanIn(key, x, y);
    }
    if (outIs(key, kTangentSpline)) {
        setTanOut(key, x, y);
    }
}

// --- Dispatch ------------------------------------------------------------------------------

void T2dAnimCurve::calculateTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TparamCurve* curve)
{
    if (key == nullptr) {
        return;
    }
    // The rules keep no state of their own: one Hermite serves every caller
    // without a curve.
    static T2dHermite unweightedRules(true);
    T2dAnimCurve* rules = curve != nullptr ? curve->tangentSegment(key) : &unweightedRules;
    if (rules != nullptr) {
        rules->runTangentRules(prev, key, next, curve);
    }
}

bool T2dAnimCurve::hasTangentRule(TtangentType type)
{
    switch (type) {
    case kTangentLinear:
    case kTangentFlat:
    case kTangentSmooth:
    case kTangentStep:
    case kTangentStepNext:
    case kTangentSlow:
    case kTangentFast:
    case kTangentOldClamped:
    case kTangentSpline:
    case kTangentClamped:
    case kTangentPlateau:
    case kTangentAuto: return true;
    default: return false;
    }
}

void T2dAnimCurve::runTangentRules(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, TparamCurve* curve)
{
    if (key == nullptr) {
        return;
    }
    auto dispatch = [&](TtangentType type) {
        switch (type) {
        case kTangentFixed: calculateFixedTangents(prev, key, next); break;
        case kTangentLinear: calculateLinearTangents(prev, key, next); break;
        case kTangentFlat: calculateFlatTangents(prev, key, next); break;
        case kTangentSmooth: calculateOldSmoothTangents(prev, key, next); break;
        case kTangentStep:
        case kTangentStepNext: calculateStepTangents(prev, key, next); break;
        case kTangentSlow: calculateSlowTangents(prev, key, next); break;
        case kTangentFast: calculateFastTangents(prev, key, next); break;
        case kTangentOldClamped: calculateOldClampedTangents(prev, key, next, curve); break;
        case kTangentSpline: calculateSmoothTangents(prev, key, next); break;
        case kTangentClamped: calculateClampedTangents(prev, key, next, curve); break;
        case kTangentPlateau: calculatePlateauTangents(prev, key, next); break;
        case kTangentAuto: calculateAutoTangents(prev, key, next); break;
        default: break;  // global, segment selectors and plug-in kinds have no rule
        }
    };
    TtangentType const in = effectiveTanInType(*key);
    dispatch(in);
    TtangentType const out = effectiveTanOutType(*key);
    if (out != in) {
        // An end key of the clamped family has copied its out-tangent onto
        // its missing in-side as it was before this rule runs: deliberately
        // so, the dispatch stops here.
        dispatch(out);
    }
}

// --- Rules -----------------------------------------------------------------------------------

void T2dAnimCurve::calculateFixedTangents(Tkeyframe const*, Tkeyframe*, Tkeyframe const*) {}

void T2dAnimCurve::calculateSmoothTangents(Tkeyframe const*, Tkeyframe*, Tkeyframe const*) {}

void T2dAnimCurve::calculateLinearTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    double const t = keySeconds(*key);
    double const v = key->value();
    if (inIs(key, kTangentLinear)) {
        prev != nullptr
            ? setTanIn(key, static_cast<float>(t - keySeconds(*prev)), static_cast<float>(v - prev->value()))
            : setTanIn(key, 1.0f, 0.0f);
    }
    if (outIs(key, kTangentLinear)) {
        next != nullptr
            ? setTanOut(key, static_cast<float>(keySeconds(*next) - t), static_cast<float>(next->value() - v))
            : setTanOut(key, 1.0f, 0.0f);
    }
}

void T2dAnimCurve::calculateFlatTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    double const t = keySeconds(*key);
    double in = prev != nullptr ? t - keySeconds(*prev) : 0.0;
    double out = next != nullptr ? keySeconds(*next) - t : 0.0;
    if (prev == nullptr) {
        in = out;
    }
    if (next == nullptr) {
        out = in;
    }
    if (inIs(key, kTangentFlat)) {
        setTanIn(key, static_cast<float>(in), 0.0f);
    }
    if (outIs(key, kTangentFlat)) {
        setTanOut(key, static_cast<float>(out), 0.0f);
    }
}

void T2dAnimCurve::calculateStepTangents(Tkeyframe const*, Tkeyframe* key, Tkeyframe const*)
{
    if (inIs(key, kTangentStep) || inIs(key, kTangentStepNext)) {
        setTanIn(key, 0.0f, 0.0f);
    }
    if (outIs(key, kTangentStep) || outIs(key, kTangentStepNext)) {
        setTanOut(key, 0.0f, 0.0f);
    }
}

namespace {

// The slow and fast rules: a fixed, always rising slope over each side's
// length.
struct TslopeCandidates {
    float fInX = 0, fInY = 0, fOutX = 0, fOutY = 0;
};

TslopeCandidates fixedSlopeCandidates(double t, double v, double tPrev, double vPrev, double tNext, double vNext,
                                      bool hasPrev, bool hasNext, float slope)
{
    TslopeCandidates c;
    float const dIn = static_cast<float>(t - tPrev);
    float const dOut = static_cast<float>(tNext - t);
    float const inX = dIn;
    float const inY = slope * dIn;
    float const outX = dOut;
    float const outY = slope * dOut;
    if (hasPrev && hasNext) {
        bool const prevCoincides = (v - vPrev) * (v - vPrev) + (t - tPrev) * (t - tPrev) == 0.0;
        bool const nextCoincides = (vNext - v) * (vNext - v) + (tNext - t) * (tNext - t) == 0.0;
        bool const both = prevCoincides && nextCoincides;
        c = {both ? outX : inX, both ? outY : inY, outX, outY};
    } else if (hasPrev) {
        c = {inX, inY, inX, inY};
    } else if (hasNext) {
        c = {outX, outY, outX, outY};
    }
    return c;
}

}  // namespace

void T2dAnimCurve::applyFixedSlope(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, float slope,
                                   TtangentType rule)
{
    TslopeCandidates const c = fixedSlopeCandidates(
        keySeconds(*key), key->value(), prev ? keySeconds(*prev) : 0.0, prev ? prev->value() : 0.0,
        next ? keySeconds(*next) : 0.0, next ? next->value() : 0.0, prev != nullptr, next != nullptr, slope);
    if (inIs(key, rule)) {
        setTanIn(key, c.fInX, c.fInY);
    }
    if (outIs(key, rule)) {
        setTanOut(key, c.fOutX, c.fOutY);
    }
}

void T2dAnimCurve::calculateSlowTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    applyFixedSlope(prev, key, next, kSlowSlope, kTangentSlow);
}

void T2dAnimCurve::calculateFastTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    applyFixedSlope(prev, key, next, kFastSlope, kTangentFast);
}

void T2dAnimCurve::calculateOldSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    runAs(&T2dAnimCurve::calculateSmoothTangents, kTangentSpline, inIs(key, kTangentSmooth), outIs(key, kTangentSmooth),
          prev, key, next);
}

void T2dAnimCurve::calculateClampedTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next,
                                            TparamCurve* curve)
{
    double const threshold = clampThreshold(curve);
    double const v = key->value();
    // One side: spline when both neighbour values are far from the key,
    // else flat (taking the other side along when it is clamped too).
    auto side = [&](bool in, double near, double far) {
        bool const otherClamped = in ? outIs(key, kTangentClamped) : inIs(key, kTangentClamped);
        if (std::fabs(near - v) > threshold && std::fabs(far - v) > threshold) {
            runAs(&T2dAnimCurve::calculateSmoothTangents, kTangentSpline, in, !in, prev, key, next);
            return;
        }
        TtangentType const other = in ? key->storedTanOutType() : key->storedTanInType();
        bool const both = otherClamped && !Tkeyframe::isTangentTypeLocked(other);
        runAs(&T2dAnimCurve::calculateFlatTangents, kTangentFlat, in || both, !in || both, prev, key, next);
    };
    if (prev != nullptr && inIs(key, kTangentClamped)) {
        side(true, prev->value(), next != nullptr ? next->value() : prev->value());
    }
    if (next != nullptr && outIs(key, kTangentClamped)) {
        side(false, next->value(), prev != nullptr ? prev->value() : next->value());
    }
    copyOppositeAtEnds(prev, key, next, kTangentClamped);
}

void T2dAnimCurve::calculateOldClampedTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next,
                                               TparamCurve* curve)
{
    double const threshold = clampThreshold(curve);
    double const v = key->value();
    if (prev != nullptr && inIs(key, kTangentOldClamped)) {
        bool const far = std::fabs(prev->value() - v) > threshold;
        runAs(far ? &T2dAnimCurve::calculateOldSmoothTangents : &T2dAnimCurve::calculateFlatTangents,
              far ? kTangentSmooth : kTangentFlat, true, false, prev, key, next);
    }
    if (next != nullptr && outIs(key, kTangentOldClamped)) {
        bool const far = std::fabs(next->value() - v) > threshold;
        runAs(far ? &T2dAnimCurve::calculateOldSmoothTangents : &T2dAnimCurve::calculateFlatTangents,
              far ? kTangentSmooth : kTangentFlat, false, true, prev, key, next);
    }
    copyOppositeAtEnds(prev, key, next, kTangentOldClamped);
}

void T2dAnimCurve::calculatePlateauTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    bool const in = inIs(key, kTangentPlateau);
    bool const out = outIs(key, kTangentPlateau);
    double const v = key->value();
    double const vPrev = prev != nullptr ? prev->value() : DBL_MAX;
    double const vNext = next != nullptr ? next->value() : DBL_MAX;
    constexpr double e = kPlateauTolerance;

    // The spline the key would have, to see whether it overshoots.
    Tkeyframe spline(*key);
    if (!Tkeyframe::isTangentTypeLocked(spline.storedTanInType())) {
        spline.setTanInType(kTangentSpline);
    }
    if (!Tkeyframe::isTangentTypeLocked(spline.storedTanOutType())) {
        spline.setTanOutType(kTangentSpline);
    }
    calculateSmoothTangents(prev, &spline, next);

    auto overshoots = [e](Tkeyframe const* a, Tkeyframe const* b, double va, double vb, T2dAnimCurve const& segment) {
        double low = DBL_MAX;
        double high = -DBL_MAX;
        segment.getBoundingValue(a, b, low, high);
        return (low + e <= va && low + e <= vb) || (high - e >= va && high - e >= vb);
    };
    bool const peak = vPrev <= v - e && vNext <= v - e;
    bool const valley = v + e <= vPrev && v + e <= vNext;
    bool const flatten = peak || valley || std::fabs(v - vPrev) <= e || std::fabs(vNext - v) <= e || prev == nullptr ||
                         next == nullptr || overshoots(prev, &spline, vPrev, v, *this) ||
                         overshoots(&spline, next, v, vNext, *this);
    if (flatten) {
        runAs(&T2dAnimCurve::calculateFlatTangents, kTangentFlat, in, out, prev, key, next);
    } else {
        runAs(&T2dAnimCurve::calculateSmoothTangents, kTangentSpline, in, out, prev, key, next);
    }
    copyOppositeAtEnds(prev, key, next, kTangentPlateau);
}

void T2dAnimCurve::calculateAutoTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    bool const in = inIs(key, kTangentAuto);
    bool const out = outIs(key, kTangentAuto);
    if (prev == nullptr || next == nullptr) {
        runAs(&T2dAnimCurve::calculateFlatTangents, kTangentFlat, in, out, prev, key, next);
        return;
    }
    double const t = keySeconds(*key);
    double const v = key->value();
    double const dIn = t - keySeconds(*prev);
    double const dOut = keySeconds(*next) - t;
    double const dChord = dIn + dOut;
    // Keys never share a time on a curve; the guard keeps a stored tangent
    // from ever becoming NaN all the same.
    double slope = 0.0;
    if (dIn != 0.0 && dOut != 0.0 && dChord != 0.0) {
        slope = autoSlope(3.0 * (v - prev->value()) / dIn, 3.0 * (next->value() - v) / dOut,
                          (next->value() - prev->value()) / dChord);
    }
    if (in) {
        setTanIn(key, static_cast<float>(dIn), static_cast<float>(slope * dIn));
    }
    if (out) {
        setTanOut(key, static_cast<float>(dOut), static_cast<float>(slope * dOut));
    }
}

bool T2dAnimCurve::shouldBeFlat(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next, T2dAnimCurve* segment)
{
    if (key == nullptr || (prev == nullptr && next == nullptr)) {
        return false;
    }
    TtangentType const in = effectiveTanInType(*key);
    TtangentType const out = effectiveTanOutType(*key);
    bool const inSmooth = isSmoothLike(in);
    bool const outSmooth = isSmoothLike(out);
    if (!inSmooth && !outSmooth) {
        return false;
    }
    double const v = key->value();
    float x = 0.0f;
    float y = 0.0f;
    bool inWrong = false;
    bool outWrong = false;
    if (prev != nullptr && inSmooth) {
        key->getTanIn(x, y);
        inWrong = (v >= prev->value() && y <= 0.0f) || (v < prev->value() && y >= 0.0f);
    }
    if (next != nullptr && outSmooth) {
        key->getTanOut(x, y);
        outWrong = (next->value() >= v && y <= 0.0f) || (v > next->value() && y >= 0.0f);
    }
    if (!inWrong && !outWrong) {
        return false;
    }
    T2dHermite fallback(!key->isTickTime());
    T2dAnimCurve& rules = segment != nullptr ? *segment : fallback;
    TtangentType const storedIn = key->storedTanInType();
    TtangentType const storedOut = key->storedTanOutType();
    key->setTanInType(inSmooth ? kTangentFlat : kTangentFixed);
    key->setTanOutType(outSmooth ? kTangentFlat : kTangentFixed);
    rules.calculateFlatTangents(prev, key, next);
    key->setTanInType(storedIn);
    key->setTanOutType(storedOut);
    return true;
}

// --- Kind-specific spline rules -----------------------------------------------------------------------

void T2dHermite::calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    applySmoothPair(prev, key, next);
}

void T2dBezier::calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    // The Hermite slope with each side's handle at a third of its span, so
    // that a weighted spline starts out exactly like an unweighted one.
    if (key == nullptr) {
        return;
    }
    double const t = keySeconds(*key);
    double const in = prev != nullptr ? t - keySeconds(*prev) : (next != nullptr ? keySeconds(*next) - t : 1.0);
    double const out = next != nullptr ? keySeconds(*next) - t : in;
    double slope = 0.0;
    if (prev != nullptr && next != nullptr) {
        double const span = keySeconds(*next) - keySeconds(*prev);
        slope = std::fabs(span) >= kNearlyCoincident ? (next->value() - prev->value()) / span : kNearVerticalSlope;
    } else if (next != nullptr && out != 0.0) {
        slope = (next->value() - key->value()) / out;
    } else if (prev != nullptr && in != 0.0) {
        slope = (key->value() - prev->value()) / in;
    }
    if (inIs(key, kTangentSpline)) {
        setTanIn(key, static_cast<float>(in), static_cast<float>(slope * in));
    }
    if (outIs(key, kTangentSpline)) {
        setTanOut(key, static_cast<float>(out), static_cast<float>(slope * out));
    }
}
