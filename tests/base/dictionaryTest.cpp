#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace {

// An int-keyed node with a payload, as a client of the dictionary writes one.
class TintNode : public TdictionaryNode {
public:
    explicit TintNode(int key, int payload = 0, int levels = 1) : TdictionaryNode(levels), fKey(key), fPayload(payload)
    {
        ++sLive;
    }
    ~TintNode() override { --sLive; }

    int compare(TdictionaryNode& other) override
    {
        int const theirs = static_cast<TintNode&>(other).fKey;
        return fKey < theirs ? -1 : (fKey == theirs ? 0 : 1);
    }
    void setValue(TdictionaryNode& other) override { fPayload = static_cast<TintNode&>(other).fPayload; }
    TdictionaryNode* clone(int levels) override { return new TintNode(fKey, fPayload, levels); }

    int fKey;
    int fPayload;
    static int sLive;
};

int TintNode::sLive = 0;

std::vector<int> keysInOrder(Tdictionary& dictionary)
{
    std::vector<int> keys;
    for (TdictionaryNode* n = dictionary.first(); n != nullptr; n = n->forward(0)) {
        keys.push_back(static_cast<TintNode*>(n)->fKey);
    }
    return keys;
}

TintNode* insert(Tdictionary& dictionary, int key, int payload = 0)
{
    TintNode probe(key, payload);
    TdictionaryNode* stored = dictionary.insertNode(probe);
    EXPECT_NE(stored, &probe) << "the dictionary keeps its own clone";
    return static_cast<TintNode*>(stored);
}

TEST(DictionaryOrder, StoresClonesInOrderAndEqualKeysTakeTheNewValue)
{
    Tdictionary dictionary;
    TintNode* const three = insert(dictionary, 3, 30);
    for (int k : {5, 1, 9}) {
        ASSERT_NE(insert(dictionary, k, k * 10), nullptr);
    }
    EXPECT_EQ(keysInOrder(dictionary), (std::vector<int>{1, 3, 5, 9}));
    EXPECT_EQ(insert(dictionary, 3, 99), three);
    EXPECT_EQ(three->fPayload, 99);
    EXPECT_EQ(dictionary.count(), 4u);
}

TEST(DictionarySearch, FindsMissesAndRemoves)
{
    Tdictionary dictionary;
    for (int k = 0; k < 10; k += 2) {
        insert(dictionary, k);
    }
    TintNode four(4);
    TintNode five(5);
    EXPECT_NE(dictionary.searchNode(four), nullptr);
    EXPECT_EQ(dictionary.searchNode(five), nullptr);
    EXPECT_TRUE(dictionary.removeNode(four));
    EXPECT_FALSE(dictionary.removeNode(four));
    EXPECT_EQ(keysInOrder(dictionary), (std::vector<int>{0, 2, 6, 8}));
}

TEST(DictionarySearch, BookmarkSkipsTheSecondSearchAndStaleOnesAreIgnored)
{
    Tdictionary dictionary;
    insert(dictionary, 1);
    insert(dictionary, 3);
    Tbookmark mark;
    TintNode two(2);
    EXPECT_EQ(dictionary.searchNode(two, mark), nullptr);
    EXPECT_TRUE(mark.valid());
    insert(dictionary, 0);  // the dictionary changes between the search and the insertion
    dictionary.insertNode(two, mark);
    EXPECT_EQ(keysInOrder(dictionary), (std::vector<int>{0, 1, 2, 3}));
}

TEST(DictionaryWalk, StaysOrderedAfterManyInsertsAndRemoves)
{
    std::mt19937 random(42);
    std::uniform_int_distribution<int> pick(0, 499);
    Tdictionary dictionary;
    std::set<int> model;
    for (int i = 0; i < 5000; ++i) {
        int const key = pick(random);
        TintNode probe(key);
        if (random() % 3 == 0) {
            EXPECT_EQ(dictionary.removeNode(probe), model.erase(key) == 1);
        } else {
            dictionary.insertNode(probe);
            model.insert(key);
        }
    }
    EXPECT_EQ(keysInOrder(dictionary), std::vector<int>(model.begin(), model.end()));
    EXPECT_EQ(dictionary.count(), model.size());
    // Every level is an ordered sub-list of level 0.
    for (int level = 1; level < Tbookmark::kMaxLevels; ++level) {
        int previous = -1;
        for (TdictionaryNode* n = dictionary.forward(level); n != nullptr; n = n->forward(level)) {
            int const key = static_cast<TintNode*>(n)->fKey;
            ASSERT_GT(key, previous);
            ASSERT_TRUE(model.count(key));
            previous = key;
        }
    }
}

TEST(DictionaryLifetime, ResetAndDestructionDestroyEveryNode)
{
    int const before = TintNode::sLive;
    {
        Tdictionary dictionary;
        for (int k = 0; k < 100; ++k) {
            insert(dictionary, k);
        }
        EXPECT_EQ(TintNode::sLive, before + 100);
        dictionary.reset();
        EXPECT_EQ(TintNode::sLive, before);
        EXPECT_TRUE(dictionary.empty());
        EXPECT_EQ(dictionary.first(), nullptr);
        insert(dictionary, 1);
    }
    EXPECT_EQ(TintNode::sLive, before);
}

TEST(DictionaryNodes, ForwardBeyondTheirLevelsIsNull)
{
    TintNode node(1, 0, 3);
    EXPECT_EQ(node.levels(), 3);
    EXPECT_EQ(node.forward(-1), nullptr);
    EXPECT_EQ(node.forward(3), nullptr);
    EXPECT_EQ(TdictionaryNode(1000).levels(), Tbookmark::kMaxLevels);
}

}  // namespace
