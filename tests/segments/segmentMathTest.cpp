#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr double kTight = 1e-12;
constexpr double kSolved = 1e-9;

// A cubic Bezier point by repeated linear interpolation, independent of the
// engine's power forms.
double deCasteljau(double u, double p0, double p1, double p2, double p3)
{
    double const a = p0 + u * (p1 - p0);
    double const b = p1 + u * (p2 - p1);
    double const c = p2 + u * (p3 - p2);
    double const d = a + u * (b - a);
    double const e = b + u * (c - b);
    return d + u * (e - d);
}

// The cubic Hermite through (x0, y0) and (x3, y3) with slopes m0 and m1, by
// its basis functions.
double hermiteBasis(double x, double x0, double y0, double m0, double x3, double y3, double m1)
{
    double const length = x3 - x0;
    double const s = (x - x0) / length;
    double const h00 = 2 * s * s * s - 3 * s * s + 1;
    double const h10 = s * s * s - 2 * s * s + s;
    double const h01 = -2 * s * s * s + 3 * s * s;
    double const h11 = s * s * s - s * s;
    return h00 * y0 + h10 * length * m0 + h01 * y3 + h11 * length * m1;
}

void createHermite(T2dHermite& h, double x0, double y0, double m0, double x3, double y3, double m1)
{
    double const third = (x3 - x0) / 3.0;
    double x1 = x0 + third;
    double y1 = y0 + m0 * third;
    double x2 = x3 - third;
    double y2 = y3 - m1 * third;
    h.create(nullptr, 0, x0, y0, x1, y1, x2, y2, x3, y3, true);
}

TEST(HermiteMath, MatchesTheBasisFunctions)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> any(-5.0, 5.0);
    for (int trial = 0; trial < 200; ++trial) {
        double const x0 = any(random);
        double const x3 = x0 + 0.1 + std::fabs(any(random));
        double const y0 = any(random);
        double const y3 = any(random);
        double const m0 = any(random);
        double const m1 = any(random);
        T2dHermite hermite(true);
        createHermite(hermite, x0, y0, m0, x3, y3, m1);
        for (double s : {0.0, 0.13, 0.5, 0.77, 1.0}) {
            double const x = x0 + s * (x3 - x0);
            ASSERT_NEAR(hermite.evaluate(x), hermiteBasis(x, x0, y0, m0, x3, y3, m1), 1e-9);
        }
    }
}

TEST(HermiteMath, EaseCoefficientsAndZeroLengthHandles)
{
    T2dHermite hermite(true);
    createHermite(hermite, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0);
    EXPECT_NEAR(hermite.cubic().fA, -2.0, kTight);
    EXPECT_NEAR(hermite.cubic().fB, 3.0, kTight);
    EXPECT_EQ(hermite.cubic().fC, 0.0);
    EXPECT_EQ(hermite.cubic().fD, 0.0);
    EXPECT_NEAR(hermite.evaluate(0.5), 0.5, kTight);
    // A handle of zero input length counts as slope 0, not infinity.
    double x1 = 0.0;
    double y1 = 5.0;
    double x2 = 1.0;
    double y2 = 1.0;
    hermite.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    EXPECT_EQ(hermite.cubic().fC, 0.0);
    EXPECT_TRUE(std::isfinite(hermite.evaluate(0.3)));
}

TEST(HermiteMath, TangentValidation)
{
    struct Case {
        float fX, fY, fWantX, fWantY;
        bool fDegenerate;
    };
    Case const cases[] = {
        {-1, 0, 0, 0, true}, {0, -5, 1e-5f, -1, false}, {3, 4, 0.6f, 0.8f, false},
        {0, 0, 0, 0, true},  {0, 2, 1e-5f, 1, false},
    };
    for (Case const& c : cases) {
        float x = c.fX;
        float y = c.fY;
        EXPECT_EQ(T2dHermite::validateTangent(x, y), c.fDegenerate);
        EXPECT_FLOAT_EQ(x, c.fWantX);
        EXPECT_FLOAT_EQ(y, c.fWantY);
    }
    float x = 0;
    float y = -5;
    T2dHermite::validateTangent(x, y);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &x, 4);
    EXPECT_EQ(bits, 0x3727C5ACu) << "the exact smallest forward step";
}

