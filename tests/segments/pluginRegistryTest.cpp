#include "smoothstepInterpolator.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

int sMade = 0;

void* makeHermite(bool floatInput, TpluginAnimCurveInterp const*)
{
    ++sMade;
    return new T2dHermite(floatInput);
}

void* usable()
{
    return &sMade;
}

TpluginAnimCurveInterp* add(char const* name, unsigned number, unsigned flags = 0, TpluginSecondFn check = &usable)
{
    return TpluginAnimCurveInterpDBase::add(name, TiffTag(number), flags, &makeHermite, check);
}

class PluginRegistry : public ::testing::Test {
protected:
    void TearDown() override { TpluginAnimCurveInterpDBase::removeAll(); }
};

TEST_F(PluginRegistry, NumbersAreUniqueAndRemovalIsByNumber)
{
    TpluginAnimCurveInterpDBase::removeAll();
    EXPECT_EQ(TpluginAnimCurveInterpDBase::find(20u), nullptr);
    EXPECT_EQ(TpluginAnimCurveInterpDBase::find(Tstring("a")), nullptr);
    EXPECT_EQ(TpluginAnimCurveInterpDBase::create(true, 20), nullptr);

    TpluginAnimCurveInterp* first = add("a", 20);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(add("b", 20), nullptr);
    EXPECT_EQ(TpluginAnimCurveInterpDBase::find(Tstring("a")), first);
    EXPECT_EQ(TpluginAnimCurveInterpDBase::find(TiffTag(20)), first);
    add("c", 21);
    TpluginAnimCurveInterpPtrArray listed;
    listed.addLast(nullptr);
    EXPECT_TRUE(TpluginAnimCurveInterpDBase::getAnimCurveInterpList(listed));
    ASSERT_EQ(listed.count(), 2u);
    EXPECT_EQ(listed[0], first) << "registration order";

    TpluginAnimCurveInterp stranger("other", TiffTag(20), 0, nullptr, nullptr);
    EXPECT_TRUE(TpluginAnimCurveInterpDBase::remove(&stranger));
    EXPECT_EQ(TpluginAnimCurveInterpDBase::find(20u), nullptr);
    EXPECT_FALSE(TpluginAnimCurveInterpDBase::remove(&stranger));
    EXPECT_FALSE(TpluginAnimCurveInterpDBase::remove(nullptr));
}

TEST_F(PluginRegistry, KindsWithoutASecondFunctionFallBackToHermite)
{
    add("broken", 22, 0, nullptr);
    sMade = 0;
    std::unique_ptr<T2dAnimCurve> segment(T2dAnimCurve::new2dAnimCurve(true, static_cast<TinterpolatorType>(22)));
    ASSERT_NE(segment, nullptr);
    EXPECT_EQ(segment->interpolatorType(), kInterpolatorHermite);
    EXPECT_EQ(sMade, 0) << "the create function was never called";
}

TEST_F(PluginRegistry, LockedTypesAreLeftAloneByTheRules)
{
    add("locked", 23, TpluginAnimCurveInterp::kTypeLocked);
    EXPECT_TRUE(Tkeyframe::isTangentTypeLocked(static_cast<TtangentType>(23)));
    EXPECT_FALSE(Tkeyframe::isTangentTypeLocked(static_cast<TtangentType>(24)));
    EXPECT_FALSE(Tkeyframe::isTangentTypeLocked(kTangentSpline));
}

TEST_F(PluginRegistry, ExampleSmoothstepKindDrivesSpans)
{
    ASSERT_TRUE(registerSmoothstepInterpolator());
    EXPECT_FALSE(registerSmoothstepInterpolator()) << "the number is taken";
    TparamCurve curve(true);
    curve.add(Tkeyframe(0.0f, 0.0, kTangentFixed, static_cast<TtangentType>(kSmoothstepKind)));
    curve.add(Tkeyframe(2.0f, 4.0, kTangentFixed, kTangentFixed));
    EXPECT_NEAR(curve.evaluate(1.0f), 2.0, 1e-12) << "smoothstep passes the middle at half height";
    EXPECT_NEAR(curve.evaluate(0.5f), 4.0 * (0.25 * 0.25 * 0.25 * (0.25 * (0.25 * 6 - 15) + 10)), 1e-12);
    ASSERT_NE(curve.interpolator(), nullptr);
    EXPECT_EQ(curve.interpolator()->interpolatorName(), "smoothstep");

    Tstring command;
    TprefKeyframe preference;
    preference.setInTangentType(static_cast<TtangentType>(kSmoothstepKind));
    preference.commandString(command);
    EXPECT_EQ(command, "keyTangent -global -inTangentType smoothstep -outTangentType spline -weightedTangents false;");
}

TEST_F(PluginRegistry, EvaluateAtKeyFlagLetsThePluginAnswerAtItsKeys)
{
    ASSERT_TRUE(registerSmoothstepInterpolator(true));
    TparamCurve curve(true);
    curve.add(Tkeyframe(0.0f, 1.0, kTangentFixed, static_cast<TtangentType>(kSmoothstepKind)));
    curve.add(Tkeyframe(1.0f, 3.0, kTangentFixed, kTangentFixed));
    double value = 0;
    EXPECT_TRUE(curve.evaluatedAtKey(0, 0.0f, value));
    EXPECT_EQ(value, 1.0);
    EXPECT_FALSE(curve.evaluatedAtKey(1, 1.0f, value)) << "not a plug-in key";
    EXPECT_FALSE(curve.evaluatedAtKey(9, 1.0f, value));
    // The last key starts no span: the plug-in answers over the span it ends.
    curve.setTangentType(1, kTangentFixed, static_cast<TtangentType>(kSmoothstepKind));
    value = 0;
    EXPECT_TRUE(curve.evaluatedAtKey(1, 1.0f, value));
    EXPECT_EQ(value, 3.0);
    TparamCurve lone(true);
    lone.add(Tkeyframe(0.0f, 1.0, kTangentFixed, static_cast<TtangentType>(kSmoothstepKind)));
    EXPECT_FALSE(lone.evaluatedAtKey(0, 0.0f, value)) << "a lone key gives the plug-in no span";
}

}  // namespace
