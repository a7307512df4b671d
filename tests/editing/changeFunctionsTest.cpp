// Change functions: the constant change and its time formats, falloff
// weights, lattice changes, and the moves that ask them key by key.

#include "editing/pickHelpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

namespace {

constexpr double kExact = 1e-12;
constexpr double kLattice = 1e-9;
constexpr double kTime = 2e-5;

std::unique_ptr<TparamCurve> tenKeys(bool floatTime)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    for (int i = 0; i < 10; ++i) {
        float const t = float(i) * 0.5f;
        double const v = std::sin(double(i));
        curve->add(floatTime ? Tkeyframe(t, v, kTangentFixed, kTangentFixed)
                             : Tkeyframe(TanimTime(t, kSeconds), v, kTangentFixed, kTangentFixed));
    }
    return curve;
}

TEST(ConstantChange, TimeFormats)
{
    TtimeValueChangeFn seconds(TtimeValue(0.5f), 2.0);
    EXPECT_TRUE(seconds.constantFn());
    EXPECT_TRUE(seconds.canProvide(TtimeValueChangeFn::kSecondsFormat));
    EXPECT_FALSE(seconds.canProvide(TtimeValueChangeFn::kTicksFormat)) << "seconds, no format required";
    EXPECT_EQ(seconds.requiredTimeFormat(), TtimeValueChangeFn::kAnyFormat);
    TparamCurve ticks(false);
    seconds.setRequiredTimeFormat(&ticks);
    EXPECT_TRUE(seconds.canProvide(TtimeValueChangeFn::kSecondsFormat)) << "a required format provides all";
    TtimeValue const change = seconds.timeChange(nullptr, nullptr);
    ASSERT_TRUE(change.isTicks());
    EXPECT_EQ(change.animTime().ticks(), 3000);
    seconds.setRequiredTimeFormat(TtimeValueChangeFn::kSecondsFormat);
    TtimeValue back = TtimeValue(TanimTime::fromTicks(1500));
    seconds.convertTimeToRequiredFmt(back);
    EXPECT_FALSE(back.isTicks());
    EXPECT_FLOAT_EQ(back.floatSeconds(), 0.25f);
    EXPECT_EQ(seconds.valueChange(nullptr), 2.0);
    EXPECT_TRUE(seconds.undo());
    EXPECT_TRUE(seconds.redo());
}

