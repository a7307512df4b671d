#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kFloatInfinity = std::numeric_limits<float>::infinity();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Tvector = std::pair<float, float>;

Tvector tanIn(Tkeyframe const& key)
{
    Tvector t;
    key.getTanIn(t.first, t.second);
    return t;
}

Tvector tanOut(Tkeyframe const& key)
{
    Tvector t;
    key.getTanOut(t.first, t.second);
    return t;
}

TEST(KeyConstruction, DefaultsOfEveryForm)
{
    Tkeyframe const plain;
    EXPECT_EQ(plain.value(), 0.0);
    EXPECT_EQ(plain.seconds(), 0.0);
    EXPECT_FALSE(plain.isTickTime());
    EXPECT_EQ(plain.quatComponent(), 1.0f);
    EXPECT_EQ(plain.storedTanInType(), kTangentSpline) << "no preference: the global type is spline";
    EXPECT_EQ(plain.storedTanOutType(), kTangentSpline);
    EXPECT_FALSE(plain.locked());
    EXPECT_TRUE(plain.tangentsLocked());
    EXPECT_TRUE(plain.weightsLocked());
    EXPECT_EQ(plain.interpMethod(), Tkeyframe::kInterpSegment);
    EXPECT_EQ(plain.eulerSampleCache(), nullptr);

    Tkeyframe const secondsKey(2.5f, 3.0, kTangentFlat, kTangentGlobal);
    EXPECT_EQ(secondsKey.storedTanInType(), kTangentFlat);
    EXPECT_EQ(secondsKey.storedTanOutType(), kTangentSpline) << "the global type stands for itself";
    Tkeyframe const tickKey(TanimTime::fromTicks(9000), 1.0, kTangentLinear, kTangentLinear);
    EXPECT_TRUE(tickKey.isTickTime());
    EXPECT_EQ(tickKey.seconds(), 1.5);
    Tkeyframe const fromTicks(TtimeValue(TanimTime::fromTicks(-6000)), 4.0, kTangentFixed, kTangentFixed);
    EXPECT_TRUE(fromTicks.isTickTime());
    EXPECT_EQ(fromTicks.animTime().ticks(), -6000);
    EXPECT_FALSE(Tkeyframe(TtimeValue(0.25f), 4.0, kTangentFixed, kTangentFixed).isTickTime());

    EXPECT_EQ(Tkeyframe(1.0f, 2.0, 0.5, kTangentFixed, kTangentFixed).quatComponent(), 0.5f);
    EXPECT_TRUE(std::isinf(Tkeyframe(1.0f, 2.0, 1e300, kTangentFixed, kTangentFixed).quatComponent()))
        << "narrowed without clamping";
    Tkeyframe const timeOnly(TtimeValue(TanimTime::fromTicks(60)));
    EXPECT_EQ(timeOnly.quatComponent(), 0.0f) << "the time-only form starts its aux at 0";
    EXPECT_TRUE(timeOnly.isTickTime());
}

TEST(KeyClamping, TangentsNeverPointBackwardsAndSnap)
{
    Tkeyframe key;
    key.setTanIn(-2.0f, 5.0f);
    EXPECT_EQ(tanIn(key), Tvector(0.0f, 5.0f));
    key.setTanOut(3e-6f, -4e-6f);
    EXPECT_EQ(tanOut(key), Tvector(0.0f, 0.0f));
    key.setTanOut(-1.0f, 1.1e-5f);
    EXPECT_EQ(tanOut(key), Tvector(0.0f, 1.1e-5f)) << "the out-tangent obeys the same rule; past the tolerance is kept";
    key.setTanIn(kFloatInfinity, -kFloatInfinity);
    EXPECT_EQ(tanIn(key), Tvector(kFloatMax, -kFloatMax));
}

