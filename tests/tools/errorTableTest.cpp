// Bad input: every case ends with one line on stderr naming the file and the
// place, exit status 2, and no output file (nor a temporary one) left behind.

#include "toolRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

constexpr int kBadInputStatus = 2;

// A glTF file with one translation channel whose data lies in data.bin
// beside it, so that a case can put any bytes there.
void writeChannelGltf(TscratchDir const& scratch, std::string const& name, std::vector<float> const& times,
                      std::vector<float> const& values, std::string const& interpolation, int valueCount)
{
    std::vector<float> data = times;
    data.insert(data.end(), values.begin(), values.end());
    std::string const bytes(reinterpret_cast<char const*>(data.data()), data.size() * sizeof(float));
    writeText(scratch.file("data.bin"), bytes);
    std::size_t const timeBytes = times.size() * sizeof(float);
    nlohmann::json const gltf = {
        {"asset", {{"version", "2.0"}}},
        {"buffers", {{{"uri", "data.bin"}, {"byteLength", bytes.size()}}}},
        {"bufferViews",
         {{{"buffer", 0}, {"byteOffset", 0}, {"byteLength", timeBytes}},
          {{"buffer", 0}, {"byteOffset", timeBytes}, {"byteLength", bytes.size() - timeBytes}}}},
        {"accessors",
         {{{"bufferView", 0},
           {"componentType", 5126},
           {"count", times.size()},
           {"type", "SCALAR"},
           {"min", {times.front()}},
           {"max", {times.back()}}},
          {{"bufferView", 1}, {"componentType", 5126}, {"count", valueCount}, {"type", "VEC3"}}}},
        {"nodes", {{{"name", "Box"}}}},
        {"animations",
         {{{"samplers", {{{"input", 0}, {"output", 1}, {"interpolation", interpolation}}}},
           {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}}}}};
    writeText(scratch.file(name), gltf.dump(2));
}

std::vector<float> const kTimes{0.0f, 0.5f, 1.0f};
std::vector<float> const kValues{0, 0, 0, 1, 2, 3, 4, 5, 6};

// A file of one curve with `keys`, `members` added to the curve.
std::string curveFile(std::string const& keys, std::string const& members = "", int version = 1)
{
    return "{\n  \"version\": " + std::to_string(version) +
           ",\n  \"curves\": [{\"name\": \"c\", \"timeForm\": \"seconds\", \"weighted\": false,\n"
           "    \"preInfinity\": \"constant\", \"postInfinity\": \"constant\", " +
           members + "\"keys\": [" + keys + "]}]\n}\n";
}

std::string key(std::string const& time, std::string const& value = "1", std::string const& inType = "fixed")
{
    return "{\"time\": " + time + ", \"value\": " + value + ", \"inType\": \"" + inType +
           "\", \"outType\": \"fixed\", \"inTangent\": [1, 0], \"outTangent\": [1, 0], \"flags\": []}";
}

using Tmaker = std::function<void(TscratchDir const&, std::string const&)>;

Tmaker text(std::string content)
{
    return [content](TscratchDir const& scratch, std::string const& name) { writeText(scratch.file(name), content); };
}

Tmaker prefixOf(std::string const& sample, std::size_t bytes)
{
    return [sample, bytes](TscratchDir const& scratch, std::string const& name) {
        writeText(scratch.file(name), readText(sample).substr(0, bytes));
    };
}

Tmaker channel(std::vector<float> times, std::vector<float> values, std::string interpolation, int count)
{
    return [=](TscratchDir const& scratch, std::string const& name) {
        writeChannelGltf(scratch, name, times, values, interpolation, count);
    };
}

Tmaker nothing()
{
    return [](TscratchDir const&, std::string const&) {};
}

struct TerrorCase {
    char const* fLabel;
    std::string fInput;  // the file the case makes (or leaves missing)
    Tmaker fMake;
    std::vector<std::string> fCommand;  // IN and OUT stand for the paths
    std::string fPlace;                 // what the message must point at
};

