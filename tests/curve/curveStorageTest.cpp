#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

using keeltest::floatCurve;
using keeltest::tickCurve;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kFloatNaN = std::numeric_limits<float>::quiet_NaN();

using Tfound = std::pair<bool, unsigned>;

// Whether the curve has a key at the time, and the index it answers.
Tfound lookup(TparamCurve const& curve, TtimeValue const& time, bool stored = false)
{
    unsigned index = 99;
    bool const found = stored ? curve.findStoredTime(time, index) : curve.find(time, index);
    return {found, index};
}

Tkeyframe key(float seconds, double value, TtangentType type = kTangentFixed)
{
    return Tkeyframe(seconds, value, type, type);
}

Tkeyframe key(TanimTime time, double value)
{
    return Tkeyframe(time, value, kTangentFixed, kTangentFixed);
}

TEST(CurveConstruction, NewCurvesOfBothForms)
{
    for (bool floatTime : {true, false}) {
        TparamCurve curve(floatTime);
        EXPECT_EQ(curve.isAnimTimeCurve(), !floatTime);
        EXPECT_EQ(curve.keyframeCount(), 0u);
        EXPECT_TRUE(curve.isStatic());
        EXPECT_FALSE(curve.isWeighted()) << "the key-tangent preference says unweighted";
        EXPECT_EQ(curve.curveKind(), 1u);
        EXPECT_EQ(curve.preInfinityType(), TparamCurveEnums::kConstant);
        EXPECT_EQ(curve.keyframe(0), nullptr);
        EXPECT_EQ(curve.value(3), 0.0);
        EXPECT_FALSE(curve.breakdown(3));
    }
}

TEST(CurveConstruction, CopiesHoldFreshKeysWithoutSelection)
{
    auto source = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    source->keyframe(1)->setActive(TbitField32(kPickKeyMask), true);
    source->setPostInfinityType(TparamCurveEnums::kCycle);
    TparamCurve copy(*source);
    ASSERT_EQ(copy.keyframeCount(), 2u);
    EXPECT_NE(copy.keyframe(1), source->keyframe(1));
    EXPECT_EQ(copy.value(1), 2.0);
    EXPECT_EQ(copy.keyframe(1)->activeParts().word(), 0u);
    EXPECT_EQ(copy.postInfinityType(), TparamCurveEnums::kCycle);

    copy = *tickCurve({{6000, 5.0}});
    EXPECT_TRUE(copy.isAnimTimeCurve()) << "assignment takes the source's time form";
    EXPECT_EQ(copy.keyframeCount(), 1u);
    EXPECT_EQ(copy.timeValue(0u).animTime().ticks(), 6000);
}

TEST(CurveLookup, FloatToleranceTickExactnessAndTheClip)
{
    auto seconds = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    EXPECT_EQ(lookup(*seconds, TtimeValue(1.000004f)), Tfound(true, 1));
    EXPECT_EQ(lookup(*seconds, TtimeValue(1.0001f)), Tfound(false, 2));
    EXPECT_EQ(lookup(*seconds, TanimTime::fromTicks(12000)), Tfound(true, 2)) << "tick probes are converted";
    EXPECT_FALSE(lookup(*seconds, TtimeValue(kFloatNaN)).first);

    auto ticks = tickCurve({{-6000, -1.0}, {0, 0.0}, {6000, 1.0}});
    EXPECT_EQ(lookup(*ticks, TanimTime::fromTicks(0)), Tfound(true, 1));
    EXPECT_EQ(lookup(*ticks, TanimTime::fromTicks(1)), Tfound(false, 2));
    EXPECT_EQ(lookup(*ticks, TtimeValue(-1.0f)), Tfound(true, 0));
    TNLEData const clip(0, 12000, 0.5);  // clip time t shows at 12000 + 2t
    ticks->setNLEData(&clip);
    EXPECT_EQ(ticks->timeValue(2u).animTime().ticks(), 24000);
    EXPECT_FLOAT_EQ(ticks->seconds(2u), 4.0f);
    EXPECT_EQ(lookup(*ticks, TanimTime::fromTicks(24000)), Tfound(true, 2));
    EXPECT_EQ(lookup(*ticks, TanimTime::fromTicks(6000), true), Tfound(true, 2)) << "stored times skip the clip";
    ticks->setNLEData(nullptr);
}

