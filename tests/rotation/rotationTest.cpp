// Rotation triples evaluated as one rotation: keys hit exactly, spans by
// each mode, the shorter arc, infinity zones that keep turning, the Euler
// cache following edits, undo of the mode, and triples that are incomplete.

#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <string>

namespace {

constexpr double kPi = std::numbers::pi;
// Keys store w in single precision.
constexpr double kStored = 1e-6;
// Angles between neighbouring evaluations of a smooth rotation.
constexpr double kContinuity = 0.05;

struct Ttriple {
    std::unique_ptr<TparamCurve> fX = std::make_unique<TparamCurve>(true);
    std::unique_ptr<TparamCurve> fY = std::make_unique<TparamCurve>(true);
    std::unique_ptr<TparamCurve> fZ = std::make_unique<TparamCurve>(true);
    TrotationTriple fLink{*fX, *fY, *fZ};

    // Keys about Z at (seconds, degrees), in the given mode.
    Ttriple(std::initializer_list<std::pair<float, double>> keys, TparamCurveEnums::TrotationInterpolation mode,
            TtangentType type = kTangentSpline)
    {
        for (auto const& [t, degrees] : keys) {
            fLink.setKey(TtimeValue(t), TrotateXYZ{0.0, 0.0, degrees * kPi / 180.0}, type, type);
        }
        fLink.setRotationInterpolation(mode);
    }
    double zDegrees(float t) { return fZ->evaluate(t) * 180.0 / kPi; }
};

void expectSameRotation(Tquaternion const& a, Tquaternion const& b, double tolerance, std::string const& what)
{
    EXPECT_NEAR(std::fabs(a.dot(b)), 1.0, tolerance) << what;
}

TEST(RotationTriple, KeysAreHitExactly)
{
    Ttriple triple({{0.0f, 10.0}, {1.0f, 100.0}, {2.5f, -40.0}}, TparamCurveEnums::kQuaternionCubic);
    for (unsigned i = 0; i < 3; ++i) {
        TtimeValue const time = triple.fX->timeValue(i);
        expectSameRotation(triple.fX->evaluateQuaternion(time), triple.fLink.keyRotation(i), kStored, "key");
    }
    EXPECT_NEAR(triple.zDegrees(1.0f), 100.0, 1e-4);
    EXPECT_NEAR(triple.zDegrees(2.5f), -40.0, 1e-4);
    EXPECT_NEAR(triple.fX->evaluate(1.0f), 0.0, 1e-6) << "the X channel answers its angle, not its stored value";
}

// Between keys: slerp in mode 4, the cubic through the neighbours in mode 5,
// and in mode 3 as the span's first key's tangents ask.
TEST(RotationTriple, SpansFollowTheMode)
{
    struct Tcase {
        char const* fName;
        TparamCurveEnums::TrotationInterpolation fMode;
        TtangentType fType;
        bool fCubic;
        bool fHeld;
    };
    Tcase const cases[] = {
        {"slerp", TparamCurveEnums::kQuaternionSlerp, kTangentSpline, false, false},
        {"cubic", TparamCurveEnums::kQuaternionCubic, kTangentLinear, true, false},
        {"tangent dependent, spline", TparamCurveEnums::kQuaternionTangentDependent, kTangentSpline, true, false},
        {"tangent dependent, linear", TparamCurveEnums::kQuaternionTangentDependent, kTangentLinear, false, false},
        {"tangent dependent, stepped", TparamCurveEnums::kQuaternionTangentDependent, kTangentStep, false, true},
    };
    for (Tcase const& c : cases) {
        Ttriple triple({{0.0f, 0.0}, {1.0f, 60.0}, {2.0f, 80.0}, {3.0f, 200.0}}, c.fMode, c.fType);
        Tquaternion const q[4] = {triple.fLink.keyRotation(0), triple.fLink.keyRotation(1), triple.fLink.keyRotation(2),
                                  triple.fLink.keyRotation(3)};
        for (double f : {0.25, 0.5, 0.8}) {
            Tquaternion expected = slerp(q[1], q[2], f);
            if (c.fCubic) {
                expected = bezier(q[1], bezierPt(q[0], q[1], q[2], true), bezierPt(q[1], q[2], q[3], false), q[2], f);
            } else if (c.fHeld) {
                expected = q[1];
            }
            expectSameRotation(triple.fX->evaluateQuaternion(TtimeValue(float(1.0 + f))), expected, kStored, c.fName);
        }
    }
}

// A span keyed more than half a turn apart turns the shorter way round, and
// a key stored with the opposite sign is the same rotation.
TEST(RotationTriple, TakesTheShorterArc)
{
    Ttriple triple({{0.0f, 0.0}, {1.0f, 270.0}}, TparamCurveEnums::kQuaternionSlerp);
    EXPECT_NEAR(triple.zDegrees(0.5f), -45.0, 1e-3);
    Ttriple negated({{0.0f, 0.0}, {1.0f, 270.0}}, TparamCurveEnums::kQuaternionSlerp);
    negated.fLink.setKey(TtimeValue(1.0f), negated.fLink.keyRotation(1).negated(), kTangentSpline, kTangentSpline);
    EXPECT_NEAR(negated.zDegrees(0.5f), -45.0, 1e-3);
}

struct TinfinityCase {
    char const* fName;
    TparamCurveEnums::TinfinityType fType;
    float fTime;
    double fDegrees;
};

// Keys turning 0 to 90 degrees about Z over one second, repeated beyond the
// keys: a relative cycle keeps turning, and the angle never jumps back by a
// whole turn.
TEST(RotationTriple, InfinityZonesKeepTurning)
{
    TinfinityCase const cases[] = {
        {"constant after", TparamCurveEnums::kConstant, 3.0f, 90.0},
        {"constant before", TparamCurveEnums::kConstant, -2.0f, 0.0},
        {"cycle", TparamCurveEnums::kCycle, 2.5f, 45.0},
        {"relative cycle", TparamCurveEnums::kCycleRelative, 2.5f, 225.0},
        {"relative cycle, four turns on", TparamCurveEnums::kCycleRelative, 4.5f, 405.0},
        {"relative cycle before", TparamCurveEnums::kCycleRelative, -0.5f, -45.0},
        {"oscillate", TparamCurveEnums::kOscillate, 1.25f, 67.5},
        {"linear", TparamCurveEnums::kLinear, 1.5f, 135.0},
    };
    for (TinfinityCase const& c : cases) {
        Ttriple triple({{0.0f, 0.0}, {1.0f, 90.0}}, TparamCurveEnums::kQuaternionSlerp);
        triple.fX->setPreInfinityType(c.fType);
        triple.fX->setPostInfinityType(c.fType);
        EXPECT_NEAR(triple.zDegrees(c.fTime), c.fDegrees, 1e-3) << c.fName;
        double previous = triple.zDegrees(-3.0f);
        for (float t = -3.0f; t < 6.0f; t += 0.01f) {
            double const now = triple.zDegrees(t);
            ASSERT_TRUE(std::isfinite(now)) << c.fName;
            if (c.fType != TparamCurveEnums::kCycle) {
                EXPECT_LT(std::fabs(now - previous), kContinuity * 180.0) << c.fName << " at " << t;
            }
            previous = now;
        }
    }
}

// Every edit of a channel drops the samples; the next evaluation rebuilds
// them and answers the edited rotation.
TEST(RotationTriple, EulerCacheFollowsEdits)
{
    Ttriple triple({{0.0f, 0.0}, {1.0f, 90.0}, {2.0f, 120.0}}, TparamCurveEnums::kQuaternionSlerp);
    EXPECT_NEAR(triple.zDegrees(0.5f), 45.0, 1e-3);
    ASSERT_NE(triple.fZ->keyframe(0)->eulerSampleCache(), nullptr);
    float t0 = 0, t1 = 0;
    double low = 0, high = 0;
    ASSERT_TRUE(triple.fZ->boundingBox(0, t0, low, t1, high, false));
    EXPECT_NEAR(high * 180.0 / kPi, 90.0, 1e-3) << "the bounds of the angles, from the samples";
    triple.fLink.setKey(TtimeValue(1.0f), TrotateXYZ{0.0, 0.0, 30.0 * kPi / 180.0}, kTangentSpline, kTangentSpline);
    EXPECT_EQ(triple.fZ->keyframe(0)->eulerSampleCache(), nullptr);
    EXPECT_NEAR(triple.zDegrees(0.5f), 15.0, 1e-3);
    triple.fX->setValue(2u, 0.1);
    EXPECT_EQ(triple.fY->keyframe(0)->eulerSampleCache(), nullptr) << "an edit of X drops Y's samples too";
    EXPECT_TRUE(triple.fX->updateQuaternionEulerCache(false));
}

// The mode is undoable; a change outside a modification records nothing but
// still drops the cache.
TEST(RotationTriple, TheModeUndoes)
{
    Ttriple triple({{0.0f, 0.0}, {1.0f, 90.0}}, TparamCurveEnums::kQuaternionSlerp);
    triple.zDegrees(0.5f);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*triple.fZ);
    EXPECT_TRUE(triple.fZ->setRotationInterpolation(TparamCurveEnums::kEulerAngles));
    user.endParamCurveMod(*triple.fZ);
    ASSERT_EQ(user.step().length(), 1u);
    EXPECT_EQ(user.step().delta(0)->typeof(), TPCDrotationInterpolationTmeta);
    EXPECT_EQ(triple.fZ->keyframe(0)->eulerSampleCache(), nullptr);
    user.undoPC();
    EXPECT_EQ(triple.fZ->rotationInterpolation(), TparamCurveEnums::kQuaternionSlerp);
    EXPECT_NEAR(triple.zDegrees(0.5f), 45.0, 1e-3);
    user.redoPC();
    EXPECT_EQ(triple.fZ->rotationInterpolation(), TparamCurveEnums::kEulerAngles);
    EXPECT_FALSE(triple.fZ->setRotationInterpolation(TparamCurveEnums::TrotationInterpolation(9)));
}

