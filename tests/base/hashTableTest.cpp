#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace {

TEST(Hash32, KnownValuesAndSeedSensitivity)
{
    // Reference values of the 32-bit x86 Murmur3 hash.
    EXPECT_EQ(ThashUtil::hash32("", 0, 0), 0u);
    EXPECT_EQ(ThashUtil::hash32("", 0, 1), 0x514E28B7u);
    EXPECT_EQ(ThashUtil::hash32("test", 4, 0), 0xBA6BD213u);
    EXPECT_EQ(ThashUtil::hash32("Hello, world!", 13, 1234), 0xFAF6CDB3u);
    EXPECT_NE(ThashUtil::hash32("abc", 3, 0), ThashUtil::hash32("abc", 3, 1));
    EXPECT_EQ(ThashUtil::hash32(nullptr, 16, 0), ThashUtil::hash32("", 0, 0));
}

TEST(DataHashTable, InsertFindReplaceRemove)
{
    int slots[3] = {};
    TdataHashTable<int*, unsigned> table;
    EXPECT_TRUE(table.insert(&slots[0], 10));
    EXPECT_TRUE(table.insert(&slots[1], 11));
    table.insert(&slots[1], 99);
    unsigned value = 0;
    ASSERT_TRUE(table.find(&slots[1], value));
    EXPECT_EQ(value, 99u);
    EXPECT_FALSE(table.find(&slots[2], value));
    EXPECT_EQ(table.count(), 2u);
    EXPECT_TRUE(table.remove(&slots[0]));
    EXPECT_FALSE(table.remove(&slots[0]));
    EXPECT_EQ(table.count(), 1u);
}

TEST(DataHashTable, GrowsAndIteratesEveryEntryOnce)
{
    std::vector<int> storage(5000);
    TdataHashTable<int*, unsigned> table(4);
    for (unsigned i = 0; i < storage.size(); ++i) {
        table.insert(&storage[i], i);
    }
    EXPECT_GT(table.bucketCount(), 4u);
    EXPECT_EQ(table.bucketCount() & (table.bucketCount() - 1), 0u) << "bucket counts stay powers of two";
    std::set<unsigned> seen;
    TdataHashTable<int*, unsigned>::Iterator it(table);
    for (auto* e = it.first(); e != nullptr; e = it.next()) {
        EXPECT_EQ(e->fKey, &storage[e->fValue]);
        EXPECT_TRUE(seen.insert(e->fValue).second) << "visited twice";
    }
    EXPECT_EQ(seen.size(), storage.size());
    for (unsigned i = 0; i < storage.size(); i += 97) {
        unsigned value = 0;
        ASSERT_TRUE(table.find(&storage[i], value));
        EXPECT_EQ(value, i);
    }
}

TEST(HashTableBase, CallerOwnedEntriesSurviveReinitialisation)
{
    ThashTableEntry a;
    ThashTableEntry b;
    ThashTable table(3);
    EXPECT_EQ(table.bucketCount(), 4u);
    EXPECT_FALSE(table.insertWithHash(nullptr, 1));
    table.insertWithHash(&a, 5);
    table.insertWithHash(&b, 9);  // same bucket as 5 in four buckets
    EXPECT_EQ(table.firstWithHash(5), &b);
    EXPECT_EQ(b.next(), &a);
    EXPECT_TRUE(table.removeEntry(&b));
    EXPECT_FALSE(table.removeEntry(&b));
    table.reinitializeTable();
    EXPECT_EQ(table.count(), 0u);
    ThashTableIterator it(table);
    EXPECT_EQ(it._first(), nullptr);
    EXPECT_EQ(it._next(), nullptr);
}

}  // namespace
