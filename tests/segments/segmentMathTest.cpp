#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr double kTight = 1e-12;
constexpr double kSolved = 1e-9;
constexpr double kSplitShape = 1e-6;  // tangents are stored in single precision

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

// The inner control points of a span: as given, and as the segment kept them.
struct Thandles {
    double fX1, fY1, fX2, fY2;
};

Thandles span(T2dAnimCurve& segment, double x0, double y0, Thandles h, double x3, double y3)
{
    segment.create(nullptr, 0, x0, y0, h.fX1, h.fY1, h.fX2, h.fY2, x3, y3, true);
    return h;
}

// A Hermite span by its end slopes, with handles on the thirds.
void createHermite(T2dHermite& h, double x0, double y0, double m0, double x3, double y3, double m1)
{
    double const third = (x3 - x0) / 3.0;
    span(h, x0, y0, {x0 + third, y0 + m0 * third, x3 - third, y3 - m1 * third}, x3, y3);
}

TEST(HermiteMath, MatchesTheBasisFunctionsAndTheEaseCoefficients)
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
            ASSERT_NEAR(hermite.evaluate(x), hermiteBasis(x, x0, y0, m0, x3, y3, m1), kSolved);
        }
    }
    T2dHermite hermite(true);
    createHermite(hermite, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0);
    EXPECT_NEAR(hermite.cubic().fA, -2.0, kTight);
    EXPECT_NEAR(hermite.cubic().fB, 3.0, kTight);
    EXPECT_EQ(hermite.cubic().fC, 0.0);
    EXPECT_EQ(hermite.cubic().fD, 0.0);
    EXPECT_NEAR(hermite.evaluate(0.5), 0.5, kTight);
    span(hermite, 0.0, 0.0, {0.0, 5.0, 1.0, 1.0}, 1.0, 1.0);
    EXPECT_EQ(hermite.cubic().fC, 0.0) << "a handle of zero input length counts as slope 0, not infinity";
    EXPECT_TRUE(std::isfinite(hermite.evaluate(0.3)));
}

TEST(HermiteMath, TangentValidationAndStorage)
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
    float x = 0, y = -5;
    T2dHermite::validateTangent(x, y);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(x), 0x3727C5ACu) << "the exact smallest forward step";

    T2dHermite hermite(true);
    Tkeyframe key;
    EXPECT_FALSE(hermite.setTanIn(nullptr, 1, 1));
    EXPECT_TRUE(hermite.setTanOut(&key, 3, 4));
    key.getTanOut(x, y);
    EXPECT_FLOAT_EQ(x, 0.6f);
    EXPECT_FALSE(hermite.setTanOut(&key, 6, 8)) << "validates to the stored tangent: no change";
    EXPECT_FALSE(hermite.setTanIn(&key, std::nanf(""), 1));
}

TEST(HermiteMath, CheapBoundWidensAndExtremesAndSplitGoThroughTheBezier)
{
    T2dHermite hermite(true);
    Tkeyframe first(0.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe second(3.0f, 1.0, kTangentFixed, kTangentFixed);
    first.setTanOut(1.0f, 2.0f);  // slope 2 over h = 1: +2
    second.setTanIn(0.0f, 0.5f);  // vertical: the value component itself
    double low = -10.0, high = 0.0;
    hermite.getBoundingValue(&first, &second, low, high);
    EXPECT_DOUBLE_EQ(high, 2.0);
    EXPECT_DOUBLE_EQ(low, -10.0);
    hermite.getBoundingValue(nullptr, &second, low, high);
    EXPECT_DOUBLE_EQ(high, 2.0);

    createHermite(hermite, 0.0, 0.0, 4.0, 1.0, 0.0, -4.0);  // a hump with its peak at 0.5
    float minTime = 0, maxTime = 0;
    double minValue = 0, maxValue = 0;
    hermite.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_NEAR(maxTime, 0.5f, 1e-6);
    EXPECT_NEAR(maxValue, hermite.evaluate(0.5), kTight);
    float o[8];
    double const v = hermite.newMatchingKey(0.25, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7]);
    EXPECT_NEAR(v, hermite.evaluate(0.25), kTight);
    EXPECT_NEAR(o[1] / o[0], 4.0, 1e-5) << "the first key keeps its slope";
    EXPECT_NEAR(o[5] / o[4], o[3] / o[2], 1e-5) << "the new key is smooth";
    T2dHermite empty(true);
    float untouched = 42;
    EXPECT_EQ(empty.newMatchingKey(0.5, untouched, o[1], o[2], o[3], o[4], o[5], o[6], o[7]), 0.0);
    EXPECT_EQ(untouched, 42.0f) << "no span: nothing to split";
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
    EXPECT_EQ(seen, std::vector<double>(4, DBL_EPSILON));
}

