#include "support/curveBuilders.h"

#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using keeltest::TkeyPool;

template <class Array> std::vector<double> timesOf(Array const& array)
{
    std::vector<double> times;
    for (unsigned i = 0; i < array.count(); ++i) {
        times.push_back(array.at(i)->seconds());
    }
    return times;
}

TEST(SortedKeyInsertion, FloatToleranceRefusesNearDuplicatesAndTickOrderIsSignedAndExact)
{
    TkeyPool pool;
    TfloatKeyframePtrArray seconds(false, 8);
    ASSERT_EQ(seconds.insert(pool.seconds(1.0f)), 0u);
    EXPECT_EQ(seconds.insert(pool.seconds(1.000004f)), kArrayFailure);
    EXPECT_EQ(seconds.insert(pool.seconds(1.00002f)), 0u);
    EXPECT_EQ(seconds.insert(nullptr), kArrayFailure);
    EXPECT_EQ(seconds.count(), 2u);

    TanimTimeKeyframePtrArray ticks(false, 8);
    for (int t : {6000, 3000, 12000, -6000, 0}) {
        ASSERT_EQ(ticks.insert(pool.ticks(t)), 0u) << t;
    }
    EXPECT_EQ(timesOf(ticks), (std::vector<double>{-1.0, 0.0, 0.5, 1.0, 2.0}));
    EXPECT_EQ(ticks.insert(pool.ticks(3000)), kArrayFailure) << "same tick";
    EXPECT_EQ(ticks.insert(pool.ticks(3001)), 0u) << "one tick apart is another time";
}

TEST(SortedKeyInsertion, DuplicatesGoAheadOfEqualKeys)
{
    TkeyPool pool;
    TanimTimeKeyframePtrArray keys(true, 8);
    Tkeyframe* first = pool.ticks(10);
    for (Tkeyframe* key : {pool.ticks(0), first, pool.ticks(20)}) {
        keys.insert(key);
    }
    Tkeyframe* second = pool.ticks(10);
    ASSERT_EQ(keys.insert(second), 0u);
    EXPECT_EQ(keys.at(1), second);
    EXPECT_EQ(keys.at(2), first);
}

TEST(SortedKeySearch, FoundAndInsertionIndices)
{
    TkeyPool pool;
    TfloatKeyframePtrArray keys(false, 8);
    for (float t : {0.0f, 1.0f, 2.0f, 3.0f}) {
        keys.insert(pool.seconds(t));
    }
    struct Case {
        float fProbe;
        unsigned fResult;
        unsigned fIndex;
    };
    Case const cases[] = {{1.000004f, 0, 1},
                          {1.0001f, kArrayFailure, 2},
                          {-5.0f, kArrayFailure, 0},
                          {9.0f, kArrayFailure, 4},
                          {2.999995f, 0, 3},
                          {2.99998f, kArrayFailure, 3},
                          {0.0f, 0, 0}};
    for (Case const& c : cases) {
        Tkeyframe const probe(c.fProbe, 0.0, kTangentFixed, kTangentFixed);
        unsigned index = 99;
        EXPECT_EQ(keys.find(&probe, index), c.fResult) << c.fProbe;
        EXPECT_EQ(index, c.fIndex) << c.fProbe;
    }
    unsigned index = 99;
    EXPECT_EQ(keys.findKey(2.0, index), 0u);
    EXPECT_EQ(index, 2u);
}

TEST(SortedKeySearch, EmptyArraysCountsOfEqualKeysAndNullSlots)
{
    TkeyPool pool;
    TanimTimeKeyframePtrArray keys(true, 8);
    Tkeyframe const probe(TanimTime::fromTicks(5), 0.0, kTangentFixed, kTangentFixed);
    unsigned index = 7, equal = 7;
    EXPECT_EQ(keys.find(&probe, index, equal), kArrayFailure);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(equal, 0u);
    for (int t : {1, 5, 5, 5, 9}) {
        keys.insert(pool.ticks(t));
    }
    EXPECT_EQ(keys.find(&probe, index, equal), 0u);
    EXPECT_EQ(index, 1u) << "the first of the equal keys";
    EXPECT_EQ(equal, 3u);
    EXPECT_TRUE(keys.find(&probe));

    TfloatKeyframePtrArray gappy(false, 8);
    gappy.addLastUnsorted(pool.seconds(0.0f));
    gappy.addLastUnsorted(nullptr);
    gappy.addLastUnsorted(pool.seconds(2.0f));
    Tkeyframe const late(5.0f, 0.0, kTangentFixed, kTangentFixed);
    EXPECT_EQ(gappy.find(&late, index), 0u) << "a null slot stops the search as found";
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(gappy.find(nullptr, index), 0u) << "a null probe stops at the first middle";
}

