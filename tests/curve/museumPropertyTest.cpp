#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <string>

namespace {

// Values are double; tangents are stored in single precision, which bounds
// how exactly a split span reproduces the whole.
constexpr double kShapeTolerance = 2e-5;

// The times a property test samples: across the keys, into both infinities
// and far beyond them.
std::vector<float> sampleTimes()
{
    std::vector<float> times;
    for (int i = -60; i <= 200; ++i) {
        times.push_back(float(i) / 40.0f);
    }
    for (float far : {-1e6f, -12345.678f, 777.25f, 1e6f}) {
        times.push_back(far);
    }
    return times;
}

TEST(MuseumProperties, EvaluationIsFiniteEverywhere)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        for (float t : sampleTimes()) {
            ASSERT_TRUE(std::isfinite(curve->evaluate(t))) << exhibit.fName << " at " << t;
        }
        ASSERT_TRUE(std::isfinite(curve->evaluate(std::nanf("")))) << exhibit.fName;
    }
}

// Spans of these kinds cannot be split into two of their kind: a
// shape-preserving insertion keeps the curve's value at the new key only.
bool keepsOnlyTheValue(std::string const& name)
{
    static std::set<std::string> const unsplittable = {"sine spans", "parabolic spans", "log spans",
                                                       "smoothstep plug-in spans"};
    return unsplittable.contains(name);
}

TEST(MuseumProperties, ShapePreservingInsertionChangesNoValue)
{
    std::mt19937 random(17);
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        if (curve->keyframeCount() < 2) {
            continue;
        }
        double const first = curve->seconds(0u);
        double const last = curve->seconds(curve->keyframeCount() - 1);
        std::uniform_real_distribution<double> inside(first, last);
        for (int insertion = 0; insertion < 5; ++insertion) {
            auto const times = sampleTimes();
            std::vector<double> before;
            for (float t : times) {
                before.push_back(curve->evaluate(t));
            }
            float const at = float(inside(random));
            Tkeyframe const probe = curve->isFloatCurve()
                                        ? Tkeyframe(at, 0.0, kTangentSpline, kTangentSpline)
                                        : Tkeyframe(TanimTime(at, kSeconds), 0.0, kTangentSpline, kTangentSpline);
            unsigned index = 0;
            if (curve->find(probe.timeValue(), index)) {
                continue;
            }
            double const valueThere = curve->evaluate(at);
            ASSERT_TRUE(curve->insertKey(probe, true)) << exhibit.fName;
            if (keepsOnlyTheValue(exhibit.fName)) {
                ASSERT_NEAR(curve->evaluate(at), valueThere, kShapeTolerance) << exhibit.fName << " at " << at;
                break;
            }
            for (std::size_t i = 0; i < times.size(); ++i) {
                if (std::fabs(times[i]) > 100.0f) {
                    continue;  // linear infinities amplify float tangent rounding far out
                }
                double const scale = std::max(1.0, std::fabs(before[i]));
                ASSERT_NEAR(curve->evaluate(times[i]), before[i], kShapeTolerance * scale)
                    << exhibit.fName << ": key at " << at << ", sampled at " << times[i];
            }
        }
    }
}

TEST(MuseumProperties, CopiesEvaluateLikeTheirSource)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        TparamCurve copy(*curve);
        for (float t : sampleTimes()) {
            ASSERT_EQ(copy.evaluate(t), curve->evaluate(t)) << exhibit.fName << " at " << t;
        }
    }
}

}  // namespace

namespace {

// One random edit through the curve's own operations.
void randomEdit(TparamCurve& curve, std::mt19937& random)
{
    std::uniform_int_distribution<int> choice(0, 3);
    std::uniform_int_distribution<int> slot(-16, 40);  // keys on an eighth-second grid
    unsigned const count = curve.keyframeCountAll();
    std::uniform_int_distribution<unsigned> which(0, count == 0 ? 0 : count - 1);
    float const t = float(slot(random)) / 8.0f;
    switch (count == 0 ? 0 : choice(random)) {
    case 0: {
        TtimeValue const time = curve.isFloatCurve() ? TtimeValue(t) : TtimeValue(TanimTime(double(t), kSeconds));
        Tkeyframe key = curve.isFloatCurve() ? Tkeyframe(t, double(slot(random)), kTangentSpline, kTangentSpline)
                                             : Tkeyframe(time.animTime(), 0.5, kTangentAuto, kTangentFlat);
        curve.add(key);
        break;
    }
    case 1: curve.remove(which(random)); break;
    case 2: curve.setValue(which(random), double(slot(random)) * 0.25); break;
    default: {
        unsigned const i = which(random);
        TtimeValue const time = curve.isFloatCurve() ? TtimeValue(t) : TtimeValue(TanimTime(double(t), kSeconds));
        unsigned at = 0;
        if (!curve.find(time, at) && (at == i || at == i + 1)) {
            curve.setTime(i, time);  // stays between its neighbours
        }
        break;
    }
    }
}

}  // namespace

// Evaluation remembers spans, cubics and a copy of the key times; every edit
// must leave them telling the truth. A copy made after the edit has none of
// them, and is asked the same times in the same order.
TEST(MuseumProperties, EditsLeaveNoStaleEvaluationState)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<float> when(-3.0f, 6.0f);
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        for (int step = 0; step < 60; ++step) {
            std::vector<float> times(24);
            for (float& t : times) {
                t = when(random);
            }
            for (float t : times) {
                curve->evaluate(t);  // fills the caches before the edit
            }
            randomEdit(*curve, random);
            TparamCurve fresh(*curve);
            for (float t : times) {
                ASSERT_EQ(curve->evaluate(t), fresh.evaluate(t)) << exhibit.fName << ", step " << step << " at " << t;
            }
        }
    }
}

TEST(MuseumProperties, FlippingTheWeightingBitIsSeenByEvaluation)
{
    auto curve = keeltest::buildCurve(true, false, keeltest::weightedKeys());
    double const hermite = curve->evaluate(0.4f);
    curve->setCurveFlag(TparamCurve::kWeightedBit, true);
    TparamCurve fresh(*curve);
    EXPECT_EQ(curve->evaluate(0.4f), fresh.evaluate(0.4f));
    EXPECT_NE(curve->evaluate(0.4f), hermite) << "handles off the thirds shape a weighted span differently";
}
