// Quaternions against an independent reference written here: rotation of
// vectors by matrices, slerp by its angle formula, the cubic form by
// De Casteljau over a different slerp, and Euler angles through matrices.

#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTight = 1e-12;
constexpr double kLoose = 1e-9;

using Tvec = std::array<double, 3>;
using Tmat = std::array<std::array<double, 3>, 3>;

Tmat multiply(Tmat const& a, Tmat const& b)
{
    Tmat m{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            for (int k = 0; k < 3; ++k) {
                m[i][j] += a[i][k] * b[k][j];
            }
        }
    }
    return m;
}

Tmat rotationX(double a)
{
    return {{{1, 0, 0}, {0, std::cos(a), -std::sin(a)}, {0, std::sin(a), std::cos(a)}}};
}
Tmat rotationY(double a)
{
    return {{{std::cos(a), 0, std::sin(a)}, {0, 1, 0}, {-std::sin(a), 0, std::cos(a)}}};
}
Tmat rotationZ(double a)
{
    return {{{std::cos(a), -std::sin(a), 0}, {std::sin(a), std::cos(a), 0}, {0, 0, 1}}};
}

// X first, then Y, then Z, about fixed axes.
Tmat eulerMatrix(double x, double y, double z)
{
    return multiply(rotationZ(z), multiply(rotationY(y), rotationX(x)));
}

// The matrix of a unit quaternion, written out.
Tmat matrixOf(Tquaternion const& q)
{
    double const x = q.x(), y = q.y(), z = q.z(), w = q.w();
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

void expectSameMatrix(Tmat const& a, Tmat const& b, double tolerance, char const* what)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(a[i][j], b[i][j], tolerance) << what << " [" << i << "][" << j << "]";
        }
    }
}

// The same rotation: q or -q.
void expectSameRotation(Tquaternion const& a, Tquaternion const& b, double tolerance, char const* what)
{
    EXPECT_NEAR(std::fabs(a.dot(b)), 1.0, tolerance) << what;
    EXPECT_NEAR(a.length(), 1.0, tolerance) << what;
}

// Slerp by the angle formula, on plain arrays.
std::array<double, 4> referenceSlerp(std::array<double, 4> a, std::array<double, 4> b, double t)
{
    double d = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    if (d < 0) {
        for (double& c : b) {
            c = -c;
        }
        d = -d;
    }
    double const theta = std::acos(std::min(d, 1.0));
    std::array<double, 4> r{};
    for (int i = 0; i < 4; ++i) {
        r[i] = theta < 1e-9 ? a[i] + t * (b[i] - a[i])
                            : (std::sin((1 - t) * theta) * a[i] + std::sin(t * theta) * b[i]) / std::sin(theta);
    }
    return r;
}

std::array<double, 4> array(Tquaternion const& q)
{
    return {q.x(), q.y(), q.z(), q.w()};
}

Tquaternion randomRotation(std::mt19937& random)
{
    std::normal_distribution<double> n;
    return Tquaternion(n(random), n(random), n(random), n(random)).normalizeIt();
}

TEST(Quaternion, ProductAndEulerAgreeWithMatrices)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> angle(-kPi, kPi);
    for (int i = 0; i < 200; ++i) {
        double const x = angle(random), y = angle(random) / 2.0, z = angle(random);
        Tquaternion const q = TrotateXYZ{x, y, z}.asQuaternion();
        expectSameMatrix(matrixOf(q), eulerMatrix(x, y, z), kTight, "euler to quaternion");
        TrotateXYZ const back = q.convertToEulerAngles();
        expectSameMatrix(eulerMatrix(back.fX, back.fY, back.fZ), eulerMatrix(x, y, z), kLoose, "round trip");
        Tquaternion const a = randomRotation(random);
        expectSameMatrix(matrixOf(a * q), multiply(matrixOf(a), matrixOf(q)), kTight, "product");
        expectSameMatrix(matrixOf(a * a.inverse()), matrixOf(Tquaternion::identity), kTight, "inverse");
    }
}

TEST(Quaternion, GimbalLockGivesFiniteAnglesOfTheSameRotation)
{
    for (double y : {kPi / 2.0, -kPi / 2.0}) {
        for (double x : {0.0, 0.3, -1.2, 3.0}) {
            Tquaternion const q = TrotateXYZ{x, y, 0.7}.asQuaternion();
            TrotateXYZ const e = q.convertToEulerAngles();
            ASSERT_TRUE(std::isfinite(e.fX) && std::isfinite(e.fY) && std::isfinite(e.fZ));
            EXPECT_EQ(e.fX, 0.0);
            expectSameMatrix(eulerMatrix(e.fX, e.fY, e.fZ), matrixOf(q), kLoose, "gimbal lock");
        }
    }
}

