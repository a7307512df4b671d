#include "gltfExport.h"

#include "commands.h"
#include "curveFile.h"
#include "gltfAccess.h"
#include "outputFile.h"
#include "spans.h"
#include "toolError.h"

#include <tiny_gltf.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

namespace {

// A baked channel with more samples than this is refused.
constexpr double kMaxBakedSamples = 1e7;

enum class Tmode { kNone, kStep, kLinear, kCubic, kBake };

// The curves of one channel, by component; absent components take the
// path's rest value.
struct Tchannel {
    std::string fAnimation;
    std::string fNode;
    std::string fPath;
    std::vector<TparamCurve*> fComponents;
};

double restValue(std::string const& path, std::size_t component)
{
    if (path == "scale" || (path == "rotation" && component == 3)) {
        return 1.0;
    }
    return 0.0;
}

std::vector<Tchannel> channelsOf(TcurveSet const& curves)
{
    std::vector<Tchannel> channels;
    for (TnamedCurve const& named : curves) {
        TcurveTarget const target = named.fTarget.value_or(TcurveTarget{"keelcurve", named.fName, kWeightsPath, 0});
        auto found = std::find_if(channels.begin(), channels.end(), [&target](Tchannel const& channel) {
            return channel.fAnimation == target.fAnimation && channel.fNode == target.fNode &&
                   channel.fPath == target.fPath;
        });
        if (found == channels.end()) {
            channels.push_back(
                Tchannel{target.fAnimation, target.fNode, target.fPath,
                         std::vector<TparamCurve*>(std::size_t(gltfPathComponents(target.fPath)), nullptr)});
            found = channels.end() - 1;
        }
        std::size_t const component = static_cast<std::size_t>(target.fComponent);
        if (found->fComponents.size() <= component) {
            found->fComponents.resize(component + 1, nullptr);
        }
        found->fComponents[component] = named.fCurve.get();
    }
    return channels;
}

// --- Choosing the interpolation -------------------------------------------------------

Tmode curveMode(TparamCurve const& curve)
{
    bool allStep = true;
    bool allLinear = true;
    bool allCubic = true;
    unsigned const count = curve.keyframeCountAll();
    for (unsigned span = 0; span + 1 < count; ++span) {
        TspanKind const kind = spanKind(curve, span);
        allStep = allStep && kind == TspanKind::kStep;
        allLinear = allLinear && kind == TspanKind::kLinear;
        allCubic = allCubic && (kind == TspanKind::kLinear || kind == TspanKind::kHermite);
    }
    if (count < 2) {
        return Tmode::kNone;
    }
    return allStep ? Tmode::kStep : (allLinear ? Tmode::kLinear : (allCubic ? Tmode::kCubic : Tmode::kBake));
}

Tmode combine(Tmode a, Tmode b)
{
    if (a == Tmode::kNone || a == b) {
        return b;
    }
    if (b == Tmode::kNone) {
        return a;
    }
    bool const cubicFamily = (a == Tmode::kLinear || a == Tmode::kCubic) && (b == Tmode::kLinear || b == Tmode::kCubic);
    return cubicFamily ? Tmode::kCubic : Tmode::kBake;
}

// A component whose keys end inside the channel's range fills the rest by
// its infinity type; only a constant one keeps a sampled channel exact.
bool infinitiesStayConstant(TparamCurve const& curve, double first, double last)
{
    unsigned const count = curve.keyframeCountAll();
    if (count == 0) {
        return true;
    }
    bool const preOk = keySeconds(curve, 0) <= first || curve.preInfinityType() == TparamCurveEnums::kConstant;
    bool const postOk = keySeconds(curve, count - 1) >= last || curve.postInfinityType() == TparamCurveEnums::kConstant;
    return preOk && postOk;
}

// --- Sampling a channel ---------------------------------------------------------------

// Sorted, with times closer than the engine's key tolerance merged.
std::vector<double> sortedDistinct(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    times.erase(
        std::unique(times.begin(), times.end(), [](double a, double b) { return std::fabs(b - a) < kTimeTolerance; }),
        times.end());
    return times;
}

std::vector<double> unionOfKeyTimes(Tchannel const& channel)
{
    std::vector<double> times;
    for (TparamCurve const* curve : channel.fComponents) {
        for (unsigned k = 0; curve != nullptr && k < curve->keyframeCountAll(); ++k) {
            times.push_back(keySeconds(*curve, k));
        }
    }
    return sortedDistinct(std::move(times));
}

std::vector<double> bakeTimes(std::vector<double> times, double fps)
{
    if (times.empty()) {
        return times;
    }
    double const first = times.front();
    double const frames = std::floor((times.back() - first) * fps);
    if (frames > kMaxBakedSamples) {
        failOption("--bake-fps",
                   "a channel would take more than " + std::to_string(long(kMaxBakedSamples)) + " samples");
    }
    for (double frame = 1.0; frame <= frames; frame += 1.0) {
        times.push_back(first + frame / fps);
    }
    return sortedDistinct(std::move(times));
}

// The index of the key of `curve` at `t`, or of the key starting the span
// that holds it (count when `t` lies before the first key).
unsigned spanAt(TparamCurve const& curve, double t, bool& atKey)
{
    unsigned const count = curve.keyframeCountAll();
    atKey = false;
    for (unsigned k = count; k-- > 0;) {
        double const keyTime = keySeconds(curve, k);
        if (std::fabs(keyTime - t) < kTimeTolerance) {
            atKey = true;
            return k;
        }
        if (keyTime < t) {
            return k;
        }
    }
    return count;
}

double valueAt(TparamCurve& curve, double t)
{
    bool atKey = false;
    unsigned const k = spanAt(curve, t, atKey);
    return atKey ? curve.value(k) : curve.evaluate(static_cast<float>(t));
}

double tangentSlope(Tkeyframe const& key, bool in)
{
    float x = 0.0f;
    float y = 0.0f;
    in ? key.getTanIn(x, y) : key.getTanOut(x, y);
    return x != 0.0f ? double(y) / double(x) : 0.0;
}

// The slope of span `span` (linear or Hermite) at time t inside it.
double spanSlope(TparamCurve& curve, unsigned span, double t)
{
    if (spanKind(curve, span) == TspanKind::kLinear) {
        return (curve.value(span + 1) - curve.value(span)) / (keySeconds(curve, span + 1) - keySeconds(curve, span));
    }
    return hermiteSlope(curve, span, t);
}

// The in- (`in`) or out-slope a cubic-spline channel needs at `t`.
double slopeAt(TparamCurve& curve, double t, bool in)
{
    unsigned const count = curve.keyframeCountAll();
    bool atKey = false;
    unsigned const k = spanAt(curve, t, atKey);
    if (k >= count || (k == count - 1 && !atKey)) {
        return 0.0;  // outside the keys: a constant infinity
    }
    if (!atKey) {
        return spanSlope(curve, k, t);
    }
    bool const hasSpan = in ? k > 0 : k + 1 < count;
    if (!hasSpan) {
        return tangentSlope(*curve.keyframe(k), in);
    }
    unsigned const span = in ? k - 1 : k;
    if (spanKind(curve, span) == TspanKind::kLinear) {
        return spanSlope(curve, span, t);
    }
    return tangentSlope(*curve.keyframe(k), in);
}

// --- Building the glTF model ----------------------------------------------------------

class TmodelBuilder {
public:
    TmodelBuilder()
    {
        fModel.asset.version = "2.0";
        fModel.asset.generator = "keelcurve";
        fModel.buffers.emplace_back();
        fModel.scenes.emplace_back();
        fModel.defaultScene = 0;
    }