TEST(KeyClamping, ValuesTimesAndTheAuxiliaryComponent)
{
    struct Case {
        double fGiven;
        double fStoredValue;
        float fStoredAux;
    };
    Case const cases[] = {{5e-11, 0.0, 0.0f},
                          {-1e-9, -1e-9, -1e-9f},
                          {kInfinity, kDoubleMax, kFloatInfinity},
                          {-kInfinity, -kDoubleMax, -kFloatInfinity},
                          {1e300, 1e300, kFloatInfinity},
                          {3.25, 3.25, 3.25f}};
    for (Case const& c : cases) {
        Tkeyframe key;
        EXPECT_TRUE(key.setValue(c.fGiven));
        EXPECT_EQ(key.value(), c.fStoredValue) << c.fGiven;
        EXPECT_TRUE(key.setTimeAndValue(TtimeValue(1.0f), 2.0, c.fGiven));
        EXPECT_EQ(key.quatComponent(), c.fStoredAux) << c.fGiven;
        // Found by fuzzing: a key made with a component the setter snaps
        // could not be put back exactly by the undo of a move.
        Tkeyframe const made(TtimeValue(1.0f), 2.0, c.fGiven, kTangentFixed, kTangentFixed);
        EXPECT_EQ(made.quatComponent(), c.fStoredAux) << "made with " << c.fGiven;
    }
    Tkeyframe key;
    key.setTime(TtimeValue(4e-6f));
    EXPECT_EQ(key.seconds(), 0.0);
    key.setTime(TtimeValue(-2e-5f));
    EXPECT_FLOAT_EQ(float(key.seconds()), -2e-5f);
    key.setTime(kFloatInfinity);
    EXPECT_EQ(key.floatTime(), kFloatMax);
}

TEST(KeyRefusals, NaNNeverEntersAKey)
{
    Tkeyframe const constructed(kNaN, std::nan(""), kTangentFixed, kTangentFixed);
    EXPECT_EQ(constructed.seconds(), 0.0);
    EXPECT_EQ(constructed.value(), 0.0);
    EXPECT_EQ(Tkeyframe(1.0f, 1.0, std::nan(""), kTangentFixed, kTangentFixed).quatComponent(), 1.0f);

    Tkeyframe key(1.0f, 2.0, kTangentFixed, kTangentFixed);
    key.setTanIn(1.0f, 1.0f);
    EXPECT_FALSE(key.setValue(std::nan("")));
    EXPECT_FALSE(key.setTime(kNaN));
    EXPECT_FALSE(key.setTime(TtimeValue(kNaN)));
    EXPECT_FALSE(key.setTanIn(kNaN, 1.0f));
    EXPECT_FALSE(key.setTanOut(1.0f, kNaN));
    EXPECT_FALSE(key.setTimeAndValue(TtimeValue(3.0f), 1.0, std::nan("")));
    EXPECT_EQ(key.value(), 2.0);
    EXPECT_EQ(key.seconds(), 1.0);
    EXPECT_EQ(tanIn(key), Tvector(1.0f, 1.0f));
}

TEST(KeyTimeForms, SettersKeepTheTickBit)
{
    Tkeyframe key(TtimeValue(TanimTime::fromTicks(600)), 0.0, kTangentFixed, kTangentFixed);
    key.setTime(0.5f);
    EXPECT_TRUE(key.isTickTime()) << "setTime(float) does not touch bit 10";
    EXPECT_EQ(key.floatTime(), 0.5f);
    Tkeyframe secondsKey(0.0f, 0.0, kTangentFixed, kTangentFixed);
    secondsKey.setTime(TanimTime::fromTicks(6000));
    EXPECT_FALSE(secondsKey.isTickTime());
    EXPECT_EQ(secondsKey.animTime().ticks(), 6000);
}

