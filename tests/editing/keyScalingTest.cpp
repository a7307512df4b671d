// Scaling keys: region maps and their offsets, shapes kept when stretched or
// reversed, the picked-key forms, and refusals that leave the curve untouched.

#include "editing/pickHelpers.h"
#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using keeltest::curveState;

constexpr double kTimeTolerance = 1e-5;
// Evaluations of a stretched or mirrored curve against the original: the
// tangents pass through single precision.
constexpr double kShapeTolerance = 1e-4;

std::vector<double> keyTimes(TparamCurve const& curve)
{
    std::vector<double> times;
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        times.push_back(curve.timeValue(i).seconds());
    }
    return times;
}

void expectTimes(TparamCurve const& curve, std::vector<double> const& expected, char const* name)
{
    std::vector<double> const times = keyTimes(curve);
    ASSERT_EQ(times.size(), expected.size()) << name;
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], expected[i], kTimeTolerance) << name << " key " << i;
    }
}

TtimeValue seconds(double t)
{
    return TtimeValue(static_cast<float>(t));
}

// Keys at 0, 1, 2, 3, 4 and 5 seconds.
std::unique_ptr<TparamCurve> sixKeys(bool ticks)
{
    return ticks ? keeltest::tickCurve({{0, 0.0}, {6000, 1.0}, {12000, 0.0}, {18000, 2.0}, {24000, 1.0}, {30000, 0.0}})
                 : keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 0.0}, {3.0f, 2.0}, {4.0f, 1.0}, {5.0f, 0.0}});
}

struct TregionCase {
    char const* fName;
    double fOldStart, fOldEnd, fNewStart, fNewEnd, fReference;
    std::vector<double> fExpected;
};

// Keys before the region keep clear of its new start, keys after of its new
// end, unless the reference lies beyond all four bounds on that side; a range
// of one tick or less shifts instead of scaling.
TEST(RegionMap, OffsetsAndScales)
{
    double const tick = 1.0 / 6000.0;  // a region this long has no length
    TregionCase const cases[] = {
        {"stretch [2, 3] to [2, 4], reference inside", 2, 3, 2, 4, 2.5, {0, 1, 2, 4, 5, 6}},
        {"stretch [2, 3] to [1.5, 3.5]", 2, 3, 1.5, 3.5, 2.5, {-0.5, 0.5, 1.5, 3.5, 4.5, 5.5}},
        {"reference before all bounds keeps the keys before", 2, 3, 2.5, 4, -1, {0, 1, 2.5, 4, 5, 6}},
        {"reference after all bounds keeps the keys after", 2, 3, 1, 2.5, 9, {-1, 0, 1, 2.5, 4, 5}},
        {"a region of no length shifts its key", 1, 1, 1.5, 1.5, 0, {0, 1.5, 2.5, 3.5, 4.5, 5.5}},
        {"a region of one tick shifts its key", 2, 2 + tick, 2.25, 3, 2, {0, 1, 2.25, 4 - tick, 5 - tick, 6 - tick}},
        {"reversal of [1, 4] in place", 1, 4, 4, 1, 2.5, {0, 1, 2, 3, 4, 5}},
        {"a region without keys", 2.2, 2.8, 2.2, 3.8, 2.5, {0, 1, 2, 4, 5, 6}},
    };
    for (bool ticks : {false, true}) {
        for (TregionCase const& c : cases) {
            auto curve = sixKeys(ticks);
            ASSERT_TRUE(curve->scaleRegion(seconds(c.fOldStart), seconds(c.fOldEnd), seconds(c.fNewStart),
                                           seconds(c.fNewEnd), seconds(c.fReference)))
                << c.fName;
            expectTimes(*curve, c.fExpected, c.fName);
            EXPECT_TRUE(keeltest::keysInOrder(*curve)) << c.fName;
        }
    }
}

