#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int> intKeys(TkeyframeGroupPtrArray const& groups)
{
    std::vector<int> keys;
    for (unsigned i = 0; i < groups.count(); ++i) {
        keys.push_back(groups.at(i)->intKey());
    }
    return keys;
}

TEST(KeyGroups, ConstructionKeysAndDefaults)
{
    TkeyframeGroup plain;
    EXPECT_FALSE(plain.isReal());
    EXPECT_EQ(plain.state(), 3);
    EXPECT_EQ(plain.firstCount() + plain.secondCount(), 0u);
    TkeyframeGroup const byReal(2.5);
    EXPECT_TRUE(byReal.isReal());
    EXPECT_EQ(byReal.realKey(), 2.5);
    TkeyframeGroup const byInt(-4);
    EXPECT_EQ(TkeyframeGroup::compare(byInt, TkeyframeGroup(3)), -1);
    EXPECT_EQ(TkeyframeGroup::compare(byReal, TkeyframeGroup(1.0)), 1) << "a real probe compares real keys";
}

TEST(KeyGroups, SortedInsertionSearchAndRuns)
{
    std::vector<TkeyframeGroup> pool = {TkeyframeGroup(5), TkeyframeGroup(1), TkeyframeGroup(3), TkeyframeGroup(3)};
    TkeyframeGroupPtrArray unique(false, 2);
    TkeyframeGroupPtrArray runs(true, 2);
    for (TkeyframeGroup& group : pool) {
        unique.insert(&group);
        runs.insert(&group);
    }
    EXPECT_EQ(intKeys(unique), (std::vector<int>{1, 3, 5})) << "an equal group is refused without duplicates";
    EXPECT_EQ(intKeys(runs), (std::vector<int>{1, 3, 3, 5}));
    EXPECT_EQ(runs.at(1), &pool[2]) << "equal groups keep their insertion order";
    unsigned first = 0;
    unsigned last = 0;
    TkeyframeGroup const probe(3);
    EXPECT_EQ(runs.find(&probe, first, last), 0u);
    EXPECT_EQ(first, 1u);
    EXPECT_EQ(last, 2u);
    TkeyframeGroup const absent(4);
    unsigned position = 0;
    EXPECT_EQ(runs.find(&absent, position), TkeyframeGroupPtrArray::kGroupNotFound);
    EXPECT_EQ(position, 3u) << "the insertion point";
    EXPECT_EQ(runs.find(nullptr, position), TkeyframeGroupPtrArray::kGroupNotFound);
    EXPECT_EQ(runs.insert(nullptr), TkeyframeGroupPtrArray::kGroupNotFound);
    EXPECT_EQ(runs.at(9), nullptr);
}

TEST(KeyGroups, ChangesKeepTheOrderOrAreRefused)
{
    TkeyframeGroup a(1), b(5), c(9), fits(7), misfit(0);
    TkeyframeGroupPtrArray groups;
    ASSERT_TRUE(groups.addLast(&a) && groups.addLast(&b) && groups.addLast(&c));
    EXPECT_FALSE(groups.addLast(&misfit)) << "out of order at the end";
    EXPECT_FALSE(groups.change(1, &misfit));
    EXPECT_TRUE(groups.change(1, &fits));
    EXPECT_EQ(intKeys(groups), (std::vector<int>{1, 7, 9}));
    EXPECT_FALSE(groups.change(3, &fits)) << "past the end";
    EXPECT_TRUE(groups.remove(&fits));
    EXPECT_FALSE(groups.remove(&fits));
    EXPECT_TRUE(groups.addLastUnsorted(&misfit));
    EXPECT_TRUE(groups.insert(&b, 0));
    groups.sort();
    EXPECT_EQ(intKeys(groups), (std::vector<int>{0, 1, 5, 9}));
    TkeyframeGroupPtrArray copy;
    copy.copy(groups);
    EXPECT_EQ(intKeys(copy), intKeys(groups));
}

}  // namespace