std::vector<TerrorCase> errorCases()
{
    std::string const stepSample = generatedSample("step.gltf");
    std::string const glbSample = generatedSample("cubicspline.glb");
    std::vector<std::string> const import{"import-gltf", "IN", "-o", "OUT.json"};
    return {
        {"missingGltf", "absent.gltf", nothing(), import, "No such file"},
        {"missingCurveFile", "absent.json", nothing(), {"bake", "IN", "--fps", "24", "-o", "OUT.csv"}, "No such file"},
        {"truncatedGltf", "cut.gltf", prefixOf(stepSample, 700), import, "cut.gltf"},
        {"truncatedGlb", "cut.glb", prefixOf(glbSample, 100), import, "cut.glb"},
        {"notGltf", "text.gltf", text("hello\n"), import, "text.gltf"},
        {"accessorOutOfRange", "range.gltf", channel(kTimes, kValues, "LINEAR", 400), import,
         "animations/0/samplers/0/output (accessor 1): accessor out of range"},
        {"nonIncreasingTimes", "times.gltf", channel({0.0f, 1.0f, 1.0f}, kValues, "LINEAR", 3), import,
         "animations/0/samplers/0/input: times are not increasing at element 2"},
        {"nanInData", "nan.gltf", channel(kTimes, {0, 0, 0, 1, NAN, 3, 4, 5, 6}, "STEP", 3), import,
         "animations/0/samplers/0/output (accessor 1): element 1 is not a finite number"},
        {"unknownInterpolation", "bounce.gltf", channel(kTimes, kValues, "BOUNCE", 3), import,
         "animations/0/samplers/0/interpolation: unknown interpolation 'BOUNCE'"},
        {"jsonSyntax",
         "syntax.json",
         text("{\n  \"version\": 1,\n  \"curves\": [,]\n}\n"),
         {"info", "IN"},
         "line 3, column 14"},
        {"truncatedJson",
         "cut.json",
         text(curveFile(key("0")).substr(0, 60)),
         {"plot", "IN", "-o", "OUT.svg"},
         "line 3, column"},
        {"unknownTangentType",
         "type.json",
         text(curveFile(key("0") + "," + key("1", "2", "wobbly"))),
         {"plot", "IN", "-o", "OUT.png"},
         "/curves/0/keys/1/inType: unknown tangent type 'wobbly'"},
        {"unsortedTimes",
         "order.json",
         text(curveFile(key("1") + "," + key("0.5"))),
         {"bake", "IN", "--fps", "24", "-o", "OUT.json"},
         "/curves/0/keys/1: key times are not increasing"},
        {"duplicateTimes",
         "twice.json",
         text(curveFile(key("0.5") + "," + key("0.500001"))),
         {"export-gltf", "IN", "-o", "OUT.gltf"},
         "/curves/0/keys/1: duplicate key time"},
        {"notANumber",
         "null.json",
         text(curveFile(key("0", "null"))),
         {"export-gltf", "IN", "-o", "OUT.glb"},
         "/curves/0/keys/0/value: expected a number"},
        {"infiniteNumber",
         "huge.json",
         text(curveFile(key("0", "1e999"))),
         {"bake", "IN", "--fps", "5", "-o", "OUT.csv"},
         "line 4, column 90: number overflow parsing '1e999'"},
        {"unknownTargetPath",
         "target.json",
         text(curveFile(key("0"), "\"target\": {\"animation\": \"a\", \"node\": \"n\", \"path\": \"colour\", "
                                  "\"component\": 0}, ")),
         {"export-gltf", "IN", "-o", "OUT.gltf"},
         "/curves/0/target/path: unknown glTF path 'colour'"},
        {"unknownRotationMode",
         "mode.json",
         text(curveFile(key("0"), "\"rotation\": {\"triple\": \"R\", \"axis\": \"x\", \"mode\": \"spin\"}, ")),
         {"info", "IN"},
         "/curves/0/rotation/mode: unknown rotation mode 'spin'"},
        {"incompleteRotation",
         "half.json",
         text(curveFile(key("0"), "\"rotation\": {\"triple\": \"R\", \"axis\": \"x\", \"mode\": \"euler\"}, ")),
         {"eval", "IN", "--at", "0"},
         "/curves/0/rotation: rotation 'R' has no y channel"},
        {"wrongVersion",
         "version.json",
         text(curveFile(key("0"), "", 7)),
         {"plot", "IN", "-o", "OUT.svg"},
         "/version: unsupported version"},
    };
}

class ErrorTableTest : public testing::TestWithParam<TerrorCase> {};

TEST_P(ErrorTableTest, reportsOneLineAndWritesNothing)
{
    TerrorCase const& errorCase = GetParam();
    TscratchDir scratch;
    errorCase.fMake(scratch, errorCase.fInput);
    std::vector<std::string> const before = scratch.listing();
    std::vector<std::string> args;
    for (std::string const& arg : errorCase.fCommand) {
        std::string const out = scratch.file("OUT");
        args.push_back(arg == "IN" ? scratch.file(errorCase.fInput)
                                   : (arg.starts_with("OUT") ? out + arg.substr(3) : arg));
    }
    TrunResult const run = runKeelcurve(args);
    EXPECT_EQ(run.fStatus, kBadInputStatus);
    EXPECT_EQ(std::count(run.fErr.begin(), run.fErr.end(), '\n'), 1) << run.fErr;
    EXPECT_NE(run.fErr.find(errorCase.fInput), std::string::npos) << run.fErr;
    EXPECT_NE(run.fErr.find(errorCase.fPlace), std::string::npos) << run.fErr;
    EXPECT_TRUE(run.fOut.empty()) << run.fOut;
    EXPECT_EQ(scratch.listing(), before) << "no output and no temporary file left";
}

INSTANTIATE_TEST_SUITE_P(Cases, ErrorTableTest, testing::ValuesIn(errorCases()),
                         labelOf<testing::TestParamInfo<TerrorCase>>);

// Usage errors are bad input too.
TEST(UsageErrorTest, unknownOptionIsBadInput)
{
    TrunResult const run = runKeelcurve({"info", "--no-such-option"});
    EXPECT_EQ(run.fStatus, kBadInputStatus);
}

TEST(UsageErrorTest, helpSucceeds)
{
    for (char const* command : {"import-gltf", "info", "eval", "bake", "plot", "export-gltf"}) {
        TrunResult const run = runKeelcurve({command, "--help"});
        EXPECT_EQ(run.fStatus, 0) << command;
        EXPECT_NE(run.fOut.find("Usage"), std::string::npos) << command;
    }
}

}  // namespace