    int floatAccessor(std::vector<float> const& values, int type, int components, bool withBounds)
    {
        std::vector<unsigned char>& data = fModel.buffers[0].data;
        tinygltf::BufferView view;
        view.buffer = 0;
        view.byteOffset = data.size();
        view.byteLength = values.size() * sizeof(float);
        data.resize(data.size() + view.byteLength);
        if (!values.empty()) {
            std::memcpy(data.data() + view.byteOffset, values.data(), view.byteLength);
        }
        fModel.bufferViews.push_back(view);
        tinygltf::Accessor accessor;
        accessor.bufferView = static_cast<int>(fModel.bufferViews.size() - 1);
        accessor.componentType = TINYGLTF_COMPONENT_TYPE_FLOAT;
        accessor.type = type;
        accessor.count = values.size() / std::size_t(components);
        if (withBounds && !values.empty()) {
            auto const [low, high] = std::minmax_element(values.begin(), values.end());
            accessor.minValues = {double(*low)};
            accessor.maxValues = {double(*high)};
        }
        fModel.accessors.push_back(accessor);
        return static_cast<int>(fModel.accessors.size() - 1);
    }

    int node(std::string const& name)
    {
        auto const found = fNodes.find(name);
        if (found != fNodes.end()) {
            return found->second;
        }
        tinygltf::Node node;
        node.name = name;
        fModel.nodes.push_back(node);
        int const index = static_cast<int>(fModel.nodes.size() - 1);
        fModel.scenes[0].nodes.push_back(index);
        fNodes[name] = index;
        return index;
    }

