#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using keeltest::floatCurve;
using keeltest::tickCurve;

namespace {

// (seconds of the stored time, flags) of every entry, in order.
using Tentries = std::vector<std::pair<double, std::uint32_t>>;

Tentries entries(TpickKeyDictionary const& picks)
{
    Tentries out;
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        out.emplace_back(node->key().seconds(), node->pick().flags().word());
    }
    return out;
}

TpickKey pickOf(TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey pick;
    pick.create(curve, index, TbitField32(mask), true, true);
    return pick;
}

void add(TpickKeyList& list, TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey const pick = pickOf(curve, index, mask);
    list.insert(pick.timeValue(), pick);
}

// A list with one pick on key 1 (at 1 s) of a three-key curve meets a pick
// of `fIncoming` parts on key `fIndex`.
struct TpartsCase {
    std::uint32_t fStored;
    unsigned fIndex;
    std::uint32_t fIncoming;
    bool fAnswer;
    Tentries fAfter;
};

TEST(PickListMerge, MergesPartsIntoTheConflictingPick)
{
    TpartsCase const cases[] = {
        {1, 1, 4, true, {{1.0, 4}}},  // a tangent merged into a key pick leaves a tangent pick
        {2, 1, 4, true, {{1.0, 6}}},  {2, 1, 1, true, {{1.0, 1}}},
        {6, 1, 0, true, {{1.0, 6}}},  {1, 1, 0, true, {}},  // no part left: the entry goes
        {1, 2, 1, false, {{1.0, 1}}}, {1, 0, 4, false, {{1.0, 1}}},
    };
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    for (TpartsCase const& c : cases) {
        TpickKeyList list;
        add(list, curve.get(), 1, c.fStored);
        EXPECT_EQ(list.merge(pickOf(curve.get(), c.fIndex, c.fIncoming)), c.fAnswer) << c.fStored << '+' << c.fIncoming;
        EXPECT_EQ(entries(list), c.fAfter) << c.fStored << '+' << c.fIncoming;
    }
}

TEST(PickListMerge, AnEmptyListTakesNothingButAListMergeInsertsIt)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    EXPECT_FALSE(list.merge(pickOf(curve.get(), 1, 1)));
    EXPECT_TRUE(list.empty());

    TpickKeyList other;
    add(other, curve.get(), 1, 2);
    add(other, curve.get(), 2, 1);
    EXPECT_TRUE(list.merge(other));
    EXPECT_EQ(entries(list), (Tentries{{1.0, 2}, {2.0, 1}}));
    TpickKeyList more;
    add(more, curve.get(), 0, 1);
    add(more, curve.get(), 1, 4);
    list.merge(more);
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.0, 6}, {2.0, 1}}));
    list.merge(list);
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.0, 6}, {2.0, 1}})) << "merging a list into itself changes nothing";
}

TEST(PickListRemove, TakesPartsOutAndAnswersFalse)
{
    TpartsCase const cases[] = {
        {2, 1, 1, false, {{1.0, 2}}},  // a key pick taken from a tangent pick leaves it
        {2, 1, 2, false, {}},         {6, 1, 2, false, {{1.0, 4}}}, {1, 1, 1, false, {}},
        {1, 1, 6, false, {{1.0, 1}}}, {1, 2, 1, false, {{1.0, 1}}},
    };
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    for (TpartsCase const& c : cases) {
        TpickKeyList list;
        add(list, curve.get(), 1, c.fStored);
        EXPECT_EQ(list.remove(pickOf(curve.get(), c.fIndex, c.fIncoming)), c.fAnswer);
        EXPECT_EQ(entries(list), c.fAfter) << c.fStored << '-' << c.fIncoming;
    }
}

TEST(PickListRemove, AListRemoveAnswersTrueForAnyPick)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    TpickKeyList none;
    add(list, curve.get(), 0, 1);
    add(list, curve.get(), 1, 6);
    EXPECT_FALSE(list.remove(none));
    TpickKeyList other;
    add(other, curve.get(), 1, 4);
    add(other, curve.get(), 2, 1);
    EXPECT_TRUE(list.remove(other));
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.0, 2}}));
    EXPECT_TRUE(list.remove(list));
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(TpickKeyList().remove(pickOf(curve.get(), 0, 1)));
}

TEST(PickListRemove, LeavesPicksOfCurvesThatRefuseSelection)
{
    auto curve = floatCurve({{0.0f, 0.0}});
    TpickKeyList list;
    add(list, curve.get(), 0, 1);
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    list.remove(pickOf(curve.get(), 0, 1));
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}}));
}

