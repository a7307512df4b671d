#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Tpair {
    int fA;
    int fB;
};

TEST(ArrayStorage, GrowsPastPhysicalSizeAndKeepsContents)
{
    TtypedArray<int> values(2);
    EXPECT_EQ(values.physicalSize(), 2u);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(values.addLast(i));
    }
    EXPECT_EQ(values.count(), 1000u);
    EXPECT_GE(values.physicalSize(), 1000u);
    for (unsigned i = 0; i < 1000; ++i) {
        ASSERT_EQ(values[i], int(i));
    }
}

TEST(ArrayStorage, ShrinkingLogicalSizeKeepsStorage)
{
    TtypedArray<int> values;
    ASSERT_TRUE(values.changeLogicalSizeTo(50));
    unsigned const physical = values.physicalSize();
    ASSERT_TRUE(values.changeLogicalSizeTo(3));
    EXPECT_EQ(values.physicalSize(), physical);
    ASSERT_TRUE(values.changeLogicalSizeTo(10));
    EXPECT_EQ(values[9], 0) << "regrown elements are zeroed";
}

TEST(ArrayStorage, PhysicalShrinkDropsTail)
{
    TtypedArray<int> values;
    for (int i = 0; i < 10; ++i) {
        values.addLast(i);
    }
    ASSERT_TRUE(values.changePhysicalSizeTo(4));
    EXPECT_EQ(values.count(), 4u);
    EXPECT_EQ(values[3], 3);
}

TEST(ArrayStorage, CreateAndInitialiseFillsCopies)
{
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

TEST(ArrayElements, InsertRemoveFind)
{
    TtypedArray<int> values;
    for (int v : {1, 2, 4}) {
        values.addLast(v);
    }
    ASSERT_TRUE(values.insert(3, 2));
    int const nine = 9;
    ASSERT_TRUE(values.insertElement(&nine, 0, 2));
    EXPECT_EQ(values.count(), 6u);
    EXPECT_EQ(values[0], 9);
    EXPECT_EQ(values[1], 9);
    EXPECT_EQ(values[4], 3);
    unsigned index = 0;
    ASSERT_TRUE(values.find(4, index));
    EXPECT_EQ(index, 5u);
    ASSERT_TRUE(values.removeAt(0, 2));
    int const three = 3;
    ASSERT_TRUE(values.removeElement(&three));
    EXPECT_FALSE(values.find(3, index));
    EXPECT_EQ(index, values.count()) << "not found reports the end";
    EXPECT_EQ(values.count(), 3u);
}

TEST(ArrayElements, InsertingAnElementOfTheArrayItselfIsSafe)
{
    TtypedArray<int> values(1);
    values.addLast(5);
    // The source lives in the storage that the insertion reallocates.
    ASSERT_TRUE(values.insertElement(values.elementAt(0), 0, 40));
    EXPECT_EQ(values.count(), 41u);
    EXPECT_EQ(values[40], 5);
    EXPECT_EQ(values[0], 5);
}

TEST(ArrayElements, CopyElementsExtendsTheEnd)
{
    TtypedArray<int> values;
    values.addLast(1);
    int const source[] = {7, 8, 9};
    ASSERT_TRUE(values.copyElements(1, source, 3));
    EXPECT_EQ(values.count(), 4u);
    EXPECT_EQ(values[3], 9);
    EXPECT_FALSE(values.copyElements(10, source, 1)) << "a gap past the end is refused";
    EXPECT_FALSE(values.copyElements(0, nullptr, 1));
}

TEST(ArrayRefusals, BadIndicesChangeNothing)
{
    TtypedArray<int> values;
    values.addLast(1);
    EXPECT_FALSE(values.insert(2, 5));
    EXPECT_FALSE(values.removeAt(1, 1));
    EXPECT_FALSE(values.remove(7)) << "no element equals 7";
    EXPECT_EQ(values.at(7), 0);
    EXPECT_EQ(values.count(), 1u);
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

TEST(SortedArrayBase, RemembersDuplicatePolicy)
{
    TsortedArray dup(8, 4, true);
    TsortedArray unique(8, 4, false);
    EXPECT_TRUE(dup.allowDuplicates());
    EXPECT_FALSE(unique.allowDuplicates());
    EXPECT_EQ(dup.elementSize(), 8u);
    EXPECT_EQ(dup.physicalSize(), 4u);
}

}  // namespace