    // Morph weights must drive a mesh with as many targets: a single
    // triangle whose targets move nothing.
    void giveMorphTargets(int nodeIndex, std::size_t targets)
    {
        tinygltf::Node& node = fModel.nodes[std::size_t(nodeIndex)];
        if (node.mesh >= 0 && fModel.meshes[std::size_t(node.mesh)].primitives[0].targets.size() >= targets) {
            return;
        }
        std::vector<float> const triangle{0, 0, 0, 1, 0, 0, 0, 1, 0};
        tinygltf::Primitive primitive;
        primitive.attributes["POSITION"] = floatAccessor(triangle, TINYGLTF_TYPE_VEC3, 3, false);
        tinygltf::Accessor& positions = fModel.accessors.back();
        positions.minValues = {0, 0, 0};
        positions.maxValues = {1, 1, 0};
        int const still = floatAccessor(std::vector<float>(triangle.size(), 0.0f), TINYGLTF_TYPE_VEC3, 3, false);
        fModel.accessors.back().minValues = {0, 0, 0};
        fModel.accessors.back().maxValues = {0, 0, 0};
        primitive.targets.assign(targets, {{"POSITION", still}});
        tinygltf::Mesh mesh;
        mesh.name = node.name;
        mesh.primitives.push_back(primitive);
        mesh.weights.assign(targets, 0.0);
        fModel.meshes.push_back(mesh);
        fModel.nodes[std::size_t(nodeIndex)].mesh = static_cast<int>(fModel.meshes.size() - 1);
    }

    tinygltf::Animation& animation(std::string const& name)
    {
        for (tinygltf::Animation& animation : fModel.animations) {
            if (animation.name == name) {
                return animation;
            }
        }
        fModel.animations.emplace_back();
        fModel.animations.back().name = name;
        return fModel.animations.back();
    }

