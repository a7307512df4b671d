#pragma once

#include "keelanim/base/export.h"

#include <cfloat>
#include <cstdint>

// Numeric helpers shared by every layer: clamping into a narrower type
// without undefined behaviour, and snapping tiny residues to exact zero.

inline constexpr float kFloatMax = FLT_MAX;
inline constexpr double kDoubleMax = DBL_MAX;

// Rounds to the nearest integer (ties to even) and clamps to the signed
// 32-bit range; NaN gives 0.
KEEL_API std::int32_t clampToInt32(double value);

// Narrows to single precision, clamping to +-FLT_MAX (infinities included);
// NaN stays NaN.
KEEL_API float narrowToFloat(double value);

// Zero when |value| < tolerance, else value unchanged.
inline double snapToZero(double value, double tolerance)
{
    return (value > -tolerance && value < tolerance) ? 0.0 : value;
}
