#include "support/curveBuilders.h"

#include <gtest/gtest.h>

using keeltest::floatCurve;
using keeltest::tickCurve;

namespace {

TbitField32 parts(std::uint32_t mask)
{
    return TbitField32(mask);
}

// A pick of key `index` with the given parts, its handle a client.
TpickKey pickOf(TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey pick;
    pick.create(curve, index, parts(mask), true, true);
    return pick;
}

struct TflagCase {
    std::uint32_t fA;
    std::uint32_t fB;
    std::uint32_t fOut;
};

TEST(PickPartAlgebra, MergeLetsAKeyPickWinOnlyFromTheRight)
{
    TflagCase const cases[] = {
        {0, 0, 0}, {1, 0, 0}, {0, 1, 1}, {2, 1, 1}, {1, 4, 4}, {1, 6, 6}, {2, 4, 6},
        {4, 4, 4}, {6, 2, 6}, {8, 2, 2}, {3, 0, 2}, {1, 1, 1}, {5, 9, 1},
    };
    for (TflagCase const& c : cases) {
        EXPECT_EQ(TpickKey::merge(parts(c.fA), parts(c.fB)).word(), c.fOut) << c.fA << " merge " << c.fB;
    }
}

// The flags start as set through setFlags (integrity applied) on a pick of
// a key; `b` is the other pick's flags.
struct TpickOp {
    char const* fName;
    void (TpickKey::*fApply)(TpickKey const&);
};

TEST(PickPartAlgebra, SetOperationsOnPickedParts)
{
    auto curve = floatCurve({{0.0f, 0.0}});
    TpickOp const merge{"merge", &TpickKey::setFlagsMerge};
    TpickOp const difference{"difference", &TpickKey::setFlagsDifference};
    TpickOp const intersection{"intersection", &TpickKey::setFlagsIntersection};
    struct Tcase {
        TpickOp fOp;
        TflagCase fFlags;
    };
    Tcase const cases[] = {
        {merge, {1, 4, 4}},        {merge, {2, 4, 6}},        {merge, {4, 1, 1}},        {difference, {2, 1, 2}},
        {difference, {2, 2, 0}},   {difference, {6, 2, 4}},   {difference, {1, 1, 0}},   {difference, {9, 1, 8}},
        {difference, {8, 8, 8}},   {intersection, {6, 2, 2}}, {intersection, {1, 2, 0}}, {intersection, {9, 6, 8}},
        {intersection, {1, 1, 1}}, {intersection, {6, 0, 0}},
    };
    for (Tcase const& c : cases) {
        TpickKey pick = pickOf(curve.get(), 0, 0);
        pick.setFlags(parts(c.fFlags.fA));
        TpickKey other;
        other.setFlags(parts(c.fFlags.fB));
        (pick.*c.fOp.fApply)(other);
        EXPECT_EQ(pick.flags().word(), c.fFlags.fOut) << c.fFlags.fA << ' ' << c.fOp.fName << ' ' << c.fFlags.fB;
    }
}

TEST(PickPartAlgebra, PicksWithoutHandleKeepTheirFlags)
{
    for (auto op : {&TpickKey::setFlagsMerge, &TpickKey::setFlagsDifference, &TpickKey::setFlagsIntersection}) {
        TpickKey empty;
        empty.setFlags(parts(6));
        TpickKey other;
        other.setFlags(parts(1));
        (empty.*op)(other);
        EXPECT_EQ(empty.flags().word(), 6u);
    }
}

TEST(PickFlagIntegrity, AKeyPickClearsBothTangents)
{
    TflagCase const cases[] = {{1, 0, 1}, {3, 0, 1}, {7, 0, 1}, {6, 0, 6}, {15, 0, 9}, {10, 0, 10}};
    for (TflagCase const& c : cases) {
        TpickKey pick;
        pick.setFlags(parts(c.fA));
        EXPECT_EQ(pick.flags().word(), c.fOut) << c.fA;
    }
}

TEST(PickFlagIntegrity, CreateClearsTheInactiveBitAndKeepsIntegrity)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TflagCase const cases[] = {{15, 0, 1}, {14, 0, 6}, {8, 0, 0}, {5, 0, 1}};
    for (TflagCase const& c : cases) {
        TpickKey pick;
        ASSERT_EQ(pick.create(curve.get(), 1u, parts(c.fA), false, false), 0);
        EXPECT_EQ(pick.flags().word(), c.fOut) << c.fA;
    }
}

