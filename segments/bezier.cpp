#include "keelanim/segments/bezier.h"

#include "unitRoots.h"

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <cmath>
#include <thread>

namespace {

constexpr double kTwoThirds = 0.6666666666666666;
constexpr double kLinearInputTolerance = 1e-6;
constexpr double kEndTolerance = 1e-10;
constexpr double kMonotonicMargin = 1e-10;

// --- Machine epsilon, computed once -------------------------------------------------

// Every operand and result passes through memory as a 64-bit double, so that
// no wider register precision leaks into the computed epsilon.
void dbl_mult(double const volatile* a, double const volatile* b, double volatile* result)
{
    *result = *a * *b;
}

void dbl_add(double const volatile* a, double const volatile* b, double volatile* result)
{
    *result = *a + *b;
}

bool dbl_gt(double const volatile* a, double const volatile* b)
{
    return *a > *b;
}

double computeMachineEpsilon()
{
    double volatile epsilon = 1.0;
    double volatile const one = 1.0;
    double volatile const half = 0.5;
    double volatile const two = 2.0;
    double volatile sum = 0.0;
    dbl_add(&one, &epsilon, &sum);
    while (dbl_gt(&sum, &one)) {
        dbl_mult(&epsilon, &half, &epsilon);
        dbl_add(&one, &epsilon, &sum);
    }
    dbl_mult(&epsilon, &two, &epsilon);
    return epsilon;
}

enum TepsilonState : int { kNotStarted = 0, kRunning = 1, kDone = 2 };
std::atomic<int> sEpsilonState{kNotStarted};
double sMachineEpsilon = 0.0;

void ensureMachineEpsilon()
{
    if (sEpsilonState.load(std::memory_order_acquire) == kDone) {
        return;
    }
    int expected = kNotStarted;
    if (sEpsilonState.compare_exchange_strong(expected, kRunning, std::memory_order_acq_rel)) {
        sMachineEpsilon = computeMachineEpsilon();
        sEpsilonState.store(kDone, std::memory_order_release);
        return;
    }
    while (sEpsilonState.load(std::memory_order_acquire) != kDone) {
        std::this_thread::yield();
    }
}

// --- Power forms ------------------------------------------------------------------------

// A cubic in power form (constant term first) at u, by Horner's rule, and
// its derivative there.
double cubicAt(double const* c, double u)
{
    return ((c[3] * u + c[2]) * u + c[1]) * u + c[0];
}

double slopeAt(double const* c, double u)
{
    return (3.0 * c[3] * u + 2.0 * c[2]) * u + c[1];
}

void bezierToPower(double p0, double p1, double p2, double p3, double* power)
{
    power[3] = p3 - p2 - (p2 - p1) - ((p2 - p1) - (p1 - p0));
    power[2] = 3.0 * ((p2 - p1) - (p1 - p0));
    power[1] = 3.0 * (p1 - p0);
    power[0] = p0;
}

}  // namespace

T2dBezier::T2dBezier(bool floatInput) : T2dAnimCurve(floatInput)
{
    ensureMachineEpsilon();
}

double T2dBezier::machineEpsilon()
{
    ensureMachineEpsilon();
    return sMachineEpsilon;
}

// --- Accepting a span ------------------------------------------------------------------------

void T2dBezier::constrainInsideBounds(double& p, double& q)
{
    if (p + kMonotonicMargin >= 4.0 / 3.0) {
        p = 1.3333333332333333;
        q = 0.3333333332333333;
        return;
    }
    double const discriminant = std::max(0.0, (p - 2.0) * (p - 2.0) - 4.0 * (p - 1.0) * (p - 1.0));
    double const root = std::sqrt(discriminant);
    double const hi = (root - (p - 2.0)) / 2.0;
    double const lo = (-(p - 2.0) - root) / 2.0 + kMonotonicMargin;
    if (q + kMonotonicMargin > hi) {
        q = hi - kMonotonicMargin;
    } else if (q < lo) {
        q = lo;
    }
}

void T2dBezier::checkMonotonic(double& a, double& b, bool adjust)
{
    double c = 1.0 - b;
    a = std::max(a, 0.0);
    c = std::max(c, 0.0);
    bool const inside = a <= 1.0 && c <= 1.0;
    if (!inside && a * (a - 2.0 + c) + c * (c - 2.0) + 1.0 + kMonotonicMargin > 0.0) {
        if (adjust) {
            constrainInsideBounds(a, c);
        } else {
            constrainInsideBounds(c, a);
        }
    }
    b = 1.0 - c;
}

