// plot: the curves of a file drawn to SVG or PNG.

#include "commands.h"
#include "curveFile.h"
#include "outputFile.h"
#include "plotter.h"
#include "toolError.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kMinPlotSize = 320;
constexpr int kMaxPlotSize = 8192;

struct TplotArgs {
    std::string fInput;
    std::string fOutput;
    std::vector<std::string> fCurves;
    std::optional<double> fFrom;
    std::optional<double> fTo;
    bool fHandles = false;
    int fWidth = TplotOptions{}.fWidth;
    int fHeight = TplotOptions{}.fHeight;
};

TplotOptions plotOptions(TplotArgs const& args)
{
    TplotOptions options;
    options.fHandles = args.fHandles;
    if (args.fWidth < kMinPlotSize || args.fWidth > kMaxPlotSize || args.fHeight < kMinPlotSize ||
        args.fHeight > kMaxPlotSize) {
        failOption("--width/--height", "width and height must lie between " + std::to_string(kMinPlotSize) + " and " +
                                           std::to_string(kMaxPlotSize));
    }
    options.fWidth = args.fWidth;
    options.fHeight = args.fHeight;
    if (args.fFrom.has_value() != args.fTo.has_value()) {
        failOption("--from/--to", "give both ends of the time range");
    }
    if (args.fFrom) {
        checkCommandTime(*args.fFrom, "--from");
        checkCommandTime(*args.fTo, "--to");
        if (!(*args.fTo > *args.fFrom)) {
            failOption("--from/--to", "the time range is empty");
        }
        options.fHasRange = true;
        options.fFrom = *args.fFrom;
        options.fTo = *args.fTo;
    }
    return options;
}

void runPlot(TplotArgs const& args)
{
    TplotFormat const format = plotFormatOf(args.fOutput);
    TplotOptions const options = plotOptions(args);
    TcurveSet const curves = selectCurves(readCurveFile(args.fInput), args.fCurves, args.fInput);
    TpendingOutput output(args.fOutput);
    drawPlot(curves, options, format, output.tempPath(), args.fOutput);
    releasePlotCaches();
    output.commit();
}

}  // namespace

void addPlotCommand(CLI::App& app)
{
    auto args = std::make_shared<TplotArgs>();
    CLI::App* command = app.add_subcommand("plot", "Draw curves exactly to SVG or PNG, with keys, infinity zones, "
                                                   "axes and a legend");
    command->add_option("curves", args->fInput, "Curve file (JSON)")->required();
    command->add_option("-o,--output", args->fOutput, "plot.svg or plot.png")->required();
    command->add_option("--curve", args->fCurves, "Only these curves (by name)");
    command->add_option("--from", args->fFrom, "Start of the time range shown, in seconds");
    command->add_option("--to", args->fTo, "End of the time range shown, in seconds");
    command->add_flag("--handles", args->fHandles, "Draw the tangent handles of cubic spans");
    command->add_option("--width", args->fWidth, "Width in pixels");
    command->add_option("--height", args->fHeight, "Height in pixels");
    command->callback([args] { runPlot(*args); });
}
