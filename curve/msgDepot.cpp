#include "keelanim/curve/msgDepot.h"

#include <limits>

void TparamCurveMsgDepot::notifyOfChange(TparamCurve* curve)
{
    if (fSuspended || curve == nullptr) {
        return;
    }
    if (fDelayCount == 0 && !hasMessage(TparamCurveChangedMsgTmeta)) {
        return;  // nobody would hear it, and nothing waits
    }
    fChanged.insert(curve);
    fPending = true;
    if (fDelayCount > 0) {
        return;
    }
    sendChanged();
}

void TparamCurveMsgDepot::sendChanged()
{
    // Clients may change curves while they hear about earlier changes: send
    // a snapshot and start a fresh set first.
    TparamCurveSet sent;
    sent.swap(fChanged);
    fPending = false;
    TparamCurveChangedMsg const msg(&sent);
    notifyClients(msg);
}

void TparamCurveMsgDepot::delayMessages()
{
    if (fDelayCount < std::numeric_limits<std::uint16_t>::max()) {
        ++fDelayCount;
    }
}

void TparamCurveMsgDepot::resumeMessages()
{
    if (fDelayCount == 0) {
        return;  // an unmatched resume must not underflow into a long delay
    }
    if (--fDelayCount > 0) {
        return;
    }
    if (!fChanged.empty()) {
        sendChanged();
    }
    fPending = false;
}

bool TparamCurveMsgDepot::suspendUpdates(bool on)
{
    bool const previous = fSuspended;
    fSuspended = on;
    return previous;
}

void TparamCurveMsgDepot::forgetCurve(TparamCurve* curve)
{
    fChanged.erase(curve);
}