void T2dBezier::create(TparamCurve*, unsigned, double x0, double y0, double& x1, double& y1, double& x2, double& y2,
                       double x3, double y3, bool adjust)
{
    double const length = x3 - x0;
    if (length == 0.0) {
        return;
    }
    double const aOld = (x1 - x0) / length;
    double const bOld = (x2 - x0) / length;
    fLinearInput =
        std::fabs(aOld - kOneThird) <= kLinearInputTolerance && std::fabs(bOld - kTwoThirds) <= kLinearInputTolerance;
    double a = aOld;
    double b = bOld;
    if (a < 0.0) {
        a = 0.0;
    }
    if (b > 1.0) {
        b = 1.0;
        if (a > 1.0) {
            checkMonotonic(a, b, adjust);
        }
    } else if (a > 1.0 || b < -1.0) {
        checkMonotonic(a, b, adjust);
    }
    if (a != aOld) {
        x1 = x0 + a * length;
        if (std::fabs(aOld) > kEndTolerance) {
            y1 = y0 + (y1 - y0) * a / aOld;
        }
    }
    if (b != bOld) {
        x2 = x0 + b * length;
        if (std::fabs(bOld - 1.0) > kEndTolerance) {
            y2 = y3 - (y3 - y2) * (1.0 - b) / (1.0 - bOld);
        }
    }
    storeControls(x0, y0, x1, y1, x2, y2, x3, y3);
    bezierToPower(0.0, a, b, 1.0, fInput);
    bezierToPower(y0, y1, y2, y3, fValue);
    fMonotonicInput = inputNeverFalls();
}

// --- Solving and evaluating ----------------------------------------------------------------------

// Whether X(u) never falls on [0, 1]: its derivative, a quadratic, is not
// negative at either end nor at its turning point when that lies inside.
bool T2dBezier::inputNeverFalls() const
{
    double lowest = std::min(slopeAt(fInput, 0.0), slopeAt(fInput, 1.0));
    if (fInput[3] != 0.0) {
        double const turn = -fInput[2] / (3.0 * fInput[3]);
        if (turn > 0.0 && turn < 1.0) {
            lowest = std::min(lowest, slopeAt(fInput, turn));
        }
    }
    return lowest >= 0.0;
}

double T2dBezier::findParmAt(double x) const
{
    double u0 = 0.0;
    if (std::fabs(x - fX0) <= kEndTolerance) {
        u0 = 0.0;
    } else if (std::fabs(x - fX3) <= kEndTolerance) {
        u0 = 1.0;
    } else {
        u0 = (x - fX0) / (fX3 - fX0);
    }
    if (fLinearInput) {
        return u0;
    }
    double root = 0.0;
    return fMonotonicInput && u0 > 0.0 && u0 < 1.0 && newtonRoot(u0, root) ? root : rootBySearch(u0);
}

// X(u) = u0 on a span whose X never falls, from the guess u = u0: Newton
// steps kept inside the bracket [lo, hi] that holds the root (bisection when
// a step would leave it), converged as rootBySearch converges, when a step
// or half the bracket is within two machine epsilons of the estimate
// (relative), or X(u) = u0 exactly. False when the steps run out, which
// leaves the answer to rootBySearch.
bool T2dBezier::newtonRoot(double u0, double& root) const
{
    constexpr int kMaxSteps = 60;
    double const tolerance = 2.0 * sMachineEpsilon;
    double const shifted[4] = {fInput[0] - u0, fInput[1], fInput[2], fInput[3]};  // X(u) - u0
    double lo = 0.0;
    double hi = 1.0;
    double u = u0;
    for (int step = 0; step < kMaxSteps; ++step) {
        double const f = cubicAt(shifted, u);
        if (f == 0.0) {
            root = u;
            return true;
        }
        (f < 0.0 ? lo : hi) = u;
        double const slope = slopeAt(fInput, u);
        double next = slope > 0.0 ? u - f / slope : lo;
        if (!(next > lo && next < hi)) {
            next = 0.5 * (lo + hi);
        }
        if (std::fabs(next - u) <= tolerance * std::fabs(next) || 0.5 * (hi - lo) <= tolerance * std::fabs(next)) {
            root = next;
            return true;
        }
        u = next;
    }
    return false;
}

// The general solver, for inputs that may turn back: every root of
// X(u) = u0 in [0, 1] (the derivative's roots split the interval, Brent's
// method refines each sign change); the root when there is exactly one,
// else 0.
double T2dBezier::rootBySearch(double u0) const
{
    double const epsilon4 = 4.0 * sMachineEpsilon;
    double coefficients[4] = {fInput[0] - u0, fInput[1], fInput[2], fInput[3]};
    double const scale = std::fabs(coefficients[0]) + std::fabs(coefficients[1]) + std::fabs(coefficients[2]) +
                         std::fabs(coefficients[3]);
    if (!(scale > epsilon4)) {
        return 0.0;  // also for NaN
    }
    for (double& c : coefficients) {
        c /= scale;
    }
    int degree = 3;
    while (degree > 0 && std::fabs(coefficients[degree]) < epsilon4) {
        --degree;
    }
    if (degree == 0) {
        return 0.0;
    }
    if (degree == 1) {
        double const root = -coefficients[0] / coefficients[1];
        if (root - epsilon4 >= 1.0 || root + epsilon4 <= 0.0 || root < 0.0) {
            return 0.0;
        }
        return std::min(root, 1.0);
    }
    double roots[keel_segments::kMaxDegree + 1];
    int const count = keel_segments::rootsInUnitInterval(coefficients, degree, roots);
    return count == 1 ? roots[0] : 0.0;
}

double T2dBezier::valueAt(double u) const
{
    return cubicAt(fValue, u);
}

