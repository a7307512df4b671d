#pragma once

#include "keelanim/segments/animCurve.h"

// T2dBezier: the span of curves with weighted tangents, a true cubic Bezier
// in the (input, value) plane. The input is itself a cubic X(u) in the curve
// parameter u in [0, 1], so a value at an input first solves X(u) = x.
//
// create() keeps X(u) monotonic by moving handles that reach past the span or
// past each other; `adjust` says which handle yields (true: the second).
// When the handles sit at the thirds of the span in input, X(u) = u and no
// solving is needed (linearInput). Otherwise X(u) = x is solved by Newton
// steps guarded by a bracket of the root, refined until a step or the
// bracket is within two machine epsilons of the root (relative); an input
// that turns back within the span falls to a search of every root. Solving
// uses no heap memory.
class KEEL_API T2dBezier : public T2dAnimCurve {
public:
    explicit T2dBezier(bool floatInput);

    TinterpolatorType interpolatorType() const override { return kInterpolatorBezier; }
    Tstring interpolatorName() const override { return "Bezier"; }
    void create(TparamCurve* curve, unsigned index, double x0, double y0, double& x1, double& y1, double& x2,
                double& y2, double x3, double y3, bool adjust) override;
    double evaluate(double x) const override;
    bool setTanIn(Tkeyframe* key, float x, float y) override;
    bool setTanOut(Tkeyframe* key, float x, float y) override;
    // The stationary points of Y(u) in root order, not sorted: the first
    // goes to (maxTime, maxValue), a second to (minTime, minValue). Outputs
    // without a stationary point keep time x0 and value -DBL_MAX.
    void getMinMaxTimeAndValue(float& minTime, double& minValue, float& maxTime, double& maxValue) const override;
    // The convex hull of the span's control values.
    void getBoundingValue(Tkeyframe const* first, Tkeyframe const* second, double& min, double& max) const override;
    double newMatchingKey(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                          float& o8) const override;
    bool splitsSpans() const override { return true; }
    void calculateSmoothTangents(Tkeyframe const* prev, Tkeyframe* key, Tkeyframe const* next) override;

    // The parameter u at input x; 0 when X(u) = x has no single root.
    double findParmAt(double x) const;
    // Y(u).
    double valueAt(double u) const;
    // The value at x, and the control points of both halves of the split at
    // x: first key's out-handle end, new key's in- and out-handle ends,
    // second key's in-handle end.
    double evaluateForBezier(double x, float& o1, float& o2, float& o3, float& o4, float& o5, float& o6, float& o7,
                             float& o8) const;
    // One de Casteljau step at u over p0..p3.
    void cubicBezierEvaluationAt(double u, double p0, double p1, double p2, double p3, double& q1, double& q2,
                                 double& q3, double& r1, double& r2, double& s) const;

    // Real roots of a·u² + b·u + c (a linear equation when a is 0): 0, 1 or 2,
    // the smaller-signed root first.
    static int quadraticRoots(double a, double b, double c, double& r1, double& r2);
    // Keeps (p, q) inside the region where X(u) stays monotonic.
    static void constrainInsideBounds(double& p, double& q);
    static void checkMonotonic(double& a, double& b, bool adjust);
    // Only x < 0 is corrected, to 0: lengths are the weights.
    static void validateTangent(float& x, float& y) { keepInputForward(x, y); }

    bool linearInput() const { return fLinearInput; }
    double x1() const { return fX1; }
    double x2() const { return fX2; }
    double y1() const { return fY1; }
    double y2() const { return fY2; }

    // The double-precision machine epsilon, computed once per process.
    static double machineEpsilon();

private:
    struct Tsplit {
        double fValue;
        double fHandles[8];
    };
    Tsplit split(double x) const;
    bool inputNeverFalls() const;
    bool newtonRoot(double u0, double& root) const;
    double rootBySearch(double u0) const;

    double fInput[4] = {0, 1, 0, 0};  // X(u), constant term first
    double fValue[4] = {0, 0, 0, 0};  // Y(u), constant term first
    bool fLinearInput = false;
    // X(u) never falls on [0, 1] (what create() keeps to): one root, found
    // by guarded Newton steps.
    bool fMonotonicInput = false;
};