TEST(BezierMath, InputIsLinearAtTheThirdsAndSolvedElsewhere)
{
    T2dBezier bezier(true);
    span(bezier, 0.0, 0.0, {1.0 / 3.0, 1.0, 2.0 / 3.0, -1.0}, 1.0, 0.5);
    EXPECT_TRUE(bezier.linearInput());
    EXPECT_DOUBLE_EQ(bezier.findParmAt(0.25), 0.25);
    EXPECT_NEAR(bezier.evaluate(0.25), deCasteljau(0.25, 0.0, 1.0, -1.0, 0.5), kTight);
    EXPECT_EQ(bezier.evaluate(0.0), 0.0);
    EXPECT_EQ(bezier.evaluate(1.0 - 1e-11), 0.5) << "within 1e-10 of the end is the end";

    std::mt19937 random(5);
    std::uniform_real_distribution<double> handle(0.0, 1.0);
    std::uniform_real_distribution<double> value(-3.0, 3.0);
    for (int trial = 0; trial < 300; ++trial) {
        double const x0 = value(random);
        double const length = 0.5 + handle(random) * 4.0;
        double const x1 = x0 + handle(random) * length;
        double const x2 = x0 + handle(random) * length;
        double const y1 = value(random);
        double const y2 = value(random);
        double const y0 = value(random);
        double const y3 = value(random);
        span(bezier, x0, y0, {x1, y1, x2, y2}, x0 + length, y3);
        for (double u : {0.05, 0.3, 0.5, 0.71, 0.95}) {
            double const x = deCasteljau(u, x0, x1, x2, x0 + length);
            ASSERT_NEAR(bezier.findParmAt(x), u, kSolved) << "trial " << trial;
            ASSERT_NEAR(bezier.evaluate(x), deCasteljau(u, y0, y1, y2, y3), 1e-8);
        }
    }
}

TEST(BezierMath, HandlesStayInsideTheSpanAndKeepTheInputMonotonic)
{
    T2dBezier bezier(true);
    Thandles const before = span(bezier, 0.0, 0.0, {-0.5, 2.0, 0.7, 1.0}, 1.0, 1.0);  // before the first key
    EXPECT_EQ(before.fX1, 0.0);
    EXPECT_EQ(before.fY1, 0.0) << "the value offset shrinks in proportion";
    Thandles const past = span(bezier, 0.0, 0.0, {0.2, 0.5, 1.5, 2.0}, 1.0, 1.0);  // past the second key
    EXPECT_EQ(past.fX2, 1.0);
    EXPECT_EQ(past.fY2, 1.0);

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
        for (int i = 1; i <= 100; ++i) {
            EXPECT_GE(deCasteljau(i / 100.0, 0.0, a, b, 1.0), deCasteljau((i - 1) / 100.0, 0.0, a, b, 1.0) - 1e-9);
        }
    }
    double p = 1.5;
    double q = 1.2;
    T2dBezier::constrainInsideBounds(p, q);
    EXPECT_DOUBLE_EQ(p, 1.3333333332333333);
    EXPECT_DOUBLE_EQ(q, 0.3333333332333333);
}

TEST(BezierMath, QuadraticRootsGiveTheStationaryPoints)
{
    double r1 = 0, r2 = 0;
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

    T2dBezier bezier(true);
    span(bezier, 0.0, 0.0, {1.0 / 3.0, 3.0, 2.0 / 3.0, 3.0}, 1.0, 0.0);
    float minTime = -1, maxTime = -1;
    double minValue = 0, maxValue = 0;
    bezier.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_NEAR(maxTime, 0.5f, 1e-6);
    EXPECT_NEAR(maxValue, 2.25, kTight);  // 0.75 · 3 at u = 0.5
    EXPECT_EQ(minValue, -DBL_MAX) << "a single hump has one stationary point";
    EXPECT_EQ(minTime, 0.0f);
    span(bezier, 0.0, 0.0, {1.0 / 3.0, 1.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0}, 1.0, 1.0);
    bezier.getMinMaxTimeAndValue(minTime, minValue, maxTime, maxValue);
    EXPECT_EQ(maxValue, -DBL_MAX) << "a monotonic span has none";
    EXPECT_EQ(minValue, -DBL_MAX);
    EXPECT_EQ(maxTime, 0.0f);
}

TEST(BezierMath, SplittingKeepsTheShape)
{
    T2dBezier bezier(true);
    span(bezier, 0.0, 0.0, {0.1, 2.0, 0.8, -1.0}, 1.0, 1.0);
    double const x = 0.4;
    float o[8];
    double const v = bezier.newMatchingKey(x, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7]);
    EXPECT_NEAR(v, bezier.evaluate(x), kTight);
    // Rebuild both halves from the stored tangents and compare with the whole.
    T2dBezier left(true);
    span(left, 0.0, 0.0, {o[0] / 3.0, o[1] / 3.0, x - o[2] / 3.0, v - o[3] / 3.0}, x, v);
    T2dBezier right(true);
    span(right, x, v, {x + o[4] / 3.0, v + o[5] / 3.0, 1.0 - o[6] / 3.0, 1.0 - o[7] / 3.0}, 1.0, 1.0);
    for (double t = 0.0; t <= 1.0; t += 0.05) {
        EXPECT_NEAR(t < x ? left.evaluate(t) : right.evaluate(t), bezier.evaluate(t), kSplitShape) << t;
    }
}

TEST(BezierMath, ValidationKeepsLengths)
{
    float x = -2, y = 7;
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

}  // namespace
