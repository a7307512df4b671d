#pragma once

#include "keelanim/base/export.h"

// Tangle: an angle, stored in radians.

enum TangleUnitSystem : int {
    kRadians = 0,
    kDegrees = 1,
    kAngularMinutes = 2,
    kAngularSeconds = 3,
};

class KEEL_API Tangle {
public:
    Tangle() = default;
    // `value` in `unit`; with `wrap` true the angle is brought into
    // (-pi, pi]. An unknown unit reads the value as radians.
    Tangle(double value, TangleUnitSystem unit, bool wrap = false);

    double radians() const { return fRadians; }
    double degrees() const;
    double valueIn(TangleUnitSystem unit) const;

    static Tangle const sQuarter;

    friend KEEL_API Tangle operator+(Tangle const& a, Tangle const& b);
    friend bool operator==(Tangle const& a, Tangle const& b) { return a.fRadians == b.fRadians; }

private:
    double fRadians = 0.0;
};