TEST(HermiteMath, SetTangentReportsChangesOnly)
{
    T2dHermite hermite(true);
    Tkeyframe key;
    EXPECT_FALSE(hermite.setTanIn(nullptr, 1, 1));
    EXPECT_TRUE(hermite.setTanOut(&key, 3, 4));
    float x = 0;
    float y = 0;
    key.getTanOut(x, y);
    EXPECT_FLOAT_EQ(x, 0.6f);
    EXPECT_FALSE(hermite.setTanOut(&key, 6, 8)) << "validates to the stored tangent";
    EXPECT_FALSE(hermite.setTanIn(&key, std::nanf(""), 1));
}

TEST(HermiteMath, CheapBoundWidensNeverNarrows)
{
    T2dHermite hermite(true);
    Tkeyframe first(0.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe second(3.0f, 1.0, kTangentFixed, kTangentFixed);
    first.setTanOut(1.0f, 2.0f);  // slope 2 over h = 1: +2
    second.setTanIn(0.0f, 0.5f);  // vertical: the value component itself
    double low = -10.0;
    double high = 0.0;
    hermite.getBoundingValue(&first, &second, low, high);
    EXPECT_DOUBLE_EQ(high, 2.0);
    EXPECT_DOUBLE_EQ(low, -10.0);
    hermite.getBoundingValue(nullptr, &second, low, high);
    EXPECT_DOUBLE_EQ(high, 2.0);
}

TEST(BezierMath, MachineEpsilonIsComputedOnceForAllThreads)
{
    std::vector<std::thread> threads;
    std::vector<double> seen(4, 0.0);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&seen, i] {
            T2dBezier bezier(true);
            seen[i] = T2dBezier::machineEpsilon();
        });
    }
    for (std::thread& t : threads) {
        t.join();
    }
    for (double e : seen) {
        EXPECT_EQ(e, DBL_EPSILON);
    }
}

TEST(BezierMath, LinearInputAtTheThirds)
{
    T2dBezier bezier(true);
    double x1 = 1.0 / 3.0;
    double y1 = 1.0;
    double x2 = 2.0 / 3.0;
    double y2 = -1.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 0.5, true);
    EXPECT_TRUE(bezier.linearInput());
    EXPECT_DOUBLE_EQ(bezier.findParmAt(0.25), 0.25);
    EXPECT_NEAR(bezier.evaluate(0.25), deCasteljau(0.25, 0.0, 1.0, -1.0, 0.5), kTight);
    EXPECT_EQ(bezier.evaluate(0.0), 0.0);
    EXPECT_EQ(bezier.evaluate(1.0 - 1e-11), 0.5) << "within 1e-10 of the end is the end";
}

TEST(BezierMath, SolvesTheInputAgainstDeCasteljau)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> handle(0.0, 1.0);
    std::uniform_real_distribution<double> value(-3.0, 3.0);
    for (int trial = 0; trial < 300; ++trial) {
        double const x0 = value(random);
        double const length = 0.5 + handle(random) * 4.0;
        double const a = handle(random);
        double const b = handle(random);
        double x1 = x0 + a * length;
        double x2 = x0 + b * length;
        double y1 = value(random);
        double y2 = value(random);
        double const y0 = value(random);
        double const y3 = value(random);
        T2dBezier bezier(true);
        bezier.create(nullptr, 0, x0, y0, x1, y1, x2, y2, x0 + length, y3, true);
        for (double u : {0.05, 0.3, 0.5, 0.71, 0.95}) {
            double const x = deCasteljau(u, x0, x1, x2, x0 + length);
            double const expected = deCasteljau(u, y0, y1, y2, y3);
            ASSERT_NEAR(bezier.findParmAt(x), u, kSolved) << "trial " << trial;
            ASSERT_NEAR(bezier.evaluate(x), expected, 1e-8);
        }
    }
}

