#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <memory>

using keeltest::buildCurve;
using keeltest::floatCurve;

namespace {

constexpr double kBoundSlack = 1e-9;

// The index of the key a query answered, or -1 for none; frees the handle.
int indexOf(TkeyframeHandle* handle)
{
    std::unique_ptr<TkeyframeHandle> owned(handle);
    return owned != nullptr ? owned->index() : -1;
}

TEST(CurveQueries, ClosestKeyByTimeWithinAnyOrAToleranceAndByValue)
{
    auto curve = floatCurve({{1.0f, 0.0}, {2.0f, 0.0}, {4.0f, 0.0}});
    struct Case {
        float fTime;
        int fIndex;
    };
    Case const cases[] = {{0.0f, 0}, {9.0f, 2}, {1.5f, 1}, {1.4f, 0}, {2.0f, 1}, {2.9f, 1}, {3.1f, 2}, {3.0f, 2}};
    for (Case const& c : cases) {
        EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(c.fTime))), c.fIndex) << c.fTime;
    }
    EXPECT_EQ(indexOf(TparamCurve(true).findClosestKeyframe(TtimeValue(1.0f))), -1);

    EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(1.5f), 0.2, false)), -1);
    EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(2.1f), 0.2, false)), 1);
    EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(2.1f), -1.0, false)), -1);
    curve->keyframe(1)->setHidden(true);
    curve->setCurveFlag(TparamCurve::kHideKeysBit, true);
    EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(2.1f), 0.2, true)), -1);
    EXPECT_EQ(indexOf(curve->findClosestKeyframe(TtimeValue(2.1f), 2.0, true)), 0) << "the nearest visible key";

    EXPECT_EQ(indexOf(floatCurve({{0.0f, 1.0}, {1.0f, 3.0}, {2.0f, 2.5}})->findClosestValue(2.0)), 2);
    EXPECT_EQ(indexOf(floatCurve({{0.0f, 1.0}, {1.0f, 3.0}})->findClosestValue(2.0)), 0)
        << "the earliest of equally near keys";
    EXPECT_EQ(indexOf(TparamCurve(false).findClosestValue(1.0)), -1);
}

TEST(CurveQueries, NextAndPreviousKeys)
{
    auto curve = floatCurve({{1.0f, 0.0}, {2.0f, 0.0}});
    bool found = false;
    EXPECT_EQ(curve->getNextKey(TtimeValue(1.0f), true, found).seconds(), 2.0);
    EXPECT_TRUE(found);
    EXPECT_EQ(curve->getNextKey(TtimeValue(1.5f), false, found).seconds(), 1.0);
    curve->getNextKey(TtimeValue(2.0f), true, found);
    EXPECT_FALSE(found);
    curve->getNextKey(TtimeValue(1.0f), false, found);
    EXPECT_FALSE(found);
}

TEST(CurveQueries, SpanBoundsCoverOvershootAndSpanExtremes)
{
    // Tangents that rise then fall: the span bulges above both keys.
    auto curve = buildCurve(true, false, {{0, 0, 1, 3, 1, 3}, {1, 0.1, 1, -3, 1, -3}});
    float t0 = -1, t1 = -1;
    double low = 0, high = 0, exactLow = 0, exactHigh = 0;
    ASSERT_TRUE(curve->boundingBox(0, t0, low, t1, high, false));
    EXPECT_EQ(t0, 0.0f);
    EXPECT_EQ(t1, 1.0f);
    EXPECT_GT(high, 0.0);
    ASSERT_TRUE(curve->boundingBox(0, t0, exactLow, t1, exactHigh, true));
    double sampledPeak = -DBL_MAX;
    for (int i = 0; i <= 10000; ++i) {
        sampledPeak = std::max(sampledPeak, curve->evaluate(float(i) / 10000.0f));
    }
    EXPECT_NEAR(exactHigh, sampledPeak, 1e-6) << "the true peak";
    EXPECT_GE(high, exactHigh) << "the cheap bound covers the curve";
    float untouched = 42;
    EXPECT_FALSE(curve->boundingBox(1, untouched, low, t1, high, false)) << "the last key starts no span";
    EXPECT_EQ(untouched, 42.0f);

    auto hump = buildCurve(true, true, {{0, 0, 1, 0, 1, 3}, {1, 0, 1, -3, 1, 0}});
    ASSERT_TRUE(hump->minMaxValueAndTime(0, t0, low, t1, high));
    EXPECT_NEAR(t1, 0.5f, 1e-6);
    EXPECT_NEAR(high, 0.75, kBoundSlack);
    EXPECT_FALSE(hump->minMaxValueAndTime(1, t0, low, t1, high));
}

// The cheap bound of a stepped span is widened by its segment as any span's
// is; the exact one stays at the keys, the true extremes of a step.
TEST(CurveQueries, SteppedSpanBoundsWidenByTheSegment)
{
    auto curve = buildCurve(true, false, {{0, 0, 1, 3, 1, 3, kTangentFixed, kTangentStep}, {1, 0.1, 1, -3, 1, -3}});
    float t0 = 0;
    float t1 = 0;
    double low = 0;
    double high = 0;
    ASSERT_TRUE(curve->boundingBox(0, t0, low, t1, high, false));
    EXPECT_GT(high, 0.1) << "the segment's bulge";
    ASSERT_TRUE(curve->boundingBox(0, t0, low, t1, high, true));
    EXPECT_EQ(low, 0.0);
    EXPECT_EQ(high, 0.1);
}

TEST(CurveQueries, WholeCurveBoundsContainEverySample)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        float t0 = 0, t1 = 0;
        double low = 0, high = 0;
        if (!curve->boundingBox(t0, low, t1, high, false)) {
            EXPECT_EQ(curve->keyframeCount(), 0u) << exhibit.fName;
            continue;
        }
        for (int i = 0; i <= 200; ++i) {
            float const t = t0 + (t1 - t0) * float(i) / 200.0f;
            double const v = curve->evaluate(t);
            EXPECT_GE(v, low - kBoundSlack) << exhibit.fName << " at " << t;
            EXPECT_LE(v, high + kBoundSlack) << exhibit.fName << " at " << t;
        }
    }
}

}  // namespace
