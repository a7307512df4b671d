// The subcommands on real and generated files: info, eval, bake, plot and
// export-gltf, through the built binary.

#include "curveFile.h"
#include "plotter.h"
#include "toolRunner.h"

#include <expat.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace {

// glTF stores floats: a value written and read back through it differs from
// the engine's double by float rounding only.
constexpr double kFloatTolerance = 1e-6;
constexpr double kBakeFps = 24.0;
// How cairo writes the stroke of a curve (see kCurveLineWidth).
constexpr char kCurveStroke[] = "stroke-width:2.25;";
static_assert(kCurveLineWidth == 2.25);

std::string const kCubicSample = generatedSample("cubicspline.gltf");
std::string const kMorphCube = assimpModel("glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf");

TEST(InfoCommandTest, describesEachCurve)
{
    TscratchDir scratch;
    importThroughTool(scratch, generatedSample("step.gltf"), "step.json");
    TrunResult const run = runKeelcurve({"info", scratch.file("step.json")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_NE(run.fOut.find("6 curves"), std::string::npos);
    EXPECT_NE(run.fOut.find("Stepper/translation/z\n  keys      4 (seconds)\n  time      0 .. 2 s\n  values    0 .. 4\n"
                            "  spans     step 3\n  infinity  constant before, constant after\n"),
              std::string::npos)
        << run.fOut;
}

TEST(EvalCommandTest, printsValuesAtTheGivenTimes)
{
    TscratchDir scratch;
    importThroughTool(scratch, generatedSample("step.gltf"), "step.json");
    TrunResult const run = runKeelcurve(
        {"eval", scratch.file("step.json"), "--curve", "Stepper/translation/y", "--at", "-1", "0.75", "5"});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(run.fOut, "time,Stepper/translation/y\n-1,0\n0.75,2\n5,2\n");
}

struct TbakeCase {
    char const* fLabel;
    char const* fOutput;
    std::vector<std::string> fRange;
    std::size_t fSamples;
};

class BakeCommandTest : public testing::TestWithParam<TbakeCase> {};

// Samples at every frame of the range, the same values eval gives.
TEST_P(BakeCommandTest, samplesEveryFrame)
{
    TscratchDir scratch;
    TcurveSet const curves = importThroughTool(scratch, kCubicSample, "cubic.json");
    std::vector<std::string> args{"bake", scratch.file("cubic.json"),      "--fps", "24",
                                  "-o",   scratch.file(GetParam().fOutput)};
    args.insert(args.end(), GetParam().fRange.begin(), GetParam().fRange.end());
    TrunResult const run = runKeelcurve(args);
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_TRUE(run.fErr.empty()) << "no progress line when stderr is no terminal";
    std::string const text = readText(scratch.file(GetParam().fOutput));
    std::vector<double> times;
    std::vector<double> firstCurve;
    if (std::string(GetParam().fOutput).ends_with(".json")) {
        auto const document = nlohmann::json::parse(text);
        times = document["times"].get<std::vector<double>>();
        firstCurve = document["curves"][0]["values"].get<std::vector<double>>();
        EXPECT_EQ(document["curves"].size(), curves.size());
    } else {
        std::vector<std::string> const lines = linesOf(text);
        for (std::size_t i = 1; i < lines.size(); ++i) {
            times.push_back(std::stod(lines[i]));
            firstCurve.push_back(std::stod(lines[i].substr(lines[i].find(',') + 1)));
        }
    }
    ASSERT_EQ(times.size(), GetParam().fSamples);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(times[i], times[0] + double(i) / kBakeFps);
        EXPECT_EQ(firstCurve[i], curves[0].fCurve->evaluate(static_cast<float>(times[i])));
    }
}

INSTANTIATE_TEST_SUITE_P(Outputs, BakeCommandTest,
                         testing::Values(TbakeCase{"csvOverKeys", "samples.csv", {}, 61},
                                         TbakeCase{"jsonOverKeys", "samples.json", {}, 61},
                                         TbakeCase{"csvRange", "samples.csv", {"--start", "-1", "--end", "4"}, 121}),
                         labelOf<testing::TestParamInfo<TbakeCase>>);

// --- Plot -------------------------------------------------------------------------------

// Counts the stroked curve paths of an SVG while expat checks it is
// well-formed XML.
struct TsvgCount {
    std::size_t fCurvePaths = 0;
    std::size_t fElements = 0;
};

void startElement(void* data, XML_Char const* name, XML_Char const** attributes)
{
    auto* count = static_cast<TsvgCount*>(data);
    ++count->fElements;
    if (std::string(name) != "path") {
        return;
    }
    for (int i = 0; attributes[i] != nullptr; i += 2) {
        std::string const value = attributes[i + 1];
        bool const curveStroke =
            value.find(kCurveStroke) != std::string::npos && value.find("dasharray") == std::string::npos;
        if (std::string(attributes[i]) == "style" && curveStroke) {
            ++count->fCurvePaths;
        }
    }
}

void endElement(void*, XML_Char const*) {}

bool parseSvg(std::string const& text, TsvgCount& count)
{
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &count);
    XML_SetElementHandler(parser, startElement, endElement);
    bool const ok = XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return ok;
}

