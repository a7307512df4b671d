#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

constexpr float kExactTangent = 1e-6f;

using Tkeys = std::vector<std::pair<float, double>>;

struct Tangents {
    float fInX, fInY, fOutX, fOutY;
};

Tangents tangentsOf(TparamCurve const& curve, unsigned index)
{
    Tangents t{};
    curve.keyframe(index)->getTanIn(t.fInX, t.fInY);
    curve.keyframe(index)->getTanOut(t.fOutX, t.fOutY);
    return t;
}

// A curve of keys at (time, value) with one tangent type on both sides;
// weighted curves keep tangent lengths, so vectors compare exactly.
std::unique_ptr<TparamCurve> typedCurve(bool weighted, Tkeys const& keys, TtangentType type,
                                        TparamCurve::ThostHooks const* hooks = nullptr)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    if (hooks != nullptr) {
        curve->setHostHooks(*hooks, true);
    }
    for (auto const& [t, v] : keys) {
        curve->add(Tkeyframe(t, v, type, type));
    }
    return curve;
}

TEST(TangentRules, EachRuleGivesItsTangentsAndKeepsItsType)
{
    Tkeys const lone = {{1.0f, 5.0}};
    Tkeys const pair = {{0.0f, 0.0}, {1.0f, 2.0}};
    Tkeys const riseFall = {{0.0f, 0.0}, {1.0f, 2.0}, {3.0f, 1.0}};
    Tkeys const falling = {{0.0f, 5.0}, {1.0f, 2.0}, {3.0f, -1.0}};
    Tkeys const rising = {{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 3.0}};
    Tkeys const peak = {{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 0.0}};
    Tkeys const line = {{0.0f, 0.0}, {1.0f, 1.0}, {3.0f, 3.0}};
    Tkeys const nearEqual = {{0.0f, 1.0}, {1.0f, 1.04}, {2.0f, 3.0}};
    Tkeys const longSpan = {{0.0f, 0.0}, {2.0f, 1.0}};
    struct Case {
        TtangentType fType;
        Tkeys const& fKeys;
        unsigned fIndex;
        Tangents fWant;
        char const* fWhat;
    };
    Case const cases[] = {
        {kTangentLinear, lone, 0, {1, 0, 1, 0}, "lone linear key"},
        {kTangentLinear, riseFall, 1, {1, 2, 2, -1}, "linear points at the neighbours"},
        {kTangentLinear, riseFall, 0, {1, 0, 1, 2}, "first linear key"},
        {kTangentFlat, lone, 0, {0, 0, 0, 0}, "lone flat key"},
        {kTangentFlat, riseFall, 1, {1, 0, 2, 0}, "flat keeps the span lengths"},
        {kTangentFlat, riseFall, 0, {1, 0, 1, 0}, "first flat key takes its only side's length"},
        {kTangentStep, pair, 0, {0, 0, 0, 0}, "step"},
        {kTangentStepNext, pair, 1, {0, 0, 0, 0}, "step next"},
        {kTangentSlow, falling, 1, {1, 0.5772f, 2, 2 * 0.5772f}, "slow rises on a falling curve"},
        {kTangentSlow, falling, 0, {1, 0.5772f, 1, 0.5772f}, "one neighbour: both sides use its candidate"},
        {kTangentFast, longSpan, 1, {2, 2 * 1.732f, 2, 2 * 1.732f}, "fast end key"},
        {kTangentAuto, rising, 1, {1, 1.5f, 1, 1.5f}, "auto: sIn 3, sOut 6, chord 1.5"},
        {kTangentAuto, peak, 1, {1, 0, 1, 0}, "auto where the signs differ: flat"},
        {kTangentAuto, peak, 0, {1, 0, 1, 0}, "an auto end key is flat"},
        {kTangentSpline, line, 1, {1, 1, 2, 2}, "weighted spline: each side as long as its span"},
        {kTangentSmooth, line, 1, {1, 1, 2, 2}, "old smooth has spline tangents"},
        {kTangentClamped, nearEqual, 1, {1, 0, 1, 0}, "clamped within 0.05 of the previous value: flat"},
        {kTangentClamped, line, 1, {1, 1, 2, 2}, "clamped far from both: spline"},
    };
    for (Case const& c : cases) {
        auto const curve = typedCurve(true, c.fKeys, c.fType);
        Tangents const got = tangentsOf(*curve, c.fIndex);
        EXPECT_NEAR(got.fInX, c.fWant.fInX, kExactTangent) << c.fWhat;
        EXPECT_NEAR(got.fInY, c.fWant.fInY, kExactTangent) << c.fWhat;
        EXPECT_NEAR(got.fOutX, c.fWant.fOutX, kExactTangent) << c.fWhat;
        EXPECT_NEAR(got.fOutY, c.fWant.fOutY, kExactTangent) << c.fWhat;
        EXPECT_EQ(curve->keyframe(c.fIndex)->storedTanInType(), c.fType) << c.fWhat;
        EXPECT_EQ(curve->keyframe(c.fIndex)->storedTanOutType(), c.fType) << c.fWhat;
    }
}

