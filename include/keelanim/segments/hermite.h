#pragma once

#include "keelanim/segments/animCurve.h"

class T2dBezier;

// The power form of a Hermite span: the cubic in (x - x0), in seconds, that
// meets both keys with the slopes of their handles. Plain data, so that a
// curve can keep the cubic of the span it evaluates without a segment.
struct ThermiteCubic {
    double fX0 = 0.0;
    double fA = 0.0, fB = 0.0, fC = 0.0, fD = 0.0;  // highest power first

    double evaluate(double x) const
    {
        double const u = x - fX0;
        return ((fA * u + fB) * u + fC) * u + fD;
    }
};

// T2dHermite: the cubic span of curves with non-weighted tangents. Only the
// slopes of the handles matter: the span is the cubic in (x - x0) that meets
// both keys with the slopes of their tangents. Extremes and splitting go
// through the equivalent Bezier.
class KEEL_API T2dHermite : public T2dAnimCurve {
public:
    explicit T2dHermite(bool floatInput) : T2dAnimCurve(floatInput) {}

    TinterpolatorType interpolatorType() const override { return kInterpolatorHermite; }
    Tstring interpolatorName() const override { return "Hermite"; }
    void create(TparamCurve* curve, unsigned index, double x0, double y0, double& x1, double& y1, double& x2,
                double& y2, double x3, double y3, bool adjust) override;
    double evaluate(double x) const override;
    bool setTanIn(Tkeyframe* key, float x, float y) override;
    bool setTanOut(Tkeyframe* key, float x, float y) override;
    // The extremes of the equivalent Bezier; untouched for a zero-length span.
    void getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const override;
    void getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const override;
    // 0.0 with the outputs untouched for a zero-length span.
    double newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                          float& o8) const override;
    bool splitsSpans() const override { return true; }
    void calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next) override;

    // Makes a tangent a unit vector that does not point backwards; a
    // vertical one gets the smallest forward x. True when it vanishes.
    static bool validateTangent(float& x, float& y);

    // The span's cubic in (x - x0).
    ThermiteCubic const& cubic() const { return fCubic; }

private:
    // The equivalent Bezier's inner control values; `guarded` takes the key
    // value for a handle of (near) zero input length.
    void bezierControls(double& y1, double& y2, bool guarded) const;
    // Makes `bezier` the span's equivalent; false for a zero-length span.
    bool asBezier(T2dBezier& bezier, bool guarded) const;

    ThermiteCubic fCubic;
};