TEST(SortedKeyChange, AcceptsOnlyOrderPreservingReplacements)
{
    TkeyPool pool;
    TfloatKeyframePtrArray keys(false, 8);
    Tkeyframe* middle = pool.seconds(1.0f);
    for (Tkeyframe* key : {pool.seconds(0.0f), middle, pool.seconds(2.0f)}) {
        keys.insert(key);
    }
    EXPECT_EQ(keys.change(1, pool.seconds(3.0f)), kArrayFailure);
    EXPECT_EQ(keys.at(1), middle) << "a refused change leaves the pointer in place";
    EXPECT_EQ(keys.change(1, pool.seconds(2.000004f)), kArrayFailure) << "equal to a neighbour";
    EXPECT_EQ(keys.change(1, pool.seconds(1.5f)), 0u);
    EXPECT_EQ(keys.change(0, pool.seconds(-1.0f)), 0u);
    EXPECT_EQ(keys.change(2, pool.seconds(9.0f)), 0u);
    EXPECT_EQ(keys.change(3, pool.seconds(10.0f)), kArrayFailure);
    EXPECT_EQ(keys.change(1, nullptr), kArrayFailure);

    TanimTimeKeyframePtrArray dup(true, 8);
    for (int t : {0, 10, 20}) {
        dup.insert(pool.ticks(t));
    }
    EXPECT_EQ(dup.change(1, pool.ticks(20)), 0u) << "equal neighbours are fine with duplicates";
    EXPECT_EQ(dup.change(1, pool.ticks(21)), kArrayFailure);
}

TEST(SortedKeyBulk, AppendUnsortedThenStableSort)
{
    TkeyPool pool;
    TanimTimeKeyframePtrArray keys(true, 8);
    Tkeyframe* firstFive = pool.ticks(5);
    Tkeyframe* secondFive = pool.ticks(5);
    for (Tkeyframe* key : {pool.ticks(9), firstFive, pool.ticks(-3), secondFive, pool.ticks(0)}) {
        keys.addLast(key);
    }
    keys.sort();
    EXPECT_EQ(timesOf(keys), (std::vector<double>{-3 / 6000.0, 0.0, 5 / 6000.0, 5 / 6000.0, 9 / 6000.0}));
    EXPECT_EQ(keys.at(2), firstFive) << "equal keys keep their order";
    EXPECT_EQ(keys.at(3), secondFive);

    TanimTimeKeyframePtrArray copy(false, 1);
    copy.copy(keys);
    EXPECT_EQ(copy.count(), 5u);
    EXPECT_EQ(copy.at(4), keys.at(4));
}

TEST(SortedKeyBulk, RandomInsertionMatchesSortedOrder)
{
    TkeyPool pool;
    std::mt19937 random(7);
    std::uniform_int_distribution<int> ticks(-100000, 100000);
    TanimTimeKeyframePtrArray keys(false, 8);
    std::vector<int> inserted;
    for (int i = 0; i < 2000; ++i) {
        int const t = ticks(random);
        bool const fresh = std::find(inserted.begin(), inserted.end(), t) == inserted.end();
        EXPECT_EQ(keys.insert(pool.ticks(t)) == 0u, fresh);
        if (fresh) {
            inserted.push_back(t);
        }
    }
    std::sort(inserted.begin(), inserted.end());
    ASSERT_EQ(keys.count(), inserted.size());
    for (unsigned i = 0; i < keys.count(); ++i) {
        ASSERT_EQ(keys.at(i)->animTime().ticks(), inserted[i]);
    }
}

TEST(SortedKeyRemoval, RemovesThatVeryPointer)
{
    TkeyPool pool;
    TanimTimeKeyframePtrArray keys(true, 8);
    Tkeyframe* a = pool.ticks(5);
    Tkeyframe* b = pool.ticks(5);
    keys.insert(a);
    keys.insert(b);
    EXPECT_EQ(keys.remove(a), 0u);
    EXPECT_EQ(keys.count(), 1u);
    EXPECT_EQ(keys.at(0), b);
    EXPECT_EQ(keys.remove(a), kArrayFailure);
    EXPECT_EQ(keys.remove(pool.ticks(5)), kArrayFailure) << "an equal time is not the same key";
    EXPECT_EQ(keys.remove(nullptr), kArrayFailure);
    EXPECT_EQ(keys.at(5), nullptr);
}

TEST(KeyPointerList, SearchesByIdentityAndStartsNewSlotsNull)
{
    TkeyPool pool;
    Tkeyframe* a = pool.seconds(0.0f);
    Tkeyframe* b = pool.seconds(0.0f);
    TkeyframePtrList list;
    list.addLast(a);
    list.insert(b, 0);
    unsigned index = 0;
    EXPECT_EQ(list.find(a, index), 0u);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(list.find(pool.seconds(0.0f), index), kArrayFailure) << "an equal time is not the same key";
    EXPECT_EQ(index, list.count());
    list.changeLogicalSizeBy(2);
    EXPECT_EQ(list[3], nullptr);
}

TEST(KeyIndexTable, RecordsIndicesByAddress)
{
    TkeyPool pool;
    TkeyframeIndexTable table;
    std::vector<Tkeyframe*> keys;
    for (int i = 0; i < 100; ++i) {
        keys.push_back(pool.ticks(i));
        table.insert(keys.back(), unsigned(i));
    }
    unsigned index = 0;
    ASSERT_TRUE(table.find(keys[42], index));
    EXPECT_EQ(index, 42u);
    EXPECT_FALSE(table.find(pool.ticks(42), index));
    EXPECT_EQ(TkeyframeIndexTable::hashOf(keys[0]), ThashUtil::hash32(&keys[0], sizeof(Tkeyframe*), 0))
        << "pointer bytes, seed 0";
}

}  // namespace
