#pragma once

#include "keelanim/segments/hermite.h"

// How a Hermite span's cubic is computed from its control points. Shared by
// the Hermite segment and by evaluation, which computes the cubic of the span
// it lands in without building a segment: both must give the same bits.

// The slope of a handle from (xa, ya) to (xb, yb); 0 for a zero-length
// input.
inline double handleSlope(double xa, double ya, double xb, double yb)
{
    double const run = xb - xa;
    return run == 0.0 ? 0.0 : (yb - ya) / run;
}

// The cubic from the span's keys (x0, y0), (x3, y3) and the ends of their
// handles (x1, y1), (x2, y2); a zero-length handle counts as flat.
inline ThermiteCubic hermiteCubicFromControls(double x0, double y0, double x1, double y1, double x2, double y2,
                                              double x3, double y3)
{
    double const length = x3 - x0;
    double const rise = y3 - y0;
    double const m0 = handleSlope(x0, y0, x1, y1);
    double const m1 = handleSlope(x2, y2, x3, y3);
    double const inverseSquare = 1.0 / (length * length);
    ThermiteCubic cubic;
    cubic.fX0 = x0;
    cubic.fA = (length * m0 + length * m1 - 2.0 * rise) * inverseSquare / length;
    cubic.fB = (3.0 * rise - 2.0 * length * m0 - length * m1) * inverseSquare;
    cubic.fC = m0;
    cubic.fD = y0;
    return cubic;
}
