#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

class SegmentSelection : public ::testing::Test {
protected:
    void TearDown() override
    {
        ::unsetenv("ZEVA_ANIMATION_INTERPOLATOR");
        Tkeyframe::fsOverrideTangentsForBlockingMode = false;
    }
};

TinterpolatorType kindFor(bool weighted, TtangentType out)
{
    Tkeyframe const key(0.0f, 0.0, kTangentFixed, out);
    return T2dAnimCurve::desiredInterpolatorType(weighted, &key);
}

TEST_F(SegmentSelection, OutTangentTypeChoosesTheKind)
{
    struct Case {
        TtangentType fOut;
        bool fWeighted;
        TinterpolatorType fKind;
    };
    Case const cases[] = {
        {kTangentSpline, false, kInterpolatorHermite},
        {kTangentSpline, true, kInterpolatorBezier},
        {kTangentLinear, true, kInterpolatorBezier},
        {kTangentHermite, false, kInterpolatorSine},
        {kTangentBezier, true, kInterpolatorParabolic},
        {kTangentSine, false, kInterpolatorNone4},
        {kTangentParabolic, true, kInterpolatorLog},
        {kTangentLog, false, kInterpolatorNone6},
        {kTangentFlat, false, kInterpolatorHermite},
        {kTangentFlat, true, kInterpolatorBezier},
        {static_cast<TtangentType>(20), false, static_cast<TinterpolatorType>(20)},
        {static_cast<TtangentType>(64), true, static_cast<TinterpolatorType>(64)},
        {static_cast<TtangentType>(40), true, kInterpolatorBezier},  // between the plug-in ranges
    };
    for (Case const& c : cases) {
        EXPECT_EQ(kindFor(c.fWeighted, c.fOut), c.fKind) << c.fOut << (c.fWeighted ? " weighted" : "");
    }
    EXPECT_EQ(T2dAnimCurve::desiredInterpolatorType(false, nullptr), kInterpolatorHermite);
    EXPECT_EQ(T2dAnimCurve::desiredInterpolatorType(true, nullptr), kInterpolatorBezier);
}

TEST_F(SegmentSelection, EnvironmentHookAppliesToFlatSpansOnly)
{
    ::setenv("ZEVA_ANIMATION_INTERPOLATOR", "0", 1);
    EXPECT_EQ(kindFor(false, kTangentFlat), kInterpolatorHermite);
    ::setenv("ZEVA_ANIMATION_INTERPOLATOR", "2", 1);
    EXPECT_EQ(kindFor(false, kTangentFlat), kInterpolatorSine);
    EXPECT_EQ(kindFor(false, kTangentLinear), kInterpolatorHermite);
    ::setenv("ZEVA_ANIMATION_INTERPOLATOR", "6", 1);
    EXPECT_EQ(kindFor(true, kTangentFlat), kInterpolatorNone6);
}

TEST_F(SegmentSelection, BlockingModeReadsStepped)
{
    Tkeyframe const tick(TanimTime::fromTicks(0), 0.0, kTangentFixed, kTangentHermite);
    Tkeyframe::fsOverrideTangentsForBlockingMode = true;
    EXPECT_EQ(T2dAnimCurve::desiredInterpolatorType(false, &tick), kInterpolatorHermite)
        << "step, not the sine kind of its stored type";
    Tkeyframe::fsOverrideTangentsForBlockingMode = false;
    EXPECT_EQ(T2dAnimCurve::desiredInterpolatorType(false, &tick), kInterpolatorSine);
}

TEST_F(SegmentSelection, FactoryKindsAndNames)
{
    std::unique_ptr<T2dAnimCurve> hermite(T2dAnimCurve::new2dAnimCurve(true, kInterpolatorHermite));
    std::unique_ptr<T2dAnimCurve> bezier(T2dAnimCurve::new2dAnimCurve(false, kInterpolatorBezier));
    ASSERT_NE(hermite, nullptr);
    ASSERT_NE(bezier, nullptr);
    EXPECT_EQ(hermite->interpolatorName(), "Hermite");
    EXPECT_EQ(bezier->interpolatorName(), "Bezier");
    EXPECT_EQ(bezier->interpolatorType(), kInterpolatorBezier);
    EXPECT_EQ(T2dAnimCurve::new2dAnimCurve(true, kInterpolatorNone4), nullptr);
    EXPECT_EQ(T2dAnimCurve::new2dAnimCurve(true, kInterpolatorNone6), nullptr);
    std::unique_ptr<T2dAnimCurve> unknown(T2dAnimCurve::new2dAnimCurve(true, static_cast<TinterpolatorType>(500)));
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(unknown->interpolatorType(), kInterpolatorHermite) << "no registry: Hermite instead";
}

TEST(SpanInterpolationMethod, LinearNeighboursMakeALinearSpan)
{
    TparamCurve curve(true);
    curve.add(Tkeyframe(0.0f, 0.0, kTangentLinear, kTangentLinear));
    curve.add(Tkeyframe(1.0f, 1.0, kTangentLinear, kTangentLinear));
    curve.add(Tkeyframe(2.0f, 0.0, kTangentLinear, kTangentStep));
    EXPECT_EQ(curve.keyframe(0)->interpMethod(), Tkeyframe::kInterpLinear);
    EXPECT_EQ(curve.keyframe(1)->interpMethod(), Tkeyframe::kInterpLinear);
    EXPECT_EQ(curve.keyframe(2)->interpMethod(), Tkeyframe::kInterpStep);
    curve.keyframe(1)->setTanInType(kTangentSpline);
    curve.setSpanInterpMethod(1);
    EXPECT_EQ(curve.keyframe(0)->interpMethod(), Tkeyframe::kInterpSegment);
    curve.keyframe(0)->setTanOutType(kTangentStepNext);
    curve.setSpanInterpMethod(0);
    curve.setSpanInterpMethod(1);
    EXPECT_EQ(curve.keyframe(0)->interpMethod(), Tkeyframe::kInterpStepNext) << "stepped keys stay stepped";
    curve.setSpanInterpMethod(40);  // out of range: nothing
}

}  // namespace
