// The curve file: what the engine holds survives writing and reading, and a
// written file is written again byte for byte.

#include "curveFile.h"
#include "toolRunner.h"

#include <gtest/gtest.h>

#include <cfloat>

namespace {

// Builds a curve from keys of one tangent type on both sides.
std::unique_ptr<TparamCurve> typedCurve(TtangentType type, bool weighted, bool ticks)
{
    auto curve = std::make_unique<TparamCurve>(!ticks);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    double const values[] = {0.1, -2.5e-7, 1e300, 3.0 / 7.0};
    for (int i = 0; i < 4; ++i) {
        float const seconds = 0.1f * float(i * i) + 1.0f / 3.0f;
        Tkeyframe key = ticks ? Tkeyframe(TanimTime(double(seconds), kSeconds), values[i], type, type)
                              : Tkeyframe(seconds, values[i], type, type);
        key.setTanIn(0.7f, -1.0f / 3.0f);
        key.setTanOut(1.25f, 1e-3f);
        key.setBreakdown(i == 1);
        key.setLocked(i == 2);
        curve->add(key, false, type == kTangentFixed);
    }
    return curve;
}

// A rotation triple in the cubic quaternion mode: x, y, z as the curves'
// values, w beside z.
void addRotation(TcurveSet& curves)
{
    TrotateXYZ const turns[] = {{0.0, 0.0, 0.0}, {0.3, -0.2, 2.9}, {1.1, 0.4, -2.5}};
    std::size_t const first = curves.size();
    for (char const* axis : {"x", "y", "z"}) {
        curves.push_back(TnamedCurve{std::string("turn/") + axis, std::nullopt, std::make_unique<TparamCurve>(true)});
    }
    for (std::size_t k = 0; k < std::size(turns); ++k) {
        Tquaternion const q = turns[k].asQuaternion();
        double const components[] = {q.x(), q.y(), q.z()};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            curves[first + axis].fCurve->add(
                Tkeyframe(float(k) / 3.0f, components[axis], axis == 2 ? q.w() : 1.0, kTangentSpline, kTangentSpline));
        }
    }
    TnamedCurve* const channels[3] = {&curves[first], &curves[first + 1], &curves[first + 2]};
    ASSERT_TRUE(linkRotation(channels, "turn", TparamCurveEnums::kQuaternionCubic));
}

TcurveSet everyKindOfCurve()
{
    TtangentType const types[] = {
        kTangentFixed, kTangentLinear,     kTangentFlat,   kTangentSmooth,  kTangentStep,     kTangentSlow,
        kTangentFast,  kTangentOldClamped, kTangentSpline, kTangentClamped, kTangentHermite,  kTangentBezier,
        kTangentSine,  kTangentParabolic,  kTangentLog,    kTangentPlateau, kTangentStepNext, kTangentAuto};
    TparamCurveEnums::TinfinityType const infinities[] = {TparamCurveEnums::kConstant, TparamCurveEnums::kLinear,
                                                          TparamCurveEnums::kCycle, TparamCurveEnums::kCycleRelative,
                                                          TparamCurveEnums::kOscillate};
    TcurveSet curves;
    int n = 0;
    for (TtangentType const type : types) {
        for (bool const ticks : {false, true}) {
            TnamedCurve named{tangentTypeWord(type) + std::string(ticks ? " ticks" : " seconds"), std::nullopt,
                              typedCurve(type, n % 3 == 0, ticks)};
            named.fCurve->setPreInfinityType(infinities[n % 5]);
            named.fCurve->setPostInfinityType(infinities[(n + 2) % 5]);
            if (n % 4 == 1) {
                named.fTarget = TcurveTarget{"take \"1\"", "Arm/ünïcode " + std::to_string(n), "translation", n % 3};
            }
            curves.push_back(std::move(named));
            ++n;
        }
    }
    curves.push_back(TnamedCurve{"empty", std::nullopt, std::make_unique<TparamCurve>(true)});
    addRotation(curves);
    return curves;
}

