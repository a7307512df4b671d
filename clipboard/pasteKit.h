#pragma once

#include "keelanim/clipboard/clipboard.h"
#include "keelanim/curve/paramCurve.h"

#include <memory>

namespace keel_clipboard {

// One tick of the curve's time form: a tick, or 1/6000 second in single
// precision.
TtimeValue oneTick(TparamCurve const& curve);
// offset + count * length, in the form of the times (ticks stay exact).
TtimeValue timesAlong(TtimeValue const& offset, TtimeValue const& length, unsigned count);

// Which clipboard curve pastes onto which target, decided once per paste:
// a triple onto a triple axis by axis (converted between quaternion and
// Euler keys where the two differ), a triple onto one curve from the
// clipboard curve of its axis, one curve onto this curve alone. The plan
// owns the converted copies; the caller's clipboard is never changed.
class TpastePlan {
public:
    TpastePlan(TparamCurve& curve, unsigned count, TparamCurve* const* clipboard, TpasteSettings const& settings);
    TpastePlan(TpastePlan const&) = delete;
    TpastePlan& operator=(TpastePlan const&) = delete;
    ~TpastePlan();

    // False for a clipboard that cannot be pasted here (see paste()).
    bool valid() const { return fValid; }
    unsigned count() const { return fCount; }
    TparamCurve* const* clipboard() const { return fClipboard; }
    TparamCurve* const* targets() const { return fTargets; }
    // The copied range the settings give, or the first clipboard curve's
    // first to last key; false when it is reversed, of the other form or
    // not finite.
    bool copiedRange(TtimeValue& start, TtimeValue& end) const;
    // A target left static by the paste while its clipboard curve is not
    // checks its keys' tangents again.
    void recheckStatic(unsigned index) const;

private:
    bool useConverted(TparamCurve* const* clipboard, bool toQuaternion, TparamCurveEnums::TrotationInterpolation mode);

    TparamCurve& fCurve;
    TpasteSettings const& fSettings;
    TparamCurve* fClipboard[3] = {};
    TparamCurve* fTargets[3] = {};
    std::unique_ptr<TparamCurve> fConverted[3];
    unsigned fCount = 0;
    bool fValid = false;
};

}  // namespace keel_clipboard
