#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int> contents(TtypedArray<int> const& values)
{
    return std::vector<int>(values.begin(), values.end());
}

TEST(ArrayStorage, SizesGrowAndShrinkKeepingContents)
{
    TtypedArray<int> values(2);
    EXPECT_EQ(values.physicalSize(), 2u);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(values.addLast(i));
    }
    EXPECT_GE(values.physicalSize(), 1000u);
    for (unsigned i = 0; i < 1000; ++i) {
        ASSERT_EQ(values[i], int(i));
    }
    unsigned const physical = values.physicalSize();
    ASSERT_TRUE(values.changeLogicalSizeTo(3));
    EXPECT_EQ(values.physicalSize(), physical) << "a logical shrink keeps the storage";
    ASSERT_TRUE(values.changeLogicalSizeTo(10));
    EXPECT_EQ(values[9], 0) << "regrown elements are zeroed";
    ASSERT_TRUE(values.changePhysicalSizeTo(4));
    EXPECT_EQ(contents(values), (std::vector<int>{0, 1, 2, 0})) << "a physical shrink drops the tail";
}

TEST(ArrayStorage, CreateAndInitialiseFillsCopies)
{
    struct Tpair {
        int fA;
        int fB;
    };
    Tarray raw(sizeof(Tpair), 0);
    Tpair const init{7, -7};
    ASSERT_TRUE(raw.createAndInitialise(&init, 5, 16));
    EXPECT_EQ(raw.logicalSize(), 5u);
    EXPECT_GE(raw.physicalSize(), 16u);
    auto const* pairs = static_cast<Tpair const*>(raw.data());
    EXPECT_EQ(pairs[4].fA, 7);
    EXPECT_EQ(pairs[4].fB, -7);
    EXPECT_EQ(raw.elementAt(5), nullptr);
}

TEST(ArrayElements, InsertRemoveFindAndCopy)
{
    TtypedArray<int> values;
    for (int v : {1, 2, 4}) {
        values.addLast(v);
    }
    ASSERT_TRUE(values.insert(3, 2));
    int const nine = 9;
    ASSERT_TRUE(values.insertElement(&nine, 0, 2));
    EXPECT_EQ(contents(values), (std::vector<int>{9, 9, 1, 2, 3, 4}));
    unsigned index = 0;
    ASSERT_TRUE(values.find(4, index));
    EXPECT_EQ(index, 5u);
    ASSERT_TRUE(values.removeAt(0, 2));
    int const three = 3;
    ASSERT_TRUE(values.removeElement(&three));
    EXPECT_FALSE(values.find(3, index));
    EXPECT_EQ(index, values.count()) << "not found reports the end";
    int const source[] = {7, 8, 9};
    ASSERT_TRUE(values.copyElements(2, source, 3));
    EXPECT_EQ(contents(values), (std::vector<int>{1, 2, 7, 8, 9})) << "copying overwrites and extends the end";
    EXPECT_FALSE(values.copyElements(10, source, 1)) << "a gap past the end is refused";
    EXPECT_FALSE(values.copyElements(0, nullptr, 1));

    TtypedArray<int> one(1);
    one.addLast(5);
    // The source lives in the storage that the insertion reallocates.
    ASSERT_TRUE(one.insertElement(one.elementAt(0), 0, 40));
    EXPECT_EQ(contents(one), std::vector<int>(41, 5));
}

TEST(ArrayRefusals, BadIndicesChangeNothing)
{
    TtypedArray<int> values;
    values.addLast(1);
    EXPECT_FALSE(values.insert(2, 5));
    EXPECT_FALSE(values.removeAt(1, 1));
    EXPECT_FALSE(values.remove(7)) << "no element equals 7";
    EXPECT_EQ(values.at(7), 0);
    EXPECT_EQ(contents(values), (std::vector<int>{1}));
    EXPECT_TRUE(values.removeAt(0, 100)) << "a long range is clipped";
    EXPECT_TRUE(values.empty());
}

