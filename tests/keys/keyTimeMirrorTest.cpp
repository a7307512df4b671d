#include "support/curveBuilders.h"

#include "keys/keyTimeMirror.h"
#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

constexpr double kTolerance = kTimeTolerance;

class KeyTimeMirror : public ::testing::Test {
protected:
    Tkeyframe* key(float seconds) { return fPool.seconds(seconds); }
    Tkeyframe* key(int ticks) { return fPool.ticks(ticks); }
    template <class Array, class Time> void fill(Array& array, std::initializer_list<Time> times)
    {
        for (Time t : times) {
            ASSERT_EQ(array.insert(key(t)), 0u) << t;
        }
    }
    // The copy names a span exactly where the array finds no key and would
    // insert the time between two keys, and it names that very span,
    // whatever span it is hinted at.
    template <class Array, class Mirror> void expectSameAnswer(Array const& array, Mirror& mirror, double probe)
    {
        using Key = typename Array::Key;
        ASSERT_TRUE(mirror.refresh(array));
        unsigned fromArray = 0;
        bool const foundInArray = array.findKey(Key(probe), fromArray) == 0;
        bool const betweenKeys = !foundInArray && fromArray > 0 && fromArray < array.count();
        for (unsigned hint : {0u, array.count() / 2, array.count()}) {
            unsigned span = 0;
            EXPECT_EQ(mirror.spanHolding(Key(probe), hint, span), betweenKeys) << "probe " << probe;
            if (betweenKeys) {
                EXPECT_EQ(span + 1, fromArray) << "probe " << probe;
            }
        }
    }

    keeltest::TkeyPool fPool;
};

TEST_F(KeyTimeMirror, AnswersAsTheArrayAroundEveryKey)
{
    TfloatKeyframePtrArray array(false, 8);
    TkeyTimeMirror<TfloatKeyframePtrSObj> mirror;
    fill(array, {-3.0f, -1.5f, 0.0f, 0.25f, 1.0f, 7.5f, 100.0f});
    std::vector<double> probes = {-1e9, 1e9, -3.0000001, 100.00002};
    for (unsigned i = 0; i < array.count(); ++i) {
        double const t = array.at(i)->seconds();
        for (double offset : {0.0, -kTolerance * 0.5, kTolerance * 0.5, -kTolerance * 1.5, kTolerance * 1.5, 0.01}) {
            probes.push_back(t + offset);
        }
    }
    for (double probe : probes) {
        expectSameAnswer(array, mirror, probe);
    }
}

TEST_F(KeyTimeMirror, KeysCloserThanTwiceTheToleranceAreLeftToTheArray)
{
    TfloatKeyframePtrArray array(false, 8);
    TkeyTimeMirror<TfloatKeyframePtrSObj> mirror;
    // Every probe between the first two keys lies within tolerance of both.
    fill(array, {1.0f, 1.0000153f, 1.0000305f, 2.0f, 3.0f});
    for (int step = -10; step <= 40; ++step) {
        expectSameAnswer(array, mirror, 1.0 + step * 1e-6);
    }
}

TEST_F(KeyTimeMirror, RandomArraysOfBothTimeForms)
{
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        TfloatKeyframePtrArray seconds(false, 8);
        TanimTimeKeyframePtrArray ticks(false, 8);
        std::uniform_int_distribution<int> when(-20000, 20000);
        for (int i = 0; i < 1 + round * 3; ++i) {
            int const t = when(random);
            seconds.insert(key(float(t) * 1e-3f));
            ticks.insert(key(t));
        }
        TkeyTimeMirror<TfloatKeyframePtrSObj> secondsCopy;
        TkeyTimeMirror<TanimTimeKeyframePtrSObj> ticksCopy;
        for (int probe = 0; probe < 200; ++probe) {
            int const t = when(random);
            expectSameAnswer(seconds, secondsCopy, double(t) * 1e-3 + (probe % 3 - 1) * 4e-6);
            expectSameAnswer(ticks, ticksCopy, double(t));
        }
    }
}

// The search halves in powers of two after a first step that aligns odd
// lengths: every length must find every span, the first and last included.
TEST_F(KeyTimeMirror, EveryLengthFindsEverySpan)
{
    for (int length = 2; length <= 70; ++length) {
        TanimTimeKeyframePtrArray array(false, 8);
        for (int i = 0; i < length; ++i) {
            array.insert(key(i * 100));
        }
        TkeyTimeMirror<TanimTimeKeyframePtrSObj> mirror;
        ASSERT_TRUE(mirror.refresh(array));
        for (int s = 0; s + 1 < length; ++s) {
            for (unsigned hint : {0u, unsigned(length)}) {
                unsigned span = 999;
                EXPECT_TRUE(mirror.spanHolding(s * 100 + 50, hint, span)) << length << " keys, span " << s;
                EXPECT_EQ(span, unsigned(s)) << length << " keys, hint " << hint;
                EXPECT_FALSE(mirror.spanHolding(s * 100, hint, span)) << "at key " << s << " of " << length;
            }
        }
    }
}

