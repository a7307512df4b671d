#include "keelanim/segments/easeCurves.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

constexpr double kHalfPi = 1.5707963267948966;
constexpr double kTwoOverPi = 0.6366197723675814;
constexpr double kOneMinusTwoOverPi = 0.3633802276324186;
constexpr double kUnitBaseTolerance = 1e-10;

// The rise of a quarter-cosine ease `along` seconds into an ease of length
// `ease`, at speed `k` once it ends.
double cosineEase(double along, double ease, double k)
{
    return ease * k * kTwoOverPi * (1.0 - std::cos(along * kHalfPi / ease));
}

// The rise at `x` on the straight part after a quarter-cosine ease-in of
// length `ease` that ends at `easeEnd`.
double afterCosineEase(double x, double easeEnd, double ease, double k)
{
    return k * (ease * kTwoOverPi + x - easeEnd);
}

}  // namespace

// --- Shared --------------------------------------------------------------------------

void T2dEaseCurve::create(TparamCurve*, unsigned, double x0, double y0, double& x1, double& y1, double& x2, double& y2,
                          double x3, double y3, bool)
{
    storeControls(x0, y0, x1, y1, x2, y2, x3, y3);
}

double T2dEaseCurve::easeIn() const
{
    double const handle = fX1 - fX0;
    return handle < 0.0 ? 0.0 : std::min(fX3 - fX0, handle);
}

double T2dEaseCurve::easeOut() const
{
    // Measured as x2 - x3: an in-handle never points past its key.
    double const handle = fX2 - fX3;
    return handle < 0.0 ? 0.0 : std::min(fX3 - fX0 - easeIn(), handle);
}

bool T2dEaseCurve::atKey(double x, double& value) const
{
    if (x == fX0) {
        value = fY0;
        return true;
    }
    if (x == fX3) {
        value = fY3;
        return true;
    }
    return false;
}

bool T2dEaseCurve::setTanIn(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, true, validateTangent);
}

bool T2dEaseCurve::setTanOut(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, false, validateTangent);
}

void T2dEaseCurve::getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const
{
    minTime = maxTime = 0.0f;
    minValue = maxValue = -DBL_MAX;
}

void T2dEaseCurve::getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const
{
    widenByHandleValues(first, second, min, max);
}

double T2dEaseCurve::newMatchingKey(double, float&, float&, float&, float&, float&, float&, float&, float&) const
{
    return 0.0;
}

void T2dEaseCurve::calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next)
{
    applySmoothPair(prev, key, next);
}

// --- Kinds --------------------------------------------------------------------------------

double T2dSine::evaluate(double x) const
{
    double value = 0.0;
    if (atKey(x, value)) {
        return value;
    }
    double const e1 = easeIn();
    double const e2 = easeOut();
    double const k = (fY3 - fY0) / (fX3 - fX0 - (e1 + e2) * kOneMinusTwoOverPi);
    // An ease of zero length has no branch of its own (x beyond a key would
    // otherwise divide by it).
    if (e1 > 0.0 && x < fX0 + e1) {
        return fY0 + cosineEase(x - fX0, e1, k);
    }
    if (e2 > 0.0 && x > fX3 - e2) {
        return fY3 - cosineEase(fX3 - x, e2, k);
    }
    return fY0 + afterCosineEase(x, fX0 + e1, e1, k);
}

double T2dParabolic::evaluate(double x) const
{
    double value = 0.0;
    if (atKey(x, value)) {
        return value;
    }
    double const e1 = easeIn();
    double const e2 = easeOut();
    double const k = (fY3 - fY0) / (fX3 - fX0 - (e1 + e2) * 0.5);
    if (e1 > 0.0 && x < fX0 + e1) {
        return fY0 + k * (x - fX0) * (x - fX0) / (2.0 * e1);
    }
    if (e2 == 0.0 || x < fX3 - e2) {
        return fY0 + k * (0.5 * e1 + x - (fX0 + e1));
    }
    return fY3 - k * (fX3 - x) * (fX3 - x) / (2.0 * e2);
}

double T2dLog::evaluate(double x) const
{
    double value = 0.0;
    if (atKey(x, value)) {
        return value;
    }
    double const rise = fY2 - fY3 > 0.0 ? fY2 - fY3 : 1.0;
    double const run = fY1 - fY0 > 0.0 ? fY1 - fY0 : 1.0;
    double const base = rise / run;
    double const e1 = easeIn();
    double const e2 = easeOut();
    double const k = 1.0 / (fX3 - fX0 - (e1 + e2) * kOneMinusTwoOverPi);
    double progress = 0.0;
    if (e1 > 0.0 && x < fX0 + e1) {
        progress = cosineEase(x - fX0, e1, k);
    } else if (e2 > 0.0 && x > fX3 - e2) {
        // The ease-out here uses sin where the sine span uses 1 - cos.
        progress = k * (e1 * kTwoOverPi + (fX3 - e2 - (fX0 + e1)) +
                        e2 * kTwoOverPi * std::sin((x - (fX3 - e2)) * kHalfPi / e2));
    } else {
        progress = afterCosineEase(x, fX0 + e1, e1, k);
    }
    if (std::fabs(base - 1.0) <= kUnitBaseTolerance) {
        return fY0 + (fY3 - fY0) * progress;
    }
    return fY0 + (fY3 - fY0) * (std::exp(std::log(base) * progress) - 1.0) / (base - 1.0);
}
