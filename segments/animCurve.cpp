#include "keelanim/segments/animCurve.h"

#include "keelanim/base/environment.h"
#include "keelanim/segments/bezier.h"
#include "keelanim/segments/easeCurves.h"
#include "keelanim/segments/hermite.h"
#include "keelanim/segments/pluginInterp.h"

#include <algorithm>

namespace {

// Hosts may choose another segment kind for flat spans through this
// variable; it is read each time a flat span is selected, and only then.
char const* const kInterpolatorVariable = "ZEVA_ANIMATION_INTERPOLATOR";

}  // namespace

T2dAnimCurve::~T2dAnimCurve() = default;

double T2dAnimCurve::keySeconds(Tkeyframe const& key) const
{
    return fFloatInput ? double(key.floatTime()) : double(float(key.animTime().ticks() / 6000.0));
}

void T2dAnimCurve::storeControls(double x0, double y0, double x1, double y1, double x2, double y2, double x3, double y3)
{
    fX0 = x0;
    fY0 = y0;
    fX1 = x1;
    fY1 = y1;
    fX2 = x2;
    fY2 = y2;
    fX3 = x3;
    fY3 = y3;
}

void T2dAnimCurve::keepInputForward(float& x, float&)
{
    if (x < 0.0f) {
        x = 0.0f;
    }
}

void T2dAnimCurve::widenByHandleValues(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max)
{
    if (first == nullptr || second == nullptr) {
        return;
    }
    double const ya = first->value();
    double const yb = second->value();
    float tx = 0.0f;
    float ty = 0.0f;
    first->getTanOut(tx, ty);
    double const q1 = ya + double(ty) * kOneThird;
    second->getTanIn(tx, ty);
    double const q2 = yb - double(ty) * kOneThird;
    max = std::max({max, ya, yb, q1, q2});
    min = std::min({min, ya, yb, q1, q2});
}

bool T2dAnimCurve::storeTanIn(Tkeyframe* key, float x, float y)
{
    float storedX = 0.0f;
    float storedY = 0.0f;
    key->getTanIn(storedX, storedY);
    return !(storedX == x && storedY == y) && key->setTanIn(x, y);
}

bool T2dAnimCurve::storeTanOut(Tkeyframe* key, float x, float y)
{
    float storedX = 0.0f;
    float storedY = 0.0f;
    key->getTanOut(storedX, storedY);
    return !(storedX == x && storedY == y) && key->setTanOut(x, y);
}

T2dAnimCurve* T2dAnimCurve::new2dAnimCurve(bool floatInput, TinterpolatorType type)
{
    switch (type) {
    case kInterpolatorHermite: return new T2dHermite(floatInput);
    case kInterpolatorBezier: return new T2dBezier(floatInput);
    case kInterpolatorSine: return new T2dSine(floatInput);
    case kInterpolatorParabolic: return new T2dParabolic(floatInput);
    case kInterpolatorLog: return new T2dLog(floatInput);
    case kInterpolatorNone4:
    case kInterpolatorNone6: return nullptr;
    default: break;
    }
    T2dAnimCurve* plugin = TpluginAnimCurveInterpDBase::create(floatInput, type);
    return plugin != nullptr ? plugin : new T2dHermite(floatInput);
}

TinterpolatorType T2dAnimCurve::chosenInterpolatorType(bool weighted, Tkeyframe const* key)
{
    if (key == nullptr) {
        return byWeighting(weighted);
    }
    TtangentType const out = effectiveTanOutType(*key);
    if (isPluginTangentType(out) && out <= kTangentPluginRangeLast) {
        return static_cast<TinterpolatorType>(out);
    }
    switch (out) {
    case kTangentFlat: {
        std::int32_t const chosen = TenvironmentVariable(kInterpolatorVariable).asInt32(0);
        return chosen != 0 ? static_cast<TinterpolatorType>(chosen) : byWeighting(weighted);
    }
    case kTangentHermite: return kInterpolatorSine;
    case kTangentBezier: return kInterpolatorParabolic;
    case kTangentSine: return kInterpolatorNone4;
    case kTangentParabolic: return kInterpolatorLog;
    case kTangentLog: return kInterpolatorNone6;
    default: return byWeighting(weighted);
    }
}
