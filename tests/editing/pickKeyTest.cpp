#include "editing/pickHelpers.h"

#include <gtest/gtest.h>

#include <array>

using keeltest::floatCurve;
using keeltest::pickOf;

namespace {

enum class Top { kMerge, kSetMerge, kDifference, kIntersection, kSetFlags };

// Flags in (a, b), flags out, for the part algebra; `fHandle` false runs the
// operation on a pick without a handle.
struct TflagCase {
    Top fOp;
    std::uint32_t fA;
    std::uint32_t fB;
    std::uint32_t fOut;
    bool fHandle = true;
};

std::uint32_t apply(TparamCurve* curve, TflagCase const& c)
{
    if (c.fOp == Top::kMerge) {
        return TpickKey::merge(TbitField32(c.fA), TbitField32(c.fB)).word();
    }
    TpickKey pick = c.fHandle ? pickOf(curve, 0, 0) : TpickKey();
    pick.setFlags(TbitField32(c.fA));
    TpickKey other;
    other.setFlags(TbitField32(c.fB));
    switch (c.fOp) {
    case Top::kSetMerge: pick.setFlagsMerge(other); break;
    case Top::kDifference: pick.setFlagsDifference(other); break;
    case Top::kIntersection: pick.setFlagsIntersection(other); break;
    default: break;
    }
    return pick.flags().word();
}

TEST(PickPartAlgebra, FlagsInFlagsOut)
{
    using enum Top;
    TflagCase const cases[] = {
        {kMerge, 0, 1, 1},
        {kMerge, 2, 1, 1},
        {kMerge, 1, 4, 4},  // a key pick does not survive
        {kMerge, 1, 0, 0},
        {kMerge, 2, 4, 6},
        {kMerge, 6, 2, 6},
        {kMerge, 8, 2, 2},
        {kSetMerge, 1, 4, 4},
        {kSetMerge, 2, 4, 6},
        {kSetMerge, 4, 1, 1},
        {kSetMerge, 2, 4, 2, false},
        {kDifference, 2, 1, 2},
        {kDifference, 2, 2, 0},
        {kDifference, 6, 2, 4},
        {kDifference, 9, 1, 8},
        {kDifference, 8, 8, 8},
        {kDifference, 1, 1, 1, false},
        {kIntersection, 6, 2, 2},
        {kIntersection, 1, 2, 0},
        {kIntersection, 9, 6, 8},
        {kIntersection, 1, 1, 1},
        {kIntersection, 6, 0, 6, false},
        {kSetFlags, 3, 0, 1},
        {kSetFlags, 7, 0, 1},
        {kSetFlags, 15, 0, 9},
        {kSetFlags, 6, 0, 6},
    };
    auto curve = floatCurve({{0.0f, 0.0}});
    for (TflagCase const& c : cases) {
        EXPECT_EQ(apply(curve.get(), c), c.fOut) << int(c.fOp) << ": " << c.fA << ", " << c.fB;
    }
}

TEST(PickCreation, ByTimeIndexOrHandleClearingTheInactiveBit)
{
    auto curve = keeltest::tickCurve({{0, 0.0}, {6000, 1.0}});
    TpickKey byTime;
    EXPECT_EQ(byTime.create(curve.get(), 1.0f, TbitField32(15), false, false), 0);
    EXPECT_EQ(byTime.flags().word(), 1u);
    EXPECT_EQ(byTime.timeValue(), TtimeValue(TanimTime::fromTicks(6000)));
    TpickKey byIndex;
    EXPECT_EQ(byIndex.create(curve.get(), 0u, TbitField32(14), false, false), 0);
    EXPECT_EQ(byIndex.flags().word(), 6u);
    TpickKey byHandle;
    EXPECT_EQ(byHandle.create(*byTime.handle(), TbitField32(4), true, false), 0);
    EXPECT_TRUE(*byHandle.handle() == *byTime.handle());
    EXPECT_NE(byHandle.handle(), byTime.handle()) << "each pick owns its handle";
}

TEST(PickCreation, RefusesASecondHandleAMissingCurveAndUnselectableCurves)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKey pick = pickOf(curve.get(), 0, 1);
    TkeyframeHandle* first = pick.handle();
    EXPECT_EQ(pick.create(curve.get(), 1u, TbitField32(2), false, true), -1);
    EXPECT_EQ(pick.handle(), first);
    EXPECT_EQ(pick.flags().word(), 1u);
    TpickKey none;
    EXPECT_EQ(none.create(nullptr, 0u, TbitField32(1), false, true), -1);
    EXPECT_EQ(none.create(nullptr, 0.0f, TbitField32(1), false, true), -1);
    EXPECT_EQ(none.create(TkeyframeHandle(), TbitField32(1), false, true), -1);
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    ASSERT_FALSE(curve->canSelect());
    EXPECT_EQ(none.create(curve.get(), 0u, TbitField32(1), false, false), -1);
    EXPECT_EQ(none.create(curve.get(), 0u, TbitField32(1), false, true), 0) << "forced";
}

