#include "gltfImport.h"

#include "commands.h"
#include "curveFile.h"
#include "gltfAccess.h"
#include "toolError.h"

#include <tiny_gltf.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

namespace {

enum class Tinterpolation { kLinear, kStep, kCubicSpline };

constexpr std::array<char const*, 4> kVectorComponents{"x", "y", "z", "w"};

// The samples of one sampler, read and checked.
struct Tsamples {
    std::vector<float> fTimes;
    std::vector<float> fValues;  // per key: [in-tangents] values [out-tangents]
    Tinterpolation fInterpolation = Tinterpolation::kLinear;
    int fComponents = 0;  // per key and per block

    // The component `c` of key `k` in block 0 (in-tangents), 1 (values) or 2
    // (out-tangents) of a cubic spline; other samplers have block 1 only.
    float at(std::size_t k, int block, int c) const
    {
        std::size_t const blocks = fInterpolation == Tinterpolation::kCubicSpline ? 3 : 1;
        std::size_t const first = fInterpolation == Tinterpolation::kCubicSpline ? std::size_t(block) : 0;
        return fValues[(k * blocks + first) * std::size_t(fComponents) + std::size_t(c)];
    }
};

class Timporter {
public:
    Timporter(std::string path, TimportOptions const& options, std::vector<std::string>& warnings)
        : fPath(std::move(path)), fOptions(options), fWarnings(warnings)
    {
    }

    TcurveSet run()
    {
        loadGltf(fPath, fModel);
        labelNodes();
        TcurveSet curves;
        for (std::size_t a = 0; a < fModel.animations.size(); ++a) {
            importAnimation(a, curves);
        }
        return curves;
    }

private:
    // Node names as curves carry them: the glTF name, "node<i>" without one,
    // and "<name>#<i>" when two nodes share a name.
    void labelNodes()
    {
        std::map<std::string, int> uses;
        for (tinygltf::Node const& node : fModel.nodes) {
            ++uses[node.name];
        }
        for (std::size_t i = 0; i < fModel.nodes.size(); ++i) {
            std::string const& name = fModel.nodes[i].name;
            std::string const index = std::to_string(i);
            fNodeLabels.push_back(name.empty() ? "node" + index : (uses[name] > 1 ? name + "#" + index : name));
        }
    }

    std::string animationLabel(std::size_t a) const
    {
        std::string const& name = fModel.animations[a].name;
        return name.empty() ? "animation" + std::to_string(a) : name;
    }

    void importAnimation(std::size_t a, TcurveSet& curves)
    {
        tinygltf::Animation const& animation = fModel.animations[a];
        for (std::size_t c = 0; c < animation.channels.size(); ++c) {
            std::string const place = "animations/" + std::to_string(a) + "/channels/" + std::to_string(c);
            tinygltf::AnimationChannel const& channel = animation.channels[c];
            if (channel.target_node < 0 || std::size_t(channel.target_node) >= fModel.nodes.size()) {
                fail(fPath, place, "no target node " + std::to_string(channel.target_node));
            }
            if (channel.sampler < 0 || std::size_t(channel.sampler) >= animation.samplers.size()) {
                fail(fPath, place, "no sampler " + std::to_string(channel.sampler));
            }
            std::string const samplerPlace =
                "animations/" + std::to_string(a) + "/samplers/" + std::to_string(channel.sampler);
            Tsamples const samples =
                readSamples(animation.samplers[std::size_t(channel.sampler)], channel.target_path, samplerPlace);
            TcurveTarget target{animationLabel(a), fNodeLabels[std::size_t(channel.target_node)], channel.target_path,
                                0};
            if (channel.target_path == "rotation") {
                importRotation(samples, target, fModel.animations.size() > 1, samplerPlace, curves);
                continue;
            }
            for (int component = 0; component < samples.fComponents; ++component) {
                target.fComponent = component;
                curves.push_back(makeCurve(samples, target, fModel.animations.size() > 1, samplerPlace));
            }
        }
    }

