// Import of real glTF animation (Debian's sample models) and of the generated
// STEP and CUBICSPLINE samples, checked against the files' own data read
// here independently of the tool.

#include "curveFile.h"
#include "toolRunner.h"

#include <gtest/gtest.h>
#include <tiny_gltf.h>

#include <cmath>
#include <cstring>
#include <map>

namespace {

// The engine stores float times and evaluates the Hermite cubic in double:
// what the glTF formula gives in double may differ by rounding only.
constexpr double kSplineTolerance = 1e-9;
// Points per span at which the spline formula is checked.
constexpr int kChecksPerSpan = 7;
// Quaternions the file holds in floats, compared as rotations.
constexpr double kRotationTolerance = 1e-6;

// One sampler's data as the file holds it.
struct TfileChannel {
    std::string fCurvePrefix;  // NODE/PATH/
    std::string fInterpolation;
    std::vector<float> fTimes;
    std::vector<float> fOutput;
    std::size_t fComponents = 0;
};

std::vector<float> floatsOf(tinygltf::Model const& model, int index, std::size_t& components)
{
    tinygltf::Accessor const& accessor = model.accessors.at(std::size_t(index));
    tinygltf::BufferView const& view = model.bufferViews.at(std::size_t(accessor.bufferView));
    std::vector<unsigned char> const& data = model.buffers.at(std::size_t(view.buffer)).data;
    components = accessor.type == TINYGLTF_TYPE_SCALAR ? 1 : std::size_t(accessor.type);
    std::size_t const stride = view.byteStride != 0 ? view.byteStride : components * sizeof(float);
    std::vector<float> values(accessor.count * components);
    for (std::size_t e = 0; e < accessor.count; ++e) {
        std::memcpy(&values[e * components], &data.at(view.byteOffset + accessor.byteOffset + e * stride),
                    components * sizeof(float));
    }
    return values;
}

std::vector<TfileChannel> channelsOfFile(std::string const& path)
{
    tinygltf::Model model;
    tinygltf::TinyGLTF loader;
    std::string error;
    std::string warning;
    bool const binary = path.ends_with(".glb");
    bool const loaded = binary ? loader.LoadBinaryFromFile(&model, &error, &warning, path)
                               : loader.LoadASCIIFromFile(&model, &error, &warning, path);
    EXPECT_TRUE(loaded) << error;
    std::vector<TfileChannel> channels;
    for (tinygltf::Animation const& animation : model.animations) {
        for (tinygltf::AnimationChannel const& channel : animation.channels) {
            tinygltf::AnimationSampler const& sampler = animation.samplers.at(std::size_t(channel.sampler));
            std::string const& name = model.nodes.at(std::size_t(channel.target_node)).name;
            TfileChannel file;
            file.fCurvePrefix =
                (name.empty() ? "node" + std::to_string(channel.target_node) : name) + "/" + channel.target_path + "/";
            file.fInterpolation = sampler.interpolation;
            std::size_t scalar = 0;
            file.fTimes = floatsOf(model, sampler.input, scalar);
            file.fOutput = floatsOf(model, sampler.output, file.fComponents);
            if (channel.target_path == "weights") {
                std::size_t const blocks = file.fInterpolation == "CUBICSPLINE" ? 3 : 1;
                file.fComponents = file.fOutput.size() / file.fTimes.size() / blocks;
            }
            channels.push_back(file);
        }
    }
    return channels;
}

std::string componentName(TfileChannel const& channel, std::size_t c)
{
    static char const* const kAxes[] = {"x", "y", "z", "w"};
    return channel.fCurvePrefix +
           (channel.fCurvePrefix.find("/weights/") != std::string::npos ? std::to_string(c) : kAxes[c]);
}

TparamCurve* curveNamed(TcurveSet const& curves, std::string const& name)
{
    for (TnamedCurve const& named : curves) {
        if (named.fName == name) {
            return named.fCurve.get();
        }
    }
    ADD_FAILURE() << "no curve " << name;
    return nullptr;
}

// Block 0, 1, 2 of a cubic spline's output: in-tangents, values, out-tangents.
float outputAt(TfileChannel const& channel, std::size_t key, std::size_t block, std::size_t c)
{
    std::size_t const blocks = channel.fInterpolation == "CUBICSPLINE" ? 3 : 1;
    std::size_t const first = blocks == 3 ? block : 0;
    return channel.fOutput[(key * blocks + first) * channel.fComponents + c];
}

// The glTF cubic spline between keys k and k + 1 at time t.
double gltfSpline(TfileChannel const& channel, std::size_t k, std::size_t c, double t)
{
    double const t0 = channel.fTimes[k];
    double const span = double(channel.fTimes[k + 1]) - t0;
    double const s = (t - t0) / span;
    double const s2 = s * s;
    double const s3 = s2 * s;
    return (2 * s3 - 3 * s2 + 1) * outputAt(channel, k, 1, c) + (s3 - 2 * s2 + s) * span * outputAt(channel, k, 2, c) +
           (-2 * s3 + 3 * s2) * outputAt(channel, k + 1, 1, c) + (s3 - s2) * span * outputAt(channel, k + 1, 0, c);
}

bool isRotation(TfileChannel const& channel)
{
    return channel.fCurvePrefix.ends_with("/rotation/");
}

// The file's quaternion at key k (x, y, z, w).
Tquaternion fileRotation(TfileChannel const& channel, std::size_t k)
{
    return Tquaternion(outputAt(channel, k, 1, 0), outputAt(channel, k, 1, 1), outputAt(channel, k, 1, 2),
                       outputAt(channel, k, 1, 3));
}

// The same rotation: q or -q, to the precision floats keep.
void expectSameRotation(Tquaternion a, Tquaternion b, std::string const& what)
{
    EXPECT_NEAR(std::fabs(a.normalizeIt().dot(b.normalizeIt())), 1.0, kRotationTolerance) << what;
}

// A rotation channel is a triple of curves: x, y and z as the curves' values
// and w beside z, every key as the file holds it; the triple answers the
// file's rotation at each key time. Answers the keys checked.
std::size_t checkRotationKeys(TcurveSet const& curves, TfileChannel const& channel)
{
    TparamCurve* const x = curveNamed(curves, componentName(channel, 0));
    TparamCurve* const y = curveNamed(curves, componentName(channel, 1));
    TparamCurve* const z = curveNamed(curves, componentName(channel, 2));
    if (x == nullptr || y == nullptr || z == nullptr) {
        return 0;
    }
    EXPECT_TRUE(x->evaluatesAsQuaternion());
    for (unsigned k = 0; k < channel.fTimes.size(); ++k) {
        EXPECT_EQ(x->value(k), outputAt(channel, k, 1, 0));
        EXPECT_EQ(y->value(k), outputAt(channel, k, 1, 1));
        EXPECT_EQ(z->value(k), outputAt(channel, k, 1, 2));
        EXPECT_EQ(z->keyframe(k)->quatComponent(), outputAt(channel, k, 1, 3));
        expectSameRotation(x->evaluateQuaternion(TtimeValue(channel.fTimes[k])), fileRotation(channel, k),
                           channel.fCurvePrefix + " key " + std::to_string(k));
    }
    return channel.fTimes.size();
}

// Slerp by its angle formula, written here apart from the engine's.
Tquaternion referenceSlerp(Tquaternion a, Tquaternion b, double t)
{
    a.normalizeIt();
    b.normalizeIt();
    double d = a.dot(b);
    if (d < 0) {
        b = b.negated();
        d = -d;
    }
    double const theta = std::acos(std::min(d, 1.0));
    double const wa = theta < 1e-9 ? 1.0 - t : std::sin((1 - t) * theta) / std::sin(theta);
    double const wb = theta < 1e-9 ? t : std::sin(t * theta) / std::sin(theta);
    return Tquaternion(wa * a.x() + wb * b.x(), wa * a.y() + wb * b.y(), wa * a.z() + wb * b.z(),
                       wa * a.w() + wb * b.w());
}

struct TsampleCase {
    char const* fLabel;
    std::string fPath;
    std::size_t fCurves;  // components over all channels
};

class ImportTest : public testing::TestWithParam<TsampleCase> {};

// Every key time and value of the file is a key of the imported curve, and
// the engine answers the file's value at each key time.
TEST_P(ImportTest, keepsEveryKeyOfTheFile)
{
    TscratchDir scratch;
    TcurveSet const curves = importThroughTool(scratch, GetParam().fPath, "curves.json");
    EXPECT_EQ(curves.size(), GetParam().fCurves);
    std::size_t checkedKeys = 0;
    for (TfileChannel const& channel : channelsOfFile(GetParam().fPath)) {
        if (isRotation(channel)) {
            checkedKeys += checkRotationKeys(curves, channel);
            continue;
        }
        for (std::size_t c = 0; c < channel.fComponents; ++c) {
            TparamCurve* curve = curveNamed(curves, componentName(channel, c));
            ASSERT_NE(curve, nullptr);
            ASSERT_EQ(curve->keyframeCountAll(), channel.fTimes.size());
            for (unsigned k = 0; k < channel.fTimes.size(); ++k) {
                double const value = outputAt(channel, k, 1, c);
                EXPECT_EQ(curve->seconds(k), channel.fTimes[k]);
                EXPECT_EQ(curve->value(k), value);
                EXPECT_EQ(curve->evaluate(channel.fTimes[k]), value) << componentName(channel, c) << " key " << k;
                ++checkedKeys;
            }
        }
    }
    EXPECT_GT(checkedKeys, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, ImportTest,
    testing::Values(TsampleCase{"simpleSkin", assimpModel("simple_skin/simple_skin.gltf"), 3},
                    TsampleCase{"morphCube",
                                assimpModel("glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf"), 2},
                    TsampleCase{"step", generatedSample("step.gltf"), 6},
                    TsampleCase{"cubicSpline", generatedSample("cubicspline.gltf"), 9},
                    TsampleCase{"cubicSplineBinary", generatedSample("cubicspline.glb"), 9}),
    labelOf<testing::TestParamInfo<TsampleCase>>);

// Between keys, a CUBICSPLINE channel is the glTF cubic Hermite formula.
TEST(ImportSplineTest, followsTheGltfCubicSplineBetweenKeys)
{
    TscratchDir scratch;
    TcurveSet const curves = importThroughTool(scratch, generatedSample("cubicspline.gltf"), "curves.json");
    std::size_t checked = 0;
    for (TfileChannel const& channel : channelsOfFile(generatedSample("cubicspline.gltf"))) {
        if (channel.fInterpolation != "CUBICSPLINE") {
            continue;
        }
        for (std::size_t c = 0; c < channel.fComponents; ++c) {
            TparamCurve* curve = curveNamed(curves, componentName(channel, c));
            ASSERT_NE(curve, nullptr);
            for (std::size_t k = 0; k + 1 < channel.fTimes.size(); ++k) {
                for (int i = 1; i <= kChecksPerSpan; ++i) {
                    float const t = channel.fTimes[k] +
                                    (channel.fTimes[k + 1] - channel.fTimes[k]) * float(i) / float(kChecksPerSpan + 1);
                    EXPECT_NEAR(curve->evaluate(t), gltfSpline(channel, k, c, t), kSplineTolerance)
                        << componentName(channel, c) << " at " << t;
                    ++checked;
                }
            }
        }
    }
    EXPECT_EQ(checked, std::size_t(3 * 3 + 3 * 2) * kChecksPerSpan);
}

// Between keys, a STEP channel holds the earlier key's value.
TEST(ImportStepTest, holdsEachValueUntilTheNextKey)
{
    TscratchDir scratch;
    TcurveSet const curves = importThroughTool(scratch, generatedSample("step.gltf"), "curves.json");
    std::size_t checked = 0;
    for (TfileChannel const& channel : channelsOfFile(generatedSample("step.gltf"))) {
        ASSERT_EQ(channel.fInterpolation, "STEP");
        for (std::size_t c = 0; c < channel.fComponents; ++c) {
            TparamCurve* curve = curveNamed(curves, componentName(channel, c));
            ASSERT_NE(curve, nullptr);
            for (std::size_t k = 0; k + 1 < channel.fTimes.size(); ++k) {
                float const beforeNext = std::nextafter(channel.fTimes[k + 1], 0.0f) - float(kTimeTolerance);
                for (float const t : {channel.fTimes[k], (channel.fTimes[k] + channel.fTimes[k + 1]) / 2, beforeNext}) {
                    EXPECT_EQ(curve->evaluate(t), outputAt(channel, k, 1, c))
                        << componentName(channel, c) << " at " << t;
                    ++checked;
                }
            }
        }
    }
    EXPECT_EQ(checked, std::size_t(3 * 3 + 3 * 2) * 3);
}

// A LINEAR rotation channel becomes a triple interpolated on the sphere:
// between keys the engine answers the slerp of the file's keys.
TEST(ImportRotationTest, linearRotationsSlerpBetweenKeys)
{
    std::size_t checked = 0;
    for (std::string const& file : {assimpModel("simple_skin/simple_skin.gltf"), generatedSample("cubicspline.gltf")}) {
        TscratchDir scratch;
        TrunResult const run = runKeelcurve({"import-gltf", file, "-o", scratch.file("curves.json")});
        ASSERT_EQ(run.fStatus, 0) << run.fErr;
        EXPECT_EQ(run.fErr.find("warning"), std::string::npos) << run.fErr;
        TcurveSet const curves = curvesFromText(readText(scratch.file("curves.json")), "curves.json");
        for (TfileChannel const& channel : channelsOfFile(file)) {
            if (!isRotation(channel) || channel.fInterpolation != "LINEAR") {
                continue;
            }
            TparamCurve* const x = curveNamed(curves, componentName(channel, 0));
            ASSERT_NE(x, nullptr);
            EXPECT_EQ(x->rotationInterpolation(), TparamCurveEnums::kQuaternionSlerp);
            for (std::size_t k = 0; k + 1 < channel.fTimes.size(); ++k) {
                for (double f : {0.25, 0.5, 0.75}) {
                    auto const t =
                        static_cast<float>(channel.fTimes[k] + f * (channel.fTimes[k + 1] - channel.fTimes[k]));
                    double const fraction =
                        (double(t) - channel.fTimes[k]) / (double(channel.fTimes[k + 1]) - channel.fTimes[k]);
                    expectSameRotation(x->evaluateQuaternion(TtimeValue(t)),
                                       referenceSlerp(fileRotation(channel, k), fileRotation(channel, k + 1), fraction),
                                       channel.fCurvePrefix + " span " + std::to_string(k));
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 0u);
}

// --ticks keeps times as ticks: the nearest tick to each file time.
TEST(ImportTicksTest, storesNearestTicks)
{
    TscratchDir scratch;
    TrunResult const run =
        runKeelcurve({"import-gltf", generatedSample("step.gltf"), "--ticks", "-o", scratch.file("ticks.json")});
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    TcurveSet const curves = curvesFromText(readText(scratch.file("ticks.json")), "ticks.json");
    ASSERT_FALSE(curves.empty());
    TparamCurve const& curve = *curves.front().fCurve;
    EXPECT_TRUE(curve.isAnimTimeCurve());
    EXPECT_EQ(curve.keyframe(2)->animTime().ticks(), 1.25 * kTicksPerSecond);
}

}  // namespace