TEST(PickCreation, ByTimeIndexOrHandle)
{
    auto curve = tickCurve({{0, 0.0}, {6000, 1.0}});
    TpickKey byTime;
    EXPECT_EQ(byTime.create(curve.get(), 1.0f, parts(1), false, false), 0);
    EXPECT_EQ(byTime.handle()->index(), 1);
    EXPECT_EQ(byTime.timeValue(), TtimeValue(TanimTime::fromTicks(6000)));
    TpickKey byIndex;
    EXPECT_EQ(byIndex.create(curve.get(), 0u, parts(2), false, false), 0);
    EXPECT_EQ(byIndex.handle()->index(), 0);
    TpickKey byHandle;
    EXPECT_EQ(byHandle.create(*byTime.handle(), parts(4), true, false), 0);
    EXPECT_TRUE(*byHandle.handle() == *byTime.handle());
    EXPECT_NE(byHandle.handle(), byTime.handle()) << "each pick owns its handle";
}

TEST(PickCreation, RefusesASecondHandleAMissingCurveAndUnselectableCurves)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKey pick = pickOf(curve.get(), 0, 1);
    TkeyframeHandle* first = pick.handle();
    EXPECT_EQ(pick.create(curve.get(), 1u, parts(2), false, true), -1);
    EXPECT_EQ(pick.handle(), first);
    EXPECT_EQ(pick.flags().word(), 1u);

    TpickKey noCurve;
    EXPECT_EQ(noCurve.create(nullptr, 0u, parts(1), false, true), -1);
    EXPECT_EQ(noCurve.create(nullptr, 0.0f, parts(1), false, true), -1);
    EXPECT_EQ(noCurve.create(TkeyframeHandle(), parts(1), false, true), -1);
    EXPECT_EQ(noCurve.handle(), nullptr);

    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    ASSERT_FALSE(curve->canSelect());
    TpickKey refused;
    EXPECT_EQ(refused.create(curve.get(), 0u, parts(1), false, false), -1);
    EXPECT_EQ(refused.create(curve.get(), 0u, parts(1), false, true), 0) << "forced";
}

TEST(PickCopying, CopiesAreForcedAndAssignmentAsksTheCurve)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKey original = pickOf(curve.get(), 1, 4);
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);

    TpickKey copy(original, false);
    ASSERT_NE(copy.handle(), nullptr);
    EXPECT_TRUE(copy == original);

    TpickKey assigned;
    assigned = original;
    EXPECT_EQ(assigned.handle(), nullptr) << "assignment does not force selection";

    curve->setCurveFlag(TparamCurve::kReferencedBit, false);
    assigned = original;
    EXPECT_TRUE(assigned == original);
    assigned = assigned;
    EXPECT_TRUE(assigned == original) << "self-assignment keeps the pick";
}

TEST(PickCopying, InactivePicksCopyEmptyAndKeepTheirHandleUnderAssignment)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKey inactive = pickOf(curve.get(), 0, 1);
    inactive.setFlags(parts(9));
    TpickKey copy(inactive, false);
    EXPECT_EQ(copy.handle(), nullptr);
    EXPECT_EQ(copy.flags().word(), 0u);

    TkeyframeHandle* kept = inactive.handle();
    inactive = pickOf(curve.get(), 1, 2);
    EXPECT_EQ(inactive.handle(), kept);
    EXPECT_EQ(inactive.flags().word(), 9u);
}