    Tinterpolation interpolationOf(std::string const& name, std::string const& place) const
    {
        if (name == "LINEAR" || name.empty()) {
            return Tinterpolation::kLinear;
        }
        if (name == "STEP") {
            return Tinterpolation::kStep;
        }
        if (name == "CUBICSPLINE") {
            return Tinterpolation::kCubicSpline;
        }
        fail(fPath, place + "/interpolation", "unknown interpolation '" + name + "'");
    }

    Tsamples readSamples(tinygltf::AnimationSampler const& sampler, std::string const& path,
                         std::string const& place) const
    {
        Tsamples samples;
        samples.fInterpolation = interpolationOf(sampler.interpolation, place);
        int inputComponents = 0;
        samples.fTimes = readAccessor(fModel, sampler.input, fPath, place + "/input", inputComponents);
        if (inputComponents != 1 || samples.fTimes.empty()) {
            fail(fPath, place + "/input", "times must be a non-empty list of scalars");
        }
        checkTimes(samples.fTimes, place + "/input");
        int outputComponents = 0;
        samples.fValues = readAccessor(fModel, sampler.output, fPath, place + "/output", outputComponents);
        std::size_t const blocks = samples.fInterpolation == Tinterpolation::kCubicSpline ? 3 : 1;
        std::size_t const perKey = samples.fValues.size() / samples.fTimes.size();
        int const expected = gltfPathComponents(path);
        if (expected == 0 && path != kWeightsPath) {
            fail(fPath, place, "unknown channel path '" + path + "'");
        }
        samples.fComponents = expected != 0 ? expected : static_cast<int>(perKey / blocks);
        bool const whole = samples.fValues.size() == samples.fTimes.size() * perKey && perKey % blocks == 0;
        if (!whole || samples.fComponents == 0 || perKey != blocks * std::size_t(samples.fComponents) ||
            samples.fComponents > kMaxMorphWeights || (expected != 0 && outputComponents != expected)) {
            fail(fPath, place + "/output",
                 "output count does not match " + std::to_string(samples.fTimes.size()) + " keys of " + path);
        }
        return samples;
    }

    // Strictly increasing, and further apart than the engine's key tolerance
    // (or one tick for tick curves), which would otherwise merge keys.
    void checkTimes(std::vector<float> const& times, std::string const& place) const
    {
        for (std::size_t k = 1; k < times.size(); ++k) {
            std::string const element = "element " + std::to_string(k);
            if (!(times[k] > times[k - 1])) {
                fail(fPath, place, "times are not increasing at " + element);
            }
            bool const sameTick = fOptions.fTicks && TanimTime(times[k], kSeconds) == TanimTime(times[k - 1], kSeconds);
            if (double(times[k]) - double(times[k - 1]) < kTimeTolerance || sameTick) {
                fail(fPath, place, "times too close to keep apart at " + element);
            }
        }
    }

    Tkeyframe makeKey(float seconds, double value, TtangentType type) const
    {
        if (fOptions.fTicks) {
            return Tkeyframe(TanimTime(double(seconds), kSeconds), value, type, type);
        }
        return Tkeyframe(seconds, value, type, type);
    }

    // An empty, non-weighted curve for one component of a target.
    TnamedCurve emptyCurve(TcurveTarget const& target, bool nameAnimation) const
    {
        TnamedCurve named;
        std::string const component = target.fPath == kWeightsPath ? std::to_string(target.fComponent)
                                                                   : kVectorComponents[std::size_t(target.fComponent)];
        named.fName =
            (nameAnimation ? target.fAnimation + "/" : "") + target.fNode + "/" + target.fPath + "/" + component;
        named.fTarget = target;
        named.fCurve = std::make_shared<TparamCurve>(!fOptions.fTicks);
        named.fCurve->setCurveFlag(TparamCurve::kWeightedBit, false);
        return named;
    }

