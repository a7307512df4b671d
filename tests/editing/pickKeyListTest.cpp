#include "editing/pickHelpers.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using keeltest::addPick;
using keeltest::entries;
using keeltest::floatCurve;
using keeltest::pickOf;
using Tentries = keeltest::Tentries;

namespace {

// Keys at 0, 1, 2 and 3 seconds.
std::unique_ptr<TparamCurve> fourKeys()
{
    return floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
}

// Picks (key index, parts) gathered into a list.
std::unique_ptr<TpickKeyList> listOf(TparamCurve* curve, std::vector<std::pair<unsigned, std::uint32_t>> const& picks)
{
    auto list = std::make_unique<TpickKeyList>();
    for (auto const& [index, mask] : picks) {
        addPick(*list, curve, index, mask);
    }
    return list;
}

TEST(PickDictionary, KeepsOnePickPerTimeAscendingAndAssignsOverAnEntry)
{
    auto curve = fourKeys();
    TpickKeyDictionary picks;
    for (unsigned index : {2u, 0u, 3u, 1u}) {
        addPick(picks, curve.get(), index, 1);
    }
    addPick(picks, curve.get(), 2, 4);
    EXPECT_EQ(entries(picks), (Tentries{{0.0, 1}, {1.0, 1}, {2.0, 4}, {3.0, 1}}));
    EXPECT_EQ(picks.search(TtimeValue(0.5f)), nullptr);
    EXPECT_TRUE(picks.remove(TtimeValue(3.0f)));
    EXPECT_FALSE(picks.remove(TtimeValue(3.0f)));

    // A new entry copies without asking the curve; assignment asks it.
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    Tbookmark bookmark;
    ASSERT_NE(picks.findNode(TtimeValue(1.0f), bookmark), nullptr);
    picks.insert(TtimeValue(1.0f), pickOf(curve.get(), 1, 2), bookmark);
    EXPECT_EQ(picks.search(TtimeValue(1.0f))->handle(), nullptr);
    picks.insert(TtimeValue(3.0f), pickOf(curve.get(), 3, 1));
    EXPECT_NE(picks.search(TtimeValue(3.0f))->handle(), nullptr);
}

TEST(PickDictionaryTyping, NodesDictionariesAndListsAnswerTheirRecords)
{
    std::unique_ptr<TpickKeyDictionaryNode> node(TpickKeyDictionaryNode::construct());
    std::unique_ptr<TpickKeyDictionary> list(TpickKeyList::construct());
    TpickKeyDictionary plain;
    EXPECT_EQ(node->typeof(), TpickKeyDictionaryNodeTmeta);
    EXPECT_EQ(node->cast(TdictionaryNodeTmeta), node.get());
    EXPECT_EQ(node->cast(TpickKeyDictionaryTmeta), nullptr);
    EXPECT_EQ(list->typeof(), TpickKeyListTmeta);
    EXPECT_EQ(keelCast<TpickKeyList>(list.get()), list.get());
    EXPECT_EQ(keelCast<TpickKeyList>(&plain), nullptr);
    EXPECT_EQ(plain.cast(TdictionaryTmeta), &plain);
    EXPECT_TRUE(TpickKeyListTmeta->istype(TdictionaryNodeTmeta));
    EXPECT_EQ(Tmetaclass::find("TpickKeyDictionaryNode"), TpickKeyDictionaryNodeTmeta);
    alignas(TpickKeyList) unsigned char space[sizeof(TpickKeyList)];
    TpickKeyList* inPlace = TpickKeyList::constructInPlace(space);
    EXPECT_TRUE(inPlace->empty());
    inPlace->~TpickKeyList();
}

// A list holding `fStored` parts of key 1 meets `fIncoming` parts of key
// `fIndex`.
struct TpartsCase {
    std::uint32_t fStored;
    unsigned fIndex;
    std::uint32_t fIncoming;
    bool fAnswer;
    Tentries fAfter;
};

TEST(PickListMergeAndRemove, PartsInPartsOut)
{
    TpartsCase const merges[] = {
        {1, 1, 4, true, {{1.0, 4}}},  // a tangent merged into a key pick leaves a tangent pick
        {2, 1, 4, true, {{1.0, 6}}},  {2, 1, 1, true, {{1.0, 1}}},  {1, 1, 0, true, {}},
        {1, 2, 1, false, {{1.0, 1}}}, {1, 0, 4, false, {{1.0, 1}}},
    };
    TpartsCase const removals[] = {
        {2, 1, 1, false, {{1.0, 2}}},  // a key pick taken from a tangent pick leaves it
        {2, 1, 2, false, {}},         {6, 1, 2, false, {{1.0, 4}}}, {1, 1, 1, false, {}},
        {1, 1, 6, false, {{1.0, 1}}}, {1, 2, 1, false, {{1.0, 1}}},
    };
    auto curve = fourKeys();
    for (bool merging : {true, false}) {
        for (TpartsCase const& c : merging ? std::vector(std::begin(merges), std::end(merges))
                                           : std::vector(std::begin(removals), std::end(removals))) {
            auto list = listOf(curve.get(), {{1, c.fStored}});
            TpickKey const incoming = pickOf(curve.get(), c.fIndex, c.fIncoming);
            EXPECT_EQ(merging ? list->merge(incoming) : list->remove(incoming), c.fAnswer);
            EXPECT_EQ(entries(*list), c.fAfter) << (merging ? "merge " : "remove ") << c.fStored << ", " << c.fIncoming;
        }
    }
    TpickKeyList empty;
    EXPECT_FALSE(empty.merge(pickOf(curve.get(), 1, 1)));
    EXPECT_TRUE(empty.empty());
}

TEST(PickListMergeAndRemove, ListFormsRepairFirstAndInsertWhatMergeDidNotTake)
{
    auto curve = fourKeys();
    TpickKeyList list;
    EXPECT_TRUE(list.merge(*listOf(curve.get(), {{1, 2}, {2, 1}})));
    EXPECT_EQ(entries(list), (Tentries{{1.0, 2}, {2.0, 1}}));
    curve->setTime(1, TtimeValue(1.25f));
    list.merge(*listOf(curve.get(), {{0, 1}, {1, 4}}));
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.25, 6}, {2.0, 1}}));
    list.merge(list);
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.25, 6}, {2.0, 1}}));

    EXPECT_FALSE(list.remove(TpickKeyList()));
    EXPECT_TRUE(list.remove(*listOf(curve.get(), {{1, 4}, {2, 1}})));
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.25, 2}}));
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    list.remove(pickOf(curve.get(), 0, 1));
    EXPECT_EQ(entries(list), (Tentries{{0.0, 1}, {1.25, 2}})) << "a curve that refuses selection keeps its picks";
}