// Keys a, b, c at distances 0, 1, 2 (the largest), d without a distance.
TEST(Falloff, WeightsFollowTheDistance)
{
    auto curve = tenKeys(true);
    TkeyframeHandle a(curve.get(), 0u, false);
    TkeyframeHandle b(curve.get(), 1u, false);
    TkeyframeHandle c(curve.get(), 2u, false);
    TkeyframeHandle d(curve.get(), 3u, false);
    struct Tcase {
        TfalloffFn::TfalloffFnType fType;
        TkeyframeHandle const* fKey;
        double fWeight;  // of the change
    } const cases[] = {
        {TfalloffFn::kLinearFalloff, &a, 1.0},     {TfalloffFn::kLinearFalloff, &b, 0.5},
        {TfalloffFn::kLinearFalloff, &c, 0.0},     {TfalloffFn::kLinearFalloff, &d, 1.0},
        {TfalloffFn::kQuadraticFalloff, &b, 0.25}, {TfalloffFn::kQuadraticFalloff, &c, 0.0},
        {TfalloffFn::TfalloffFnType(7), &b, 1.0},  {TfalloffFn::kLinearFalloff, nullptr, 1.0},
    };
    for (Tcase const& k : cases) {
        TfalloffFn falloff;
        falloff.setTimeChange(TtimeValue(0.4f));
        falloff.setValueChange(4.0);
        falloff.setFalloffType(k.fType);
        falloff.addKeyframeDist(a.keyframe(), 0.0);
        falloff.addKeyframeDist(b.keyframe(), 1.0);
        falloff.addKeyframeDist(c.keyframe(), 2.0);
        falloff.addKeyframeDist(b.keyframe(), 0.1);           // the first distance stays
        falloff.addKeyframeDist(d.keyframe(), std::nan(""));  // ignored
        falloff.addKeyframeDist(nullptr, 9.0);                // ignored
        EXPECT_EQ(falloff.maxDistance(), 2.0);
        std::string const what = "type " + std::to_string(k.fType) + " key " + std::to_string(k.fKey != nullptr);
        EXPECT_NEAR(falloff.valueChange(k.fKey), 4.0 * k.fWeight, kExact) << what;
        EXPECT_NEAR(falloff.timeChange(k.fKey, nullptr).seconds(), 0.4 * k.fWeight, 1e-7) << what;
        EXPECT_FALSE(falloff.constantFn());
    }
    TfalloffFn flat;
    flat.setValueChange(3.0);
    flat.addKeyframeDist(a.keyframe(), 0.0);
    flat.addKeyframeDist(b.keyframe(), 0.0);
    EXPECT_EQ(flat.valueChange(&b), 3.0) << "with every distance 0 every key weighs 1";
    flat.setFalloffRng(TtimeValue(TanimTime::fromTicks(12000)), TtimeValue(0.5f));
    EXPECT_EQ(flat.rangeStart(), 0.5f);
    EXPECT_EQ(flat.rangeEnd(), 2.0f);
    TpickKeyDictionary const nothing;
    EXPECT_FALSE(curve->moveKeys(nothing, flat, TparamCurveEnums::kMoveBetweenNeighbours, false));
}

// A soft-selection drag: each key moves by the change times its weight.
TEST(Falloff, MovesFadeWithDistance)
{
    for (bool floatTime : {true, false}) {
        for (auto type : {TfalloffFn::kLinearFalloff, TfalloffFn::kQuadraticFalloff}) {
            auto curve = tenKeys(floatTime);
            auto const before = std::make_unique<TparamCurve>(*curve);
            TpickKeyDictionary picks;
            TfalloffFn falloff;
            falloff.setValueChange(1.0);
            falloff.setTimeChange(curve->isFloatCurve() ? TtimeValue(0.1f) : TtimeValue(TanimTime::fromTicks(600)));
            falloff.setFalloffType(type);
            for (unsigned i = 0; i < 10; ++i) {
                keeltest::addPick(picks, curve.get(), i, kPickKeyMask);
                falloff.addKeyframeDist(curve->keyframe(i), std::fabs(double(i) - 4.0));
            }
            curve->beginMoveKeys(picks);
            ASSERT_TRUE(curve->moveKeys(picks, falloff, TparamCurveEnums::kMoveBetweenNeighbours, false));
            curve->endMoveKeys();
            ASSERT_TRUE(keeltest::keysInOrder(*curve));
            for (unsigned i = 0; i < 10; ++i) {
                double const w = 1.0 - std::fabs(double(i) - 4.0) / 5.0;  // the largest distance is 5
                double const weight = type == TfalloffFn::kQuadraticFalloff ? w * w : w;
                EXPECT_NEAR(curve->value(i), before->value(i) + weight, 1e-6) << i;
                EXPECT_NEAR(curve->timeValue(i).seconds(), before->timeValue(i).seconds() + 0.1 * weight, kTime) << i;
            }
        }
    }
}

