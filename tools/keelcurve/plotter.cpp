#include "plotter.h"

#include "outputFile.h"
#include "spans.h"
#include "toolError.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

constexpr int kMinPlotSize = 320;
constexpr int kMaxPlotSize = 8192;

struct Tcolour {
    double fR, fG, fB;
};

// A palette that stays apart on white; curves past its end reuse it.
constexpr std::array<Tcolour, 10> kPalette{{{0.122, 0.467, 0.706},
                                            {1.000, 0.498, 0.055},
                                            {0.173, 0.627, 0.173},
                                            {0.839, 0.153, 0.157},
                                            {0.580, 0.404, 0.741},
                                            {0.549, 0.337, 0.294},
                                            {0.890, 0.467, 0.761},
                                            {0.498, 0.498, 0.498},
                                            {0.737, 0.741, 0.133},
                                            {0.090, 0.745, 0.812}}};

constexpr double kMarginLeft = 72.0;
constexpr double kMarginRight = 16.0;
constexpr double kLegendWidth = 220.0;
constexpr double kMarginTop = 24.0;
constexpr double kMarginBottom = 48.0;
constexpr double kInfinityLineWidth = 1.5;
constexpr double kHandleLineWidth = 1.0;
constexpr double kKeyRadius = 3.5;
constexpr double kHandleRadius = 2.5;
constexpr double kInfinityDash = 6.0;
constexpr double kFontSize = 12.0;
constexpr double kTickLength = 5.0;
constexpr double kValueTitleX = 12.0;
constexpr double kLegendRow = 18.0;
constexpr double kSwatch = 14.0;
// The share of the keys' duration shown before and after them by default.
constexpr double kInfinityMargin = 0.25;
// The share of the value range left free above and below the curves.
constexpr double kValuePadding = 0.08;
// Samples per span for kinds that are no cubics, and across the plot for
// infinity zones and value bounds.
constexpr int kSpanSamples = 64;
constexpr int kRangeSamples = 1024;
constexpr int kTargetTicks = 8;
constexpr double kMaxTicks = 4.0 * kTargetTicks;

// Seconds and values to device coordinates.
struct Tframe {
    double fLeft, fTop, fWidth, fHeight;
    double fT0, fT1, fV0, fV1;

    double x(double t) const { return fLeft + (t - fT0) / (fT1 - fT0) * fWidth; }
    double y(double v) const { return fTop + (fV1 - v) / (fV1 - fV0) * fHeight; }
};

Tcolour colourOf(std::size_t index)
{
    return kPalette[index % kPalette.size()];
}

void setColour(cairo_t* cr, Tcolour const& colour)
{
    cairo_set_source_rgb(cr, colour.fR, colour.fG, colour.fB);
}

// A tick spacing of 1, 2 or 5 times a power of ten giving about
// kTargetTicks ticks over `range`.
double niceStep(double range)
{
    double const raw = range / kTargetTicks;
    double const magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    double const normal = raw / magnitude;
    double const factor = normal < 1.5 ? 1.0 : (normal < 3.0 ? 2.0 : (normal < 7.0 ? 5.0 : 10.0));
    return factor * magnitude;
}

double evaluateAt(TparamCurve& curve, double seconds)
{
    return curve.evaluate(static_cast<float>(seconds));
}

// --- The range shown ------------------------------------------------------------------

void timeRange(TcurveSet const& curves, TplotOptions const& options, double& t0, double& t1)
{
    if (options.fHasRange) {
        t0 = options.fFrom;
        t1 = options.fTo;
        return;
    }
    if (!keyTimeRange(curves, t0, t1)) {
        t0 = 0.0;
        t1 = 1.0;
    }
    double const margin = t1 > t0 ? (t1 - t0) * kInfinityMargin : 1.0;
    t0 -= margin;
    t1 += margin;
}

// What the curve shows at key k: its value, or for a rotation channel
// evaluated through its triple, its angle there.
double keyValue(TparamCurve& curve, unsigned k)
{
    return curve.evaluatesAsQuaternion() ? evaluateAt(curve, keySeconds(curve, k)) : curve.value(k);
}