TEST(KeyCopies, SelectionHiddenBitAndEulerCacheNeverTravel)
{
    Tkeyframe selected(1.0f, 5.0, kTangentFlat, kTangentStep);
    selected.setActive(TbitField32(kPickKeyMask), true);
    selected.setHidden(true);
    selected.setBreakdown(true);
    selected.setTanOut(1.0f, 2.0f);
    selected.setEulerSampleCache(new float[Tkeyframe::kEulerSamples]());  // the key owns it

    Tkeyframe target(7.0f, 0.0, kTangentFixed, kTangentFixed);
    target.setActive(TbitField32(kPickOutTangentMask), true);
    target = selected;
    EXPECT_EQ(target.value(), 5.0);
    EXPECT_EQ(target.seconds(), 1.0);
    EXPECT_EQ(target.storedTanOutType(), kTangentStep);
    EXPECT_TRUE(target.breakdown()) << "other flags travel";
    EXPECT_EQ(target.activeParts().word(), kPickOutTangentMask) << "the target keeps its own selection";
    EXPECT_FALSE(target.hidden());
    EXPECT_EQ(target.eulerSampleCache(), nullptr);

    Tkeyframe const copy(selected);
    EXPECT_EQ(copy.activeParts().word(), 0u);
    EXPECT_FALSE(copy.hidden());
    EXPECT_TRUE(copy.breakdown());
    EXPECT_EQ(tanOut(copy), Tvector(1.0f, 2.0f));
}

TEST(KeySelection, MergeRule)
{
    struct Case {
        std::uint32_t fBefore;
        std::uint32_t fAdded;
        std::uint32_t fAfter;
    };
    Case const cases[] = {
        {0, kPickKeyMask, kPickKeyMask},
        {kPickInTangentMask, kPickKeyMask, kPickKeyMask},
        {kPickKeyMask, kPickInTangentMask, kPickInTangentMask},  // a key pick plus a tangent is a tangent pick
        {kPickInTangentMask, kPickOutTangentMask, kPickInTangentMask | kPickOutTangentMask},
        {0, 0, 0},
    };
    for (Case const& c : cases) {
        Tkeyframe key;
        key.setActive(TbitField32(c.fBefore), true);
        key.setActive(TbitField32(c.fAdded), true);
        EXPECT_EQ(key.activeParts().word(), c.fAfter) << c.fBefore << " + " << c.fAdded;
    }
    Tkeyframe key;
    key.setActive(TbitField32(kPickInTangentMask | kPickOutTangentMask), true);
    key.setActive(TbitField32(kPickOutTangentMask | 0x100), false);
    EXPECT_EQ(key.activeParts().word(), kPickInTangentMask);
    EXPECT_FALSE(key.flags().isSet(8)) << "bits beyond the parts are untouched";
}

class KeyBlockingMode : public ::testing::Test {
protected:
    void TearDown() override
    {
        Tkeyframe::fsOverrideTangentsForBlockingMode = false;
        TglobalTranslatorBase::setWritingFileCondition(false);
    }
};

TEST_F(KeyBlockingMode, TickKeysReportSteppedTangentsExceptWhileWriting)
{
    Tkeyframe tickKey(TanimTime::fromTicks(0), 0.0, kTangentSpline, kTangentLinear);
    Tkeyframe secondsKey(0.0f, 0.0, kTangentSpline, kTangentLinear);
    Tkeyframe::fsOverrideTangentsForBlockingMode = true;
    EXPECT_EQ(tickKey.tanInType(), kTangentStep);
    EXPECT_EQ(tickKey.tanOutType(), kTangentStep);
    EXPECT_EQ(tickKey.interpMethod(), Tkeyframe::kInterpStep);
    EXPECT_EQ(secondsKey.tanOutType(), kTangentLinear) << "only tick keys are overridden";
    TglobalTranslatorBase::setWritingFileCondition(true);
    EXPECT_EQ(tickKey.tanInType(), kTangentSpline);
    EXPECT_EQ(tickKey.interpMethod(), Tkeyframe::kInterpSegment);
}

