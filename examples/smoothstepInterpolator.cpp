#include "smoothstepInterpolator.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

void* makeSmoothstep(bool floatInput, TpluginAnimCurveInterp const* record)
{
    return new TsmoothstepCurve(floatInput, record->tag().value());
}

// The registry asks for a second function before it lets a kind make spans.
void* kindIsUsable()
{
    return reinterpret_cast<void*>(&makeSmoothstep);
}

}  // namespace

bool registerSmoothstepInterpolator(bool evaluatesAtKeys)
{
    unsigned const flags = evaluatesAtKeys ? TpluginAnimCurveInterp::kEvaluatesAtKeys : 0u;
    return TpluginAnimCurveInterpDBase::add("smoothstep", TiffTag(kSmoothstepKind), flags, &makeSmoothstep,
                                            &kindIsUsable) != nullptr;
}

void TsmoothstepCurve::create(TparamCurve*, unsigned, double x0, double y0, double&, double&, double&, double&,
                              double x3, double y3, bool)
{
    fX0 = x0;
    fY0 = y0;
    fX3 = x3;
    fY3 = y3;
}

double TsmoothstepCurve::evaluate(double x) const
{
    double const length = fX3 - fX0;
    double const s = length > 0.0 ? std::clamp((x - fX0) / length, 0.0, 1.0) : 0.0;
    return fY0 + (fY3 - fY0) * s * s * s * (s * (s * 6.0 - 15.0) + 10.0);
}

bool TsmoothstepCurve::setTanIn(Tkeyframe* key, float x, float y)
{
    return key != nullptr && key->setTanIn(std::max(x, 0.0f), y);
}

bool TsmoothstepCurve::setTanOut(Tkeyframe* key, float x, float y)
{
    return key != nullptr && key->setTanOut(std::max(x, 0.0f), y);
}

void TsmoothstepCurve::getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const
{
    // Monotonic between its keys: no stationary point inside.
    minTime = maxTime = static_cast<float>(fX0);
    minValue = maxValue = -DBL_MAX;
}

void TsmoothstepCurve::getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const
{
    if (first != nullptr && second != nullptr) {
        min = std::min({min, first->value(), second->value()});
        max = std::max({max, first->value(), second->value()});
    }
}

double TsmoothstepCurve::newMatchingKey(double, float&, float&, float&, float&, float&, float&, float&, float&) const
{
    return 0.0;  // a smoothstep span cannot be split into two smoothstep spans
}
