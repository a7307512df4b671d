#pragma once

#include "keelanim/base/quaternion.h"
#include "keelanim/curve/paramCurve.h"

// The keys of a rotation triple read as rotations, shared by the triple's
// evaluation and its Euler cache.
namespace keel_rotation {

inline constexpr float kOneTick = kOneTickSeconds;
// Spans shorter than this (seconds) are taken as ended: fraction 1.
inline constexpr double kShortestSpan = 1e-5;

// The triple of `curve` as its host names it: X, Y and Z. False (and nulls)
// unless all three exist and have keys.
bool findTriple(TparamCurve const& curve, TparamCurve* triple[3]);
// The rotation stored at key `index` of the triple; false when a curve
// lacks the key or the three keys lie at different times.
bool keyRotation(TparamCurve* const triple[3], unsigned index, Tquaternion& rotation);
// Whether the three curves hold the same number of keys at the same times.
bool inStep(TparamCurve* const triple[3]);
// The rotation at `seconds` within the keys (the ends hold beyond them) by
// the X curve's rotation interpolation; the identity when the keys the
// span needs are out of step.
Tquaternion rotationInRange(TparamCurve* const triple[3], float seconds);

}  // namespace keel_rotation
