// Ripple and retime: which keys ripple, fixed tangents following their
// intervals, a retime that keeps the curve's shape, and the failure path.

#include "editing/pickHelpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

namespace {

constexpr double kShape = 1e-4;

// Keys every second (ticks), fixed tangents of uneven lengths.
std::unique_ptr<TparamCurve> tickKeys(bool weighted)
{
    auto curve = std::make_unique<TparamCurve>(false);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (int i = 0; i < 6; ++i) {
        Tkeyframe key(TanimTime::fromTicks(6000 * i), double(i % 3) - 0.5 * i, kTangentFixed, kTangentFixed);
        key.setTanIn(0.6f + 0.1f * float(i), 0.4f);
        key.setTanOut(0.9f - 0.1f * float(i), -0.3f);
        curve->add(key, false, true);
    }
    return curve;
}

// A list picking whole keys by index.
class Tpicks : public TpickKeyList {
public:
    Tpicks(TparamCurve& curve, std::initializer_list<unsigned> indices)
    {
        for (unsigned i : indices) {
            keeltest::addPick(*this, &curve, i, kPickKeyMask);
        }
    }
};

TEST(Ripple, BreakdownsNeverRippleAndZeroMovesNothing)
{
    auto curve = tickKeys(false);
    curve->setBreakdown(2, true);
    EXPECT_EQ(curve->getRippleData(2, 1.0f), nullptr);
    EXPECT_EQ(curve->getRippleData(99, 1.0f), nullptr);
    TrippleDataPtrArray cache;
    EXPECT_FALSE(curve->buildRippleCache(Tpicks(*curve, {2}), 1.0f, cache));
    std::string const before = keeltest::curveState(*curve);
    ASSERT_TRUE(curve->buildRippleCache(Tpicks(*curve, {3, 4, 5}), 0.0f, cache));
    curve->applyRippleCache(cache);
    curve->flushRippleCache(cache);
    EXPECT_TRUE(cache.empty());
    EXPECT_EQ(keeltest::curveState(*curve), before);
}

TEST(Ripple, ABlockMovesWhole)
{
    auto curve = tickKeys(false);
    TrippleDataPtrArray cache;
    ASSERT_TRUE(curve->buildRippleCache(Tpicks(*curve, {3, 4, 5}), 2.5f, cache));
    EXPECT_EQ(cache[0]->getDesiredTime(curve.get()).animTime().ticks(), 6000 * 3 + 15000);
    curve->applyRippleCache(cache);
    curve->flushRippleCache(cache);
    ASSERT_EQ(curve->keyframeCount(), 6u) << "rippled keys never land on each other";
    EXPECT_EQ(curve->timeValue(3u).animTime().ticks(), 33000);
    EXPECT_EQ(curve->timeValue(5u).animTime().ticks(), 45000);
}

// An interval that doubles doubles the fixed tangents facing into it; one
// that changes by less than 1e-5 s keeps them.
TEST(RetimeDistances, FixedTangentsFollowTheirInterval)
{
    auto curve = tickKeys(false);
    TretimeDistanceDataPtrArray cache;
    ASSERT_TRUE(curve->buildRetimeDistanceCache(cache));
    EXPECT_EQ(cache[0]->distance(), 0.0f);
    EXPECT_FLOAT_EQ(cache[1]->distance(), 1.0f);
    float outX = 0.0f;
    float outY = 0.0f;
    float inX = 0.0f;
    float inY = 0.0f;
    curve->keyframe(4)->getTanOut(outX, outY);
    curve->keyframe(5)->getTanIn(inX, inY);
    curve->keyframe(5)->setTime(TanimTime::fromTicks(36000));  // interval 4-5 doubles
    curve->invalidateCache();
    curve->applyRetimeDistanceCache(cache);
    curve->flushRetimeDistanceCache(cache);
    float x = 0.0f;
    float y = 0.0f;
    curve->keyframe(4)->getTanOut(x, y);
    EXPECT_FLOAT_EQ(x, 2.0f * outX);
    EXPECT_FLOAT_EQ(y, outY);
    curve->keyframe(5)->getTanIn(x, y);
    EXPECT_FLOAT_EQ(x, 2.0f * inX);
    curve->keyframe(3)->getTanOut(x, y);
    EXPECT_FLOAT_EQ(x, 0.9f - 0.3f) << "an unchanged interval keeps its tangents";
}

// Region [1 s, 2 s] doubled about 1 s and the keys after it rippled by the
// second it gained: the curve is the old one stretched, key by key.
TEST(Retime, StretchesARegionAndKeepsTheShape)
{
    for (bool weighted : {false, true}) {
        auto curve = tickKeys(weighted);
        auto const before = std::make_unique<TparamCurve>(*curve);
        Tpicks const region(*curve, {1, 2});
        Tpicks const ripple(*curve, {3, 4, 5});
        TpickKeyList const none;
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        ASSERT_TRUE(curve->retimeRegions(region, none, ripple, 2.0f, 1.0f, 1.0f, TtimeValue(TanimTime::fromTicks(6000)),
                                         TtimeValue()));
        user.endParamCurveMod(*curve);
        auto oldTime = [](double t) { return t <= 1.0 ? t : t <= 3.0 ? 1.0 + (t - 1.0) / 2.0 : t - 1.0; };
        for (double t = 0.0; t <= 6.0; t += 0.125) {
            EXPECT_NEAR(curve->evaluate(TtimeValue(TanimTime(t, kSeconds))),
                        before->evaluate(TtimeValue(TanimTime(oldTime(t), kSeconds))), kShape)
                << "weighted " << weighted << " at " << t;
        }
        std::string const retimed = keeltest::curveState(*curve);
        user.undoPC();
        EXPECT_EQ(keeltest::curveState(*curve), keeltest::curveState(*before));
        user.redoPC();
        EXPECT_EQ(keeltest::curveState(*curve), retimed);
    }
}

TEST(Retime, RefusedScalesFailAndEmptyListsChangeNothing)
{
    auto curve = tickKeys(false);
    std::string const before = keeltest::curveState(*curve);
    TpickKeyList const none;
    EXPECT_TRUE(curve->retimeRegions(none, none, none, 2.0f, 2.0f, 1.0f, TtimeValue(), TtimeValue()));
    EXPECT_EQ(keeltest::curveState(*curve), before);
    Tpicks const region(*curve, {1, 2});
    Tpicks const ripple(*curve, {3, 4});
    EXPECT_FALSE(curve->retimeRegions(region, none, ripple, 4.0f, 1.0f, 1.0f, TtimeValue(TanimTime::fromTicks(6000)),
                                      TtimeValue()))
        << "key 2 would land past key 3";
    EXPECT_FALSE(curve->retimeRegions(region, none, ripple, std::nanf(""), 1.0f, 1.0f, TtimeValue(), TtimeValue()));
    curve->setLockedParams(TparamCurve::kChangeTime);
    EXPECT_FALSE(curve->retimeRegions(region, none, ripple, 2.0f, 1.0f, 1.0f, TtimeValue(), TtimeValue()));
    EXPECT_EQ(keeltest::curveState(*curve), before) << "nothing rippled after a refusal";
}

}  // namespace