TEST(PickListSets, IntersectionAndConflicts)
{
    auto curve = fourKeys();
    auto otherCurve = floatCurve({{2.0f, 0.0}});
    auto const list = listOf(curve.get(), {{0, 1}, {1, 6}, {2, 2}});
    auto out = listOf(curve.get(), {{3, 1}});
    EXPECT_TRUE(list->getIntersection(*listOf(curve.get(), {{1, 2}, {2, 4}}), *out));
    EXPECT_EQ(entries(*out), (Tentries{{1.0, 2}, {2.0, 0}})) << "emptied first; a copy without parts still counts";
    EXPECT_TRUE(list->getIntersection(pickOf(curve.get(), 0, 1), *out));
    EXPECT_EQ(entries(*out), (Tentries{{0.0, 1}, {1.0, 2}, {2.0, 0}})) << "the single form adds";
    EXPECT_FALSE(list->getIntersection(TpickKeyList(), *out));

    auto const elsewhere = listOf(otherCurve.get(), {{0, 2}});
    EXPECT_TRUE(list->intersects(*elsewhere));
    EXPECT_FALSE(list->intersects(*listOf(curve.get(), {{3, 1}})));
    auto conflicts = listOf(curve.get(), {{3, 1}});
    EXPECT_TRUE(list->getConflicts(*elsewhere, *conflicts));
    EXPECT_EQ(entries(*conflicts), (Tentries{{2.0, 2}, {3.0, 1}})) << "not emptied first";

    auto self = listOf(curve.get(), {{1, 6}, {2, 2}});
    self->getIntersection(*listOf(curve.get(), {{2, 2}}), *self);
    EXPECT_EQ(entries(*self), (Tentries{{2.0, 2}})) << "out may be the list itself";
}