    // A rotation channel becomes a rotation triple: its keys hold the
    // quaternion as the file does, x, y and z on the three curves and w
    // beside z, and the triple interpolates on the sphere as the sampler
    // asks. A cubic spline's tangents are quaternion derivatives, which a
    // triple does not hold: it runs a smooth cubic through the same keys.
    void importRotation(Tsamples const& samples, TcurveTarget target, bool nameAnimation, std::string const& place,
                        TcurveSet& curves) const
    {
        bool const step = samples.fInterpolation == Tinterpolation::kStep;
        bool const cubic = samples.fInterpolation == Tinterpolation::kCubicSpline;
        TtangentType const type = step ? kTangentStep : kTangentLinear;
        if (cubic) {
            fWarnings.push_back(fPath + ": " + place + ": the cubic rotation of " + target.fNode +
                                " runs through its keys; its tangents are not kept");
        }
        std::size_t const first = curves.size();
        for (int axis = 0; axis < 3; ++axis) {
            target.fComponent = axis;
            curves.push_back(emptyCurve(target, nameAnimation));
            for (std::size_t k = 0; k < samples.fTimes.size(); ++k) {
                Tkeyframe key = makeKey(samples.fTimes[k], samples.at(k, 1, axis), type);
                double const w = axis == 2 ? samples.at(k, 1, 3) : 1.0;
                key.setTimeAndValue(key.timeValue(), key.value(), w);
                if (!curves.back().fCurve->add(key)) {
                    fail(fPath, place, "the engine refused key " + std::to_string(k));
                }
            }
        }
        TnamedCurve* const channels[3] = {&curves[first], &curves[first + 1], &curves[first + 2]};
        auto const mode = step    ? TparamCurveEnums::kQuaternionTangentDependent
                          : cubic ? TparamCurveEnums::kQuaternionCubic
                                  : TparamCurveEnums::kQuaternionSlerp;
        std::string const name = curves[first].fName.substr(0, curves[first].fName.size() - 2);
        if (!linkRotation(channels, name, mode)) {
            fail(fPath, place, "the rotation's keys could not be kept in step");
        }
    }

    TnamedCurve makeCurve(Tsamples const& samples, TcurveTarget const& target, bool nameAnimation,
                          std::string const& place) const
    {
        TnamedCurve named = emptyCurve(target, nameAnimation);
        TparamCurve& curve = *named.fCurve;
        bool const cubic = samples.fInterpolation == Tinterpolation::kCubicSpline;
        TtangentType const type =
            cubic ? kTangentFixed : (samples.fInterpolation == Tinterpolation::kStep ? kTangentStep : kTangentLinear);
        for (std::size_t k = 0; k < samples.fTimes.size(); ++k) {
            Tkeyframe key = makeKey(samples.fTimes[k], samples.at(k, 1, target.fComponent), type);
            if (cubic) {
                key.setTanIn(1.0f, samples.at(k, 0, target.fComponent));
                key.setTanOut(1.0f, samples.at(k, 2, target.fComponent));
            }
            if (!curve.add(key, false, cubic)) {
                fail(fPath, place, "the engine refused key " + std::to_string(k));
            }
        }
        return named;
    }

    std::string fPath;
    TimportOptions fOptions;
    std::vector<std::string>& fWarnings;
    tinygltf::Model fModel;
    std::vector<std::string> fNodeLabels;
};

}  // namespace

TcurveSet importGltf(std::string const& path, TimportOptions const& options, std::vector<std::string>& warnings)
{
    return Timporter(path, options, warnings).run();
}

namespace {

struct TimportArgs {
    std::string fInput;
    std::string fOutput;
    TimportOptions fOptions;
};

void runImport(TimportArgs const& args)
{
    std::vector<std::string> warnings;
    TcurveSet const curves = importGltf(args.fInput, args.fOptions, warnings);
    for (std::string const& warning : warnings) {
        std::fprintf(stderr, "keelcurve: warning: %s\n", warning.c_str());
    }
    writeCurveFile(args.fOutput, curves);
}

}  // namespace

void addImportCommand(CLI::App& app)
{
    auto args = std::make_shared<TimportArgs>();
    CLI::App* command = app.add_subcommand("import-gltf", "Turn every animation channel of a glTF 2.0 file into "
                                                          "curves (one per component)");
    command->add_option("gltf", args->fInput, "FILE.gltf or FILE.glb")->required();
    command->add_option("-o,--output", args->fOutput, "Curve file to write (JSON)")->required();
    command->add_flag("--ticks", args->fOptions.fTicks, "Keep key times in ticks (6000 per second) instead of seconds");
    command->callback([args] { runImport(*args); });
}
