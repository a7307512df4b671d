#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"

#include <vector>

// A point with two coordinates and two more: z (unused by the 2D deformer)
// and w, the point's weight in a lattice (1 for an ordinary point).
struct T4dDblPoint {
    double fX = 0.0;
    double fY = 0.0;
    double fZ = 0.0;
    double fW = 1.0;
};
using T4dDblPointArray = TtypedArray<T4dDblPoint>;

// An axis-aligned rectangle: [fLeft, fRight] x [fBottom, fTop].
struct TdblRect {
    double fLeft = 0.0;
    double fBottom = 0.0;
    double fRight = 0.0;
    double fTop = 0.0;

    double width() const { return fRight - fLeft; }
    double height() const { return fTop - fBottom; }
};

// T2dFfd: a free-form deformation of the plane by a lattice.
//
// The lattice is `columns` x `rows` control points (at least 2 x 2) laid
// over the unit square, point (i, j) at index j * columns + i. A point (u, v)
// of the unit square goes to the weighted Bernstein blend of the control
// points (a rational tensor-product Bezier patch): with the points of the
// undeformed lattice, (i / (columns - 1), j / (rows - 1)) of weight 1, every
// point maps to itself. Beyond the unit square the deformation fades: a
// point takes the displacement of the nearest point of the square, weighted
// 1 - distance / envelope, and none at all beyond the envelope (or with an
// envelope of 0).
//
// The deformer keeps its own copy of the control points.
class KEEL_API T2dFfd {
public:
    T2dFfd() = default;

    // Loads the lattice; false (the lattice unloaded) for fewer than 2
    // columns or rows, a point count other than columns x rows, a null
    // array, a negative or NaN envelope, or control points that are not
    // finite.
    bool setLatticeParams(unsigned columns, unsigned rows, float envelope, T4dDblPointArray const* points);
    bool loaded() const { return !fPoints.empty(); }

    // Deforms (x, y) in place; false, with (x, y) untouched, without a
    // lattice, for input that is not finite, or where the weights of the
    // blend cancel.
    bool deform(double& x, double& y) const;

private:
    bool blend(double u, double v, double& x, double& y) const;

    unsigned fColumns = 0;
    unsigned fRows = 0;
    double fEnvelope = 0.0;
    std::vector<T4dDblPoint> fPoints;
};
