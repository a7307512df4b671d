#pragma once

#include <keelanim/curve/paramCurve.h>

#include <optional>
#include <string>

// How the span from key i to key i + 1 is interpolated, as the tool tells
// them apart: the engine's interpolation method, and for segment spans the
// segment kind the curve builds.
enum class TspanKind {
    kHermite,
    kBezier,
    kLinear,
    kStep,
    kStepNext,
    kSine,
    kParabolic,
    kLog,
    kOther,  // plug-in kinds and kinds without a segment
};

inline constexpr int kSpanKindCount = 9;

// The lower-case word for a span kind, as info prints it.
char const* spanKindName(TspanKind kind);

// The kind of span `span` (key `span` to key `span` + 1); the span must exist.
TspanKind spanKind(TparamCurve const& curve, unsigned span);

// A key's time in seconds, whatever the curve's time form.
double keySeconds(TparamCurve const& curve, unsigned index);

// A span's exact shape as one cubic Bezier in the (seconds, value) plane.
struct TcubicSpan {
    double fX[4];
    double fY[4];
};

// The cubic Bezier that is span `span`, for the kinds whose spans are cubics:
// Hermite spans (their power form, converted exactly) and Bezier spans (the
// control points as the segment settled them). Empty for other kinds.
std::optional<TcubicSpan> cubicSpan(TparamCurve& curve, unsigned span);

// The slope (value per second) of a Hermite span's cubic at `seconds`.
double hermiteSlope(TparamCurve& curve, unsigned span, double seconds);