struct TplotCase {
    char const* fLabel;
    std::string fGltf;
    std::vector<std::string> fOptions;
    std::size_t fCurves;
};

class PlotCommandTest : public testing::TestWithParam<TplotCase> {};

TEST_P(PlotCommandTest, drawsOnePathPerCurve)
{
    TscratchDir scratch;
    importThroughTool(scratch, GetParam().fGltf, "curves.json");
    std::vector<std::string> args{"plot", scratch.file("curves.json"), "-o", scratch.file("plot.svg")};
    args.insert(args.end(), GetParam().fOptions.begin(), GetParam().fOptions.end());
    TrunResult const run = runKeelcurve(args);
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    TsvgCount count;
    ASSERT_TRUE(parseSvg(readText(scratch.file("plot.svg")), count));
    EXPECT_EQ(count.fCurvePaths, GetParam().fCurves);
    EXPECT_GT(count.fElements, GetParam().fCurves);
}

INSTANTIATE_TEST_SUITE_P(Plots, PlotCommandTest,
                         testing::Values(TplotCase{"allCurves", kCubicSample, {}, 9},
                                         TplotCase{"chosenCurves",
                                                   kCubicSample,
                                                   {"--curve", "Swinger/translation/x", "--curve", "Grower/scale/y",
                                                    "--handles"},
                                                   2},
                                         TplotCase{"timeRange", kMorphCube, {"--from", "1", "--to", "2"}, 2}),
                         labelOf<testing::TestParamInfo<TplotCase>>);

