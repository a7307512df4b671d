#include "keelanim/segments/hermite.h"

#include "keelanim/segments/bezier.h"
#include "segments/hermiteCubic.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kVerticalTangentX = 1e-5f;  // the smallest forward step
constexpr double kHandleTolerance = 1e-10;

// A tangent's value offset over h seconds of input: slope times h, or the
// value component itself for a vertical tangent.
double offsetOver(float tx, float ty, double h)
{
    return tx == 0.0f ? double(ty) : double(ty) * h / double(tx);
}

}  // namespace

void T2dHermite::create(TparamCurve*, unsigned, double x0, double y0, double& x1, double& y1, double& x2, double& y2,
                        double x3, double y3, bool)
{
    storeControls(x0, y0, x1, y1, x2, y2, x3, y3);
    fCubic = hermiteCubicFromControls(x0, y0, x1, y1, x2, y2, x3, y3);
}

double T2dHermite::evaluate(double x) const
{
    return fCubic.evaluate(x);
}

bool T2dHermite::validateTangent(float& x, float& y)
{
    if (x < 0.0f) {
        x = 0.0f;
    }
    float const length = std::sqrt(x * x + y * y);
    if (length != 0.0f) {
        x /= length;
        y /= length;
    }
    if (std::fabs(x) > 1e-5f) {
        return false;
    }
    if (std::fabs(y) <= 1e-5f) {
        return true;
    }
    x = kVerticalTangentX;
    y = y < 0.0f ? -1.0f : 1.0f;
    return false;
}

bool T2dHermite::setTanIn(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, true, validateTangent);
}

bool T2dHermite::setTanOut(Tkeyframe* key, float x, float y)
{
    return setValidated(key, x, y, false, validateTangent);
}

void T2dHermite::bezierControls(double& y1, double& y2, bool guarded) const
{
    double const h = (fX3 - fX0) / 3.0;
    bool const flatStart = guarded && std::fabs(fX1 - fX0) <= kHandleTolerance;
    bool const flatEnd = guarded && std::fabs(fX3 - fX2) <= kHandleTolerance;
    y1 = flatStart ? fY0 : fY0 + h * (fY1 - fY0) / (fX1 - fX0);
    y2 = flatEnd ? fY3 : fY3 - h * (fY3 - fY2) / (fX3 - fX2);
}

bool T2dHermite::asBezier(T2dBezier& bezier, bool guarded) const
{
    double const h = (fX3 - fX0) / 3.0;
    if (h == 0.0) {
        return false;
    }
    double y1 = 0.0;
    double y2 = 0.0;
    bezierControls(y1, y2, guarded);
    double x1 = fX0 + h;
    double x2 = fX3 - h;
    bezier.create(nullptr, 0, fX0, fY0, x1, y1, x2, y2, fX3, fY3, true);
    return true;
}

void T2dHermite::getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const
{
    T2dBezier bezier(floatInput());
    if (asBezier(bezier, false)) {
        bezier.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    }
}

double T2dHermite::newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                                  float& o8) const
{
    T2dBezier bezier(floatInput());
    return asBezier(bezier, true) ? bezier.newMatchingKey(x, o1, o2, o3, o4, o5, o6, o7, o8) : 0.0;
}

void T2dHermite::getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const
{
    if (first == nullptr || second == nullptr) {
        return;
    }
    double const ya = first->value();
    double const yb = second->value();
    double const h = (keySeconds(*second) - keySeconds(*first)) / 3.0;
    float tx = 0.0f;
    float ty = 0.0f;
    first->getTanOut(tx, ty);
    double const q1 = ya + offsetOver(tx, ty, h);
    second->getTanIn(tx, ty);
    double const q2 = yb - offsetOver(tx, ty, h);
    max = std::max({max, ya, yb, q1, q2});
    min = std::min({min, ya, yb, q1, q2});
}