void valueRange(TcurveSet const& curves, double t0, double t1, double& v0, double& v1)
{
    v0 = INFINITY;
    v1 = -INFINITY;
    auto const widen = [&](double v) {
        v0 = std::min(v0, v);
        v1 = std::max(v1, v);
    };
    for (TnamedCurve const& named : curves) {
        TparamCurve& curve = *named.fCurve;
        if (curve.keyframeCountAll() == 0) {
            continue;
        }
        for (int i = 0; i <= kRangeSamples; ++i) {
            widen(evaluateAt(curve, t0 + (t1 - t0) * i / kRangeSamples));
        }
        for (unsigned k = 0; k < curve.keyframeCountAll(); ++k) {
            double const t = keySeconds(curve, k);
            if (t >= t0 && t <= t1) {
                widen(keyValue(curve, k));
            }
        }
    }
    if (!(v1 >= v0)) {
        v0 = 0.0;
        v1 = 1.0;
    }
    double const span = v1 > v0 ? v1 - v0 : 1.0;
    v0 -= span * kValuePadding;
    v1 += span * kValuePadding;
}

// --- Curves ---------------------------------------------------------------------------

void sampledSpan(cairo_t* cr, Tframe const& frame, TparamCurve& curve, double t0, double t1)
{
    for (int i = 1; i <= kSpanSamples; ++i) {
        double const t = t0 + (t1 - t0) * i / kSpanSamples;
        cairo_line_to(cr, frame.x(t), frame.y(evaluateAt(curve, t)));
    }
}

// Appends span `span` to the current path, which stands at its first key.
void appendSpan(cairo_t* cr, Tframe const& frame, TparamCurve& curve, unsigned span)
{
    double const t0 = keySeconds(curve, span);
    double const t1 = keySeconds(curve, span + 1);
    if (curve.evaluatesAsQuaternion()) {
        sampledSpan(cr, frame, curve, t0, t1);  // the rotation's angle, not the stored quaternion
        return;
    }
    double const v0 = curve.value(span);
    double const v1 = curve.value(span + 1);
    if (auto const cubic = cubicSpan(curve, span)) {
        cairo_curve_to(cr, frame.x(cubic->fX[1]), frame.y(cubic->fY[1]), frame.x(cubic->fX[2]), frame.y(cubic->fY[2]),
                       frame.x(cubic->fX[3]), frame.y(cubic->fY[3]));
        return;
    }
    switch (spanKind(curve, span)) {
    case TspanKind::kLinear: cairo_line_to(cr, frame.x(t1), frame.y(v1)); return;
    case TspanKind::kStep:
        cairo_line_to(cr, frame.x(t1), frame.y(v0));
        cairo_line_to(cr, frame.x(t1), frame.y(v1));
        return;
    case TspanKind::kStepNext:
        cairo_line_to(cr, frame.x(t0), frame.y(v1));
        cairo_line_to(cr, frame.x(t1), frame.y(v1));
        return;
    default: sampledSpan(cr, frame, curve, t0, t1); cairo_line_to(cr, frame.x(t1), frame.y(v1));
    }
}

void drawKeyedPart(cairo_t* cr, Tframe const& frame, TparamCurve& curve)
{
    unsigned const count = curve.keyframeCountAll();
    cairo_new_path(cr);
    cairo_move_to(cr, frame.x(keySeconds(curve, 0)), frame.y(keyValue(curve, 0)));
    for (unsigned span = 0; span + 1 < count; ++span) {
        appendSpan(cr, frame, curve, span);
    }
    cairo_set_line_width(cr, kCurveLineWidth);
    cairo_set_dash(cr, nullptr, 0, 0.0);
    cairo_stroke(cr);
}

// The curve by its infinity type from `from` to `to`, dashed.
void drawInfinityZone(cairo_t* cr, Tframe const& frame, TparamCurve& curve, double from, double to)
{
    if (!(to > from)) {
        return;
    }
    cairo_new_path(cr);
    cairo_move_to(cr, frame.x(from), frame.y(evaluateAt(curve, from)));
    for (int i = 1; i <= kRangeSamples; ++i) {
        double const t = from + (to - from) * i / kRangeSamples;
        cairo_line_to(cr, frame.x(t), frame.y(evaluateAt(curve, t)));
    }
    double const dash[] = {kInfinityDash, kInfinityDash};
    cairo_set_dash(cr, dash, 2, 0.0);
    cairo_set_line_width(cr, kInfinityLineWidth);
    cairo_stroke(cr);
    cairo_set_dash(cr, nullptr, 0, 0.0);
}

void dot(cairo_t* cr, double x, double y, double radius)
{
    cairo_new_path(cr);
    cairo_arc(cr, x, y, radius, 0.0, 2.0 * M_PI);
    cairo_fill(cr);
}

