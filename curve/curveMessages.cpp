#include "keelanim/curve/curveMessages.h"

KEEL_DEFINE_METACLASS(TparamCurveModifiedMsg, &TserverMsgTmeta);
KEEL_DEFINE_METACLASS(TkeyframeAddDeleteMsg, &TserverMsgTmeta);
KEEL_DEFINE_METACLASS(TkeyframeMovedMsg, &TserverMsgTmeta);
KEEL_DEFINE_CONSTRUCTIBLE_METACLASS(TparamCurveChangedMsg, &TserverModifiedMsgTmeta);
KEEL_DEFINE_METACLASS(TparamCurveHelperMsg, &TserverMsgTmeta);

namespace {
// Copies a message of exactly the same type; false otherwise.
template <class Msg> bool copyFrom(Msg& to, TserverMsg const& from)
{
    Msg const* same = keelCast<Msg>(&from);
    if (same == nullptr || same->typeof() != to.typeof()) {
        return false;
    }
    to = *same;
    return true;
}
}  // namespace

bool TparamCurveModifiedMsg::copy(TserverMsg const& other)
{
    return copyFrom(*this, other);
}

bool TkeyframeAddDeleteMsg::copy(TserverMsg const& other)
{
    return copyFrom(*this, other);
}

bool TkeyframeMovedMsg::copy(TserverMsg const& other)
{
    return copyFrom(*this, other);
}

bool TparamCurveChangedMsg::copy(TserverMsg const& other)
{
    return copyFrom(*this, other);
}

bool TparamCurveChangedMsg::contains(TparamCurve const* curve) const
{
    return fCurves != nullptr && fCurves->count(curve) != 0;
}

bool TparamCurveHelperMsg::copy(TserverMsg const& other)
{
    return copyFrom(*this, other);
}
