#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using keeltest::floatCurve;

namespace {

std::vector<unsigned> listed(TuInt32Array const& indices)
{
    return std::vector<unsigned>(indices.begin(), indices.end());
}

void announceMove(TparamCurve& curve, float from, float to, int option)
{
    curve.notifyClients(TkeyframeMovedMsg(TtimeValue(from), TtimeValue(to), TparamCurveEnums::TmoveOption(option)));
}

// A range from 2 s to 4 s hears that a key moved from `fFrom` to `fTo`
// under `fOption`, and ends as `fStart` to `fEnd`.
struct TmoveCase {
    int fOption;
    float fFrom;
    float fTo;
    float fStart;
    float fEnd;
};

TEST(CurveRangeFollowsMoves, ShiftsUnderTheShiftingOptionAndOtherwiseOnlyGrows)
{
    TmoveCase const cases[] = {
        {1, 1.0f, 2.0f, 3.0f, 5.0f},                               // later, from at or before the start: all shifts
        {1, 2.0f, 3.0f, 3.0f, 5.0f}, {1, 3.0f, 4.0f, 2.0f, 5.0f},  // later, from inside: the end follows
        {1, 5.0f, 6.0f, 2.0f, 4.0f},                               // later, from beyond the end: nothing
        {1, 4.0f, 3.0f, 1.0f, 3.0f},                               // earlier, from at or after the end: all shifts
        {1, 3.0f, 2.5f, 1.5f, 4.0f},                               // earlier, from inside: the start follows
        {1, 1.0f, 0.5f, 2.0f, 4.0f},                               // earlier, from before the start: nothing
        {0, 3.0f, 1.0f, 1.0f, 4.0f},                               // other options: a key inside stays inside
        {2, 2.0f, 5.0f, 2.0f, 5.0f}, {7, 4.0f, 0.0f, 0.0f, 4.0f}, {0, 3.0f, 3.5f, 2.0f, 4.0f},  // never shrinks
        {3, 1.0f, 3.0f, 2.0f, 4.0f},  // keys from outside are not followed
        {0, 5.0f, 1.0f, 2.0f, 4.0f},
    };
    auto curve = floatCurve({{0.0f, 0.0}});
    for (TmoveCase const& c : cases) {
        TparamCurveRange range(curve.get(), TtimeValue(2.0f), TtimeValue(4.0f));
        announceMove(*curve, c.fFrom, c.fTo, c.fOption);
        EXPECT_EQ(range.startTime(), TtimeValue(c.fStart)) << c.fOption << ": " << c.fFrom << "->" << c.fTo;
        EXPECT_EQ(range.endTime(), TtimeValue(c.fEnd)) << c.fOption << ": " << c.fFrom << "->" << c.fTo;
    }
}

TEST(CurveRangeFollowsMoves, IgnoresOtherMessages)
{
    auto curve = floatCurve({{0.0f, 0.0}});
    TparamCurveRange range(curve.get(), TtimeValue(2.0f), TtimeValue(4.0f));
    range.keyframeMoved(curve.get(), TparamCurveModifiedMsg());
    curve->setValue(0, 3.0);
    EXPECT_EQ(range.startTime(), TtimeValue(2.0f));
    EXPECT_EQ(range.endTime(), TtimeValue(4.0f));
}

TEST(CurveRangeLifetime, RegistersWhileItHasACurve)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    {
        TparamCurveRange range(curve.get(), TtimeValue(0.0f), TtimeValue(1.0f));
        EXPECT_TRUE(range.isRegistered());
        EXPECT_TRUE(curve->hasClient(&range));
        TparamCurveRange copy(range);
        EXPECT_TRUE(curve->hasClient(&copy));
        EXPECT_TRUE(copy == range);
        copy.setTime(TtimeValue(0.0f), TtimeValue(2.0f));
        EXPECT_TRUE(copy != range);
        TparamCurveRange assigned;
        assigned = copy;
        EXPECT_TRUE(curve->hasClient(&assigned));
        assigned = TparamCurveRange();
        EXPECT_FALSE(curve->hasClient(&assigned));
        EXPECT_EQ(assigned.paramCurve(), nullptr);
    }
    EXPECT_EQ(curve->clientCount(), 0u);
    TparamCurveRange none(nullptr, TtimeValue(1.0f), TtimeValue(2.0f));
    EXPECT_FALSE(none.isRegistered());
}

TEST(CurveRangeLifetime, ForgetsADeletedCurve)
{
    auto curve = floatCurve({{0.0f, 0.0}});
    TparamCurveRange range(curve.get(), TtimeValue(0.0f), TtimeValue(1.0f));
    curve.reset();
    EXPECT_EQ(range.paramCurve(), nullptr);
    EXPECT_TRUE(range.isRegistered());
    TuInt32Array indices;
    EXPECT_FALSE(range.asKeyframes(indices, nullptr));
}

TEST(CurveRangeKeys, ByIndexTakesTheKeysTimes)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.5f, 2.0}});
    TparamCurveRange range(curve.get(), 1u, 2u);
    EXPECT_EQ(range.startTime(), TtimeValue(1.0f));
    EXPECT_EQ(range.endTime(), TtimeValue(2.5f));
    EXPECT_TRUE(range.isRegistered());
    for (auto [first, last] : {std::pair{3u, 0u}, std::pair{0u, 3u}}) {
        TparamCurveRange bad(curve.get(), first, last);
        EXPECT_EQ(bad.startTime(), TtimeValue());
        EXPECT_EQ(bad.endTime(), TtimeValue());
        EXPECT_FALSE(bad.isRegistered());
        EXPECT_EQ(bad.paramCurve(), nullptr);
    }
}

TEST(CurveRangeKeys, ListsTheKeysInsideLeavingOneOut)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    struct Tcase {
        float fStart;
        float fEnd;
        int fExclude;
        std::vector<unsigned> fIndices;
    };
    Tcase const cases[] = {
        {1.0f, 2.0f, -1, {1, 2}}, {0.5f, 2.5f, -1, {1, 2}},    {1.0f, 3.0f, 2, {1, 3}},
        {1.2f, 1.8f, -1, {}},     {-1.0f, 9.0f, 0, {1, 2, 3}}, {3.0f, 1.0f, -1, {}},
    };
    for (Tcase const& c : cases) {
        TparamCurveRange range(curve.get(), TtimeValue(c.fStart), TtimeValue(c.fEnd));
        TuInt32Array indices;
        indices.addLast(99u);
        Tkeyframe const* exclude = c.fExclude >= 0 ? curve->keyframe(unsigned(c.fExclude)) : nullptr;
        ASSERT_TRUE(range.asKeyframes(indices, exclude));
        EXPECT_EQ(listed(indices), c.fIndices) << c.fStart << ".." << c.fEnd;
    }
}

}  // namespace
