#include "spans.h"

#include <keelanim/segments/bezier.h>
#include <keelanim/segments/hermite.h>

namespace {

TspanKind segmentKind(TinterpolatorType type)
{
    switch (type) {
    case kInterpolatorHermite: return TspanKind::kHermite;
    case kInterpolatorBezier: return TspanKind::kBezier;
    case kInterpolatorSine: return TspanKind::kSine;
    case kInterpolatorParabolic: return TspanKind::kParabolic;
    case kInterpolatorLog: return TspanKind::kLog;
    default: return TspanKind::kOther;
    }
}

// The segment the curve builds for `span`, or null when it builds none.
T2dAnimCurve* segmentOf(TparamCurve& curve, unsigned span)
{
    curve.setInterpolationInterval(span);
    T2dAnimCurve* segment = curve.interpolator();
    return curve.interpolatorSpan() == static_cast<int>(span) ? segment : nullptr;
}

// The Bezier whose value control points give the power form
// d + c·u + b·u² + a·u³ over u in [0, length], with the input linear in u.
TcubicSpan bezierOfPowerForm(ThermiteCubic const& cubic, double length, double endValue)
{
    double const third = length / 3.0;
    TcubicSpan span{};
    for (int i = 0; i < 4; ++i) {
        span.fX[i] = cubic.fX0 + third * i;
    }
    span.fX[3] = cubic.fX0 + length;
    span.fY[0] = cubic.fD;
    span.fY[1] = cubic.fD + cubic.fC * third;
    span.fY[2] = cubic.fD + 2.0 * cubic.fC * third + cubic.fB * length * third;
    span.fY[3] = endValue;
    return span;
}

}  // namespace

char const* spanKindName(TspanKind kind)
{
    switch (kind) {
    case TspanKind::kHermite: return "hermite";
    case TspanKind::kBezier: return "bezier";
    case TspanKind::kLinear: return "linear";
    case TspanKind::kStep: return "step";
    case TspanKind::kStepNext: return "stepNext";
    case TspanKind::kSine: return "sine";
    case TspanKind::kParabolic: return "parabolic";
    case TspanKind::kLog: return "log";
    case TspanKind::kOther: break;
    }
    return "other";
}

TspanKind spanKind(TparamCurve const& curve, unsigned span)
{
    Tkeyframe const* key = curve.keyframe(span);
    switch (key->interpMethod()) {
    case Tkeyframe::kInterpLinear: return TspanKind::kLinear;
    case Tkeyframe::kInterpStep: return TspanKind::kStep;
    case Tkeyframe::kInterpStepNext: return TspanKind::kStepNext;
    case Tkeyframe::kInterpSegment: break;
    }
    return segmentKind(T2dAnimCurve::desiredInterpolatorType(curve.isWeighted(), key));
}

double keySeconds(TparamCurve const& curve, unsigned index)
{
    return curve.doubleSeconds(curve.keyframe(index));
}

std::optional<TcubicSpan> cubicSpan(TparamCurve& curve, unsigned span)
{
    TspanKind const kind = spanKind(curve, span);
    if (kind != TspanKind::kHermite && kind != TspanKind::kBezier) {
        return std::nullopt;
    }
    double const x0 = keySeconds(curve, span);
    double const x3 = keySeconds(curve, span + 1);
    double const y0 = curve.value(span);
    double const y3 = curve.value(span + 1);
    T2dAnimCurve* segment = segmentOf(curve, span);
    if (auto const* hermite = dynamic_cast<T2dHermite const*>(segment)) {
        return bezierOfPowerForm(hermite->cubic(), x3 - x0, y3);
    }
    if (auto const* bezier = dynamic_cast<T2dBezier const*>(segment)) {
        return TcubicSpan{{x0, bezier->x1(), bezier->x2(), x3}, {y0, bezier->y1(), bezier->y2(), y3}};
    }
    return std::nullopt;
}

double hermiteSlope(TparamCurve& curve, unsigned span, double seconds)
{
    auto const* hermite = dynamic_cast<T2dHermite const*>(segmentOf(curve, span));
    if (hermite == nullptr) {
        return 0.0;
    }
    ThermiteCubic const& cubic = hermite->cubic();
    double const u = seconds - cubic.fX0;
    return (3.0 * cubic.fA * u + 2.0 * cubic.fB) * u + cubic.fC;
}