TEST(CurveLookup, HiddenKeysAreSkippedWhenTheCurveHidesThem)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    curve->keyframe(1)->setHidden(true);
    curve->keyframe(2)->setHidden(true);
    EXPECT_EQ(curve->keyframeCount(), 4u) << "hiding is off";
    curve->setCurveFlag(TparamCurve::kHideKeysBit, true);
    EXPECT_EQ(curve->keyframeCount(), 2u);
    auto seek = [&curve](unsigned from, int direction) {
        Tkeyframe* found = curve->seekKey(from, direction);
        return std::make_pair(found, from);
    };
    EXPECT_EQ(seek(1, 1), std::make_pair(curve->keyframe(3), 3u));
    EXPECT_EQ(seek(2, -1), std::make_pair(curve->keyframe(0), 0u));
    EXPECT_EQ(seek(1, 0), std::make_pair(curve->keyframe(3), 3u)) << "the second visible key";
    EXPECT_EQ(seek(2, 0).first, nullptr);
    EXPECT_EQ(seek(50, -1).first, curve->keyframe(3)) << "from past the end, backwards";
}

TEST(CurveEdits, AddReplacesAtAnExistingTimeWhileInsertRefuses)
{
    TparamCurve curve(true);
    EXPECT_TRUE(curve.add(key(1.0f, 1.0)));
    Tkeyframe* original = curve.keyframe(0);
    EXPECT_TRUE(curve.add(key(1.000002f, 7.0, kTangentFlat), true));
    EXPECT_EQ(curve.keyframeCount(), 1u);
    EXPECT_EQ(curve.keyframe(0), original) << "the key object stays";
    EXPECT_EQ(curve.value(0), 7.0);
    EXPECT_EQ(curve.keyframe(0)->activeParts().word(), kPickKeyMask);
    EXPECT_FALSE(curve.add(key(TanimTime::fromTicks(5), 0.0))) << "a tick key on a float curve";

    TparamCurve ticks(false);
    EXPECT_TRUE(ticks.insert(key(TanimTime::fromTicks(100), 1.0), true, true));
    EXPECT_FALSE(ticks.insert(key(TanimTime::fromTicks(100), 2.0), true, false));
    auto* owned = new Tkeyframe(key(TanimTime::fromTicks(100), 3.0));
    EXPECT_FALSE(ticks.insert(owned, true));
    delete owned;  // refused: still ours
    auto* taken = new Tkeyframe(key(TanimTime::fromTicks(50), 3.0));
    EXPECT_TRUE(ticks.insert(taken, true));
    EXPECT_EQ(ticks.keyframe(0), taken);
    EXPECT_EQ(ticks.value(1), 1.0);
}

TEST(CurveEdits, InsertKeyPlacesOrReplaces)
{
    auto curve = floatCurve({{0.0f, 0.0}, {2.0f, 2.0}});
    EXPECT_TRUE(curve->insertKey(key(1.0f, 5.0), false));
    EXPECT_EQ(curve->value(1), 5.0);
    EXPECT_TRUE(curve->insertKey(key(1.0f, 6.0), false));
    EXPECT_EQ(curve->keyframeCount(), 3u);
    EXPECT_EQ(curve->value(1), 6.0);
    double const before = curve->evaluate(1.5f);
    EXPECT_TRUE(curve->insertKey(key(1.5f, 99.0), true));
    EXPECT_EQ(curve->keyframeCount(), 4u);
    EXPECT_DOUBLE_EQ(curve->value(2), before) << "a shape-preserving key takes the curve's value";
}

TEST(CurveEdits, PerKeySettersRefuseBadInputAndTrackTheStaticCondition)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 0.0}, {2.0f, 0.0}});
    EXPECT_TRUE(curve->isStatic());
    EXPECT_FALSE(curve->setValue(1, 0.0)) << "the stored value: nothing to do";
    EXPECT_FALSE(curve->setValue(7, 3.0));
    EXPECT_FALSE(curve->setValue(1, kNaN));
    EXPECT_TRUE(curve->isStatic());
    EXPECT_TRUE(curve->setValue(1, 3.0));
    EXPECT_FALSE(curve->isStatic());
    EXPECT_TRUE(curve->setValue(2, 4.0, 0.5f));
    EXPECT_EQ(curve->keyframe(2)->quatComponent(), 0.5f);
    EXPECT_FALSE(curve->setBreakdown(3, true));
}