void drawHandles(cairo_t* cr, Tframe const& frame, TparamCurve& curve)
{
    for (unsigned span = 0; span + 1 < curve.keyframeCountAll() && !curve.evaluatesAsQuaternion(); ++span) {
        auto const cubic = cubicSpan(curve, span);
        if (!cubic) {
            continue;
        }
        cairo_set_line_width(cr, kHandleLineWidth);
        cairo_new_path(cr);
        cairo_move_to(cr, frame.x(cubic->fX[0]), frame.y(cubic->fY[0]));
        cairo_line_to(cr, frame.x(cubic->fX[1]), frame.y(cubic->fY[1]));
        cairo_move_to(cr, frame.x(cubic->fX[3]), frame.y(cubic->fY[3]));
        cairo_line_to(cr, frame.x(cubic->fX[2]), frame.y(cubic->fY[2]));
        cairo_stroke(cr);
        dot(cr, frame.x(cubic->fX[1]), frame.y(cubic->fY[1]), kHandleRadius);
        dot(cr, frame.x(cubic->fX[2]), frame.y(cubic->fY[2]), kHandleRadius);
    }
}

void drawCurve(cairo_t* cr, Tframe const& frame, TparamCurve& curve, Tcolour const& colour, bool handles)
{
    unsigned const count = curve.keyframeCountAll();
    if (count == 0) {
        return;
    }
    setColour(cr, colour);
    double const first = keySeconds(curve, 0);
    double const last = keySeconds(curve, count - 1);
    drawInfinityZone(cr, frame, curve, frame.fT0, std::min(first, frame.fT1));
    drawInfinityZone(cr, frame, curve, std::max(last, frame.fT0), frame.fT1);
    drawKeyedPart(cr, frame, curve);
    if (handles) {
        drawHandles(cr, frame, curve);
    }
    for (unsigned k = 0; k < count; ++k) {
        dot(cr, frame.x(keySeconds(curve, k)), frame.y(keyValue(curve, k)), kKeyRadius);
    }
}

// --- Axes and legend ------------------------------------------------------------------

void label(cairo_t* cr, double x, double y, char const* text, double alignX, double alignY)
{
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text, &extents);
    cairo_move_to(cr, x - extents.width * alignX - extents.x_bearing, y - extents.height * alignY - extents.y_bearing);
    cairo_show_text(cr, text);
}

// Grid lines and labels at each multiple of a nice step within [lo, hi].
// None when the range is too narrow for its magnitude to hold distinct ticks.
template <class Draw> void forEachTick(double lo, double hi, Draw draw)
{
    double const step = niceStep(hi - lo);
    double const first = std::ceil(lo / step);
    double const last = std::floor(hi / step);
    if (!std::isfinite(first) || !std::isfinite(last) || last - first > kMaxTicks) {
        return;
    }
    for (double n = first; n <= last; n += 1.0) {
        draw(n == 0.0 ? 0.0 : n * step);
    }
}

void drawAxes(cairo_t* cr, Tframe const& frame)
{
    char text[32];
    cairo_set_line_width(cr, 1.0);
    double const bottom = frame.fTop + frame.fHeight;
    forEachTick(frame.fT0, frame.fT1, [&](double t) {
        cairo_set_source_rgb(cr, 0.9, 0.9, 0.9);
        cairo_move_to(cr, frame.x(t), frame.fTop);
        cairo_line_to(cr, frame.x(t), bottom + kTickLength);
        cairo_stroke(cr);
        cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
        std::snprintf(text, sizeof text, "%g", t);
        label(cr, frame.x(t), bottom + kTickLength + 4.0, text, 0.5, 0.0);
    });
    forEachTick(frame.fV0, frame.fV1, [&](double v) {
        cairo_set_source_rgb(cr, 0.9, 0.9, 0.9);
        cairo_move_to(cr, frame.fLeft - kTickLength, frame.y(v));
        cairo_line_to(cr, frame.fLeft + frame.fWidth, frame.y(v));
        cairo_stroke(cr);
        cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
        std::snprintf(text, sizeof text, "%g", v);
        label(cr, frame.fLeft - kTickLength - 4.0, frame.y(v), text, 1.0, 0.5);
    });
    cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
    cairo_rectangle(cr, frame.fLeft, frame.fTop, frame.fWidth, frame.fHeight);
    cairo_stroke(cr);
    label(cr, frame.fLeft + frame.fWidth / 2.0, bottom + kMarginBottom - 6.0, "time (s)", 0.5, 1.0);
    cairo_save(cr);
    cairo_translate(cr, kValueTitleX, frame.fTop + frame.fHeight / 2.0);
    cairo_rotate(cr, -M_PI / 2.0);
    label(cr, 0.0, 0.0, "value", 0.5, 0.5);
    cairo_restore(cr);
}