TEST(ArrayCopies, AreDeep)
{
    TtypedArray<int> a;
    a.addLast(1);
    TtypedArray<int> b(a);
    b[0] = 2;
    EXPECT_EQ(a[0], 1);
    a = b;
    EXPECT_EQ(a[0], 2);
    a = a;  // self-assignment keeps the contents
    EXPECT_EQ(a[0], 2);
}

TEST(ArrayWholes, SlicesSelfAliasingSwapsAndArraysOfArrays)
{
    TtypedArray<int> first;
    int const three[] = {1, 2, 3};
    first.addLast(three, 3);
    TtypedArray<int> second;
    second.copy(first, 1, 5);
    EXPECT_EQ(contents(second), (std::vector<int>{2, 3})) << "slices are clipped to the source";
    second.catenate(first, 0, 1);
    second.catenate(TtypedArray<int>());
    EXPECT_EQ(contents(second), (std::vector<int>{2, 3, 1}));
    second.copy(second, 1);
    second.catenate(second);
    EXPECT_EQ(contents(second), (std::vector<int>{3, 1, 3, 1})) << "an array may be its own source";
    second.copy(TtypedArray<int>());
    EXPECT_TRUE(second.empty()) << "copying an empty array empties";
    EXPECT_TRUE(second.createAndSet(7, 0, 2));
    EXPECT_FALSE(second.createAndSet(7, 5, 1)) << "a gap past the end is refused";
    first.swap(second);
    EXPECT_EQ(contents(first), (std::vector<int>{7, 7}));
    ASSERT_TRUE(second.insert(second.begin(), 0, 2));  // from itself
    EXPECT_EQ(contents(second), (std::vector<int>{1, 2, 1, 2, 3}));
    EXPECT_TRUE(second.remove(2));
    EXPECT_EQ(contents(second), (std::vector<int>{1, 1, 2, 3})) << "only the first match goes";

    TvalueArray<TtypedArray<int>> lists;
    lists.addLast(first);
    lists.addLast(second);
    lists.addLast(lists[0]);  // an element of itself
    ASSERT_EQ(lists.count(), 3u);
    EXPECT_TRUE(lists[2] == first);
    TvalueArray<TtypedArray<int>> copy(lists);
    copy[0][0] = 8;
    EXPECT_EQ(lists[0][0], 7) << "copies are deep";
    unsigned index = 0;
    EXPECT_TRUE(copy.find(second, index));
    EXPECT_EQ(index, 1u);
    copy.catenate(copy);
    ASSERT_EQ(copy.count(), 6u);
    EXPECT_TRUE(copy[4] == second);
}

class TcountingArray : public TobjArray {
public:
    TcountingArray() : TobjArray(sizeof(int), 0) {}
    ~TcountingArray() override { reset(); }
    int fConstructed = 0;
    int fDestructed = 0;

protected:
    void constructElements(unsigned first, unsigned count) override
    {
        TobjArray::constructElements(first, count);
        fConstructed += int(count);
    }
    void destructElements(unsigned, unsigned count) override { fDestructed += int(count); }
};

TEST(ObjArray, HooksSeeEveryElementEnterAndLeave)
{
    TcountingArray array;
    ASSERT_TRUE(array.changeLogicalSizeBy(5));
    EXPECT_EQ(array.fConstructed, 5);
    ASSERT_TRUE(array.changeLogicalSizeBy(-2));
    EXPECT_EQ(array.fDestructed, 2);
    EXPECT_FALSE(array.changeLogicalSizeBy(-10)) << "cannot shrink below empty";
    ASSERT_TRUE(array.removeAt(0, 1));
    EXPECT_EQ(array.fDestructed, 3);
    array.reset();
    EXPECT_EQ(array.fDestructed, 5);
    EXPECT_EQ(array.logicalSize(), 0u);
}

}  // namespace