TEST(BezierMath, HandlesAreKeptInsideTheSpan)
{
    T2dBezier bezier(true);
    double x1 = -0.5;  // before the first key
    double y1 = 2.0;
    double x2 = 0.7;
    double y2 = 1.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    EXPECT_EQ(x1, 0.0);
    EXPECT_EQ(y1, 0.0) << "the value offset shrinks in proportion";
    x1 = 0.2;
    y1 = 0.5;
    x2 = 1.5;  // past the second key
    y2 = 2.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    EXPECT_EQ(x2, 1.0);
    EXPECT_EQ(y2, 1.0);
}

TEST(BezierMath, CrossingHandlesYieldByTheAdjustFlag)
{
    // a = 1.2 and b = -0.1 would fold X(u) back.
    for (bool adjust : {true, false}) {
        double a = 1.2;
        double b = -0.1;
        T2dBezier::checkMonotonic(a, b, adjust);
        if (adjust) {
            EXPECT_DOUBLE_EQ(a, 1.2) << "the first handle is kept";
            EXPECT_NE(b, -0.1);
        } else {
            EXPECT_NEAR(b, -0.1, 1e-15) << "the second handle is kept";
            EXPECT_NE(a, 1.2);
        }
        // Whatever moved, X(u) = 3a·u(1-u)² + 3b·u²(1-u) + u³ is now monotonic.
        double previous = -1.0;
        for (int i = 0; i <= 100; ++i) {
            double const u = i / 100.0;
            double const x = deCasteljau(u, 0.0, a, b, 1.0);
            EXPECT_GE(x, previous - 1e-9);
            previous = x;
        }
    }
    double p = 1.5;
    double q = 1.2;
    T2dBezier::constrainInsideBounds(p, q);
    EXPECT_DOUBLE_EQ(p, 1.3333333332333333);
    EXPECT_DOUBLE_EQ(q, 0.3333333332333333);
}

TEST(BezierMath, QuadraticRoots)
{
    double r1 = 0;
    double r2 = 0;
    EXPECT_EQ(T2dBezier::quadraticRoots(1, -3, 2, r1, r2), 2);
    EXPECT_DOUBLE_EQ(r1, 1.0);
    EXPECT_DOUBLE_EQ(r2, 2.0);
    EXPECT_EQ(T2dBezier::quadraticRoots(-1, 0, 4, r1, r2), 2);
    EXPECT_DOUBLE_EQ(r1, 2.0) << "(-b - sqrt D) / 2a comes first";
    EXPECT_EQ(T2dBezier::quadraticRoots(1, 2, 1, r1, r2), 1);
    EXPECT_DOUBLE_EQ(r1, -1.0);
    EXPECT_EQ(T2dBezier::quadraticRoots(1, 0, 1, r1, r2), 0);
    EXPECT_EQ(T2dBezier::quadraticRoots(0, 2, -1, r1, r2), 1);
    EXPECT_DOUBLE_EQ(r1, 0.5);
    EXPECT_EQ(T2dBezier::quadraticRoots(0, 0, 1, r1, r2), 0);
}

