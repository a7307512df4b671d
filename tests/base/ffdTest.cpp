// The lattice deformer: an undeformed lattice is the identity, a deformed
// one agrees with the Bernstein blend written out, and outside the unit
// square the deformation fades over the envelope.

#include <keelanim/base/ffd.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kIdentity = 1e-12;
constexpr double kFormula = 1e-12;

T4dDblPointArray identityLattice(unsigned columns, unsigned rows)
{
    T4dDblPointArray points;
    for (unsigned j = 0; j < rows; ++j) {
        for (unsigned i = 0; i < columns; ++i) {
            points.addLast(T4dDblPoint{double(i) / (columns - 1), double(j) / (rows - 1), 0.0, 1.0});
        }
    }
    return points;
}

double choose(unsigned n, unsigned k)
{
    double c = 1.0;
    for (unsigned i = 1; i <= k; ++i) {
        c = c * double(n - k + i) / double(i);
    }
    return c;
}

double bernstein(unsigned n, unsigned k, double t)
{
    return choose(n, k) * std::pow(t, double(k)) * std::pow(1.0 - t, double(n - k));
}

TEST(LatticeDeformer, UndeformedLatticesMapEveryPointToItself)
{
    for (auto [columns, rows] : {std::pair{2u, 2u}, {3u, 2u}, {4u, 5u}, {7u, 7u}}) {
        T4dDblPointArray const points = identityLattice(columns, rows);
        T2dFfd ffd;
        ASSERT_TRUE(ffd.setLatticeParams(columns, rows, 0.5f, &points));
        for (double u = -0.75; u <= 1.75; u += 0.0625) {
            for (double v = -0.75; v <= 1.75; v += 0.125) {
                double x = u;
                double y = v;
                ASSERT_TRUE(ffd.deform(x, y));
                EXPECT_NEAR(x, u, kIdentity) << columns << "x" << rows << " at " << u << ", " << v;
                EXPECT_NEAR(y, v, kIdentity) << columns << "x" << rows << " at " << u << ", " << v;
            }
        }
    }
}

// A 3 x 3 lattice with its middle point raised and its corner weighted:
// inside, the rational Bernstein blend of the points; outside, the border's
// displacement fading over the envelope.
TEST(LatticeDeformer, AgreesWithTheBlendWrittenOut)
{
    T4dDblPointArray points = identityLattice(3, 3);
    points[4].fX = 0.6;
    points[4].fY = 0.9;
    points[8].fW = 2.0;
    T2dFfd ffd;
    ASSERT_TRUE(ffd.setLatticeParams(3, 3, 0.5f, &points));
    auto blend = [&](double u, double v, double& x, double& y) {
        double sx = 0.0;
        double sy = 0.0;
        double sw = 0.0;
        for (unsigned j = 0; j < 3; ++j) {
            for (unsigned i = 0; i < 3; ++i) {
                T4dDblPoint const& p = points[j * 3 + i];
                double const b = bernstein(2, i, u) * bernstein(2, j, v) * p.fW;
                sx += b * p.fX;
                sy += b * p.fY;
                sw += b;
            }
        }
        x = sx / sw;
        y = sy / sw;
    };
    for (double u : {0.0, 0.1, 0.5, 0.77, 1.0}) {
        for (double v : {0.0, 0.3, 0.5, 1.0}) {
            double x = u;
            double y = v;
            double ex = 0.0;
            double ey = 0.0;
            ASSERT_TRUE(ffd.deform(x, y));
            blend(u, v, ex, ey);
            EXPECT_NEAR(x, ex, kFormula) << u << ", " << v;
            EXPECT_NEAR(y, ey, kFormula) << u << ", " << v;
        }
    }
    // A quarter of the envelope out from (0.5, 1): three quarters of the
    // displacement there.
    double x = 0.5;
    double y = 1.125;
    double ex = 0.0;
    double ey = 0.0;
    blend(0.5, 1.0, ex, ey);
    ASSERT_TRUE(ffd.deform(x, y));
    EXPECT_NEAR(x, 0.5 + 0.75 * (ex - 0.5), kFormula);
    EXPECT_NEAR(y, 1.125 + 0.75 * (ey - 1.0), kFormula);
    x = 0.5;
    y = 2.0;
    ASSERT_TRUE(ffd.deform(x, y));
    EXPECT_EQ(y, 2.0) << "beyond the envelope nothing moves";
}

TEST(LatticeDeformer, RefusesBadLattices)
{
    T4dDblPointArray const four = identityLattice(2, 2);
    T4dDblPointArray bad = identityLattice(2, 2);
    bad[1].fX = std::numeric_limits<double>::quiet_NaN();
    T2dFfd ffd;
    EXPECT_FALSE(ffd.setLatticeParams(1, 4, 0.0f, &four));
    EXPECT_FALSE(ffd.setLatticeParams(3, 2, 0.0f, &four)) << "point count";
    EXPECT_FALSE(ffd.setLatticeParams(2, 2, 0.0f, nullptr));
    EXPECT_FALSE(ffd.setLatticeParams(2, 2, -1.0f, &four));
    EXPECT_FALSE(ffd.setLatticeParams(2, 2, 0.0f, &bad));
    double x = 0.5;
    double y = 0.5;
    EXPECT_FALSE(ffd.deform(x, y)) << "no lattice loaded";
    ASSERT_TRUE(ffd.setLatticeParams(2, 2, 0.0f, &four));
    x = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(ffd.deform(x, y));
}

}  // namespace
