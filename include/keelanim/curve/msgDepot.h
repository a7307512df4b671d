#pragma once

#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/curveMessages.h"

#include <cstdint>

// TparamCurveMsgDepot: the one library-wide collector of curve changes.
//
// At the end of every outermost change bracket a curve reports itself here.
// The depot sends its global clients one TparamCurveChangedMsg naming the
// changed curves: at once, or, between delayMessages() and the matching
// resumeMessages(), once at the outermost resume, naming each curve once.
// While suspended, changes are neither sent nor remembered. The depot also
// carries the helper questions of the change bracket. It lives from library
// load to unload and is reached through TparamCurve::globalMsgDepot().
class KEEL_API TparamCurveMsgDepot : public TclientServer {
public:
    TparamCurveMsgDepot() = default;

    void notifyOfChange(TparamCurve* curve);
    void delayMessages();
    // Ends one level of delay; the outermost level sends what waited.
    void resumeMessages();
    // Sets the suspended flag and answers its previous value.
    bool suspendUpdates(bool on);

    // A destroyed curve must not be named by a later message.
    void forgetCurve(TparamCurve* curve);

    bool isSuspended() const { return fSuspended; }
    unsigned delayDepth() const { return fDelayCount; }
    bool isPending() const { return fPending; }
    TparamCurveSet const& changedCurves() const { return fChanged; }

private:
    void sendChanged();

    TparamCurveSet fChanged;
    std::uint16_t fDelayCount = 0;
    bool fPending = false;
    bool fSuspended = false;
};
