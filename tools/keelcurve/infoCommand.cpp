// info: what each curve of a file holds.

#include "commands.h"
#include "curveFile.h"
#include "spans.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace {

struct TinfoArgs {
    std::string fInput;
};

// "hermite 2, linear 1" in the order of the kinds.
std::string spanSummary(TparamCurve const& curve)
{
    std::array<unsigned, kSpanKindCount> counts{};
    for (unsigned span = 0; span + 1 < curve.keyframeCountAll(); ++span) {
        ++counts[static_cast<std::size_t>(spanKind(curve, span))];
    }
    std::string summary;
    for (std::size_t kind = 0; kind < counts.size(); ++kind) {
        if (counts[kind] != 0) {
            summary += (summary.empty() ? "" : ", ") + std::string(spanKindName(static_cast<TspanKind>(kind))) + " " +
                       std::to_string(counts[kind]);
        }
    }
    return summary.empty() ? "none" : summary;
}

void printCurve(TnamedCurve const& named)
{
    TparamCurve& curve = *named.fCurve;
    unsigned const count = curve.keyframeCountAll();
    std::printf("%s\n", named.fName.c_str());
    std::printf("  keys      %u (%s%s)\n", count, curve.isAnimTimeCurve() ? "ticks" : "seconds",
                curve.isWeighted() ? ", weighted" : "");
    if (count > 0) {
        std::printf("  time      %.9g .. %.9g s\n", keySeconds(curve, 0), keySeconds(curve, count - 1));
        float t0 = 0.0f;
        float t1 = 0.0f;
        double low = 0.0;
        double high = 0.0;
        if (curve.evaluatesAsQuaternion()) {
            curve.updateQuaternionEulerCache(false);  // the bounds of its angles come from the samples
        }
        if (curve.boundingBox(t0, low, t1, high, true)) {
            std::printf("  values    %.9g .. %.9g\n", low, high);
        }
    }
    std::printf("  spans     %s\n", spanSummary(curve).c_str());
    std::printf("  infinity  %s before, %s after\n", infinityWord(curve.preInfinityType()),
                infinityWord(curve.postInfinityType()));
    if (named.fRotation != nullptr) {
        std::printf("  rotation  %s channel of '%s', %s (evaluates to radians)\n", kAxisWords[named.fAxis],
                    named.fRotation->fName.c_str(), rotationModeWord(curve.rotationInterpolation()));
    }
}

void runInfo(TinfoArgs const& args)
{
    TcurveSet const curves = readCurveFile(args.fInput);
    std::printf("%s: %zu curve%s\n", args.fInput.c_str(), curves.size(), curves.size() == 1 ? "" : "s");
    for (TnamedCurve const& named : curves) {
        printCurve(named);
    }
}

}  // namespace

void addInfoCommand(CLI::App& app)
{
    auto args = std::make_shared<TinfoArgs>();
    CLI::App* command = app.add_subcommand("info", "Per curve: key count, time range, span kinds, infinity types, "
                                                   "value bounds");
    command->add_option("curves", args->fInput, "Curve file (JSON)")->required();
    command->callback([args] { runInfo(*args); });
}