// Moving a key of the triple moves it on all three curves, and undoes.
TEST(RotationTriple, QuaternionMovesAndSynchronising)
{
    Ttriple triple({{0.0f, 0.0}, {1.0f, 90.0}, {2.0f, 120.0}}, TparamCurveEnums::kQuaternionSlerp);
    std::string const before = keeltest::curveState(*triple.fZ);
    TparamCurveDeltaUser user;
    for (TparamCurve* curve : {triple.fX.get(), triple.fY.get(), triple.fZ.get()}) {
        user.beginParamCurveMod(*curve);
    }
    Tquaternion const turn = TrotateXYZ{0.5, 0.0, 0.0}.asQuaternion();
    EXPECT_TRUE(triple.fX->moveKeyframe(1, TtimeValue(1.5f), turn, TparamCurveEnums::kMoveBetweenNeighbours, true));
    for (TparamCurve* curve : {triple.fX.get(), triple.fY.get(), triple.fZ.get()}) {
        user.endParamCurveMod(*curve);
        EXPECT_EQ(curve->timeValue(1u).seconds(), 1.5);
    }
    expectSameRotation(triple.fLink.keyRotation(1), turn, kStored, "moved");
    user.undoPC();
    EXPECT_EQ(keeltest::curveState(*triple.fZ), before);

    // A key inserted on all three channels keeps the rotation where it goes.
    Tquaternion const at = triple.fZ->evaluateQuaternion(TtimeValue(0.5f));
    EXPECT_TRUE(triple.fZ->insert(TtimeValue(0.5f), false, true));
    EXPECT_EQ(triple.fX->keyframeCount(), 4u);
    expectSameRotation(triple.fLink.keyRotation(1), at, kStored, "inserted");

    auto a = keeltest::floatCurve({{0.0f, 0.0}, {2.0f, 1.0}});
    auto b = keeltest::floatCurve({{1.0f, 0.0}});
    TparamCurve* curves[2] = {a.get(), b.get()};
    EXPECT_TRUE(TparamCurve::syncroniseCurvesInTime(curves, 2));
    EXPECT_EQ(a->keyframeCount(), 3u);
    EXPECT_EQ(b->keyframeCount(), 3u);
}

