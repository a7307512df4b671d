// plot: the curves of a file drawn to SVG or PNG.

#include "commands.h"
#include "curveFile.h"
#include "plotter.h"
#include "toolError.h"

#include <memory>
#include <string>
#include <vector>

namespace {

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

void runPlot(TplotArgs const& args)
{
    plotFormatOf(args.fOutput);  // a bad extension is reported before anything else
    TplotOptions const options = plotOptions(args.fFrom, args.fTo, args.fHandles, args.fWidth, args.fHeight);
    writePlot(selectCurves(readCurveFile(args.fInput), args.fCurves, args.fInput), options, args.fOutput);
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
