#include "keelanim/editing/changeFunctions.h"
#include "keelanim/base/numeric.h"

#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/keyframeHandle.h"

#include <algorithm>
#include <cmath>

namespace {

// Seconds of a time of either form (ticks / 6000).
float secondsOf(TtimeValue const& time)
{
    return narrowToFloat(time.seconds());
}

// The falloff's smallest largest distance: below it every key is weighed 1.
constexpr double kSmallestReach = static_cast<double>(0.00001f);

}  // namespace

// --- The constant change --------------------------------------------------------------------------

TtimeValueChangeFn::TtimeValueChangeFn(TtimeValue const& time, double value) : fValueChange(value)
{
    setTimeChange(time);
}

TtimeValueChangeFn::~TtimeValueChangeFn() = default;

void TtimeValueChangeFn::setTimeChange(TtimeValue const& time)
{
    fTimeChange = time;
    convertTimeToRequiredFmt(fTimeChange);
}

void TtimeValueChangeFn::setRequiredTimeFormat(TimeFormat format)
{
    fRequiredFormat = format;
    convertTimeToRequiredFmt(fTimeChange);
}

void TtimeValueChangeFn::setRequiredTimeFormat(TparamCurve const* curve)
{
    if (curve != nullptr) {
        setRequiredTimeFormat(curve->isAnimTimeCurve() ? kTicksFormat : kSecondsFormat);
    }
}

void TtimeValueChangeFn::convertTimeToRequiredFmt(TtimeValue& time) const
{
    if (fRequiredFormat == kTicksFormat && !time.isTicks()) {
        time = TtimeValue(TanimTime(time.seconds(), kSeconds));
    } else if (fRequiredFormat == kSecondsFormat && time.isTicks()) {
        time = TtimeValue(narrowToFloat(time.animTime().ticks() / double(kTicksPerSecond)));
    }
}

TtimeValue TtimeValueChangeFn::timeChange(TkeyframeHandle const* /*key*/, TtimeValue const* /*time*/) const
{
    return fTimeChange;
}

double TtimeValueChangeFn::valueChange(TkeyframeHandle const* /*key*/) const
{
    return fValueChange;
}

bool TtimeValueChangeFn::canProvide(TimeFormat format) const
{
    if (fRequiredFormat != kAnyFormat) {
        return true;
    }
    return (format == kSecondsFormat && !fTimeChange.isTicks()) || (format == kTicksFormat && fTimeChange.isTicks());
}

// --- Falloff -----------------------------------------------------------------------------------------

TfalloffFn::~TfalloffFn() = default;

void TfalloffFn::setPickTime(TtimeValue const& time)
{
    fPickTime = secondsOf(time);
}

void TfalloffFn::setFalloffRng(TtimeValue const& a, TtimeValue const& b)
{
    fRangeStart = std::min(secondsOf(a), secondsOf(b));
    fRangeEnd = std::max(secondsOf(a), secondsOf(b));
}

void TfalloffFn::addKeyframeDist(Tkeyframe* key, double distance)
{
    if (key == nullptr || std::isnan(distance)) {
        return;
    }
    fMaxDistance = std::max(fMaxDistance, distance);
    double existing = 0.0;
    if (!fDistances.find(key, existing)) {
        fDistances.insert(key, distance);
    }
}

double TfalloffFn::distFromKeyHandle(TkeyframeHandle const* key) const
{
    if (key == nullptr) {
        return 0.0;
    }
    double d = 0.0;
    fDistances.find(key->keyframe(), d);
    if (fMaxDistance > kSmallestReach) {
        d /= fMaxDistance;
    }
    if (d > 1.0) {
        return 0.0;
    }
    return d < 0.0 ? 1.0 : 1.0 - d;
}

double TfalloffFn::falloff(TkeyframeHandle const* key) const
{
    double const w = distFromKeyHandle(key);
    switch (fType) {
    case kLinearFalloff: return w;
    case kQuadraticFalloff: return w * w;
    }
    return 1.0;
}

TtimeValue TfalloffFn::timeChange(TkeyframeHandle const* key, TtimeValue const* time) const
{
    TtimeValue change = TtimeValueChangeFn::timeChange(key, time);
    if (key == nullptr) {
        return change;
    }
    change = change * narrowToFloat(falloff(key));
    convertTimeToRequiredFmt(change);
    return change;
}

double TfalloffFn::valueChange(TkeyframeHandle const* key) const
{
    double const change = TtimeValueChangeFn::valueChange(key);
    return key == nullptr ? change : change * falloff(key);
}

bool TfalloffFn::canProvide(TimeFormat format) const
{
    return TtimeValueChangeFn::canProvide(format);
}
