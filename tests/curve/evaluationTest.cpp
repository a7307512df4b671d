#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using keeltest::buildCurve;

namespace {

constexpr double kTight = 1e-9;
constexpr double kCycled = 1e-6;  // a cycled time loses float precision
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Keys (0 s, 0) and (1 s, 1) with flat tangents: an ease in and out.
std::unique_ptr<TparamCurve> unitEase(TparamCurveEnums::TinfinityType pre, TparamCurveEnums::TinfinityType post,
                                      bool floatTime = true)
{
    auto curve = buildCurve(floatTime, false, {{0, 0, 1, 0, 1, 0}, {1, 1, 1, 0, 1, 0}});
    curve->setPreInfinityType(pre);
    curve->setPostInfinityType(post);
    return curve;
}

double ease(double s)
{
    return 3 * s * s - 2 * s * s * s;
}

TEST(CurveEvaluation, InsideSpansAtKeysAndAtTickTimes)
{
    auto curve = unitEase(TparamCurveEnums::kConstant, TparamCurveEnums::kConstant);
    EXPECT_EQ(curve->evaluate(0.0f), 0.0);
    EXPECT_EQ(curve->evaluate(1.0f), 1.0);
    for (double s : {0.1, 0.25, 0.5, 0.9}) {
        EXPECT_NEAR(curve->evaluate(float(s)), ease(float(s)), kTight) << s;
    }
    EXPECT_EQ(curve->evaluate(-5.0f), 0.0) << "constant before";
    EXPECT_EQ(curve->evaluate(5.0f), 1.0) << "constant after";

    auto ticks = unitEase(TparamCurveEnums::kConstant, TparamCurveEnums::kConstant, false);
    EXPECT_NEAR(ticks->evaluate(TanimTime::fromTicks(1500)), ease(0.25), kTight);
    EXPECT_EQ(ticks->evaluate(TanimTime::fromTicks(6000)), 1.0);
    EXPECT_NEAR(ticks->evaluate(0.25f), ease(0.25), kTight) << "seconds on a tick curve";
}

TEST(CurveEvaluation, EmptyStaticAndBadTimes)
{
    TparamCurve empty(true);
    EXPECT_EQ(empty.evaluate(3.0f), 0.0);
    EXPECT_EQ(empty.evaluate(std::nanf("")), 0.0);
    EXPECT_EQ(empty.evaluateInfinities(3.0f, false), 0.0);
    // The tangent condition compares each tangent's y with the key's value.
    auto flat = keeltest::buildCurve(true, false, {{0, 4, 1, 4, 1, 4}, {1, 4, 1, 4, 1, 4}});
    EXPECT_TRUE(flat->isStatic());
    EXPECT_EQ(flat->evaluate(0.5f), 4.0);
    auto curve = unitEase(TparamCurveEnums::kCycle, TparamCurveEnums::kOscillate);
    EXPECT_EQ(curve->evaluate(std::nanf("")), 0.0) << "NaN answers the first key's value";
    for (double t : {kInfinity, -kInfinity, 1e30, -1e30}) {
        EXPECT_TRUE(std::isfinite(curve->evaluate(TtimeValue(float(t))))) << t;
    }
}

TEST(CurveEvaluation, InterpolationMethods)
{
    auto curve = buildCurve(true, false,
                            {{0, 1, 0, 0, 0, 0, kTangentLinear, kTangentLinear},
                             {1, 3, 0, 0, 0, 0, kTangentLinear, kTangentStep},
                             {2, 5, 0, 0, 0, 0, kTangentStep, kTangentStepNext},
                             {3, 8, 0, 0, 0, 0, kTangentFixed, kTangentFixed}});
    EXPECT_DOUBLE_EQ(curve->evaluate(0.25f), 1.5);
    EXPECT_EQ(curve->evaluate(1.5f), 3.0) << "step holds the value";
    EXPECT_EQ(curve->evaluate(1.99999f), 3.0) << "up to, not including, the next key";
    EXPECT_EQ(curve->evaluate(2.0f), 5.0);
    EXPECT_EQ(curve->evaluate(2.5f), 8.0) << "step next answers the next key";
    TparamCurve::fsOverrideTangentsForBlockingMode = true;
    EXPECT_EQ(curve->evaluate(0.25f), 1.0) << "blocking mode steps every span";
    TparamCurve::fsOverrideTangentsForBlockingMode = false;
}

TEST(CurveEvaluation, ValueAndSlopeAtAKey)
{
    auto curve = buildCurve(true, false, {{0, 1, 1, 0, 2, 1}, {1, 3, 1, 0, 1, 0}});
    double value = 0, slope = 0;
    EXPECT_TRUE(curve->evaluate(0u, &value, &slope));
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(slope, 0.5);
    EXPECT_FALSE(curve->evaluate(5u, &value, &slope));
}

// Found by fuzzing: a span from -DBL_MAX to a small value overflowed the
// cubic's arithmetic and evaluated to NaN between its keys.
TEST(CurveEvaluation, SpansNearTheDoubleLimitStayFinite)
{
    double const big = std::numeric_limits<double>::max();
    for (bool weighted : {false, true}) {
        for (double far : {-big, big}) {
            auto curve = buildCurve(true, weighted, {{-2.1875, -35.0, 1, 1, 1, 1}, {0.0, far, 1, 1, 1, 1}});
            for (float t : {-2.0f, -1.1875f, -0.001f}) {
                double const value = curve->evaluate(t);
                EXPECT_TRUE(std::isfinite(value)) << "weighted " << weighted << " at " << t;
                EXPECT_EQ(std::signbit(value), std::signbit(far)) << "the far key dominates at " << t;
            }
            EXPECT_EQ(curve->evaluate(0.0f), far);
        }
    }
}

TEST(CurveInfinity, SingleKeyHoldsEverywhere)
{
    for (int type : {0, 1, 3, 4, 5}) {
        auto curve = buildCurve(true, false, {{1, 7, 1, 1, 1, 1}});
        curve->setPreInfinityType(static_cast<TparamCurveEnums::TinfinityType>(type));
        curve->setPostInfinityType(static_cast<TparamCurveEnums::TinfinityType>(type));
        for (float t : {-10.0f, 0.0f, 1.0f, 2.0f, 100.0f}) {
            EXPECT_EQ(curve->evaluate(t), 7.0) << "type " << type << " at " << t;
        }
    }
}

TEST(CurveInfinity, CyclesOffsetsAndOscillation)
{
    struct Case {
        TparamCurveEnums::TinfinityType fPre;
        TparamCurveEnums::TinfinityType fPost;
        float fTime;
        double fExpected;
    };
    Case const cases[] = {
        {TparamCurveEnums::kConstant, TparamCurveEnums::kCycleRelative, 1.25f, ease(0.25) + 1},
        {TparamCurveEnums::kConstant, TparamCurveEnums::kCycleRelative, 2.25f, ease(0.25) + 2},
        {TparamCurveEnums::kConstant, TparamCurveEnums::kOscillate, 1.25f, ease(0.75)},
        {TparamCurveEnums::kConstant, TparamCurveEnums::kOscillate, 2.25f, ease(0.25)},
        {TparamCurveEnums::kConstant, TparamCurveEnums::kCycle, 7.5f, ease(0.5)},
        {TparamCurveEnums::kCycle, TparamCurveEnums::kConstant, -0.25f, ease(0.75)},
        {TparamCurveEnums::kCycleRelative, TparamCurveEnums::kConstant, -0.25f, ease(0.75) - 1},
        {TparamCurveEnums::kOscillate, TparamCurveEnums::kConstant, -0.25f, ease(0.25)},
        {TparamCurveEnums::kOscillate, TparamCurveEnums::kConstant, -1.25f, ease(0.75)},
        {TparamCurveEnums::kCycle, TparamCurveEnums::kCycle, -3.0f, 1.0},  // a whole cycle back: the last key
    };
    for (Case const& c : cases) {
        auto curve = unitEase(c.fPre, c.fPost);
        EXPECT_NEAR(curve->evaluate(c.fTime), c.fExpected, kCycled) << c.fPre << "/" << c.fPost << " at " << c.fTime;
    }
    // Keys from 10 s to 11 s: the offset lands before the keys, where the
    // constant pre-infinity answers the first value.
    auto late = buildCurve(true, false, {{10, 3, 1, 0, 1, 0}, {11, 4, 1, 0, 1, 0}});
    EXPECT_EQ(late->evaluateInfinities(11.5f, false), 3.0) << "types without a behaviour use the unshifted offset";
}

TEST(CurveInfinity, LinearFollowsTheEndTangentsSteepButFinite)
{
    // 45 degrees on both ends.
    auto curve = buildCurve(true, false, {{0, 2, 1, 1, 1, 0}, {1, 3, 1, 0, 2, 2}});
    curve->setPreInfinityType(TparamCurveEnums::kLinear);
    curve->setPostInfinityType(TparamCurveEnums::kLinear);
    EXPECT_NEAR(curve->evaluate(-1.0f), 1.0, kTight);
    EXPECT_NEAR(curve->evaluate(3.0f), 5.0, kTight);
    EXPECT_TRUE(std::isinf(curve->evaluate(TtimeValue(std::numeric_limits<float>::infinity()))));
    EXPECT_NEAR(curve->tangentAngle(0, true, 1.0, 1.0), M_PI / 4, kTight);
    EXPECT_NEAR(curve->tangentAngle(0, true, 1.0, 2.0), std::atan(2.0), kTight) << "display scales";
    EXPECT_EQ(curve->tangentAngle(9, true, 1.0, 1.0), 0.0);

    auto vertical = buildCurve(true, false, {{0, 0, 0, 1, 0, 1}, {1, 1, 0, 1, 0, 1}});
    vertical->setPostInfinityType(TparamCurveEnums::kLinear);
    EXPECT_NEAR(vertical->tangentAngle(1, false, 1.0, 1.0), M_PI / 2, kTight);
    EXPECT_TRUE(std::isfinite(vertical->evaluate(2.0f))) << "a vertical end tangent gives a steep line";
}

TEST(CurveCache, SegmentIsBuiltOncePerSpan)
{
    auto curve = buildCurve(true, false, {{0, 0, 1, 0, 1, 0}, {1, 1, 1, 0, 1, 0}, {2, 0, 1, 0, 1, 0}});
    curve->setInterpolationInterval(0);
    T2dAnimCurve const* segment = curve->interpolator();
    ASSERT_NE(segment, nullptr);
    // Change a tangent behind the curve's back: a second request for the
    // same span must not rebuild, so the old shape answers.
    double const before = curve->evaluate(0.5f);
    curve->keyframe(0)->setTanOut(1.0f, 5.0f);
    curve->setInterpolationInterval(0);
    EXPECT_EQ(curve->evaluate(0.5f), before);
    EXPECT_EQ(curve->interpolator(), segment) << "the same kind keeps its segment";
    curve->setInterpolationInterval(1);
    EXPECT_EQ(curve->interpolatorSpan(), 1);
    curve->invalidateCache();
    EXPECT_EQ(curve->interpolatorSpan(), -1);
    EXPECT_NE(curve->evaluate(0.5f), before) << "rebuilt after invalidation";
}

TEST(CurveCache, SweepsInBothDirectionsMatchFreshEvaluation)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto swept = exhibit.fBuild();
        auto fresh = exhibit.fBuild();
        for (int i = -40; i <= 160; ++i) {
            float const t = float(i) / 40.0f;
            fresh->invalidateCache();
            ASSERT_EQ(swept->evaluate(t), fresh->evaluate(t)) << exhibit.fName << " forward at " << t;
        }
        for (int i = 160; i >= -40; i -= 3) {
            float const t = float(i) / 40.0f;
            fresh->invalidateCache();
            ASSERT_EQ(swept->evaluate(t), fresh->evaluate(t)) << exhibit.fName << " backward at " << t;
        }
    }
}