TEST(BezierMath, StationaryPointsInRootOrder)
{
    T2dBezier bezier(true);
    double x1 = 1.0 / 3.0;
    double y1 = 3.0;
    double x2 = 2.0 / 3.0;
    double y2 = 3.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 0.0, true);
    float minTime = -1;
    float maxTime = -1;
    double minValue = 0;
    double maxValue = 0;
    bezier.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_NEAR(maxTime, 0.5f, 1e-6);
    EXPECT_NEAR(maxValue, 2.25, kTight);  // 0.75 · 3 at u = 0.5
    EXPECT_EQ(minValue, -DBL_MAX) << "a single hump has one stationary point";
    EXPECT_EQ(minTime, 0.0f);

    x1 = 1.0 / 3.0;
    y1 = 1.0 / 3.0;
    x2 = 2.0 / 3.0;
    y2 = 2.0 / 3.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    bezier.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_EQ(maxValue, -DBL_MAX) << "a monotonic span has none";
    EXPECT_EQ(minValue, -DBL_MAX);
    EXPECT_EQ(maxTime, 0.0f);
}

TEST(BezierMath, SplittingKeepsTheShape)
{
    T2dBezier bezier(true);
    double x1 = 0.1;
    double y1 = 2.0;
    double x2 = 0.8;
    double y2 = -1.0;
    bezier.create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    float o[8];
    double const x = 0.4;
    double const v = bezier.newMatchingKey(x, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7]);
    EXPECT_NEAR(v, bezier.evaluate(x), kTight);
    // Rebuild both halves from the stored tangents and compare with the whole.
    T2dBezier left(true);
    double lx1 = 0.0 + o[0] / 3.0;
    double ly1 = 0.0 + o[1] / 3.0;
    double lx2 = x - o[2] / 3.0;
    double ly2 = v - o[3] / 3.0;
    left.create(nullptr, 0, 0.0, 0.0, lx1, ly1, lx2, ly2, x, v, true);
    T2dBezier right(true);
    double rx1 = x + o[4] / 3.0;
    double ry1 = v + o[5] / 3.0;
    double rx2 = 1.0 - o[6] / 3.0;
    double ry2 = 1.0 - o[7] / 3.0;
    right.create(nullptr, 0, x, v, rx1, ry1, rx2, ry2, 1.0, 1.0, true);
    for (double t = 0.0; t <= 1.0; t += 0.05) {
        double const half = t < x ? left.evaluate(t) : right.evaluate(t);
        EXPECT_NEAR(half, bezier.evaluate(t), 1e-6) << t;
    }
}

TEST(BezierMath, ValidationKeepsLengths)
{
    float x = -2;
    float y = 7;
    T2dBezier::validateTangent(x, y);
    EXPECT_EQ(x, 0.0f);
    EXPECT_EQ(y, 7.0f);
    T2dBezier bezier(true);
    Tkeyframe key;
    EXPECT_TRUE(bezier.setTanIn(&key, 3, 4));
    key.getTanIn(x, y);
    EXPECT_EQ(x, 3.0f) << "weights are lengths: no normalising";
    EXPECT_FALSE(bezier.setTanIn(&key, 3, 4));
}

TEST(HermiteMath, ExtremesAndSplitGoThroughTheBezier)
{
    T2dHermite hermite(true);
    createHermite(hermite, 0.0, 0.0, 4.0, 1.0, 0.0, -4.0);  // a hump: 4u(1-u)... with peak 1 at 0.5
    float minTime = 0;
    float maxTime = 0;
    double minValue = 0;
    double maxValue = 0;
    hermite.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_NEAR(maxTime, 0.5f, 1e-6);
    EXPECT_NEAR(maxValue, hermite.evaluate(0.5), 1e-12);
    float o[8];
    double const v = hermite.newMatchingKey(0.25, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7]);
    EXPECT_NEAR(v, hermite.evaluate(0.25), 1e-12);
    EXPECT_NEAR(o[1] / o[0], 4.0, 1e-5) << "the first key keeps its slope";
    EXPECT_NEAR(o[5] / o[4], o[3] / o[2], 1e-5) << "the new key is smooth";
    T2dHermite empty(true);
    float untouched = 42;
    EXPECT_EQ(empty.newMatchingKey(0.5, untouched, o[1], o[2], o[3], o[4], o[5], o[6], o[7]), 0.0);
    EXPECT_EQ(untouched, 42.0f);
}

}  // namespace