// Equal values with humped tangents make a curve that is not static: it
// evaluates the hump its bounds report. Both conditions run on every edit
// that adds or replaces keys.
TEST(CurveEdits, HumpedTangentsOfEqualValuesAreNotStatic)
{
    using keeltest::buildCurve;
    auto humped = buildCurve(true, false, {{0, 1, 1, 1, 1, 3}, {1, 1, 1, -3, 1, 1}});
    EXPECT_FALSE(humped->isStatic());
    float t0 = 0, t1 = 0;
    double low = 0, high = 0;
    ASSERT_TRUE(humped->boundingBox(t0, low, t1, high, true));
    EXPECT_GT(high, 1.0);
    EXPECT_GT(humped->evaluate(0.5f), 1.0) << "the curve evaluates the hump its bounds report";
    auto replaced = buildCurve(true, false, {{0, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1}});
    ASSERT_TRUE(replaced->isStatic()) << "tangents whose y equals the value keep a curve static";
    Tkeyframe hump(1.0f, 1.0, kTangentFixed, kTangentFixed);
    hump.setTanIn(1, -2);
    hump.setTanOut(1, 1);
    EXPECT_TRUE(replaced->replaceKey(replaced->keyframe(1), hump));
    EXPECT_FALSE(replaced->isStatic()) << "replacing re-checks the tangents too";
    // Keys swapped in decide the condition anew, either way.
    TkeyframePtrList keys;
    keys.addLast(new Tkeyframe(0.0f, 1.0, kTangentFixed, kTangentFixed));
    keys.addLast(new Tkeyframe(1.0f, 2.0, kTangentFixed, kTangentFixed));
    auto fresh = std::make_unique<TparamCurve>(true);
    ASSERT_TRUE(fresh->isStatic());
    ASSERT_TRUE(fresh->swapKeyframes(keys));
    EXPECT_FALSE(fresh->isStatic()) << "a new curve's flag does not outlive its keys";
    EXPECT_NE(fresh->evaluate(0.5f), 1.0);
}

TEST(CurveEdits, SetTimeKeepsOrderOrReportsIt)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    EXPECT_TRUE(curve->setTime(1, TtimeValue(1.0f))) << "same time";
    EXPECT_TRUE(curve->setTime(1, TtimeValue(1.5f)));
    EXPECT_FLOAT_EQ(curve->seconds(1u), 1.5f);
    EXPECT_FALSE(curve->setTime(1, TanimTime::fromTicks(6000))) << "wrong form";
    EXPECT_FALSE(curve->setTime(1, TtimeValue(kFloatNaN)));
    EXPECT_FLOAT_EQ(curve->seconds(1u), 1.5f);
    EXPECT_FALSE(curve->setTime(1, TtimeValue(3.0f))) << "past the next key";
    EXPECT_FLOAT_EQ(curve->seconds(1u), 3.0f) << "the time stays written for the caller to mend";
    EXPECT_TRUE(curve->setKeyTime(curve->keyframe(1), TtimeValue(1.25f))) << "mended by the caller";
    EXPECT_LT(curve->seconds(1u), curve->seconds(2u));
    Tkeyframe stranger = key(1.25f, 0.0);
    EXPECT_FALSE(curve->setKeyTime(&stranger, TtimeValue(0.5f))) << "not a key of this curve";
}

TEST(CurveEdits, ReplaceKeyKeepsTheSlotAndTheOrder)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    Tkeyframe* middle = curve->keyframe(1);
    middle->setActive(TbitField32(kPickKeyMask), true);
    EXPECT_TRUE(curve->replaceKey(middle, key(1.5f, 9.0, kTangentFlat)));
    EXPECT_EQ(curve->keyframe(1), middle);
    EXPECT_EQ(curve->value(1), 9.0);
    EXPECT_EQ(middle->activeParts().word(), kPickKeyMask) << "selection stays with the slot";
    EXPECT_FALSE(curve->replaceKey(middle, key(5.0f, 9.0, kTangentFlat)));
    Tkeyframe stranger = key(1.5f, 0.0);
    EXPECT_FALSE(curve->replaceKey(&stranger, key(1.5f, 1.0)));
    EXPECT_FALSE(curve->replaceKey(nullptr, stranger));
}