TEST(PickListSets, DifferenceStopsAtTheFirstPickFoundInTheOther)
{
    struct Tcase {
        std::vector<std::pair<unsigned, std::uint32_t>> fOther;
        bool fAnswer;
        Tentries fOut;
    };
    Tcase const cases[] = {
        {{}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}, {3.0, 1}}},       {{{1, 1}}, true, {{0.0, 1}}}, {{{0, 1}}, false, {}},
        {{{2, 2}}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}, {3.0, 1}}},  // other parts: not equal
        {{{3, 1}}, true, {{0.0, 1}, {1.0, 1}, {2.0, 4}}},
    };
    auto curve = fourKeys();
    auto const list = listOf(curve.get(), {{0, 1}, {1, 1}, {2, 4}, {3, 1}});
    for (Tcase const& c : cases) {
        TpickKeyList out;
        EXPECT_EQ(list->getDifference(*listOf(curve.get(), c.fOther), out), c.fAnswer);
        EXPECT_EQ(entries(out), c.fOut);
    }
}

TEST(PickListLookup, FindByTimeAnswersTheEntryOrTheOneBefore)
{
    auto curve = fourKeys();
    TpickKeyDictionaryNode* node = nullptr;
    EXPECT_FALSE(TpickKeyList().findByTime(TtimeValue(1.0f), node));
    EXPECT_EQ(node, nullptr);
    auto list = listOf(curve.get(), {{1, 1}, {3, 1}});
    struct Tcase {
        float fTime;
        bool fFound;
        double fNode;
    };
    Tcase const cases[] = {{1.0f, true, 1.0},  {3.0f, true, 3.0},  {2.0f, false, 1.0},
                           {9.0f, false, 3.0}, {0.5f, false, 1.0}, {1.5f, false, 1.0}};
    for (Tcase const& c : cases) {
        EXPECT_EQ(list->findByTime(TtimeValue(c.fTime), node), c.fFound) << c.fTime;
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->key().seconds(), c.fNode) << c.fTime;
    }
    EXPECT_TRUE(list->findExactly(pickOf(curve.get(), 3, 1), node));
    EXPECT_FALSE(list->findExactly(pickOf(curve.get(), 3, 2), node));
}

TEST(PickListRanges, InsertRangePicksWholeKeysAndTimeRangeReadsThem)
{
    struct Tcase {
        float fFrom;
        float fTo;
        Tentries fOut;
    };
    Tcase const cases[] = {
        {0.5f, 2.0f, {{1.0, 1}, {2.0, 1}}},
        {1.0f, 2.5f, {{1.0, 1}, {2.0, 1}}},
        {1.2f, 1.8f, {}},
        {-2.0f, -1.0f, {}},
        {2.0f, 1.0f, {}},
        {-5.0f, 9.0f, {{0.0, 1}, {1.0, 1}, {2.0, 1}, {3.0, 1}}},
    };
    auto curve = fourKeys();
    for (Tcase const& c : cases) {
        TpickKeyList list;
        EXPECT_TRUE(list.insertRange(curve.get(), TtimeValue(c.fFrom), TtimeValue(c.fTo)));
        EXPECT_EQ(entries(list), c.fOut) << c.fFrom << ".." << c.fTo;
    }
    auto list = listOf(curve.get(), {{1, 2}});
    TpickKey inactive = pickOf(curve.get(), 0, 1);
    inactive.setFlags(TbitField32(9));
    list->insert(TtimeValue(0.0f), inactive);
    EXPECT_TRUE(list->insertRange(curve.get(), TtimeValue(1.0f), TtimeValue(2.0f)));
    EXPECT_EQ(entries(*list), (Tentries{{0.0, 0}, {1.0, 1}, {2.0, 1}})) << "merged into the tangent pick";
    TtimeValue first;
    TtimeValue last;
    ASSERT_TRUE(list->timeRange(first, last));
    EXPECT_EQ(first, TtimeValue(1.0f)) << "the void pick is skipped";
    EXPECT_EQ(last, TtimeValue(2.0f));
    EXPECT_FALSE(TpickKeyList().timeRange(first, last));
    EXPECT_FALSE(list->insertRange(nullptr, first, last));
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    EXPECT_FALSE(list->insertRange(curve.get(), first, last));
}

