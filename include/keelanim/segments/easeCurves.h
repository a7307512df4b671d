#pragma once

#include "keelanim/segments/animCurve.h"

// Spans that ease in, run at constant speed, and ease out: shaped by a
// quarter sine wave (T2dSine), a parabola (T2dParabolic), or a sine ease
// followed by an exponential value mapping (T2dLog).
//
// They keep the control points exactly as create() receives them. The
// ease-in lasts as long as the first handle's input length; the ease-out is
// measured as x2 - x3, which an in-handle never makes positive, so these
// spans run at constant speed into their second key. They report no
// extremes and cannot be split shape-preservingly.
class KEEL_API T2dEaseCurve : public T2dAnimCurve {
public:
    using T2dAnimCurve::T2dAnimCurve;

    void create(TparamCurve* curve, unsigned index, double x0, double y0, double& x1, double& y1, double& x2,
                double& y2, double x3, double y3, bool adjust) override;
    bool setTanIn(Tkeyframe* key, float x, float y) override;
    bool setTanOut(Tkeyframe* key, float x, float y) override;
    // Times 0 and values -DBL_MAX: no search is made.
    void getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const override;
    // The keys' values and the tangents' value components over three.
    void getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const override;
    // 0.0, outputs untouched.
    double newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                          float& o8) const override;
    void calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next) override;

    // Only an input component below 0 is corrected: lengths are kept.
    static void validateTangent(float& x, float& y) { keepInputForward(x, y); }

protected:
    double easeIn() const;
    double easeOut() const;
    // y0 or y3 when x is exactly at a key; false otherwise.
    bool atKey(double x, double& value) const;
};

class KEEL_API T2dSine : public T2dEaseCurve {
public:
    using T2dEaseCurve::T2dEaseCurve;
    TinterpolatorType interpolatorType() const override { return kInterpolatorSine; }
    Tstring interpolatorName() const override { return "Sine"; }
    double evaluate(double x) const override;
};

class KEEL_API T2dParabolic : public T2dEaseCurve {
public:
    using T2dEaseCurve::T2dEaseCurve;
    TinterpolatorType interpolatorType() const override { return kInterpolatorParabolic; }
    Tstring interpolatorName() const override { return "Parabolic"; }
    double evaluate(double x) const override;
};

class KEEL_API T2dLog : public T2dEaseCurve {
public:
    using T2dEaseCurve::T2dEaseCurve;
    TinterpolatorType interpolatorType() const override { return kInterpolatorLog; }
    Tstring interpolatorName() const override { return "Log"; }
    double evaluate(double x) const override;
};