TEST(TangentRules, SplineOnHermiteSpansIsAUnitChordOrNearVertical)
{
    Tangents const h = tangentsOf(*typedCurve(false, {{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 3.0}}, kTangentSpline), 1);
    EXPECT_NEAR(h.fInY / h.fInX, 1.5, 1e-6) << "the chord slope";
    EXPECT_NEAR(h.fInX * h.fInX + h.fInY * h.fInY, 1.0, 1e-6) << "Hermite tangents are unit vectors";
    auto close = typedCurve(false, {{1.0f, 0.0}, {1.00002f, 1.0}, {1.00004f, 3.0}}, kTangentSpline);
    Tangents const v = tangentsOf(*close, 1);
    EXPECT_EQ(v.fInX, 1e-5f) << "neighbours closer than 1e-4 s: vertical, keeping the smallest forward step";
    EXPECT_EQ(v.fInY, 1.0f);
}

TEST(TangentRules, ClampedThresholdsFollowTheHostScaleAndOldClampedEachNeighbour)
{
    Tkeys const nearEqual = {{0.0f, 1.0}, {1.0f, 1.04}, {2.0f, 3.0}};
    TparamCurve::ThostHooks hooks;
    hooks.fNormalisationScale = [](void*, TparamCurve const*) { return 10.0; };
    auto scaled = typedCurve(true, nearEqual, kTangentClamped, &hooks);
    EXPECT_GT(tangentsOf(*scaled, 1).fInY, 0.0f) << "a scale of 10 shrinks the threshold: 0.04 is far enough";
    Tangents const old = tangentsOf(*typedCurve(true, nearEqual, kTangentOldClamped), 1);
    EXPECT_EQ(old.fInY, 0.0f) << "old clamped: flat toward the near value";
    EXPECT_GT(old.fOutY, 0.0f) << "smooth toward the far one";
}

TEST(TangentRules, PlateauFlattensEndsExtremesAndOvershoot)
{
    auto curve = typedCurve(true, {{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 3.0}, {3.0f, 1.0}, {4.0f, 5.0}}, kTangentPlateau);
    EXPECT_EQ(tangentsOf(*curve, 0).fOutY, 0.0f) << "first key";
    EXPECT_EQ(tangentsOf(*curve, 4).fInY, 0.0f) << "last key";
    EXPECT_EQ(tangentsOf(*curve, 2).fInY, 0.0f) << "a peak";
    EXPECT_EQ(tangentsOf(*curve, 3).fInY, 0.0f) << "a valley";
    EXPECT_GT(tangentsOf(*curve, 1).fOutY, 0.0f) << "between a lower and a higher neighbour without overshoot";
}

TEST(TangentRules, BlockingModeStepsTickKeys)
{
    Tkeyframe::fsOverrideTangentsForBlockingMode = true;
    auto curve = std::make_unique<TparamCurve>(false);
    curve->add(Tkeyframe(TanimTime::fromTicks(0), 0.0, kTangentLinear, kTangentLinear));
    curve->add(Tkeyframe(TanimTime::fromTicks(6000), 2.0, kTangentLinear, kTangentLinear));
    Tkeyframe::fsOverrideTangentsForBlockingMode = false;
    EXPECT_EQ(tangentsOf(*curve, 0).fOutX, 0.0f) << "the step rule ran";
    EXPECT_EQ(tangentsOf(*curve, 0).fOutY, 0.0f);
    curve->modifyTangents(0);
    EXPECT_GT(tangentsOf(*curve, 0).fOutY, 0.0f) << "linear again once the override is off";
}