TEST(CurveFileTest, secondWriteIsByteIdentical)
{
    std::string const first = curvesToText(everyKindOfCurve());
    std::string const second = curvesToText(curvesFromText(first, "every.json"));
    EXPECT_EQ(first, second);
}

// Reading gives the engine's keys bit for bit, and the same values between
// them, for every tangent type.
TEST(CurveFileTest, readingRestoresKeysAndShape)
{
    TcurveSet const original = everyKindOfCurve();
    TcurveSet const read = curvesFromText(curvesToText(original), "every.json");
    ASSERT_EQ(read.size(), original.size());
    for (std::size_t c = 0; c < original.size(); ++c) {
        TparamCurve& a = *original[c].fCurve;
        TparamCurve& b = *read[c].fCurve;
        SCOPED_TRACE(original[c].fName);
        EXPECT_EQ(read[c].fTarget, original[c].fTarget);
        ASSERT_EQ(b.keyframeCountAll(), a.keyframeCountAll());
        EXPECT_EQ(b.isWeighted(), a.isWeighted());
        EXPECT_EQ(b.isAnimTimeCurve(), a.isAnimTimeCurve());
        EXPECT_EQ(b.isStatic(), a.isStatic());
        for (unsigned k = 0; k < a.keyframeCountAll(); ++k) {
            Tkeyframe const& ka = *a.keyframe(k);
            Tkeyframe const& kb = *b.keyframe(k);
            EXPECT_EQ(kb.seconds(), ka.seconds());
            EXPECT_EQ(kb.value(), ka.value());
            EXPECT_EQ(kb.storedTanInType(), ka.storedTanInType());
            EXPECT_EQ(kb.storedTanOutType(), ka.storedTanOutType());
            EXPECT_EQ(kb.breakdown(), ka.breakdown());
            EXPECT_EQ(kb.locked(), ka.locked());
        }
        for (float t = -2.0f; t < 4.0f; t += 0.0625f) {
            EXPECT_EQ(b.evaluate(t), a.evaluate(t)) << "at " << t;
        }
    }
}

// Files the tool imported come back byte for byte through the engine.
TEST(CurveFileTest, importedFilesRoundTripByteIdentical)
{
    TscratchDir scratch;
    for (std::string const& gltf : {assimpModel("simple_skin/simple_skin.gltf"), generatedSample("cubicspline.gltf"),
                                    generatedSample("step.gltf")}) {
        importThroughTool(scratch, gltf, "curves.json");
        std::string const written = readText(scratch.file("curves.json"));
        EXPECT_EQ(curvesToText(curvesFromText(written, "curves.json")), written) << gltf;
    }
}

// Numbers at the ends of their ranges are written as numbers that read back.
TEST(CurveFileTest, extremeNumbersReadBack)
{
    TcurveSet curves;
    auto curve = std::make_unique<TparamCurve>(true);
    Tkeyframe low(-FLT_MAX, -DBL_MAX, kTangentFixed, kTangentFixed);
    Tkeyframe high(FLT_MAX, DBL_MIN * 1e200, kTangentFixed, kTangentFixed);
    high.setTanOut(FLT_MAX, -FLT_MAX);
    curve->add(low, false, true);
    curve->add(high, false, true);
    curves.push_back(TnamedCurve{"extremes", std::nullopt, std::move(curve)});
    std::string const text = curvesToText(curves);
    EXPECT_EQ(text.find("null"), std::string::npos);
    EXPECT_EQ(text.find("inf"), std::string::npos);
    TcurveSet const read = curvesFromText(text, "extremes.json");
    EXPECT_EQ(read[0].fCurve->value(0), -DBL_MAX);
    EXPECT_EQ(read[0].fCurve->seconds(1u), FLT_MAX);
    EXPECT_EQ(curvesToText(read), text);
}

}  // namespace
