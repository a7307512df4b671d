#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <vector>

using keeltest::floatCurve;

namespace {

TpickKey pickOf(TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey pick;
    pick.create(curve, index, TbitField32(mask), true, true);
    return pick;
}

std::vector<double> storedSeconds(TpickKeyDictionary const& picks)
{
    std::vector<double> times;
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        times.push_back(node->key().seconds());
    }
    return times;
}

TEST(PickDictionary, KeepsOneEntryPerTimeInAscendingOrder)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    TpickKeyDictionary picks;
    for (unsigned index : {2u, 0u, 3u, 1u, 2u}) {
        TpickKey const pick = pickOf(curve.get(), index, 1);
        ASSERT_NE(picks.insert(pick.timeValue(), pick), nullptr);
    }
    EXPECT_EQ(storedSeconds(picks), (std::vector<double>{0.0, 1.0, 2.0, 3.0}));
    EXPECT_EQ(picks.count(), 4u);
}

TEST(PickDictionary, InsertOverAnEntryAssignsItsPick)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKeyDictionary picks;
    picks.insert(TtimeValue(1.0f), pickOf(curve.get(), 1, 2));
    Tbookmark bookmark;
    ASSERT_EQ(picks.findNode(TtimeValue(1.0f), bookmark)->pick().flags().word(), 2u);
    picks.insert(TtimeValue(1.0f), pickOf(curve.get(), 1, 4), bookmark);
    EXPECT_EQ(picks.count(), 1u);
    EXPECT_EQ(picks.search(TtimeValue(1.0f))->flags().word(), 4u);

    // Assignment asks the curve; a new node does not.
    curve->setCurveFlag(TparamCurve::kReferencedBit, true);
    picks.insert(TtimeValue(1.0f), pickOf(curve.get(), 1, 1));
    EXPECT_EQ(picks.search(TtimeValue(1.0f))->handle(), nullptr);
    picks.insert(TtimeValue(0.0f), pickOf(curve.get(), 0, 1));
    EXPECT_NE(picks.search(TtimeValue(0.0f))->handle(), nullptr);
}

TEST(PickDictionary, FindsAndRemovesOnlyExactTimes)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    TpickKeyDictionary picks;
    picks.insert(TtimeValue(1.0f), pickOf(curve.get(), 1, 1));
    EXPECT_EQ(picks.search(TtimeValue(0.5f)), nullptr);
    EXPECT_EQ(picks.findNode(TtimeValue(1.5f)), nullptr);
    EXPECT_FALSE(picks.remove(TtimeValue(0.0f)));
    EXPECT_TRUE(picks.remove(TtimeValue(1.0f)));
    EXPECT_EQ(picks.first(), nullptr);
    EXPECT_FALSE(picks.remove(TtimeValue(1.0f)));
}

TEST(PickDictionary, NodesCopyTheirPickIntoClones)
{
    auto curve = floatCurve({{0.0f, 0.0}});
    TpickKeyDictionaryNode node(TtimeValue(0.0f), pickOf(curve.get(), 0, 6));
    TdictionaryNode* clone = node.clone(3);
    auto* pickClone = keelCast<TpickKeyDictionaryNode>(static_cast<TpickKeyDictionaryNode*>(clone));
    ASSERT_NE(pickClone, nullptr);
    EXPECT_EQ(pickClone->levels(), 3);
    EXPECT_EQ(pickClone->forward(2), nullptr);
    EXPECT_TRUE(pickClone->pick() == node.pick());
    EXPECT_NE(pickClone->pick().handle(), node.pick().handle());
    EXPECT_EQ(pickClone->compare(node), 0);
    TpickKeyDictionaryNode later(TtimeValue(2.0f));
    EXPECT_EQ(node.compare(later), -1);
    EXPECT_EQ(later.compare(node), 1);
    TdictionaryNode foreign;
    EXPECT_EQ(node.compare(foreign), -1);
    clone->destroy();
}

TEST(PickDictionaryTyping, AnswersItsRecordsAndCasts)
{
    TpickKeyDictionaryNode* node = TpickKeyDictionaryNode::construct();
    TpickKeyDictionary* picks = TpickKeyDictionary::construct();
    ASSERT_NE(node, nullptr);
    ASSERT_NE(picks, nullptr);
    EXPECT_EQ(node->typeof(), TpickKeyDictionaryNodeTmeta);
    EXPECT_EQ(picks->typeof(), TpickKeyDictionary::sTypeof());
    EXPECT_TRUE(TpickKeyDictionaryNodeTmeta->istype(TdictionaryNodeTmeta));
    EXPECT_TRUE(TpickKeyDictionaryTmeta->istype(TdictionaryNodeTmeta));
    EXPECT_FALSE(TpickKeyDictionaryTmeta->istype(TpickKeyDictionaryNodeTmeta));
    EXPECT_EQ(node->cast(TdictionaryNodeTmeta), node);
    EXPECT_EQ(node->cast(TpickKeyDictionaryTmeta), nullptr);
    EXPECT_EQ(picks->cast(TdictionaryTmeta), picks);
    EXPECT_STREQ(TpickKeyDictionaryTmeta->name(), "TpickKeyDictionary");
    EXPECT_EQ(Tmetaclass::find("TpickKeyDictionaryNode"), TpickKeyDictionaryNodeTmeta);
    delete node;
    delete picks;

    alignas(TpickKeyDictionaryNode) unsigned char space[sizeof(TpickKeyDictionaryNode)];
    TpickKeyDictionaryNode* inPlace = TpickKeyDictionaryNode::constructInPlace(space);
    ASSERT_EQ(static_cast<void*>(inPlace), static_cast<void*>(space));
    EXPECT_EQ(inPlace->key(), TtimeValue());
    inPlace->~TpickKeyDictionaryNode();
    EXPECT_EQ(TpickKeyDictionary::constructInPlace(nullptr), nullptr);
}

}  // namespace
