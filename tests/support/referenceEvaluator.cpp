#include "support/referenceEvaluator.h"

#include <keelanim/keelanim.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace keelref {

namespace {

constexpr double kThird = 0.3333333333333333;

double slopeOf(float x, float y)
{
    return x == 0.0f ? 0.0 : double(y) / double(x);
}

// The span that holds t: the cached one or a neighbour for sweeps, else a
// binary search.
std::size_t spanOf(Tcurve const& c, double t)
{
    std::size_t const last = c.fTimes.size() - 2;
    std::size_t s = c.fCached;
    if (t >= c.fTimes[s] && t < c.fTimes[s + 1]) {
        return s;
    }
    if (s < last && t >= c.fTimes[s + 1] && t < c.fTimes[s + 2]) {
        return c.fCached = s + 1;
    }
    if (s > 0 && t >= c.fTimes[s - 1] && t < c.fTimes[s]) {
        return c.fCached = s - 1;
    }
    auto const it = std::upper_bound(c.fTimes.begin(), c.fTimes.end(), t);
    s = static_cast<std::size_t>(it - c.fTimes.begin());
    s = s == 0 ? 0 : std::min(s - 1, last);
    return c.fCached = s;
}

// X(u) = x for a Bezier span, by Newton steps kept inside a shrinking bracket.
double solveBezier(double x0, double x1, double x2, double x3, double x)
{
    double const l = x3 - x0;
    double const a = (x1 - x0) / l;
    double const b = (x2 - x0) / l;
    double const target = (x - x0) / l;
    double const c1 = 3.0 * a;
    double const c2 = 3.0 * (b - 2.0 * a);
    double const c3 = 1.0 + 3.0 * (a - b);
    double lo = 0.0;
    double hi = 1.0;
    double u = target;
    for (int i = 0; i < 40; ++i) {
        double const f = ((c3 * u + c2) * u + c1) * u - target;
        if (std::fabs(f) < 1e-14) {
            break;
        }
        (f > 0.0 ? hi : lo) = u;
        double const df = (3.0 * c3 * u + 2.0 * c2) * u + c1;
        double next = df != 0.0 ? u - f / df : 0.5 * (lo + hi);
        if (!(next > lo && next < hi)) {
            next = 0.5 * (lo + hi);
        }
        u = next;
    }
    return u;
}

double inRange(Tcurve const& c, double t)
{
    std::size_t const s = spanOf(c, t);
    double const t0 = c.fTimes[s];
    double const v0 = c.fValues[s];
    switch (c.fKind) {
    case Tkind::kHermite: {
        double const l = c.fTimes[s + 1] - t0;
        double const rise = c.fValues[s + 1] - v0;
        double const m0 = c.fA[s];
        double const m1 = c.fB[s];
        double const inverseSquare = 1.0 / (l * l);
        double const a = (l * m0 + l * m1 - 2.0 * rise) * inverseSquare / l;
        double const b = (3.0 * rise - 2.0 * l * m0 - l * m1) * inverseSquare;
        double const u = t - t0;
        return ((a * u + b) * u + m0) * u + v0;
    }
    case Tkind::kLinear: return v0 + (t - t0) / (c.fTimes[s + 1] - t0) * (c.fValues[s + 1] - v0);
    case Tkind::kStep: return v0;
    case Tkind::kBezier: {
        double const u = solveBezier(t0, c.fA[s], c.fC[s], c.fTimes[s + 1], t);
        double const w = 1.0 - u;
        return w * w * w * v0 + 3.0 * w * w * u * c.fB[s] + 3.0 * w * u * u * c.fD[s] + u * u * u * c.fValues[s + 1];
    }
    }
    return 0.0;
}

}  // namespace