double T2dBezier::evaluate(double x) const
{
    return valueAt(findParmAt(x));
}

void T2dBezier::cubicBezierEvaluationAt(double u, double p0, double p1, double p2, double p3, double& q1, double& q2,
                                        double& q3, double& r1, double& r2, double& s) const
{
    q1 = p0 + u * (p1 - p0);
    q2 = p1 + u * (p2 - p1);
    q3 = p2 + u * (p3 - p2);
    r1 = q1 + u * (q2 - q1);
    r2 = q2 + u * (q3 - q2);
    s = r1 + u * (r2 - r1);
}

T2dBezier::Tsplit T2dBezier::split(double x) const
{
    double const u = findParmAt(x);
    double xq[3];
    double xr[2];
    double xs = 0.0;
    double yq[3];
    double yr[2];
    double ys = 0.0;
    cubicBezierEvaluationAt(u, fX0, fX1, fX2, fX3, xq[0], xq[1], xq[2], xr[0], xr[1], xs);
    cubicBezierEvaluationAt(u, fY0, fY1, fY2, fY3, yq[0], yq[1], yq[2], yr[0], yr[1], ys);
    return Tsplit{valueAt(u), {xq[0], yq[0], xr[0], yr[0], xr[1], yr[1], xq[2], yq[2]}};
}

double T2dBezier::evaluateForBezier(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6,
                                    float& o7, float& o8) const
{
    Tsplit const s = split(x);
    float* outputs[8] = {&o1, &o2, &o3, &o4, &o5, &o6, &o7, &o8};
    for (int i = 0; i < 8; ++i) {
        *outputs[i] = static_cast<float>(s.fHandles[i]);
    }
    return s.fValue;
}

double T2dBezier::newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                                 float& o8) const
{
    // Kept in double until each stored tangent is formed: handle ends far
    // from time 0 would lose their offsets in single precision.
    Tsplit const s = split(x);
    double const* h = s.fHandles;
    double const v = s.fValue;
    o1 = static_cast<float>(3.0 * (h[0] - fX0));
    o2 = static_cast<float>(3.0 * (h[1] - fY0));
    o3 = static_cast<float>(3.0 * (x - h[2]));
    o4 = static_cast<float>(3.0 * (v - h[3]));
    o5 = static_cast<float>(3.0 * (h[4] - x));
    o6 = static_cast<float>(3.0 * (h[5] - v));
    o7 = static_cast<float>(3.0 * (fX3 - h[6]));
    o8 = static_cast<float>(3.0 * (fY3 - h[7]));
    return v;
}

// --- Extremes, bounds and tangents ----------------------------------------------------------------

int T2dBezier::quadraticRoots(double a, double b, double c, double& r1, double& r2)
{
    if (a == 0.0) {
        if (b == 0.0) {
            return 0;
        }
        r1 = -c / b;
        return 1;
    }
    double const discriminant = b * b - 4.0 * a * c;
    if (discriminant < 0.0) {
        return 0;
    }
    if (discriminant == 0.0) {
        r1 = -b / (2.0 * a);
        return 1;
    }
    // The cancellation-free form: the naive (-b +- sqrt D) / 2a loses the
    // small root when b*b dwarfs a*c. The order stays that of the naive
    // form: (-b - sqrt D) / 2a first.
    double const root = std::sqrt(discriminant);
    double const q = -0.5 * (b + std::copysign(root, b));
    double const one = q / a;
    double const other = q != 0.0 ? c / q : one;
    r1 = a > 0.0 ? std::min(one, other) : std::max(one, other);
    r2 = a > 0.0 ? std::max(one, other) : std::min(one, other);
    return 2;
}

void T2dBezier::getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const
{
    minTime = maxTime = static_cast<float>(fX0);
    minValue = maxValue = -DBL_MAX;
    double const length = fX3 - fX0;
    double const k3 = fValue[3];
    double const k2 = fValue[2];
    double const k1 = fValue[1];
    auto inputAt = [this, length](double u) { return static_cast<float>(fX0 + length * cubicAt(fInput, u)); };
    if (k3 == 0.0) {
        if (k2 != 0.0) {
            double const u = -k1 / (2.0 * k2);
            if (u > 0.0 && u < 1.0) {
                maxValue = valueAt(u);
                maxTime = inputAt(u);
            }
        }
        return;
    }
    if (k1 * 3.0 * k3 > k2 * k2) {
        return;
    }
    double first = 0.0;
    double second = 0.0;
    int const count = quadraticRoots(3.0 * k3, 2.0 * k2, k1, first, second);
    if (count >= 1 && first > 0.0 && first < 1.0) {
        maxValue = valueAt(first);
        maxTime = inputAt(first);
    }
    if (count == 2 && second > 0.0 && second < 1.0) {
        minValue = valueAt(second);
        minTime = inputAt(second);
    }
}

void T2dBezier::getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const
{
    widenByHandleValues(first, second, min, max);
}

bool T2dBezier::setTanIn(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, true, validateTangent);
}

bool T2dBezier::setTanOut(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, false, validateTangent);
}