TEST(KeyTangentTypes, InterpolationMethodGlobalDefaultAndPlugInNumbers)
{
    Tkeyframe key(0.0f, 0.0, kTangentFlat, kTangentStepNext);
    EXPECT_EQ(key.interpMethod(), Tkeyframe::kInterpStepNext);
    key.setTanOutType(kTangentStep);
    EXPECT_EQ(key.interpMethod(), Tkeyframe::kInterpStep);
    key.setInterpMethod(Tkeyframe::kInterpLinear);
    EXPECT_EQ(key.interpMethod(), Tkeyframe::kInterpLinear) << "forced linear wins";
    key.setInterpMethod(Tkeyframe::kInterpStepNext);
    EXPECT_EQ(key.interpMethod(), Tkeyframe::kInterpStep) << "only method 1 is stored";

    key.setTanInType(kTangentGlobal);
    EXPECT_EQ(key.storedTanInType(), kTangentSpline) << "zero asks for the global default";
    EXPECT_EQ(key.storedTanOutType(), kTangentStep);
    key.setTanOutType(static_cast<TtangentType>(5000));
    EXPECT_EQ(key.storedTanOutType(), 5000) << "plug-in numbers are stored as given";
    EXPECT_FALSE(Tkeyframe::isTangentTypeLocked(kTangentFlat));
    EXPECT_FALSE(Tkeyframe::isTangentTypeLocked(static_cast<TtangentType>(70))) << "unknown plug-in type";
}

TEST(KeyOrder, ToleranceBoundaries)
{
    Tkeyframe const a(1.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe const near(1.000005f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe const far(1.00002f, 0.0, kTangentFixed, kTangentFixed);
    EXPECT_TRUE(a == near);
    EXPECT_FALSE(a < near);
    EXPECT_TRUE(a <= near);
    EXPECT_TRUE(a >= near);
    EXPECT_TRUE(a < far);
    EXPECT_TRUE(far > a);
    EXPECT_TRUE(a != far);
    EXPECT_TRUE(Tkeyframe(TanimTime::fromTicks(6000), 0.0, kTangentFixed, kTangentFixed) == a)
        << "tick and seconds keys compare by seconds";
}

TEST(KeyMemory, KeysLiveInArenaBlocksOrTheSystemAllocator)
{
    EXPECT_EQ(sizeof(Tkeyframe), 64u);
    bool const saved = TpureArena::sPurifyInUse;
    std::size_t const before = Tkeyframe::arena().blocksInUse();
    TpureArena::sPurifyInUse = false;
    auto* fromArena = new Tkeyframe(1.0f, 1.0, kTangentFixed, kTangentFixed);
    EXPECT_EQ(Tkeyframe::arena().blocksInUse(), before + 1);
    TpureArena::sPurifyInUse = true;
    auto* fromSystem = new Tkeyframe(2.0f, 2.0, kTangentFixed, kTangentFixed);
    EXPECT_EQ(Tkeyframe::arena().blocksInUse(), before + 1) << "bypassed";
    TpureArena::sPurifyInUse = false;
    // Each is released where it came from, whatever the switch says now.
    delete fromSystem;
    EXPECT_EQ(Tkeyframe::arena().blocksInUse(), before + 1);
    delete fromArena;
    EXPECT_EQ(Tkeyframe::arena().blocksInUse(), before);
    TpureArena::sPurifyInUse = saved;
}

TEST(NonLinearEditing, MapsThroughTheClipWithTiesToEven)
{
    struct Case {
        std::int32_t fSource;
        std::int32_t fDestination;
        double fScale;
        std::int32_t fTicks;
        std::int32_t fMapped;
    };
    Case const cases[] = {
        {0, 0, 1.0, 1234, 1234},
        {100, 1000, 1.0, 150, 1050},
        {0, 0, 2.0, 5, 2},  // 2.5 rounds to even
        {0, 0, 2.0, 7, 4},  // 3.5 rounds to even
        {0, 6000, 0.5, 3000, 12000},
        {0, 0, 0.0, 10, 2147483647},  // a zero scale saturates instead of dividing into infinity
        {0, 2147483647, 1.0, 10, 2147483647},
    };
    for (Case const& c : cases) {
        TNLEData const clip(c.fSource, c.fDestination, c.fScale);
        EXPECT_EQ(clip.toZeva(TanimTime::fromTicks(c.fTicks)).ticks(), c.fMapped) << c.fTicks;
    }
    TNLEData const clip(100, 1000, 0.5);
    EXPECT_EQ(clip.fromZeva(clip.toZeva(TanimTime::fromTicks(600))).ticks(), 600);
}

}  // namespace