Tcurve fromEngine(TparamCurve const& curve, Tkind kind)
{
    Tcurve c;
    c.fKind = kind;
    unsigned const n = curve.keyframeCountAll();
    for (unsigned i = 0; i < n; ++i) {
        c.fTimes.push_back(curve.doubleSeconds(curve.keyframe(i)));
        c.fValues.push_back(curve.value(i));
    }
    for (unsigned i = 0; i + 1 < n; ++i) {
        Tkeyframe const* k0 = curve.keyframe(i);
        Tkeyframe const* k1 = curve.keyframe(i + 1);
        float ox = 0, oy = 0, ix = 0, iy = 0;
        k0->getTanOut(ox, oy);
        k1->getTanIn(ix, iy);
        double const t0 = c.fTimes[i];
        double const t1 = c.fTimes[i + 1];
        double const v0 = c.fValues[i];
        double const v1 = c.fValues[i + 1];
        if (kind == Tkind::kBezier) {
            c.fA.push_back(t0 + ox * kThird);
            c.fB.push_back(v0 + oy * kThird);
            c.fC.push_back(t1 - ix * kThird);
            c.fD.push_back(v1 - iy * kThird);
            continue;
        }
        c.fA.push_back(slopeOf(ox, oy));
        c.fB.push_back(slopeOf(ix, iy));
    }
    switch (curve.postInfinityType()) {
    case TparamCurveEnums::kCycle: c.fPost = Tinfinity::kCycle; break;
    case TparamCurveEnums::kCycleRelative: c.fPost = Tinfinity::kCycleRelative; break;
    case TparamCurveEnums::kOscillate: c.fPost = Tinfinity::kOscillate; break;
    default: c.fPost = Tinfinity::kConstant; break;
    }
    return c;
}

__attribute__((noinline)) double evaluate(Tcurve const& c, double t)
{
    double const first = c.fTimes.front();
    double const last = c.fTimes.back();
    if (t <= first) {
        return c.fValues.front();
    }
    if (t < last) {
        return inRange(c, t);
    }
    if (t == last || c.fPost == Tinfinity::kConstant) {
        return c.fValues.back();
    }
    double const range = last - first;
    double whole = 0.0;
    double const offset = std::modf((t - last) / range, &whole) * range;
    double const cycles = whole + 1.0;
    double mapped = first + offset;
    if (c.fPost == Tinfinity::kOscillate && std::fmod(cycles, 2.0) == 1.0) {
        mapped = last - offset;
    }
    double const value = offset == 0.0 ? (mapped == first ? c.fValues.front() : c.fValues.back()) : inRange(c, mapped);
    return c.fPost == Tinfinity::kCycleRelative ? value + (c.fValues.back() - c.fValues.front()) * cycles : value;
}

// Keys one second apart with random values and tangents, all spans of one
// kind; weighted curves get handles off the thirds of their spans.
std::unique_ptr<TparamCurve> benchCurve(unsigned count, Tkind kind, unsigned seed)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, kind == Tkind::kBezier);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-10.0f, 10.0f);
    std::uniform_real_distribution<float> weight(0.5f, 1.8f);
    TtangentType const type = kind == Tkind::kLinear ? kTangentLinear
                              : kind == Tkind::kStep ? kTangentStep
                                                     : kTangentFixed;
    TanimTimeArray times;
    TdoubleArray values;
    for (unsigned i = 0; i < count; ++i) {
        times.addLast(TanimTime::fromTicks(int(i) * kTicksPerSecond));
        values.addLast(value(random));
    }
    curve->blockAdd(times, values, type, type);
    if (type == kTangentFixed) {
        for (unsigned i = 0; i < count; ++i) {
            Tkeyframe* key = curve->keyframe(i);
            float const slope = value(random) * 0.3f;
            bool const weighted = kind == Tkind::kBezier;
            key->setTanIn(weighted ? weight(random) : 1.0f, slope);
            key->setTanOut(weighted ? weight(random) : 1.0f, slope);
        }
    }
    curve->invalidateCache();
    return curve;
}

}  // namespace keelref