    tinygltf::Model& model() { return fModel; }

private:
    tinygltf::Model fModel;
    std::map<std::string, int> fNodes;
};

char const* interpolationName(Tmode mode)
{
    switch (mode) {
    case Tmode::kStep: return "STEP";
    case Tmode::kCubic: return "CUBICSPLINE";
    default: return "LINEAR";
    }
}

// The values of a channel at `times`: per time, for a cubic spline, the
// in-slopes, the values and the out-slopes of every component.
std::vector<float> channelOutput(Tchannel const& channel, std::vector<double> const& times, Tmode mode)
{
    std::vector<float> output;
    auto const appendBlock = [&](double t, int block) {
        for (std::size_t c = 0; c < channel.fComponents.size(); ++c) {
            TparamCurve* curve = channel.fComponents[c];
            if (curve == nullptr || curve->keyframeCountAll() == 0) {
                output.push_back(block == 1 ? float(restValue(channel.fPath, c)) : 0.0f);
            } else if (block == 1) {
                output.push_back(static_cast<float>(valueAt(*curve, t)));
            } else {
                output.push_back(static_cast<float>(slopeAt(*curve, t, block == 0)));
            }
        }
    };
    for (double const t : times) {
        if (mode == Tmode::kCubic) {
            appendBlock(t, 0);
            appendBlock(t, 1);
            appendBlock(t, 2);
        } else {
            appendBlock(t, 1);
        }
    }
    return output;
}

int outputType(std::size_t components, std::string const& path)
{
    if (path == kWeightsPath) {
        return TINYGLTF_TYPE_SCALAR;
    }
    return components == 4 ? TINYGLTF_TYPE_VEC4 : TINYGLTF_TYPE_VEC3;
}

Tmode channelMode(Tchannel const& channel, std::vector<double> const& times)
{
    Tmode mode = Tmode::kNone;
    for (TparamCurve const* curve : channel.fComponents) {
        if (curve == nullptr) {
            continue;
        }
        mode = combine(mode, curveMode(*curve));
        if (!infinitiesStayConstant(*curve, times.front(), times.back())) {
            mode = Tmode::kBake;
        }
    }
    return mode == Tmode::kNone ? Tmode::kLinear : mode;
}

// A rotation whose x, y and z curves form a triple evaluated as one
// rotation: glTF keys its quaternions directly.
bool isRotationTriple(Tchannel const& channel)
{
    if (channel.fPath != "rotation" || channel.fComponents.size() != 4 || channel.fComponents[0] == nullptr ||
        !channel.fComponents[0]->evaluatesAsQuaternion() ||
        !channel.fComponents[0]->updateQuaternionEulerCache(false)) {
        return false;
    }
    TparamCurve* triple[3] = {nullptr, nullptr, nullptr};
    channel.fComponents[0]->getSiblingRotationCurves(&triple[0], &triple[1], &triple[2]);
    return std::equal(triple, triple + 3, channel.fComponents.begin());
}

// Slerp spans are glTF's LINEAR rotations and held keys its STEP; every
// other span shape is sampled.
Tmode rotationMode(Tchannel const& channel)
{
    TparamCurve const& x = *channel.fComponents[0];
    if (x.rotationInterpolation() == TparamCurveEnums::kQuaternionSlerp) {
        return Tmode::kLinear;
    }
    bool held = x.rotationInterpolation() == TparamCurveEnums::kQuaternionTangentDependent;
    for (unsigned k = 0; held && k + 1 < x.keyframeCountAll(); ++k) {
        held = x.keyframe(k)->tanOutType() == kTangentStep;
    }
    return held ? Tmode::kStep : Tmode::kBake;
}

// The triple's rotations at `times`: at a key the quaternion as the key
// stores it, so that every key goes back as it came; between keys the
// evaluated one, in the hemisphere of the one before, so that LINEAR between
// samples turns the short way as the triple does.
std::vector<float> rotationOutput(Tchannel const& channel, std::vector<double> const& times)
{
    TparamCurve* const x = channel.fComponents[0];
    TparamCurve const* const y = channel.fComponents[1];
    TparamCurve const* const z = channel.fComponents[2];
    std::vector<float> output;
    Tquaternion previous = Tquaternion::identity;
    for (double const t : times) {
        TtimeValue const time(static_cast<float>(t));
        unsigned key = 0;
        Tquaternion q = x->evaluateQuaternion(time);
        if (x->find(time, key)) {
            q = Tquaternion(x->value(key), y->value(key), z->value(key), z->keyframe(key)->quatComponent());
        } else if (q.dot(previous) < 0.0) {
            q = q.negated();
        }
        previous = q;
        for (double const c : {q.x(), q.y(), q.z(), q.w()}) {
            output.push_back(static_cast<float>(c));
        }
    }
    return output;
}

void addChannel(TmodelBuilder& builder, Tchannel const& channel, TexportOptions const& options,
                std::vector<std::string>& notes)
{
    std::vector<double> times = unionOfKeyTimes(channel);
    if (times.empty()) {
        return;
    }
    bool const triple = isRotationTriple(channel);
    Tmode const mode = triple ? rotationMode(channel) : channelMode(channel, times);
    if (mode == Tmode::kBake) {
        times = bakeTimes(times, options.fBakeFps);
        char rate[32];
        std::snprintf(rate, sizeof rate, "%g", options.fBakeFps);
        notes.push_back(channel.fNode + "/" + channel.fPath + " baked at " + rate + " samples per second");
    }
    std::vector<float> const input(times.begin(), times.end());
    int const nodeIndex = builder.node(channel.fNode);
    if (channel.fPath == kWeightsPath) {
        builder.giveMorphTargets(nodeIndex, channel.fComponents.size());
    }
    tinygltf::AnimationSampler sampler;
    sampler.input = builder.floatAccessor(input, TINYGLTF_TYPE_SCALAR, 1, true);
    int const type = outputType(channel.fComponents.size(), channel.fPath);
    int const perElement = type == TINYGLTF_TYPE_SCALAR ? 1 : static_cast<int>(channel.fComponents.size());
    sampler.output = builder.floatAccessor(
        triple ? rotationOutput(channel, times) : channelOutput(channel, times, mode), type, perElement, false);
    sampler.interpolation = interpolationName(mode);
    tinygltf::Animation& animation = builder.animation(channel.fAnimation);
    animation.samplers.push_back(sampler);
    tinygltf::AnimationChannel target;
    target.sampler = static_cast<int>(animation.samplers.size() - 1);
    target.target_node = nodeIndex;
    target.target_path = channel.fPath;
    animation.channels.push_back(target);
}

struct TexportArgs {
    std::string fInput;
    std::string fOutput;
    TexportOptions fOptions;
};

void runExport(TexportArgs const& args)
{
    TcurveSet const curves = readCurveFile(args.fInput);
    std::vector<std::string> notes;
    exportGltf(curves, args.fOptions, args.fOutput, notes);
    for (std::string const& note : notes) {
        std::fprintf(stderr, "keelcurve: note: %s\n", note.c_str());
    }
}

}  // namespace