TEST(Quaternion, ClosestEulerTripleNeverFlips)
{
    TrotateXYZ const angles{0.2, 0.1, 3.1};
    TrotateXYZ const next = TrotateXYZ{0.2, 0.1, 3.2}.asQuaternion().convertToEulerAngles().closestTo(angles);
    EXPECT_NEAR(next.fZ, 3.2, kLoose) << "past pi, not back to -pi";
    TrotateXYZ const other = angles.alternative();
    expectSameMatrix(eulerMatrix(other.fX, other.fY, other.fZ), eulerMatrix(angles.fX, angles.fY, angles.fZ), kTight,
                     "the other form is the same rotation");
}

struct TslerpCase {
    char const* fName;
    Tquaternion fA;
    Tquaternion fB;
};

TEST(Slerp, AgreesWithTheAngleFormulaAndTakesTheShorterArc)
{
    Tquaternion const a = Tquaternion::fromAxisAngle(0, 0, 1, 0.4);
    TslerpCase const cases[] = {
        {"ordinary", a, Tquaternion::fromAxisAngle(1, 1, 0, 2.0)},
        {"opposite hemisphere", a, Tquaternion::fromAxisAngle(0, 0, 1, 0.4 + 3.0).negated()},
        {"identical", a, a},
        {"the same rotation, negated", a, a.negated()},
        {"nearly parallel", a, Tquaternion::fromAxisAngle(0, 0, 1, 0.4 + 1e-9)},
        {"half a turn apart", Tquaternion::identity, Tquaternion::fromAxisAngle(0, 1, 0, kPi)},
    };
    for (TslerpCase const& c : cases) {
        for (double t : {0.0, 0.25, 0.5, 0.9, 1.0}) {
            Tquaternion const q = slerp(c.fA, c.fB, t);
            auto const expected = referenceSlerp(array(c.fA), array(c.fB), t);
            Tquaternion const reference = Tquaternion(expected[0], expected[1], expected[2], expected[3]).normalizeIt();
            expectSameRotation(q, reference, kLoose, c.fName);
        }
        // The shorter arc: halfway lies within a quarter turn of both ends.
        Tquaternion const middle = slerp(c.fA, c.fB, 0.5);
        EXPECT_GE(std::fabs(middle.dot(c.fA)), std::cos(kPi / 4.0) - kLoose) << c.fName;
    }
    EXPECT_EQ(slerp(a, Tquaternion::fromAxisAngle(1, 0, 0, 1), NAN), a) << "a NaN fraction holds the start";
}

// De Casteljau over a reference slerp; the control points lie on the sphere
// so that the curve starts and ends at the keys with the right tangents.
TEST(Bezier, AgreesWithDeCasteljauAndPassesThroughItsEnds)
{
    std::mt19937 random(9);
    auto lerp = [](std::array<double, 4> const& a, std::array<double, 4> const& b, double t) {
        return referenceSlerp(a, b, t);
    };
    for (int i = 0; i < 50; ++i) {
        Tquaternion const p = randomRotation(random), q0 = randomRotation(random), q1 = randomRotation(random),
                          n = randomRotation(random);
        Tquaternion const a = bezierPt(p, q0, q1, true);
        Tquaternion const b = bezierPt(q0, q1, n, false);
        EXPECT_NEAR(a.length(), 1.0, kTight);
        for (double t : {0.0, 0.3, 0.7, 1.0}) {
            auto const ab = lerp(array(q0), array(a), t), bc = lerp(array(a), array(b), t),
                       cd = lerp(array(b), array(q1), t);
            auto const r = lerp(lerp(ab, bc, t), lerp(bc, cd, t), t);
            expectSameRotation(bezier(q0, a, b, q1, t), Tquaternion(r[0], r[1], r[2], r[3]).normalizeIt(), kLoose,
                               "de casteljau");
        }
        expectSameRotation(bezier(q0, a, b, q1, 0.0), q0, kTight, "start");
        expectSameRotation(bezier(q0, a, b, q1, 1.0), q1, kTight, "end");
        // The in point is the out point reflected through the key.
        Tquaternion const out = bezierPt(p, q0, q1, true);
        Tquaternion const in = bezierPt(p, q0, q1, false);
        expectSameRotation(slerp(in, out, 0.5), q0, kLoose, "reflection");
    }
}

TEST(Quaternion, PowLogExpAndBadInput)
{
    Tquaternion const turn = Tquaternion::fromAxisAngle(0, 1, 0, 0.6);
    expectSameRotation(turn.pow(3.0), turn * turn * turn, kLoose, "pow 3");
    expectSameRotation(turn.pow(-1.0), turn.inverse(), kLoose, "pow -1");
    expectSameRotation(turn.pow(0.0), Tquaternion::identity, kTight, "pow 0");
    expectSameRotation(Tquaternion::exp(turn.log()), turn, kTight, "exp log");
    EXPECT_EQ(Tquaternion(0, 0, 0, 0).normalizeIt(), Tquaternion::identity);
    EXPECT_EQ(Tquaternion(NAN, 0, 0, 1).normalizeIt(), Tquaternion::identity);
    EXPECT_EQ(turn.pow(INFINITY), Tquaternion::identity);
    EXPECT_EQ(Tquaternion::fromAxisAngle(0, 0, 0, 1.0), Tquaternion::identity);
}

}  // namespace