TEST(CurveEdits, RemoveRemoveAllAndTakingRemovedKeysBack)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    EXPECT_FALSE(curve->remove(5));
    EXPECT_TRUE(curve->remove(0));
    EXPECT_EQ(curve->keyframeCount(), 1u);
    EXPECT_FALSE(curve->isStatic());
    EXPECT_TRUE(curve->remove(0));
    EXPECT_TRUE(curve->isStatic()) << "an emptied curve is static again";
    curve->add(key(0.0f, 1.0));
    curve->add(key(1.0f, 5.0));
    curve->removeAllKeys();
    EXPECT_EQ(curve->keyframeCount(), 0u);
    EXPECT_TRUE(curve->isStatic());

    auto ticks = tickCurve({{0, 0.0}, {100, 1.0}});
    auto* taken = new Tkeyframe(key(TanimTime::fromTicks(50), 0.5));
    EXPECT_TRUE(ticks->addRemovedKey(taken));
    EXPECT_EQ(ticks->keyframe(1), taken);
    auto* clash = new Tkeyframe(key(TanimTime::fromTicks(50), 0.7));
    EXPECT_FALSE(ticks->addRemovedKey(clash));
    delete clash;
    EXPECT_FALSE(ticks->addRemovedKey(nullptr));
}

TEST(CurveBlockAdd, MergesUnorderedBlocksAndLastPairWins)
{
    auto curve = tickCurve({{0, 10.0}, {600, 20.0}});
    TanimTimeArray times;
    TdoubleArray values;
    for (auto [t, v] :
         std::initializer_list<std::pair<int, double>>{{900, 1}, {-300, 2}, {300, 3}, {600, 4}, {900, 5}}) {
        times.addLast(TanimTime::fromTicks(t));
        values.addLast(v);
    }
    ASSERT_TRUE(curve->blockAdd(times, values, kTangentLinear, kTangentLinear));
    ASSERT_EQ(curve->keyframeCount(), 5u);
    double const expected[] = {2, 10, 3, 4, 5};
    int const expectedTicks[] = {-300, 0, 300, 600, 900};
    for (unsigned i = 0; i < 5; ++i) {
        EXPECT_EQ(curve->value(i), expected[i]) << i;
        EXPECT_EQ(curve->timeValue(i).animTime().ticks(), expectedTicks[i]);
    }
    EXPECT_EQ(curve->keyframe(0)->storedTanInType(), kTangentLinear);
    values.addLast(1.0);
    EXPECT_FALSE(curve->blockAdd(times, values, kTangentLinear, kTangentLinear)) << "lengths differ";
    double const nanValue = kNaN;
    TanimTime const one = TanimTime::fromTicks(1);
    EXPECT_FALSE(curve->blockAdd(&one, &nanValue, 1, kTangentLinear, kTangentLinear));
    EXPECT_FALSE(curve->blockAdd(&one, nullptr, 1, kTangentLinear, kTangentLinear));
    EXPECT_EQ(curve->keyframeCount(), 5u);
}

TEST(CurveBlockAdd, FloatCurvesTakeTickTimesAsSeconds)
{
    TparamCurve curve(true);
    std::mt19937 random(3);
    TanimTimeArray times;
    TdoubleArray values;
    for (int i = 0; i < 500; ++i) {
        times.addLast(TanimTime::fromTicks(int(random() % 100000)));
        values.addLast(double(i));
    }
    ASSERT_TRUE(curve.blockAdd(times, values, kTangentFixed, kTangentFixed));
    for (unsigned i = 1; i < curve.keyframeCount(); ++i) {
        ASSERT_LT(curve.seconds(i - 1), curve.seconds(i));
    }
    EXPECT_FALSE(curve.isStatic());
}