// A region reversed about its middle mirrors the curve there: the value at
// m + d is the former value at m - d, for every span kind and weighting.
TEST(RegionMap, ReversalMirrorsTheShape)
{
    unsigned compared = 0;
    for (auto const& exhibit : keeltest::museum()) {
        auto original = exhibit.fBuild();
        if (original->keyframeCount() < 2 || original->isAnimTimeCurve()) {
            continue;
        }
        auto mirrored = exhibit.fBuild();
        double const first = original->timeValue(0u).seconds();
        double const last = original->timeValue(original->keyframeCount() - 1).seconds();
        double const middle = (first + last) / 2.0;
        if (!mirrored->scaleRegion(seconds(first), seconds(last), seconds(last), seconds(first), seconds(middle))) {
            continue;  // keys too close to keep apart in single precision
        }
        // Types whose tangents read the same from either side.
        auto symmetric = [](TtangentType type) {
            return type == kTangentFixed || type == kTangentLinear || type == kTangentFlat || type == kTangentSpline;
        };
        bool asymmetric = false;
        for (unsigned i = 0; i < original->keyframeCount(); ++i) {
            Tkeyframe const* key = original->keyframe(i);
            asymmetric = asymmetric || !symmetric(key->tanInType()) || !symmetric(key->tanOutType());
            // Handles that overlap in time are mended from one side: such a
            // span is not mirrored exactly, by design of the span, not of
            // the reversal.
            if (Tkeyframe const* next = original->keyframe(i + 1)) {
                float outX = 0, outY = 0, inX = 0, inY = 0;
                key->getTanOut(outX, outY);
                next->getTanIn(inX, inY);
                asymmetric = asymmetric || (outX + inX) / 3.0 > next->seconds() - key->seconds();
            }
        }
        if (asymmetric) {
            continue;
        }
        ++compared;
        for (int s = 1; s < 16; ++s) {
            double const d = (last - first) * (s / 16.0 - 0.5);
            EXPECT_NEAR(mirrored->evaluate(static_cast<float>(middle + d)),
                        original->evaluate(static_cast<float>(middle - d)), kShapeTolerance)
                << exhibit.fName << " at " << middle + d;
        }
    }
    EXPECT_GE(compared, 5u) << "the museum holds mirrorable curves";
}

struct TscaleCase {
    char const* fName;
    bool fWeighted;
    float fTimeScale;
    float fValueScale;
};

// Fixed tangents follow a scale: the scaled curve at pivot + s (t - pivot)
// is (value - vPivot) x vs + vPivot of the original at t.
TEST(ScaleTimeAndValue, KeepsTheShape)
{
    TscaleCase const cases[] = {
        {"double, unweighted", false, 2.0f, 1.0f},
        {"double, weighted", true, 2.0f, 1.0f},
        {"halve in time, triple in value", true, 0.5f, 3.0f},
        {"reverse in time and value", true, -1.5f, -1.0f},
        {"reverse, unweighted", false, -1.0f, 2.0f},
    };
    float const pivot = 1.0f;
    double const valuePivot = 0.5;
    for (TscaleCase const& c : cases) {
        auto build = [&] {
            auto curve = std::make_unique<TparamCurve>(true);
            curve->setCurveFlag(TparamCurve::kWeightedBit, c.fWeighted);
            for (auto [t, v] : {std::pair{0.0f, 0.0}, {1.0f, 2.0}, {2.5f, -1.0}, {4.0f, 0.5}}) {
                Tkeyframe key(t, v, kTangentFixed, kTangentFixed);
                key.setTanIn(1.0f, float(v) * 0.5f + 0.25f);
                key.setTanOut(0.75f, -float(v) * 0.25f + 0.5f);
                curve->add(key, false, true);
            }
            return curve;
        };
        auto original = build();
        auto scaled = build();
        std::vector<std::unique_ptr<TkeyframeHandle>> owned;
        TkeyframeHandlePtrArray handles;
        for (unsigned i = 0; i < 4; ++i) {
            owned.push_back(std::make_unique<TkeyframeHandle>(scaled.get(), i, false));
            handles.addLast(owned.back().get());
        }
        ASSERT_TRUE(scaled->scaleTimeAndValue(handles, c.fTimeScale, pivot, c.fValueScale, valuePivot)) << c.fName;
        for (int s = 1; s < 32; ++s) {
            float const t = 4.0f * s / 32.0f;
            double const expected = (original->evaluate(t) - valuePivot) * c.fValueScale + valuePivot;
            EXPECT_NEAR(scaled->evaluate(pivot + (t - pivot) * c.fTimeScale), expected, kShapeTolerance)
                << c.fName << " at " << t;
        }
    }
}

