#pragma once

// Real roots in [0, 1] of polynomials of degree 3 at most, found without
// heap memory: the derivative's roots split [0, 1] into monotonic pieces,
// each sign change is refined by Brent's method, and roots closer than
// four machine epsilons are merged into their mean.

namespace keel_segments {

inline constexpr int kMaxDegree = 3;

// coefficients[i] multiplies u^i. Writes the roots in ascending order and
// answers their number, or -1 for a degree outside 0..3.
int rootsInUnitInterval(double const* coefficients, int degree, double* roots);

}  // namespace keel_segments