void drawLegend(cairo_t* cr, TcurveSet const& curves, double left, double top)
{
    for (std::size_t i = 0; i < curves.size(); ++i) {
        double const y = top + kLegendRow * double(i);
        setColour(cr, colourOf(i));
        cairo_rectangle(cr, left, y, kSwatch, kSwatch * 0.5);
        cairo_fill(cr);
        cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
        label(cr, left + kSwatch + 6.0, y + kSwatch * 0.25, curves[i].fName.c_str(), 0.0, 0.5);
    }
}

void drawEverything(cairo_t* cr, TcurveSet const& curves, TplotOptions const& options)
{
    cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, kFontSize);

    Tframe frame{};
    frame.fLeft = kMarginLeft;
    frame.fTop = kMarginTop;
    frame.fWidth = options.fWidth - kMarginLeft - kMarginRight - kLegendWidth;
    frame.fHeight = options.fHeight - kMarginTop - kMarginBottom;
    timeRange(curves, options, frame.fT0, frame.fT1);
    valueRange(curves, frame.fT0, frame.fT1, frame.fV0, frame.fV1);
    drawAxes(cr, frame);

    cairo_save(cr);
    cairo_rectangle(cr, frame.fLeft, frame.fTop, frame.fWidth, frame.fHeight);
    cairo_clip(cr);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        drawCurve(cr, frame, *curves[i].fCurve, colourOf(i), options.fHandles);
    }
    cairo_restore(cr);
    drawLegend(cr, curves, frame.fLeft + frame.fWidth + kMarginRight, frame.fTop);
}

using TsurfacePtr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using TcontextPtr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void expectSuccess(cairo_status_t status, std::string const& reportedPath)
{
    if (status != CAIRO_STATUS_SUCCESS) {
        fail(reportedPath, "", std::string("cannot draw: ") + cairo_status_to_string(status));
    }
}

}  // namespace

TplotOptions plotOptions(std::optional<double> from, std::optional<double> to, bool handles, int width, int height)
{
    TplotOptions options;
    options.fHandles = handles;
    if (width < kMinPlotSize || width > kMaxPlotSize || height < kMinPlotSize || height > kMaxPlotSize) {
        failOption("--width/--height", "width and height must lie between " + std::to_string(kMinPlotSize) + " and " +
                                           std::to_string(kMaxPlotSize));
    }
    options.fWidth = width;
    options.fHeight = height;
    if (from.has_value() != to.has_value()) {
        failOption("--from/--to", "give both ends of the time range");
    }
    if (from) {
        checkCommandTime(*from, "--from");
        checkCommandTime(*to, "--to");
        if (!(*to > *from)) {
            failOption("--from/--to", "the time range is empty");
        }
        options.fHasRange = true;
        options.fFrom = *from;
        options.fTo = *to;
    }
    return options;
}

TplotFormat plotFormatOf(std::string const& outputPath)
{
    auto const endsWith = [&outputPath](char const* suffix) {
        std::string const tail(suffix);
        return outputPath.size() >= tail.size() &&
               outputPath.compare(outputPath.size() - tail.size(), tail.size(), tail) == 0;
    };
    if (endsWith(".svg")) {
        return TplotFormat::kSvg;
    }
    if (endsWith(".png")) {
        return TplotFormat::kPng;
    }
    fail(outputPath, "", "a plot is written as .svg or .png");
}

void drawPlot(TcurveSet const& curves, TplotOptions const& options, TplotFormat format, std::string const& path,
              std::string const& reportedPath)
{
    TsurfacePtr surface(format == TplotFormat::kSvg
                            ? cairo_svg_surface_create(path.c_str(), options.fWidth, options.fHeight)
                            : cairo_image_surface_create(CAIRO_FORMAT_ARGB32, options.fWidth, options.fHeight),
                        &cairo_surface_destroy);
    expectSuccess(cairo_surface_status(surface.get()), reportedPath);
    {
        TcontextPtr cr(cairo_create(surface.get()), &cairo_destroy);
        drawEverything(cr.get(), curves, options);
        expectSuccess(cairo_status(cr.get()), reportedPath);
    }
    if (format == TplotFormat::kPng) {
        expectSuccess(cairo_surface_write_to_png(surface.get(), path.c_str()), reportedPath);
    }
    cairo_surface_finish(surface.get());
    expectSuccess(cairo_surface_status(surface.get()), reportedPath);
}

void writePlot(TcurveSet const& curves, TplotOptions const& options, std::string const& path)
{
    TplotFormat const format = plotFormatOf(path);
    TpendingOutput output(path);
    drawPlot(curves, options, format, output.tempPath(), path);
    releasePlotCaches();
    output.commit();
}

void releasePlotCaches()
{
    cairo_debug_reset_static_data();
    FcFini();
}