// Either blocking-mode switch steps every span while it is on, and the curve
// answers smoothly again from the first read after it goes off, also at the
// time it evaluated last (the sweep shortcut must not keep the stepped span).
TEST(CurveEvaluation, BlockingOverrideAppliesAtEveryRead)
{
    for (bool keyLevel : {false, true}) {
        SCOPED_TRACE(keyLevel ? "key switch" : "curve switch");
        auto curve = buildCurve(false, false, {{0, 0, 1, 0, 1, 0}, {1, 1, 1, 0, 1, 0}});
        bool& override =
            keyLevel ? Tkeyframe::fsOverrideTangentsForBlockingMode : TparamCurve::fsOverrideTangentsForBlockingMode;
        double const smooth = curve->evaluate(0.25f);
        override = true;
        EXPECT_EQ(curve->evaluate(0.25f), 0.0) << "stepped while on";
        EXPECT_EQ(curve->evaluate(0.5f), 0.0);
        override = false;
        EXPECT_NEAR(curve->evaluate(0.5f), ease(0.5), kTight) << "the span evaluated last, off again";
        EXPECT_EQ(curve->evaluate(0.25f), smooth);
    }
}

// A host that stores ticks and asks at the seconds the curve gave it gets the
// key: seconds are compared with key times read as float seconds, also when
// the previous evaluation left the span before the key, and beyond the keys.
TEST(CurveEvaluation, TickCurvesAskedAtTheirKeysSecondsAnswerTheKey)
{
    constexpr int kFrames = 25;
    auto stepped = std::make_unique<TparamCurve>(false);
    for (int frame = 0; frame < kFrames; ++frame) {
        stepped->add(Tkeyframe(TanimTime::fromTicks(frame * 250), double(frame), kTangentStep, kTangentStep));
    }
    stepped->setPreInfinityType(TparamCurveEnums::kCycle);
    stepped->setPostInfinityType(TparamCurveEnums::kCycle);
    for (bool sweep : {true, false}) {
        for (unsigned i = 0; i < unsigned(kFrames); ++i) {
            if (!sweep) {
                stepped->invalidateCache();
            } else if (i > 0) {
                stepped->evaluate(0.5f * (stepped->seconds(i - 1) + stepped->seconds(i)));  // inside the span before
            }
            EXPECT_EQ(stepped->evaluate(stepped->seconds(i)), double(i)) << (sweep ? "sweep" : "fresh") << " key " << i;
            double value = 0.0;
            EXPECT_TRUE(stepped->evaluate(i, &value, nullptr));
            EXPECT_EQ(value, double(i)) << "the key's own time, key " << i;
        }
    }
    float const period = stepped->seconds(unsigned(kFrames - 1)) - stepped->seconds(0u);
    EXPECT_EQ(stepped->evaluate(stepped->seconds(0u)), 0.0) << "a cycling curve at its own first key";
    EXPECT_EQ(stepped->evaluate(stepped->seconds(3u) + period), 3.0) << "a cycle later";
}

// The segment evaluation names is that of the span evaluated last, also for
// Hermite spans, which evaluation answers from their cubic.
TEST(CurveEvaluation, TheSegmentNamedIsThatOfTheLastSpan)
{
    auto curve = buildCurve(true, false, {{0, 0, 1, 0, 1, 2}, {1, 1, 1, 1, 1, 1}, {2, 0, 1, 0, 1, 0}});
    double const inSecond = curve->evaluate(1.5f);
    EXPECT_EQ(curve->interpolatorSpan(), 1);
    ASSERT_NE(curve->interpolator(), nullptr);
    EXPECT_EQ(curve->interpolator()->evaluate(1.5), inSecond);
    curve->evaluate(0.25f);
    EXPECT_EQ(curve->interpolatorSpan(), 0);
}

}  // namespace