TEST(ScaleTimeAndValue, UnitScalesChangeNothingAndCanScaleRefusesNothing)
{
    auto curve = sixKeys(false);
    std::string const before = curveState(*curve);
    TkeyframeHandlePtrArray handles;
    TkeyframeHandle key(curve.get(), 2u, false);
    handles.addLast(&key);
    EXPECT_TRUE(curve->scaleTimeAndValue(handles, 1.0f, 3.0f, 1.0f, 2.0));
    EXPECT_EQ(curveState(*curve), before);
    TkeyframeHandlePtrArray none;
    EXPECT_TRUE(curve->canScale(none, 0.0f, TtimeValue()));
}

// Every refused scale answers false and leaves the curve bit-identical.
// Found by fuzzing: a scale that carried keys past the float range converted
// their times out of range (undefined behaviour; built with clang, two keys
// ended on one time). Times past the range now hold at its end, and the keys
// stay apart and in order whatever the scale answers.
TEST(ScaleRefusals, KeysCarriedPastTheFloatRangeStayInOrder)
{
    for (float scale : {1e38f, -1e38f, 3e38f}) {
        auto curve = keeltest::floatCurve({{-std::numeric_limits<float>::max(), 1.0}, {12.5f, 0.0}, {40.0f, 2.0}});
        TkeyframeHandle first(curve.get(), 0u, false);
        TkeyframeHandle last(curve.get(), 2u, false);
        TkeyframeHandlePtrArray handles;
        handles.addLast(&first);
        handles.addLast(&last);
        curve->scaleTimeAndValue(handles, scale, 100.0f, 1.0f, 0.0);
        EXPECT_TRUE(keeltest::keysInOrder(*curve)) << scale;
        for (unsigned i = 0; i < curve->keyframeCount(); ++i) {
            EXPECT_TRUE(std::isfinite(curve->timeValue(i).seconds())) << scale;
        }
    }
}

TEST(ScaleRefusals, LeaveTheCurveUntouched)
{
    auto other = sixKeys(false);
    struct Tcase {
        char const* fName;
        float fTimeScale;
        float fValueScale;
        bool fOtherCurve;
        unsigned fLocks;
    };
    Tcase const cases[] = {
        {"NaN scale", NAN, 1.0f, false, 0},
        {"infinite scale", INFINITY, 1.0f, false, 0},
        {"zero time scale", 0.0f, 1.0f, false, 0},
        {"zero value scale", 1.0f, 0.0f, false, 0},
        {"keys that would meet", 1e-7f, 1.0f, false, 0},
        {"a handle of another curve", 2.0f, 1.0f, true, 0},
        {"time locked", 2.0f, 1.0f, false, TparamCurve::kChangeTime},
    };
    for (Tcase const& c : cases) {
        auto curve = sixKeys(false);
        curve->setLockedParams(c.fLocks);
        std::string const before = curveState(*curve);
        TkeyframeHandle first(c.fOtherCurve ? other.get() : curve.get(), 1u, false);
        TkeyframeHandle last(curve.get(), 4u, false);
        TkeyframeHandlePtrArray handles;
        handles.addLast(&first);
        handles.addLast(&last);
        EXPECT_FALSE(curve->scaleTimeAndValue(handles, c.fTimeScale, 2.0f, c.fValueScale, 0.0)) << c.fName;
        EXPECT_EQ(curveState(*curve), before) << c.fName;
    }
    auto curve = sixKeys(false);
    std::string const before = curveState(*curve);
    EXPECT_FALSE(curve->scaleRegion(seconds(NAN), seconds(1), seconds(0), seconds(1), seconds(0)));
    EXPECT_FALSE(curve->scaleRegion(seconds(2), seconds(3), seconds(2.5), seconds(2.5), seconds(2.5)))
        << "a region shrunk to nothing pushes its last key onto the next";
    EXPECT_EQ(curveState(*curve), before);
}

