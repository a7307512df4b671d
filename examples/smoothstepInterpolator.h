#pragma once

// An example plug-in segment kind that a host can copy: "smoothstep" spans
// ease in and out along the quintic 6s^5 - 15s^4 + 10s^3, whatever the keys'
// tangents. Register it once, then give a key the kind's number as its
// out-tangent type to make the span that starts at the key a smoothstep span.

#include <keelanim/keelanim.h>

// The kind's number: a tangent type in the range plug-ins own.
inline constexpr unsigned kSmoothstepKind = 64;

// Registers the kind (with the evaluate-at-keys flag when asked); false when
// its number is taken already.
bool registerSmoothstepInterpolator(bool evaluatesAtKeys = false);

class TsmoothstepCurve : public T2dAnimCurve {
public:
    TsmoothstepCurve(bool floatInput, unsigned number) : T2dAnimCurve(floatInput), fNumber(number) {}

    TinterpolatorType interpolatorType() const override { return static_cast<TinterpolatorType>(fNumber); }
    Tstring interpolatorName() const override { return "smoothstep"; }
    void create(TparamCurve* curve, unsigned index, double x0, double y0, double& x1, double& y1, double& x2,
                double& y2, double x3, double y3, bool adjust) override;
    double evaluate(double x) const override;
    bool setTanIn(Tkeyframe* key, float x, float y) override;
    bool setTanOut(Tkeyframe* key, float x, float y) override;
    void getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const override;
    void getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const override;
    double newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                          float& o8) const override;

private:
    unsigned fNumber;
    double fX0 = 0, fY0 = 0, fX3 = 1, fY3 = 0;
};