TEST(PickListSets, IntersectionKeepsCommonPartsOfConflictingPicks)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    add(list, curve.get(), 0, 1);
    add(list, curve.get(), 1, 6);
    add(list, curve.get(), 2, 2);
    TpickKeyList other;
    add(other, curve.get(), 1, 2);
    add(other, curve.get(), 2, 4);
    TpickKeyList out;
    add(out, curve.get(), 0, 1);  // emptied first
    EXPECT_TRUE(list.getIntersection(other, out));
    EXPECT_EQ(entries(out), (Tentries{{1.0, 2}, {2.0, 0}})) << "a copy with no part left is still added";

    TpickKeyList single;
    EXPECT_TRUE(list.getIntersection(pickOf(curve.get(), 0, 1), single));
    EXPECT_EQ(entries(single), (Tentries{{0.0, 1}}));
    EXPECT_TRUE(list.getIntersection(pickOf(curve.get(), 1, 4), single));
    EXPECT_EQ(entries(single), (Tentries{{0.0, 1}, {1.0, 4}})) << "the single form adds";
    TpickKeyList nothing;
    EXPECT_FALSE(list.getIntersection(TpickKeyList(), nothing));

    list.getIntersection(other, list);
    EXPECT_EQ(entries(list), (Tentries{{1.0, 2}, {2.0, 0}})) << "out may be the list itself";
}

TEST(PickListSets, DifferenceStopsAtTheFirstPickFoundInTheOther)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    struct Tcase {
        std::vector<std::pair<unsigned, std::uint32_t>> fOther;
        bool fAnswer;
        Tentries fOut;
    };
    Tcase const cases[] = {
        {{}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}, {3.0, 1}}},       {{{1, 1}}, true, {{0.0, 1}}}, {{{0, 1}}, false, {}},
        {{{2, 2}}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}, {3.0, 1}}},  // same key, other parts: not equal
        {{{3, 1}}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}}},
    };
    TpickKeyList list;
    add(list, curve.get(), 0, 1);
    add(list, curve.get(), 1, 1);
    add(list, curve.get(), 2, 4);
    add(list, curve.get(), 3, 1);
    for (Tcase const& c : cases) {
        TpickKeyList other;
        for (auto const& [index, mask] : c.fOther) {
            add(other, curve.get(), index, mask);
        }
        TpickKeyList out;
        EXPECT_EQ(list.getDifference(other, out), c.fAnswer);
        EXPECT_EQ(entries(out), c.fOut);
    }
}

TEST(PickListSets, ConflictsAreKeysAtTheSameTime)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    auto otherCurve = floatCurve({{2.0f, 0.0}});
    TpickKeyList list;
    add(list, curve.get(), 0, 1);
    add(list, curve.get(), 2, 4);
    TpickKeyList other;
    add(other, otherCurve.get(), 0, 2);
    TpickKeyList apart;
    add(apart, curve.get(), 1, 1);
    EXPECT_TRUE(list.intersects(other));
    EXPECT_FALSE(list.intersects(apart));
    EXPECT_FALSE(list.intersects(TpickKeyList()));

    TpickKeyList out;
    add(out, curve.get(), 1, 1);  // kept: not emptied first
    EXPECT_TRUE(list.getConflicts(other, out));
    EXPECT_EQ(entries(out), (Tentries{{1.0, 1}, {2.0, 4}}));
    TpickKeyList none;
    EXPECT_FALSE(list.getConflicts(apart, none));
}

TEST(PickListLookup, FindByTimeAnswersTheEntryOrTheOneBefore)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    TpickKeyList list;
    TpickKeyDictionaryNode* node = nullptr;
    EXPECT_FALSE(list.findByTime(TtimeValue(1.0f), node));
    EXPECT_EQ(node, nullptr);
    add(list, curve.get(), 1, 1);
    add(list, curve.get(), 3, 1);
    struct Tcase {
        float fTime;
        bool fFound;
        double fNode;
    };
    Tcase const cases[] = {{1.0f, true, 1.0},  {3.0f, true, 3.0},  {2.0f, false, 1.0},
                           {9.0f, false, 3.0}, {0.5f, false, 1.0}, {1.5f, false, 1.0}};
    for (Tcase const& c : cases) {
        node = nullptr;
        EXPECT_EQ(list.findByTime(TtimeValue(c.fTime), node), c.fFound) << c.fTime;
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->key().seconds(), c.fNode) << c.fTime;
    }
    EXPECT_TRUE(list.findExactly(pickOf(curve.get(), 3, 1), node));
    EXPECT_FALSE(list.findExactly(pickOf(curve.get(), 3, 2), node));
    EXPECT_FALSE(list.findExactly(pickOf(curve.get(), 2, 1), node));
}

TEST(PickListRanges, TimeRangeSkipsVoidPicks)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    TtimeValue first(7.0f);
    TtimeValue last(7.0f);
    EXPECT_FALSE(list.timeRange(first, last));
    EXPECT_EQ(first, TtimeValue(7.0f));
    add(list, curve.get(), 1, 1);
    add(list, curve.get(), 2, 2);
    TpickKey inactive = pickOf(curve.get(), 0, 1);
    inactive.setFlags(TbitField32(9));
    list.insert(TtimeValue(0.0f), inactive);
    list.insert(TtimeValue(-1.0f), TpickKey());
    ASSERT_TRUE(list.timeRange(first, last));
    EXPECT_EQ(first, TtimeValue(1.0f));
    EXPECT_EQ(last, TtimeValue(2.0f));
}

