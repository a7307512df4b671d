#pragma once

#include "keelanim/base/export.h"

#include <cfloat>
#include <cmath>
#include <cstdint>

// Numeric helpers shared by every layer: clamping into a narrower type
// without undefined behaviour, and snapping tiny residues to exact zero.

inline constexpr float kFloatMax = FLT_MAX;
inline constexpr double kDoubleMax = DBL_MAX;

// Rounds to the nearest integer (ties to even) and clamps to the signed
// 32-bit range; NaN gives 0.
KEEL_API std::int32_t clampToInt32(double value);

// Narrows to single precision, clamping to +-FLT_MAX (infinities included);
// NaN stays NaN. Inline: evaluation narrows a time on every search.
inline float narrowToFloat(double value)
{
    if (value > double(kFloatMax)) {
        return kFloatMax;
    }
    if (value < -double(kFloatMax)) {
        return -kFloatMax;
    }
    return static_cast<float>(value);  // NaN stays NaN
}

// std::modf without the library call on the common path: the fractional
// part of `value`, its whole part in `whole`, signs of zero included.
inline double splitWhole(double value, double& whole)
{
    constexpr double kAllIntegersBelow = 0x1p52;  // beyond it every double is whole
    if (value > -kAllIntegersBelow && value < kAllIntegersBelow) {
        whole = std::copysign(static_cast<double>(static_cast<std::int64_t>(value)), value);
        return std::copysign(value - whole, value);
    }
    return std::modf(value, &whole);
}

// Zero when |value| < tolerance, else value unchanged.
inline double snapToZero(double value, double tolerance)
{
    return (value > -tolerance && value < tolerance) ? 0.0 : value;
}