// Incomplete triples answer the identity and the incomplete flag; channels
// then evaluate their own keys. Nothing answers NaN.
TEST(RotationTriple, IncompleteTriplesAndBadInput)
{
    auto lone = keeltest::floatCurve({{0.0f, 0.2}, {1.0f, 0.4}});
    lone->setCurveKind(3);
    lone->setRotationInterpolation(TparamCurveEnums::kQuaternionSlerp);
    bool incomplete = false;
    EXPECT_EQ(lone->evaluateQuaternion(TtimeValue(0.5f)), Tquaternion::identity);
    EXPECT_EQ(lone->evaluateQuaternionAsEulerComponent(TtimeValue(0.5f), &incomplete), 0.0);
    EXPECT_TRUE(incomplete);
    EXPECT_NEAR(lone->evaluate(0.5f), 0.3, 0.05) << "its own keys";

    Ttriple uneven({{0.0f, 0.0}, {1.0f, 90.0}}, TparamCurveEnums::kQuaternionSlerp);
    uneven.fY->add(Tkeyframe(0.5f, 0.0, kTangentSpline, kTangentSpline));
    uneven.fZ->evaluateQuaternionAsEulerComponent(TtimeValue(0.5f), &incomplete);
    EXPECT_TRUE(incomplete) << "keys out of step";
    EXPECT_FALSE(uneven.fZ->updateQuaternionEulerCache(false));

    for (auto type : {TparamCurveEnums::kCycleRelative, TparamCurveEnums::kOscillate, TparamCurveEnums::kLinear}) {
        Ttriple spinning({{0.0f, 0.0}, {1.0f, 90.0}}, TparamCurveEnums::kQuaternionSlerp);
        spinning.fX->setPostInfinityType(type);
        spinning.fX->setPreInfinityType(type);
        for (float t : {INFINITY, -INFINITY, 1e30f}) {
            EXPECT_TRUE(std::isfinite(spinning.fZ->evaluate(t))) << type << " at " << t;
        }
    }
    Ttriple close({{0.0f, 0.0}, {0.000004f, 90.0}, {1.0f, 100.0}}, TparamCurveEnums::kQuaternionCubic);
    for (float t : {-1.0f, 0.000002f, 0.5f, NAN, INFINITY}) {
        EXPECT_TRUE(std::isfinite(close.fZ->evaluate(t)) || std::isnan(t)) << t;
        Tquaternion const q = close.fX->evaluateQuaternion(TtimeValue(t));
        EXPECT_NEAR(q.length(), 1.0, kStored) << t;
    }
    EXPECT_FALSE(TparamCurve::findClosestKeyframe(nullptr, nullptr, nullptr, 0.0f, true, nullptr, nullptr, nullptr));
}

}  // namespace