void exportGltf(TcurveSet const& curves, TexportOptions const& options, std::string const& path,
                std::vector<std::string>& notes)
{
    if (!std::isfinite(options.fBakeFps) || options.fBakeFps <= 0.0 || options.fBakeFps > 1e4) {
        failOption("--bake-fps", "the bake rate must lie in (0, 10000]");
    }
    bool const binary = path.ends_with(".glb");
    if (!binary && !path.ends_with(".gltf")) {
        fail(path, "", "glTF is written as .gltf or .glb");
    }
    TmodelBuilder builder;
    for (Tchannel const& channel : channelsOf(curves)) {
        addChannel(builder, channel, options, notes);
    }
    builder.model().buffers[0].uri.clear();
    TpendingOutput output(path);
    tinygltf::TinyGLTF writer;
    bool written = false;
    try {
        written = writer.WriteGltfSceneToFile(&builder.model(), output.tempPath(), false, true, true, binary);
    } catch (std::exception const& error) {
        fail(path, "", error.what());
    }
    if (!written) {
        fail(path, "", "cannot write glTF");
    }
    output.commit();
}

void addExportCommand(CLI::App& app)
{
    auto args = std::make_shared<TexportArgs>();
    CLI::App* command = app.add_subcommand("export-gltf", "Write the curves back to glTF 2.0 (STEP, LINEAR, "
                                                          "CUBICSPLINE; other spans baked)");
    command->add_option("curves", args->fInput, "Curve file (JSON)")->required();
    command->add_option("-o,--output", args->fOutput, "out.gltf or out.glb")->required();
    command->add_option("--bake-fps", args->fOptions.fBakeFps,
                        "Samples per second for spans glTF cannot hold "
                        "(default 30)");
    command->callback([args] { runExport(*args); });
}