// A lattice over the ten keys: undeformed it moves nothing; with a control
// point raised the keys follow the deformation; undo and redo exchange the
// lattice with the one before.
TEST(Lattice, DeformsKeysAndUndoesTheLattice)
{
    auto curve = tenKeys(true);
    auto* lattice = new TsharedLatticeObject();
    lattice->ref();
    ASSERT_TRUE(lattice->setSDivisions(3));
    ASSERT_TRUE(lattice->setTDivisions(3));
    ASSERT_TRUE(lattice->setBoundingRect(TdblRect{0.0, -1.0, 4.5, 1.0}));
    EXPECT_EQ(lattice->dimensions(), 3);
    TlatticeFn deform;
    deform.setLatticeParams(lattice);
    TkeyframeHandlePtrArray handles;
    for (unsigned i = 0; i < 10; ++i) {
        handles.addLast(new TkeyframeHandle(curve.get(), i, false));
        deform.addOrigValue(curve->keyframe(i), curve->seconds(i), curve->value(i), 1.0);
    }
    for (TkeyframeHandle const* key : handles) {
        EXPECT_NEAR(deform.valueChange(key), 0.0, kLattice);
        EXPECT_NEAR(deform.timeChange(key, nullptr).seconds(), 0.0, kLattice);
    }
    ASSERT_TRUE(lattice->setLatticePair(1, 1, 0.5, 0.9));
    deform.setLatticeDirty();
    TtimeValueArray oldTimes;
    curve->beginMoveKeys(handles);
    ASSERT_TRUE(curve->moveKeys(handles, oldTimes, deform, TparamCurveEnums::kMoveBetweenNeighbours, false));
    curve->endMoveKeys();
    for (unsigned i = 0; i < 10; ++i) {
        // The middle column rises by the raised point's share: v moves by
        // 0.4 * B1(u) * B1(v) in lattice units, twice that in values.
        double const u = double(i) * 0.5 / 4.5;
        double const v = (std::sin(double(i)) + 1.0) / 2.0;
        double const rise = 0.4 * (2.0 * u * (1.0 - u)) * (2.0 * v * (1.0 - v)) * 2.0;
        EXPECT_NEAR(curve->value(i), std::sin(double(i)) + rise, 1e-6) << i;
    }
    EXPECT_TRUE(deform.undo());
    EXPECT_EQ(lattice->latticePoints()[4].fY, 0.5) << "undo put the lattice before back";
    EXPECT_TRUE(deform.redo());
    EXPECT_EQ(lattice->latticePoints()[4].fY, 0.9) << "and redo the later one";
    for (TkeyframeHandle* key : handles) {
        delete key;
    }
    lattice->unref();
}

TEST(Lattice, BadInputIsRefused)
{
    auto* lattice = new TsharedLatticeObject();
    lattice->ref();
    EXPECT_FALSE(lattice->setSDivisions(1));
    EXPECT_FALSE(lattice->setLatticePair(2, 0, 0.0, 0.0));
    EXPECT_FALSE(lattice->setLatticePair(0, 0, std::nan(""), 0.0));
    EXPECT_FALSE(lattice->setBoundingRect(TdblRect{1.0, 0.0, 0.0, 1.0}));
    EXPECT_FALSE(lattice->setEnvelope(-1.0f));
    EXPECT_EQ(lattice->dimensions(), 0) << "the empty rectangle";
    double x = 3.0;
    double y = -2.0;
    lattice->convertToLatticeSpace(x, y);
    lattice->convertToWorldSpace(x, y);
    EXPECT_EQ(x, 3.0) << "a flat rectangle maps without dividing by nothing";
    EXPECT_EQ(y, -2.0);

    TlatticeFn deform;
    TtimeValue time;
    double value = 0.0;
    EXPECT_FALSE(deform.deform(nullptr, time, value));
    EXPECT_FALSE(deform.undo()) << "no lattice yet";
    auto curve = tenKeys(true);
    TkeyframeHandle key(curve.get(), 0u, false);
    EXPECT_FALSE(deform.addOrigValue(nullptr, 0.0f, 0.0, 1.0));
    EXPECT_FALSE(deform.addOrigValue(key.keyframe(), 0.0f, std::nan(""), 1.0));
    deform.setLatticeParams(lattice);
    EXPECT_FALSE(deform.deform(&key, time, value)) << "no undeformed value for the key";
    EXPECT_EQ(deform.valueChange(&key), 0.0) << "falls back on the constant change";
    lattice->unref();
}

}  // namespace
