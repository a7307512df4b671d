#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>

namespace {

constexpr double kTight = 1e-12;
constexpr double kTwoOverPi = 0.6366197723675814;

// (0, 0) to (1, 1), first handle ending at input `ease`, second handle at
// the key (an in-tangent never points past its key).
template <class Kind> std::unique_ptr<Kind> unitSpan(double ease, double y1 = 0.0, double y2 = 1.0)
{
    auto span = std::make_unique<Kind>(true);
    double x1 = ease;
    double x2 = 1.0;
    span->create(nullptr, 0, 0.0, 0.0, x1, y1, x2, y2, 1.0, 1.0, true);
    return span;
}

TEST(EaseSegments, SineEasesInThenRisesLinearly)
{
    auto const plain = unitSpan<T2dSine>(0.0);
    for (double x : {0.1, 0.5, 0.9}) {
        EXPECT_NEAR(plain->evaluate(x), x, kTight) << "without an ease in the span is linear, at " << x;
    }
    auto const sine = unitSpan<T2dSine>(0.5);
    double const k = 1.0 / (1.0 - 0.5 * 0.3633802276324186);
    EXPECT_NEAR(sine->evaluate(0.25), 0.5 * k * kTwoOverPi * (1.0 - std::cos(M_PI / 4.0)), kTight);
    EXPECT_NEAR(sine->evaluate(0.75), k * (0.5 * kTwoOverPi + 0.25), kTight);
    EXPECT_EQ(sine->evaluate(1.0), 1.0);
    EXPECT_EQ(sine->evaluate(0.0), 0.0);
    // The slope is continuous where the ease ends.
    double const h = 1e-7;
    double const before = (sine->evaluate(0.5) - sine->evaluate(0.5 - h)) / h;
    double const after = (sine->evaluate(0.5 + h) - sine->evaluate(0.5)) / h;
    EXPECT_NEAR(before, after, 1e-5);
}

TEST(EaseSegments, ParabolicClosedForm)
{
    auto const parabolic = unitSpan<T2dParabolic>(0.4);
    double const k = 1.0 / (1.0 - 0.4 * 0.5);
    EXPECT_NEAR(parabolic->evaluate(0.2), k * 0.04 / 0.8, kTight);
    EXPECT_NEAR(parabolic->evaluate(0.7), k * (0.2 + 0.3), kTight);
    EXPECT_NEAR(parabolic->evaluate(0.999999), 1.0, 1e-5);
}

TEST(EaseSegments, LogFollowsTheSineSpanForAUnitBaseAndMapsProgressExponentially)
{
    auto const unitBase = unitSpan<T2dLog>(0.5, 0.0, 1.0);  // y1 <= y0 and y2 <= y3: base 1
    auto const sine = unitSpan<T2dSine>(0.5);
    for (double x : {0.1, 0.3, 0.6, 0.95}) {
        EXPECT_NEAR(unitBase->evaluate(x), sine->evaluate(x), kTight) << x;
    }
    // Base (y2 - y3) / (y1 - y0) = 2 / 0.5 = 4; without an ease, progress is x.
    EXPECT_NEAR(unitSpan<T2dLog>(0.0, 0.5, 3.0)->evaluate(0.5), (std::exp(std::log(4.0) * 0.5) - 1.0) / 3.0, kTight);
}

TEST(EaseSegments, NoExtremesNoSplitsAndAHandleBound)
{
    auto const sine = unitSpan<T2dSine>(0.3);
    float t0 = 5, t1 = 5;
    double v0 = 0, v1 = 0;
    sine->getMinMaxTimeAndValue(t0, v0, t1, v1);
    EXPECT_EQ(t0, 0.0f);
    EXPECT_EQ(t1, 0.0f);
    EXPECT_EQ(v0, -DBL_MAX);
    EXPECT_EQ(v1, -DBL_MAX);
    float o = 42;
    EXPECT_EQ(sine->newMatchingKey(0.5, o, o, o, o, o, o, o, o), 0.0);
    EXPECT_EQ(o, 42.0f);
    Tkeyframe first(0.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe second(1.0f, 1.0, kTangentFixed, kTangentFixed);
    first.setTanOut(1.0f, 6.0f);
    double low = 0, high = 0;
    sine->getBoundingValue(&first, &second, low, high);
    EXPECT_DOUBLE_EQ(high, 2.0) << "the tangent's value component over three, not a slope";
}

TEST(EaseSegments, CurvesUseThemByOutTangentType)
{
    TparamCurve curve(true);
    Tkeyframe first(0.0f, 0.0, kTangentFixed, kTangentHermite);  // 11: sine
    first.setTanOut(0.5f, 0.0f);
    curve.add(first, false, true);
    curve.add(Tkeyframe(1.0f, 1.0, kTangentFixed, kTangentFixed), false, true);
    curve.setInterpolationInterval(0);
    ASSERT_NE(curve.interpolator(), nullptr);
    EXPECT_EQ(curve.interpolator()->interpolatorName(), "Sine");
    EXPECT_NEAR(curve.evaluate(0.75f), unitSpan<T2dSine>(0.5 / 3.0)->evaluate(0.75), 1e-9)
        << "the handle is a third of the tangent";
    EXPECT_TRUE(std::isfinite(curve.evaluate(0.999f)));
}

}  // namespace