TEST(PickListRanges, InsertRangePicksWholeKeysBetweenTimes)
{
    struct Tcase {
        float fFrom;
        float fTo;
        Tentries fOut;
    };
    Tcase const cases[] = {
        {0.5f, 2.0f, {{1.0, 1}, {2.0, 1}}},
        {1.0f, 2.5f, {{1.0, 1}, {2.0, 1}}},
        {-5.0f, 9.0f, {{0.0, 1}, {1.0, 1}, {2.0, 1}, {3.0, 1}}},
        {1.2f, 1.8f, {}},
        {-2.0f, -1.0f, {}},
        {2.0f, 1.0f, {}},
    };
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    for (Tcase const& c : cases) {
        TpickKeyList list;
        EXPECT_TRUE(list.insertRange(curve.get(), TtimeValue(c.fFrom), TtimeValue(c.fTo)));
        EXPECT_EQ(entries(list), c.fOut) << c.fFrom << ".." << c.fTo;
    }
}

TEST(PickListRanges, InsertRangeMergesIntoExistingPicks)
{
    auto curve = tickCurve({{0, 0.0}, {6000, 1.0}, {12000, 2.0}});
    TpickKeyList list;
    add(list, curve.get(), 1, 2);
    EXPECT_TRUE(list.insertRange(curve.get(), TanimTime::fromTicks(6000), TanimTime::fromTicks(12000)));
    EXPECT_EQ(entries(list), (Tentries{{1.0, 1}, {2.0, 1}}));
    EXPECT_FALSE(list.insertRange(nullptr, TtimeValue(), TtimeValue()));
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    EXPECT_FALSE(list.insertRange(curve.get(), TanimTime::fromTicks(0), TanimTime::fromTicks(0)));
}

TEST(PickListRepair, MovedKeysAreRekeyedByTheirTimeNow)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    add(list, curve.get(), 1, 1);
    add(list, curve.get(), 2, 4);
    EXPECT_FALSE(list.updateDictionary()) << "nothing moved";
    curve->setTime(1, TtimeValue(1.5f));
    curve->setTime(2, TtimeValue(2.5f));
    TpickKeyDictionary const& stored = list;
    TpickKeyList copy(stored);
    EXPECT_EQ(entries(copy), (Tentries{{1.5, 1}, {2.5, 4}}));
    EXPECT_EQ(entries(list), (Tentries{{1.0, 1}, {2.0, 4}}));
    EXPECT_TRUE(list.updateDictionary());
    EXPECT_EQ(entries(list), (Tentries{{1.5, 1}, {2.5, 4}}));
}

TEST(PickListRepair, ListMergeRepairsFirst)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKeyList list;
    add(list, curve.get(), 1, 2);
    curve->setTime(1, TtimeValue(1.25f));
    TpickKeyList other;
    add(other, curve.get(), 1, 4);
    list.merge(other);
    EXPECT_EQ(entries(list), (Tentries{{1.25, 6}}));
}

TEST(PickListUndo, SelectionSurvivesAddRemoveUndoAndRedo)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    ASSERT_TRUE(list.insertRange(curve.get(), TtimeValue(1.0f), TtimeValue(2.0f)));
    curve->add(Tkeyframe(0.5f, 0.0, kTangentFixed, kTangentFixed));
    EXPECT_EQ(list.search(TtimeValue(1.0f))->handle()->index(), 2);

    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->remove(2);
    user.endParamCurveMod(*curve);
    TpickKey* picked = list.search(TtimeValue(1.0f));
    ASSERT_NE(picked, nullptr);
    EXPECT_FALSE(picked->handle()->present());
    EXPECT_EQ(picked->timeValue(), TtimeValue(1.0f)) << "the pick keeps its deleted key";

    user.undoPC();
    EXPECT_TRUE(picked->handle()->present());
    EXPECT_EQ(picked->handle()->index(), 2);
    user.redoPC();
    EXPECT_FALSE(picked->handle()->present());
    user.undoPC();
    EXPECT_FALSE(list.updateDictionary());
    EXPECT_EQ(entries(list), (Tentries{{1.0, 1}, {2.0, 1}}));
    TpickKeyList again;
    again.insertRange(curve.get(), TtimeValue(1.0f), TtimeValue(1.0f));
    TpickKeyList out;
    EXPECT_FALSE(list.getDifference(again, out)) << "the revived key is the picked one";
}

TEST(PickListTyping, IsAPickDictionary)
{
    TpickKeyList* list = TpickKeyList::construct();
    ASSERT_NE(list, nullptr);
    TpickKeyDictionary* asDictionary = list;
    EXPECT_EQ(asDictionary->typeof(), TpickKeyListTmeta);
    EXPECT_EQ(keelCast<TpickKeyList>(asDictionary), list);
    EXPECT_TRUE(TpickKeyListTmeta->istype(TpickKeyDictionaryTmeta));
    EXPECT_TRUE(TpickKeyListTmeta->istype(TdictionaryTmeta));
    TpickKeyDictionary plain;
    EXPECT_EQ(keelCast<TpickKeyList>(&plain), nullptr);
    EXPECT_EQ(list->cast(TpickKeyDictionaryTmeta), list);
    delete list;
}

}  // namespace