TEST(PickListRepair, MovedKeysAreRekeyedByTheirTimeNow)
{
    auto curve = fourKeys();
    auto list = listOf(curve.get(), {{1, 1}, {2, 4}});
    EXPECT_FALSE(list->updateDictionary()) << "nothing moved";
    curve->setTime(1, TtimeValue(1.5f));
    curve->setTime(2, TtimeValue(2.5f));
    TpickKeyList const copy(*static_cast<TpickKeyDictionary*>(list.get()));
    EXPECT_EQ(entries(copy), (Tentries{{1.5, 1}, {2.5, 4}}));
    EXPECT_EQ(entries(*list), (Tentries{{1.0, 1}, {2.0, 4}}));
    EXPECT_TRUE(list->updateDictionary());
    EXPECT_EQ(entries(*list), (Tentries{{1.5, 1}, {2.5, 4}}));
}

TEST(PickListUndo, SelectionSurvivesAddRemoveUndoAndRedo)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyList list;
    ASSERT_TRUE(list.insertRange(curve.get(), TtimeValue(1.0f), TtimeValue(2.0f)));
    curve->add(Tkeyframe(0.5f, 0.0, kTangentFixed, kTangentFixed));
    TpickKey const* picked = list.search(TtimeValue(1.0f));
    EXPECT_EQ(picked->handle()->index(), 2);

    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->remove(2);
    user.endParamCurveMod(*curve);
    EXPECT_FALSE(picked->handle()->present());
    EXPECT_EQ(picked->timeValue(), TtimeValue(1.0f)) << "the pick keeps its deleted key";
    user.undoPC();
    EXPECT_EQ(picked->handle()->index(), 2);
    user.redoPC();
    EXPECT_FALSE(picked->handle()->present());
    user.undoPC();
    EXPECT_FALSE(list.updateDictionary());
    TpickKeyList again;
    again.insertRange(curve.get(), TtimeValue(1.0f), TtimeValue(1.0f));
    TpickKeyList out;
    EXPECT_FALSE(list.getDifference(again, out)) << "the revived key is the picked one";
}

}  // namespace

namespace {

TEST(SelectionInputs, NaNTimesAndBadIndicesAreHarmless)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    auto curve = fourKeys();
    TpickKey beyond;
    EXPECT_EQ(beyond.create(curve.get(), 9u, TbitField32(1), true, false), 0) << "a pick on no key";
    EXPECT_EQ(beyond.timeValue(), TtimeValue());
    EXPECT_EQ(beyond.conflictsInTimeWith(pickOf(curve.get(), 0, 1)), 4) << "both read zero";
    TpickKey atNaN;
    atNaN.create(curve.get(), nan, TbitField32(1), true, false);
    EXPECT_EQ(atNaN.handle()->keyframe(), nullptr);

    auto list = listOf(curve.get(), {{1, 1}, {2, 1}});
    TpickKeyDictionaryNode* node = nullptr;
    EXPECT_FALSE(list->findByTime(TtimeValue(nan), node));
    list->insertRange(curve.get(), TtimeValue(nan), TtimeValue(nan));
    list->merge(atNaN);
    list->remove(beyond);
    EXPECT_EQ(entries(*list), (Tentries{{1.0, 1}, {2.0, 1}}));

    TuInt32Array indices;
    EXPECT_TRUE(TparamCurveRange(curve.get(), TtimeValue(nan), TtimeValue(nan)).asKeyframes(indices, nullptr));
    TparamCurveRange range(curve.get(), TtimeValue(1.0f), TtimeValue(2.0f));
    for (auto [from, to] : {std::pair{nan, 1.5f}, std::pair{1.5f, nan}}) {
        curve->notifyClients(TkeyframeMovedMsg(TtimeValue(from), TtimeValue(to), TparamCurveEnums::TmoveOption(1)));
    }
    EXPECT_EQ(range.startTime(), TtimeValue(1.0f));
    EXPECT_EQ(range.endTime(), TtimeValue(2.0f));
}

}  // namespace