TEST(PickComparison, EqualityNeedsEqualHandlesAndFlags)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    auto other = floatCurve({{0.0f, 0.0}});
    TpickKey a = pickOf(curve.get(), 0, 1);
    TpickKey sameKey = pickOf(curve.get(), 0, 1);
    TpickKey tangent = pickOf(curve.get(), 0, 2);
    TpickKey elsewhere = pickOf(other.get(), 0, 1);
    TpickKey empty;
    EXPECT_TRUE(a == sameKey);
    EXPECT_FALSE(a == tangent);
    EXPECT_TRUE(a != elsewhere);
    EXPECT_EQ(a.conflictsInTimeWith(elsewhere), TpickKey::kConflictInTime) << "same time, different key";
    EXPECT_EQ(a.conflictsInTimeWith(tangent), 4);
    EXPECT_FALSE(empty == empty);
    EXPECT_EQ(a.conflictsInTimeWith(empty), 0);
    sameKey.setFlags(parts(9));
    EXPECT_FALSE(sameKey == a) << "flags differ";
    a.setFlags(parts(9));
    EXPECT_FALSE(a == sameKey) << "an inactive pick equals nothing";
    EXPECT_EQ(a.conflictsInTimeWith(sameKey), 4) << "inactivity is not consulted";
}

TEST(PickComparison, OrderFollowsTheKeysTimesNow)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKey early = pickOf(curve.get(), 0, 1);
    TpickKey late = pickOf(curve.get(), 2, 2);
    TpickKey empty;
    struct Tcase {
        TpickKey const* fA;
        TpickKey const* fB;
        bool fLess, fGreater, fLessEqual, fGreaterEqual;
    };
    Tcase const cases[] = {
        {&early, &late, true, false, true, false},  {&late, &early, false, true, false, true},
        {&early, &early, false, false, true, true}, {&empty, &late, false, false, false, false},
        {&late, &empty, false, true, false, true},
    };
    for (Tcase const& c : cases) {
        EXPECT_EQ(*c.fA < *c.fB, c.fLess);
        EXPECT_EQ(*c.fA > *c.fB, c.fGreater);
        EXPECT_EQ(*c.fA <= *c.fB, c.fLessEqual);
        EXPECT_EQ(*c.fA >= *c.fB, c.fGreaterEqual);
    }
    curve->setTime(0, TtimeValue(1.5f));  // breaks the order; the pick reads the key's time now
    EXPECT_EQ(early.timeValue(), TtimeValue(1.5f));
}

TEST(PickTime, FollowsItsKeyThroughAddRemoveUndoAndRedo)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKey pick = pickOf(curve.get(), 1, 1);
    curve->remove(0);
    curve->add(Tkeyframe(0.5f, 0.0, kTangentFixed, kTangentFixed));
    EXPECT_EQ(pick.timeValue(), TtimeValue(1.0f));
    EXPECT_EQ(pick.handle()->index(), 1);

    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->remove(1);
    user.endParamCurveMod(*curve);
    EXPECT_FALSE(pick.handle()->present());
    EXPECT_EQ(pick.timeValue(), TtimeValue(1.0f)) << "a deleted key's time still reads";
    user.undoPC();
    EXPECT_TRUE(pick.handle()->present());
    EXPECT_EQ(pick.handle()->index(), 1);
    user.redoPC();
    EXPECT_FALSE(pick.handle()->present());
    user.undoPC();
    EXPECT_TRUE(pick.handle()->present());
}

TEST(PickTime, InactiveOrEmptyPicksReadZero)
{
    auto curve = floatCurve({{3.0f, 0.0}});
    TpickKey pick = pickOf(curve.get(), 0, 1);
    EXPECT_EQ(pick.timeValue(), TtimeValue(3.0f));
    pick.setFlags(parts(9));
    EXPECT_EQ(pick.timeValue(), TtimeValue());
    EXPECT_EQ(TpickKey().timeValue(), TtimeValue());
}

}  // namespace