TEST(CurveInfinity, StoresKnownTypesAndMapsTheRestToConstant)
{
    TparamCurve curve(true);
    struct Case {
        int fRequested;
        TparamCurveEnums::TinfinityType fStored;
    };
    Case const cases[] = {{1, TparamCurveEnums::kLinear},        {3, TparamCurveEnums::kCycle},
                          {4, TparamCurveEnums::kCycleRelative}, {5, TparamCurveEnums::kOscillate},
                          {2, TparamCurveEnums::kConstant},      {6, TparamCurveEnums::kConstant},
                          {-1, TparamCurveEnums::kConstant}};
    for (Case const& c : cases) {
        EXPECT_TRUE(curve.setPreInfinityType(static_cast<TparamCurveEnums::TinfinityType>(c.fRequested)));
        EXPECT_EQ(curve.preInfinityType(), c.fStored) << c.fRequested;
        EXPECT_TRUE(curve.setPostInfinityType(static_cast<TparamCurveEnums::TinfinityType>(c.fRequested)));
        EXPECT_EQ(curve.postInfinityType(), c.fStored) << c.fRequested;
    }
}

TEST(CurveIndices, RecordedIndicesNestAndAnswerZeroWhenUnknown)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    Tkeyframe* last = curve->keyframe(2);
    EXPECT_FALSE(curve->hasRecordedKeyIndices());
    EXPECT_EQ(curve->recordedKeyIndex(last), 0u);
    curve->recordKeyIndices();
    curve->recordKeyIndices();
    curve->remove(0);
    EXPECT_EQ(curve->recordedKeyIndex(last), 2u) << "the snapshot, not the index now";
    Tkeyframe stranger;
    EXPECT_EQ(curve->recordedKeyIndex(&stranger), 0u);
    curve->deleteRecordedKeyIndices();
    EXPECT_TRUE(curve->hasRecordedKeyIndices()) << "inner level ended";
    curve->deleteRecordedKeyIndices();
    EXPECT_FALSE(curve->hasRecordedKeyIndices());
}

TEST(CurvePrinting, DebugOutputFormat)
{
    auto curve = floatCurve({{0.5f, 1.25}, {1.0f, -2.0}});
    TdebugStringOutput out;
    curve->debugOutput(out);
    char header[64];
    std::snprintf(header, sizeof header, "Param Curve %#x : 2 float keys",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(curve.get())));
    std::string const expected = std::string(header) + "\nindex: 0\t time: 0.500000\t value: 1.250000\n" +
                                 "index: 1\t time: 1.000000\t value: -2.000000\n";
    EXPECT_EQ(std::string(out.text().asChar()), expected);

    TparamCurve ticks(false);
    TdebugStringOutput tickOut;
    ticks.debugOutput(tickOut);
    EXPECT_NE(std::string(tickOut.text().asChar()).find(": 0 animTime keys"), std::string::npos);
}

TEST(CurveRotation, SiblingsComeFromTheHostHooks)
{
    TparamCurve x(true);
    TparamCurve y(true);
    TparamCurve z(true);
    TparamCurve* got[3] = {};
    EXPECT_FALSE(x.getSiblingRotationCurves(&got[0], &got[1], &got[2]));
    EXPECT_EQ(got[0], &x);
    EXPECT_EQ(got[1], nullptr);

    struct Triple {
        TparamCurve* fCurves[3];
    } triple{{&x, &y, &z}};
    TparamCurve::ThostHooks hooks;
    hooks.fOwner = &triple;
    hooks.fSiblingRotationCurves = [](void* owner, TparamCurve const*, TparamCurve** a, TparamCurve** b,
                                      TparamCurve** c) {
        auto* t = static_cast<Triple*>(owner);
        *a = t->fCurves[0];
        *b = t->fCurves[1];
        *c = t->fCurves[2];
        return true;
    };
    for (TparamCurve* c : triple.fCurves) {
        c->setCurveKind(3);
        c->setHostHooks(hooks, true);
        c->add(key(0.0f, 0.0));
        c->add(key(1.0f, 1.0));
    }
    EXPECT_TRUE(x.getSiblingRotationCurves(&got[0], &got[1], &got[2]));
    EXPECT_EQ(got[2], &z);
    EXPECT_TRUE(x.remove(0, nullptr, true));
    EXPECT_EQ(y.keyframeCount(), 1u) << "removal reaches every channel";
    EXPECT_EQ(z.keyframeCount(), 1u);
    EXPECT_TRUE(y.setPostInfinityType(TparamCurveEnums::kOscillate));
    EXPECT_EQ(x.postInfinityType(), TparamCurveEnums::kOscillate) << "rotation channels change together";
    EXPECT_EQ(z.postInfinityType(), TparamCurveEnums::kOscillate);
}

}  // namespace
