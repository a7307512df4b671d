// eval and bake: the value of every curve at given times, or at a frame rate
// over a range, as CSV or JSON.

#include "commands.h"
#include "curveFile.h"
#include "outputFile.h"
#include "toolError.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// More samples than this in one bake are refused rather than attempted.
constexpr double kMaxSamples = 5e7;
// Bakes with fewer evaluations than this finish too fast to need progress.
constexpr double kProgressThreshold = 2e5;
// Samples between two looks at the progress line.
constexpr std::size_t kProgressStride = 4096;

struct TevalArgs {
    std::string fInput;
    std::vector<double> fTimes;
    std::vector<std::string> fCurves;
};

struct TbakeArgs {
    std::string fInput;
    std::string fOutput;
    double fFps = 0.0;
    std::optional<double> fStart;
    std::optional<double> fEnd;
    std::vector<std::string> fCurves;
};

// The shortest decimal that reads back as `value`.
std::string number(double value)
{
    char text[32];
    auto const result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

// A CSV field, quoted when it holds a separator, a quote or a line break.
std::string csvField(std::string const& text)
{
    if (text.find_first_of(",\"\n\r") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (char c : text) {
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return quoted + "\"";
}

// The table of samples: one row per time, one column per curve.
struct Tsamples {
    std::vector<double> fTimes;
    std::vector<std::vector<double>> fValues;  // per curve
};

// Shows "baking NN%" on stderr while a long bake runs, when a person watches.
class Tprogress {
public:
    explicit Tprogress(double work) : fShown(work >= kProgressThreshold && isatty(STDERR_FILENO) != 0) {}
    ~Tprogress()
    {
        if (fShown) {
            std::fprintf(stderr, "\r%20s\r", "");
        }
    }
    Tprogress(Tprogress const&) = delete;
    Tprogress& operator=(Tprogress const&) = delete;

    void update(std::size_t done, std::size_t total)
    {
        int const percent = static_cast<int>(100.0 * double(done) / double(total));
        if (fShown && percent != fPercent) {
            fPercent = percent;
            std::fprintf(stderr, "\rbaking %3d%%", percent);
        }
    }

private:
    bool fShown;
    int fPercent = -1;
};

Tsamples sample(TcurveSet const& curves, std::vector<double> const& times)
{
    Tsamples samples;
    samples.fTimes = times;
    std::size_t const total = times.size() * curves.size();
    Tprogress progress{double(total)};
    for (std::size_t c = 0; c < curves.size(); ++c) {
        std::vector<double> values;
        values.reserve(times.size());
        for (double const t : times) {
            values.push_back(curves[c].fCurve->evaluate(static_cast<float>(t)));
            if (values.size() % kProgressStride == 0) {
                progress.update(c * times.size() + values.size(), total);
            }
        }
        samples.fValues.push_back(std::move(values));
    }
    return samples;
}

std::string csvText(TcurveSet const& curves, Tsamples const& samples)
{
    std::string text = "time";
    for (TnamedCurve const& named : curves) {
        text += "," + csvField(named.fName);
    }
    text += "\n";
    for (std::size_t row = 0; row < samples.fTimes.size(); ++row) {
        text += number(samples.fTimes[row]);
        for (std::vector<double> const& values : samples.fValues) {
            text += "," + number(values[row]);
        }
        text += "\n";
    }
    return text;
}

std::string jsonText(TcurveSet const& curves, Tsamples const& samples, double fps)
{
    nlohmann::ordered_json document;
    document["fps"] = fps;
    document["times"] = samples.fTimes;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (std::size_t c = 0; c < curves.size(); ++c) {
        list.push_back({{"name", curves[c].fName}, {"values", samples.fValues[c]}});
    }
    document["curves"] = std::move(list);
    return document.dump(1) + "\n";
}

void runEval(TevalArgs const& args)
{
    for (double const t : args.fTimes) {
        checkCommandTime(t, "--at");
    }
    TcurveSet const curves = selectCurves(readCurveFile(args.fInput), args.fCurves, args.fInput);
    std::fputs(csvText(curves, sample(curves, args.fTimes)).c_str(), stdout);
}

std::vector<double> bakeTimes(TbakeArgs const& args, TcurveSet const& curves)
{
    if (!std::isfinite(args.fFps) || args.fFps <= 0.0) {
        failOption("--fps", "the frame rate must be a positive number");
    }
    double first = 0.0;
    double last = 0.0;
    keyTimeRange(curves, first, last);
    double const start = args.fStart.value_or(first);
    double const end = args.fEnd.value_or(last);
    checkCommandTime(start, "--start");
    checkCommandTime(end, "--end");
    if (end < start) {
        failOption("--end", "the end comes before the start");
    }
    double const frames = bakeFrameCount(start, end, args.fFps);
    if (frames + 1.0 > kMaxSamples) {
        failOption("--fps", "too many samples (" + number(frames + 1.0) + ")");
    }
    std::vector<double> times;
    for (double frame = 0.0; frame <= frames; frame += 1.0) {
        times.push_back(bakeTime(start, frame, args.fFps));
    }
    return times;
}

void runBake(TbakeArgs const& args)
{
    bool const json = args.fOutput.ends_with(".json");
    if (!json && !args.fOutput.ends_with(".csv")) {
        fail(args.fOutput, "", "samples are written as .csv or .json");
    }
    TcurveSet const curves = selectCurves(readCurveFile(args.fInput), args.fCurves, args.fInput);
    Tsamples const samples = sample(curves, bakeTimes(args, curves));
    writeFileWhole(args.fOutput, json ? jsonText(curves, samples, args.fFps) : csvText(curves, samples));
}

}  // namespace

void addEvalCommands(CLI::App& app)
{
    auto eval = std::make_shared<TevalArgs>();
    CLI::App* evalCommand = app.add_subcommand("eval", "Print every curve's value at the given times (CSV)");
    evalCommand->add_option("curves", eval->fInput, "Curve file (JSON)")->required();
    evalCommand->add_option("--at", eval->fTimes, "Times in seconds")->required();
    evalCommand->add_option("--curve", eval->fCurves, "Only these curves (by name)");
    evalCommand->callback([eval] { runEval(*eval); });

    auto bake = std::make_shared<TbakeArgs>();
    CLI::App* bakeCommand = app.add_subcommand("bake", "Sample every curve at a frame rate into CSV or JSON");
    bakeCommand->add_option("curves", bake->fInput, "Curve file (JSON)")->required();
    bakeCommand->add_option("--fps", bake->fFps, "Samples per second")->required();
    bakeCommand->add_option("--start", bake->fStart, "First sample time in seconds (default: first key)");
    bakeCommand->add_option("--end", bake->fEnd, "Last sample time in seconds (default: last key)");
    bakeCommand->add_option("-o,--output", bake->fOutput, "samples.csv or samples.json")->required();
    bakeCommand->add_option("--curve", bake->fCurves, "Only these curves (by name)");
    bakeCommand->callback([bake] { runBake(*bake); });
}