TEST(PlotCommandTest, writesPng)
{
    TscratchDir scratch;
    importThroughTool(scratch, kCubicSample, "curves.json");
    TrunResult const run = runKeelcurve({"plot", scratch.file("curves.json"), "-o", scratch.file("plot.png")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(readText(scratch.file("plot.png")).substr(1, 3), "PNG");
}

// --- Export -----------------------------------------------------------------------------

class ExportRoundTripTest : public testing::TestWithParam<std::string> {};

// glTF -> curves -> glTF -> curves keeps every key, its value and tangents.
TEST_P(ExportRoundTripTest, keepsEveryKey)
{
    TscratchDir scratch;
    TcurveSet const first = importThroughTool(scratch, GetParam(), "first.json");
    TrunResult const run = runKeelcurve({"export-gltf", scratch.file("first.json"), "-o", scratch.file("out.gltf")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_TRUE(run.fErr.empty()) << "nothing needed baking: " << run.fErr;
    TcurveSet const second = importThroughTool(scratch, scratch.file("out.gltf"), "second.json");
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t c = 0; c < first.size(); ++c) {
        TparamCurve const& a = *first[c].fCurve;
        TparamCurve const& b = *second[c].fCurve;
        EXPECT_EQ(second[c].fName, first[c].fName);
        ASSERT_EQ(b.keyframeCountAll(), a.keyframeCountAll()) << first[c].fName;
        for (unsigned k = 0; k < a.keyframeCountAll(); ++k) {
            float ax = 0, ay = 0, bx = 0, by = 0;
            a.keyframe(k)->getTanOut(ax, ay);
            b.keyframe(k)->getTanOut(bx, by);
            EXPECT_EQ(b.seconds(k), a.seconds(k));
            EXPECT_EQ(b.value(k), a.value(k));
            EXPECT_EQ(b.keyframe(k)->storedTanOutType(), a.keyframe(k)->storedTanOutType());
            EXPECT_EQ(by * ax, ay * bx) << "same out-slope at key " << k << " of " << first[c].fName;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ExportRoundTripTest,
                         testing::Values(kCubicSample, generatedSample("step.gltf"), kMorphCube,
                                         assimpModel("simple_skin/simple_skin.gltf")));

// A weighted Bezier curve cannot be a glTF spline: it is baked, and the
// baked channel follows the curve within float precision.
TEST(ExportBakeTest, bakesWeightedCurves)
{
    TscratchDir scratch;
    TcurveSet curves;
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, true);
    for (int i = 0; i < 3; ++i) {
        Tkeyframe key(float(i), double(i % 2), kTangentFixed, kTangentFixed);
        key.setTanIn(0.5f, 1.0f);
        key.setTanOut(1.5f, -1.0f);
        curve->add(key, false, true);
    }
    curves.push_back(TnamedCurve{"weighted", TcurveTarget{"take", "Box", "translation", 1}, std::move(curve)});
    writeText(scratch.file("weighted.json"), curvesToText(curves));
    TrunResult const run = runKeelcurve(
        {"export-gltf", scratch.file("weighted.json"), "--bake-fps", "24", "-o", scratch.file("baked.glb")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_NE(run.fErr.find("baked at 24"), std::string::npos);
    TcurveSet const baked = importThroughTool(scratch, scratch.file("baked.glb"), "baked.json");
    ASSERT_EQ(baked.size(), 3u);
    TparamCurve& y = *baked[1].fCurve;
    EXPECT_EQ(y.keyframeCountAll(), 2 * 24 + 1u);
    for (unsigned k = 0; k < y.keyframeCountAll(); ++k) {
        EXPECT_NEAR(y.value(k), curves[0].fCurve->evaluate(y.seconds(k)), kFloatTolerance);
    }
    EXPECT_EQ(baked[0].fCurve->value(0), 0.0) << "the missing x component rests at 0";
}

}  // namespace

namespace {

// A curve without a glTF target drives one morph weight of a node named
// after it, and comes back under that name with its keys.
TEST(ExportUntargetedTest, becomesAMorphWeight)
{
    TscratchDir scratch;
    TcurveSet curves;
    auto curve = std::make_unique<TparamCurve>(true);
    for (int i = 0; i < 4; ++i) {
        curve->add(Tkeyframe(0.5f * float(i), double(i * i) / 9.0, kTangentLinear, kTangentLinear));
    }
    curves.push_back(TnamedCurve{"blink", std::nullopt, std::move(curve)});
    writeText(scratch.file("blink.json"), curvesToText(curves));
    TrunResult const run = runKeelcurve({"export-gltf", scratch.file("blink.json"), "-o", scratch.file("blink.gltf")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    TcurveSet const back = importThroughTool(scratch, scratch.file("blink.gltf"), "back.json");
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(back[0].fName, "blink/weights/0");
    ASSERT_EQ(back[0].fCurve->keyframeCountAll(), 4u);
    for (unsigned k = 0; k < 4; ++k) {
        EXPECT_EQ(back[0].fCurve->seconds(k), curves[0].fCurve->seconds(k));
        EXPECT_NEAR(back[0].fCurve->value(k), curves[0].fCurve->value(k), kFloatTolerance);
    }
}

}  // namespace