TEST(TangentRules, ShouldBeFlatCorrectsBackwardTangents)
{
    Tkeyframe prev(0.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe next(2.0f, 2.0, kTangentFixed, kTangentFixed);
    Tkeyframe key(1.0f, 1.0, kTangentSpline, kTangentFixed);
    key.setTanIn(1.0f, -0.5f);  // points down while the curve rises
    key.setTanOut(1.0f, 0.7f);
    EXPECT_TRUE(T2dAnimCurve::shouldBeFlat(&prev, &key, &next));
    float x = 0, y = 0;
    key.getTanIn(x, y);
    EXPECT_EQ(y, 0.0f);
    key.getTanOut(x, y);
    EXPECT_EQ(y, 0.7f) << "the fixed side keeps its tangent";
    EXPECT_EQ(key.storedTanInType(), kTangentSpline);
    EXPECT_TRUE(T2dAnimCurve::shouldBeFlat(&prev, &key, &next)) << "a flat tangent on a rise still counts as wrong";
    key.getTanIn(x, y);
    EXPECT_EQ(y, 0.0f) << "and stays flat";
    EXPECT_FALSE(T2dAnimCurve::shouldBeFlat(nullptr, &key, nullptr));
    EXPECT_FALSE(T2dAnimCurve::shouldBeFlat(&prev, nullptr, &next));
}

TEST(TangentRules, TypesWithoutARuleLeaveTangentsAlone)
{
    auto curve = typedCurve(true, {{0.0f, 0.0}, {1.0f, 1.0}}, kTangentFixed);
    curve->keyframe(0)->setTanOut(2.0f, 9.0f);
    curve->setTangentType(0, static_cast<TtangentType>(40), static_cast<TtangentType>(40000));
    EXPECT_EQ(tangentsOf(*curve, 0).fOutY, 9.0f);
    EXPECT_FALSE(curve->setTangentType(5, kTangentFlat, kTangentFlat));
    EXPECT_FALSE(curve->setTangentType(0, kTangentFlat, 7));
    EXPECT_TRUE(curve->setTangentType(0, kTangentFlat, kPickOutTangentBit));
    EXPECT_EQ(tangentsOf(*curve, 0).fOutY, 0.0f);
    EXPECT_EQ(curve->keyframe(0)->storedTanInType(), 40) << "only the out side changed";
}

// A first key of the clamped family copies its out-tangent onto its in-side
// before its own out-rule runs, deliberately: with a different out-type its
// in-side follows the previous computation, not this one.
bool copiesStaleOutTangent(Tkeyframe const& key, bool first)
{
    TtangentType const in = key.storedTanInType();
    bool const clampedFamily = in == kTangentOldClamped || in == kTangentClamped || in == kTangentPlateau;
    return first && clampedFamily && key.storedTanOutType() != in;
}

// The dispatch runs the in-rule, then the out-rule, and stops.
TEST(TangentRules, ClampedFirstKeyCopiesTheOutTangentBeforeTheOutRuleRuns)
{
    TparamCurve curve(true);
    curve.setCurveFlag(TparamCurve::kWeightedBit, false);
    curve.add(Tkeyframe(0.0f, 0.0, kTangentClamped, kTangentSpline));
    Tangents const alone = tangentsOf(curve, 0);
    curve.add(Tkeyframe(1.0f, 1.0, kTangentSpline, kTangentSpline));
    Tangents const first = tangentsOf(curve, 0);
    EXPECT_EQ(first.fInX, alone.fOutX) << "the copy of the out-tangent as it was";
    EXPECT_EQ(first.fInY, alone.fOutY);
    EXPECT_GT(first.fOutY, 0.5f) << "the out-rule then ran towards the next key";
}

// The dispatcher is a static member: without a curve it runs the rules of an
// unweighted Hermite span.
TEST(TangentRules, DispatchWithoutACurve)
{
    Tkeyframe previous(0.0f, 0.0, kTangentFixed, kTangentFixed);
    Tkeyframe key(1.0f, 2.0, kTangentLinear, kTangentSpline);
    Tkeyframe next(3.0f, 2.0, kTangentFixed, kTangentFixed);
    T2dAnimCurve::calculateTangents(&previous, &key, &next, nullptr);
    float x = 0, y = 0;
    key.getTanIn(x, y);
    EXPECT_NEAR(y / x, 2.0, 1e-6) << "linear: towards the previous key";
    key.getTanOut(x, y);
    EXPECT_NEAR(y / x, 2.0 / 3.0, 1e-6) << "spline: the slope of the chord between the neighbours";
    T2dAnimCurve::calculateTangents(nullptr, nullptr, nullptr, nullptr);  // no key: nothing
}

// After any edit, every key whose type follows its neighbours holds what its
// rule gives: recomputing it changes nothing (but for the copy above).
TEST(TangentRecomputation, EveryEditLeavesEveryKeyAsItsRuleGives)
{
    TtangentType const types[] = {kTangentFixed,  kTangentLinear,  kTangentFlat,     kTangentSmooth,
                                  kTangentStep,   kTangentSlow,    kTangentFast,     kTangentOldClamped,
                                  kTangentSpline, kTangentClamped, kTangentStepNext, kTangentAuto};
    std::mt19937 random(23);
    auto anyType = [&] { return types[random() % std::size(types)]; };
    std::uniform_real_distribution<float> time(0.0f, 20.0f);
    std::uniform_real_distribution<double> value(-5.0, 5.0);
    for (int sequence = 0; sequence < 60; ++sequence) {
        TparamCurve curve(true);
        curve.setCurveFlag(TparamCurve::kWeightedBit, sequence % 2 == 0);
        for (int edit = 0; edit < 40; ++edit) {
            unsigned const n = curve.keyframeCount();
            unsigned const at = n > 0 ? unsigned(random() % n) : 0;
            switch (random() % 7) {
            case 0: curve.add(Tkeyframe(time(random), value(random), anyType(), anyType())); break;
            case 1: curve.insertKey(Tkeyframe(time(random), value(random), anyType(), anyType()), false); break;
            case 2: curve.remove(at); break;
            case 3: curve.setValue(at, value(random)); break;
            case 4: curve.setTangentType(at, anyType(), anyType()); break;
            case 5: {
                float const lo = at > 0 ? curve.seconds(at - 1) : -1.0f;
                float const hi = at + 1 < n ? curve.seconds(at + 1) : 21.0f;
                curve.setTime(at, TtimeValue(lo + (hi - lo) * 0.5f));
                break;
            }
            default: {
                TanimTimeArray times;
                TdoubleArray values;
                for (int k = 0; k < 3; ++k) {
                    times.addLast(TanimTime(time(random), kSeconds));
                    values.addLast(value(random));
                }
                curve.blockAdd(times, values, anyType(), anyType());
                break;
            }
            }
            TparamCurve recomputed(curve);
            for (unsigned i = 0; i < recomputed.keyframeCount(); ++i) {
                recomputed.modifyTangentHelper(i);
                Tangents const want = tangentsOf(recomputed, i);
                Tangents const got = tangentsOf(curve, i);
                if (!copiesStaleOutTangent(*curve.keyframe(i), i == 0)) {
                    ASSERT_EQ(got.fInX, want.fInX)
                        << "sequence " << sequence << " edit " << edit << " key " << i << " types "
                        << curve.keyframe(i)->storedTanInType() << "/" << curve.keyframe(i)->storedTanOutType()
                        << " of " << curve.keyframeCount();
                    ASSERT_EQ(got.fInY, want.fInY);
                }
                ASSERT_EQ(got.fOutX, want.fOutX);
                ASSERT_EQ(got.fOutY, want.fOutY);
                ASSERT_TRUE(std::isfinite(got.fInY) && std::isfinite(got.fOutY)) << "no NaN tangent";
            }
        }
    }
}

}  // namespace