TEST_F(KeyTimeMirror, RefreshCopiesOnlyTheStaleTail)
{
    TanimTimeKeyframePtrArray array(false, 8);
    TkeyTimeMirror<TanimTimeKeyframePtrSObj> mirror;
    EXPECT_TRUE(mirror.covers(0)) << "an empty copy covers an empty array";
    fill(array, {10, 20, 30});
    EXPECT_FALSE(mirror.covers(3));
    mirror.refresh(array);
    EXPECT_TRUE(mirror.covers(3));

    array.insert(key(40));
    EXPECT_FALSE(mirror.covers(4)) << "a longer array is not covered";
    mirror.refresh(array);
    EXPECT_EQ(mirror.keyAt(3), 40);

    // A key moved in place is seen only once reported.
    ASSERT_TRUE(array.at(1)->setTime(TanimTime::fromTicks(25)));
    mirror.refresh(array);
    EXPECT_EQ(mirror.keyAt(1), 20) << "unreported: the copy keeps what it had";
    mirror.invalidateFrom(1);
    EXPECT_FALSE(mirror.covers(4));
    mirror.refresh(array);
    EXPECT_EQ(mirror.keyAt(1), 25);
    EXPECT_EQ(mirror.keyAt(3), 40);

    array.removeAt(0, 1);
    mirror.invalidateFrom(0);
    mirror.refresh(array);
    ASSERT_TRUE(mirror.covers(3));
    EXPECT_EQ(mirror.keyAt(0), 25);
}

TEST_F(KeyTimeMirror, SpansHoldOnlyTimesClearOfTheirKeys)
{
    TfloatKeyframePtrArray array(false, 8);
    fill(array, {0.0f, 1.0f, 2.0f, 4.0f, 8.0f});
    TkeyTimeMirror<TfloatKeyframePtrSObj> mirror;
    mirror.refresh(array);
    ASSERT_TRUE(mirror.isOrdered());
    struct Tcase {
        double fProbe;
        bool fHeld;
        unsigned fSpan;
    };
    Tcase const cases[] = {
        {0.5, true, 0},   {1.5, true, 1},         {3.0, true, 2},         {7.99, true, 3},
        {-0.5, false, 0}, {8.5, false, 0},        {0.0, false, 0},        {8.0, false, 0},
        {2.0, false, 0},  {2.0 + 5e-6, false, 0}, {2.0 - 5e-6, false, 0}, {2.0 + 2e-5, true, 2},
    };
    for (Tcase const& c : cases) {
        for (unsigned hint : {0u, 1u, 2u, 3u, 4u, 99u}) {  // every hint gives the same answer
            unsigned span = 77;
            EXPECT_EQ(mirror.spanHolding(c.fProbe, hint, span), c.fHeld) << c.fProbe << " hint " << hint;
            if (c.fHeld) {
                EXPECT_EQ(span, c.fSpan) << c.fProbe << " hint " << hint;
            }
        }
    }
}

TEST_F(KeyTimeMirror, KeysOutOfOrderAreNeverAnsweredBySpan)
{
    TanimTimeKeyframePtrArray array(false, 8);
    fill(array, {0, 100, 200, 300});
    TkeyTimeMirror<TanimTimeKeyframePtrSObj> mirror;
    mirror.refresh(array);
    unsigned span = 0;
    EXPECT_TRUE(mirror.spanHolding(150, 0, span));
    ASSERT_TRUE(array.at(1)->setTime(TanimTime::fromTicks(250)));  // now after its successor
    mirror.invalidateFrom(1);
    mirror.refresh(array);
    EXPECT_FALSE(mirror.isOrdered());
    EXPECT_FALSE(mirror.spanHolding(150, 0, span));
    ASSERT_TRUE(array.at(1)->setTime(TanimTime::fromTicks(100)));
    mirror.invalidateFrom(1);
    mirror.refresh(array);
    EXPECT_TRUE(mirror.isOrdered()) << "order comes back with the keys";
    mirror.invalidateFrom(3);
    mirror.refresh(array);
    EXPECT_TRUE(mirror.isOrdered()) << "refreshing an ordered tail keeps the order known";
}

TEST_F(KeyTimeMirror, AnEmptySlotIsNeverCovered)
{
    TanimTimeKeyframePtrArray array(false, 8);
    array.insert(key(10));
    array.addLastUnsorted(nullptr);
    TkeyTimeMirror<TanimTimeKeyframePtrSObj> mirror;
    EXPECT_FALSE(mirror.refresh(array)) << "the array's own search stops at an empty slot";
    EXPECT_FALSE(mirror.covers(array.count()));
}

}  // namespace