// The picked forms move the picked keys only.
TEST(PickedScales, MoveOnlyThePickedKeys)
{
    auto curve = sixKeys(false);
    TpickKeyList picks;
    keeltest::addPick(picks, curve.get(), 2, kPickKeyBit);
    keeltest::addPick(picks, curve.get(), 3, kPickKeyBit);
    ASSERT_TRUE(curve->scaleRegion(picks, seconds(2), seconds(3), seconds(2), seconds(3.5), seconds(2), true));
    expectTimes(*curve, {0, 1, 2, 3.5, 4, 5}, "region");
    ASSERT_TRUE(curve->scaleTimeAndValue(picks, 0.5f, seconds(2), 2.0f, 0.0, true, true));
    expectTimes(*curve, {0, 1, 2, 2.75, 4, 5}, "time and value");
    EXPECT_EQ(curve->value(3), 4.0);
    EXPECT_FALSE(curve->scaleTimeAndValue(picks, 8.0f / 3.0f, seconds(2), 1.0f, 0.0, true, true))
        << "the picked key would land on an unpicked one";
}

// The scale record keeps the keys exactly: undo after a reversal with
// rounding to ticks returns every bit.
TEST(ScaleUndo, RecordsKeepEveryKey)
{
    for (bool ticks : {false, true}) {
        auto curve = sixKeys(ticks);
        curve->setTangentType(2, kTangentSpline, kTangentFixed);
        std::string const original = curveState(*curve);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        ASSERT_TRUE(curve->scaleRegion(seconds(1), seconds(4), seconds(4.3), seconds(1.1), seconds(2)));
        ASSERT_TRUE(curve->swapKeys(0, 5));
        user.endParamCurveMod(*curve);
        ASSERT_EQ(user.step().length(), 2u);
        auto const* scale = keelCast<TPCDscaleKey>(user.step().delta(0));
        ASSERT_NE(scale, nullptr);
        EXPECT_EQ(scale->currentStartTime().seconds(), seconds(4.3).seconds());
        EXPECT_GT(scale->keptKeyCount(), 0u);
        std::string const edited = curveState(*curve);
        user.undoPC();
        EXPECT_EQ(curveState(*curve), original) << ticks;
        user.redoPC();
        EXPECT_EQ(curveState(*curve), edited) << ticks;
    }
}

TEST(ScaleTangents, ScaleTheComponents)
{
    Tkeyframe key(1.0f, 0.0, kTangentFixed, kTangentFixed);
    key.setTanIn(1.0f, 2.0f);
    key.setTanOut(0.5f, -1.0f);
    TparamCurve curve(true);
    curve.add(key, false, true);
    Tkeyframe* onCurve = curve.keyframe(0);
    EXPECT_TRUE(curve.scaleTangentY(onCurve, -2.0f));
    EXPECT_TRUE(curve.scaleTangentX(onCurve, 3.0f, true, false));
    float x = 0.0f;
    float y = 0.0f;
    onCurve->getTanIn(x, y);
    EXPECT_EQ(x, 3.0f);
    EXPECT_EQ(y, -4.0f);
    onCurve->getTanOut(x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, 2.0f);
    EXPECT_FALSE(curve.scaleTangentX(nullptr, 2.0f, true, true));
    EXPECT_FALSE(curve.scaleTangentY(onCurve, NAN));
}

}  // namespace
