#pragma once

#include "curveSet.h"

#include <optional>
#include <string>

// Draws curves with cairo, the same routine for SVG and PNG.
//
// Inside their keys the curves are drawn exactly: Hermite and Bezier spans as
// the cubic Bezier they are, linear spans as lines, stepped spans as a level
// and a jump. Only the ease kinds and plug-in kinds, which are no cubics, are
// drawn through dense samples. Beyond the keys the infinity zones are drawn
// dashed from samples. Keys are dots; tangent handles (the inner control
// points of each cubic span) on request. Axes carry time and value ticks,
// and a legend names each curve in its colour.

enum class TplotFormat { kSvg, kPng };

struct TplotOptions {
    // The time range shown; without one, the keys' range and a margin on
    // both sides for the infinity zones.
    bool fHasRange = false;
    double fFrom = 0.0;
    double fTo = 0.0;
    bool fHandles = false;
    int fWidth = 960;
    int fHeight = 540;
};

// The options for a plot of `width` x `height` pixels, showing the time range
// [from, to] when both are given; fails (naming the command-line options) for
// sizes outside 320..8192, one end alone, an empty range or times beyond
// kMaxCommandTime.
TplotOptions plotOptions(std::optional<double> from, std::optional<double> to, bool handles, int width, int height);

// Each curve is one stroked path of this width, in its own colour; nothing
// else in a plot is stroked at this width (tests count the curves by it).
inline constexpr double kCurveLineWidth = 2.25;

// The format an output name asks for; fails for other extensions.
TplotFormat plotFormatOf(std::string const& outputPath);

// Draws `curves` into the file `path` (written as it stands: callers give a
// temporary file and rename it); fails naming `reportedPath` when cairo does.
void drawPlot(TcurveSet const& curves, TplotOptions const& options, TplotFormat format, std::string const& path,
              std::string const& reportedPath);

// Draws `curves` into the file `path` (SVG or PNG by its extension), which
// appears whole or not at all, and releases the font caches after.
void writePlot(TcurveSet const& curves, TplotOptions const& options, std::string const& path);

// Frees the font caches cairo and fontconfig keep for the whole process, so
// that a leak checker sees none at exit. Called once drawing is over: fonts
// load again if anything draws later.
void releasePlotCaches();
