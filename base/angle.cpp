#include "keelanim/base/angle.h"

#include <cmath>
#include <numbers>

namespace {

double radiansPerUnit(TangleUnitSystem unit)
{
    switch (unit) {
    case kDegrees: return std::numbers::pi / 180.0;
    case kAngularMinutes: return std::numbers::pi / (180.0 * 60.0);
    case kAngularSeconds: return std::numbers::pi / (180.0 * 3600.0);
    case kRadians: break;
    }
    return 1.0;
}

double wrapToHalfTurn(double radians)
{
    if (!std::isfinite(radians)) {
        return radians;
    }
    double wrapped = std::remainder(radians, 2.0 * std::numbers::pi);
    if (wrapped <= -std::numbers::pi) {
        wrapped += 2.0 * std::numbers::pi;
    }
    return wrapped;
}

}  // namespace

Tangle const Tangle::sQuarter(std::numbers::pi / 2.0, kRadians);

Tangle::Tangle(double value, TangleUnitSystem unit, bool wrap) : fRadians(value * radiansPerUnit(unit))
{
    if (wrap) {
        fRadians = wrapToHalfTurn(fRadians);
    }
}

double Tangle::degrees() const
{
    return valueIn(kDegrees);
}

double Tangle::valueIn(TangleUnitSystem unit) const
{
    return fRadians / radiansPerUnit(unit);
}

Tangle operator+(Tangle const& a, Tangle const& b)
{
    Tangle sum;
    sum.fRadians = a.fRadians + b.fRadians;
    return sum;
}
