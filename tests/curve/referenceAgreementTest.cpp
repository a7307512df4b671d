// The benchmark's reference evaluator must compute what the engine computes,
// or the comparison would flatter one side.

#include "reference/referenceEvaluator.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr double kSameValue = 1e-9;

std::unique_ptr<TparamCurve> randomCurve(unsigned count, keelref::Tkind kind, TparamCurveEnums::TinfinityType post)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, kind == keelref::Tkind::kBezier);
    std::mt19937 random(count);
    std::uniform_real_distribution<float> value(-10.0f, 10.0f);
    std::uniform_real_distribution<float> weight(0.5f, 1.8f);
    TtangentType const type = kind == keelref::Tkind::kLinear ? kTangentLinear
                              : kind == keelref::Tkind::kStep ? kTangentStep
                                                              : kTangentFixed;
    for (unsigned i = 0; i < count; ++i) {
        Tkeyframe key(float(i), value(random), type, type);
        if (type == kTangentFixed) {
            float const slope = value(random) * 0.3f;
            bool const weighted = kind == keelref::Tkind::kBezier;
            key.setTanIn(weighted ? weight(random) : 1.0f, slope);
            key.setTanOut(weighted ? weight(random) : 1.0f, slope);
        }
        curve->add(key, false, type == kTangentFixed);
    }
    curve->setPostInfinityType(post);
    return curve;
}

TEST(ReferenceEvaluator, AgreesWithTheEngineOnBenchmarkCurves)
{
    struct Case {
        keelref::Tkind fKind;
        TparamCurveEnums::TinfinityType fPost;
    };
    Case const cases[] = {
        {keelref::Tkind::kHermite, TparamCurveEnums::kConstant},
        {keelref::Tkind::kBezier, TparamCurveEnums::kConstant},
        {keelref::Tkind::kLinear, TparamCurveEnums::kConstant},
        {keelref::Tkind::kStep, TparamCurveEnums::kConstant},
        {keelref::Tkind::kHermite, TparamCurveEnums::kCycle},
        {keelref::Tkind::kHermite, TparamCurveEnums::kCycleRelative},
        {keelref::Tkind::kHermite, TparamCurveEnums::kOscillate},
    };
    for (Case const& c : cases) {
        auto curve = randomCurve(64, c.fKind, c.fPost);
        keelref::Tcurve const reference = keelref::fromEngine(*curve, c.fKind);
        for (int i = 0; i < 64 * 24 * 3; ++i) {
            float const t = float(i) / 24.0f;
            ASSERT_NEAR(keelref::evaluate(reference, t), curve->evaluate(t), kSameValue)
                << "kind " << int(c.fKind) << " infinity " << c.fPost << " at " << t;
        }
    }
}

}  // namespace
