// The benchmark's reference evaluator must compute what the engine computes,
// or the comparison would flatter one side.

#include "support/museum.h"
#include "support/referenceEvaluator.h"

#include <gtest/gtest.h>

namespace {

constexpr double kSameValue = 1e-9;

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
        auto curve = keelref::benchCurve(64, c.fKind, 64);
        curve->setPostInfinityType(c.fPost);
        keelref::Tcurve const reference = keelref::fromEngine(*curve, c.fKind);
        for (int i = 0; i < 64 * 24 * 3; ++i) {
            float const t = float(i) / 24.0f;
            ASSERT_NEAR(keelref::evaluate(reference, t), curve->evaluate(t), kSameValue)
                << "kind " << int(c.fKind) << " infinity " << c.fPost << " at " << t;
        }
    }
}

}  // namespace