TEST(PickCopying, CopiesAreForcedAssignmentAsksTheCurveAndSparesInactivePicks)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKey const original = pickOf(curve.get(), 1, 4);
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    TpickKey const copy(original, false);
    EXPECT_TRUE(copy == original);
    TpickKey assigned;
    assigned = original;
    EXPECT_EQ(assigned.handle(), nullptr) << "assignment does not force selection";
    curve->setCurveFlag(TparamCurve::kReferencedBit, false);
    assigned = original;
    assigned = assigned;
    EXPECT_TRUE(assigned == original);

    TpickKey inactive = pickOf(curve.get(), 0, 1);
    inactive.setFlags(TbitField32(9));
    EXPECT_EQ(TpickKey(inactive).handle(), nullptr) << "a void pick copies as an empty one";
    TkeyframeHandle* kept = inactive.handle();
    inactive = original;
    EXPECT_EQ(inactive.handle(), kept);
    EXPECT_EQ(inactive.flags().word(), 9u);
}

TEST(PickComparison, EqualityNeedsEqualHandlesWhileConflictsNeedEqualTimes)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    auto other = floatCurve({{0.0f, 0.0}});
    TpickKey a = pickOf(curve.get(), 0, 1);
    TpickKey sameKey = pickOf(curve.get(), 0, 1);
    TpickKey const tangent = pickOf(curve.get(), 0, 2);
    TpickKey const elsewhere = pickOf(other.get(), 0, 1);
    TpickKey const empty;
    EXPECT_TRUE(a == sameKey);
    EXPECT_TRUE(a != tangent);
    EXPECT_TRUE(a != elsewhere);
    EXPECT_FALSE(empty == empty);
    EXPECT_EQ(a.conflictsInTimeWith(elsewhere), TpickKey::kConflictInTime) << "same time, other key";
    EXPECT_EQ(a.conflictsInTimeWith(pickOf(curve.get(), 1, 1)), 0);
    EXPECT_EQ(a.conflictsInTimeWith(empty), 0);
    a.setFlags(TbitField32(9));
    sameKey.setFlags(TbitField32(9));
    EXPECT_FALSE(a == sameKey) << "a void pick equals nothing";
    EXPECT_EQ(a.conflictsInTimeWith(sameKey), 4) << "but still conflicts";
    EXPECT_EQ(a.timeValue(), TtimeValue());
}

TEST(PickComparison, OrderByTheKeysTimesNowAndNeverWithoutAHandle)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKey const early = pickOf(curve.get(), 0, 1);
    TpickKey const late = pickOf(curve.get(), 2, 2);
    TpickKey const empty;
    struct Tcase {
        TpickKey const& fA;
        TpickKey const& fB;
        bool fLess, fGreater, fLessEqual, fGreaterEqual;
    };
    Tcase const cases[] = {
        {early, late, true, false, true, false},  {late, early, false, true, false, true},
        {early, early, false, false, true, true}, {empty, late, false, false, false, false},
        {late, empty, false, true, false, true},
    };
    for (Tcase const& c : cases) {
        EXPECT_EQ((std::array{c.fA<c.fB, c.fA> c.fB, c.fA <= c.fB, c.fA >= c.fB}),
                  (std::array{c.fLess, c.fGreater, c.fLessEqual, c.fGreaterEqual}));
    }
    curve->setTime(0, TtimeValue(1.5f));
    EXPECT_TRUE(early > pickOf(curve.get(), 1, 1)) << "the pick reads its key's time now";
}

}  // namespace
