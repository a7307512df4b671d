// TparamCurve: the change bracket, change notification and the fronts of the
// library-wide message depot.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editRecorder.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/msgDepot.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/prefs/prefItems.h"

namespace {

// Set once model updates were disabled inside the current outermost bracket;
// cleared by each outermost beginChange.
thread_local bool sModelUpdatesDisabled = false;

// Sends a helper question to the depot's helpers and answers their reply.
TbitField32 askHelpers(TparamCurve* curve, std::int32_t kind, std::uint32_t answer = 1)
{
    TparamCurveMsgDepot& depot = TparamCurve::globalMsgDepot();
    if (!depot.hasClients()) {
        return TbitField32(answer);  // nobody to change the default answer
    }
    TparamCurveHelperMsg const question(kind, curve, answer);
    depot.notifyClients(question);
    return question.answer();
}

}  // namespace

void (*TparamCurve::fsModelUpdatesHook)() = nullptr;
bool TparamCurve::fsSuppressChangeMessages = false;

bool TparamCurve::beginChange(unsigned mask)
{
    if (anyParamsLocked(mask)) {
        return false;
    }
    if (fCurveFlags.isSet(kAskHelpersBit) &&
        !askHelpers(this, TparamCurveHelperMsg::kAskBeforeChange).anyOf(TparamCurveHelperMsg::kAllowChangeBit)) {
        return false;
    }
    if (fCurveFlags.isSet(kReferencedBit) && !refAnimCurvesEditable() &&
        !askHelpers(this, TparamCurveHelperMsg::kAskReferenced).anyOf(TparamCurveHelperMsg::kAllowReferencedBit)) {
        return false;
    }
    if (fChangeDepth == 0) {
        sModelUpdatesDisabled = false;
        openTangentJournal();
        fChangeAnswer =
            askHelpers(this, TparamCurveHelperMsg::kBeginChange).anyOf(TparamCurveHelperMsg::kBeginAnswerBit);
    }
    ++fChangeDepth;
    return true;
}

void TparamCurve::endChange(bool modified)
{
    if (fChangeDepth == 0) {
        return;  // unmatched: nothing is open
    }
    --fChangeDepth;
    fModified = fModified || modified;
    if (fChangeDepth > 0) {
        return;
    }
    closeTangentJournal();
    askHelpers(this, TparamCurveHelperMsg::kEndChange, fChangeAnswer ? 1u : 0u);
    if (fModified) {
        fModified = false;
        globalMsgDepot().notifyOfChange(this);
    }
}

void TparamCurve::notifyClientsOfChange(Tkeyframe* key, int kind)
{
    bool const suppressed = fCurveFlags.isSet(kSuppressMessagesBit) && !fCurveFlags.isSet(kForceMessagesBit);
    if (suppressed || fsSuppressChangeMessages) {
        return;
    }
    if (hasMessage(TparamCurveModifiedMsgTmeta)) {
        TkeyframeHandle handle(this, key, false);
        notifyClients(TparamCurveModifiedMsg(&handle, static_cast<TparamCurveModifiedMsg::TmessageType>(kind)));
    }
    if (fChangeDepth > 0 && !sModelUpdatesDisabled) {
        sModelUpdatesDisabled = true;
        disableAnimCurveModelUpdates();
    }
}

void TparamCurve::disableAnimCurveModelUpdates()
{
    if (fsModelUpdatesHook != nullptr) {
        fsModelUpdatesHook();
    }
}

bool TparamCurve::refAnimCurvesEditable()
{
    TprefAnim const* preference = animDisplayPreference();
    return preference != nullptr && preference->refAnimCurvesEditable();
}

// --- Depot fronts ------------------------------------------------------------------------

TparamCurveMsgDepot& TparamCurve::globalMsgDepot()
{
    // Never destroyed: curves owned by the host's statics may report to it
    // during exit, in any order.
    static auto* depot = new TparamCurveMsgDepot();
    return *depot;
}

bool TparamCurve::addGlobalClient(Tclient* client, TclientCallback callback)
{
    return globalMsgDepot().addClient(client, TparamCurveChangedMsgTmeta, callback);
}

bool TparamCurve::addGlobalHelper(Tclient* client, TclientCallback callback)
{
    return globalMsgDepot().addClient(client, TparamCurveHelperMsgTmeta, callback);
}

bool TparamCurve::removeGlobalClient(Tclient* client)
{
    return globalMsgDepot().removeClient(client, TparamCurveChangedMsgTmeta);
}

void TparamCurve::delayMessages()
{
    globalMsgDepot().delayMessages();
}

bool TparamCurve::suspendUpdates(bool on)
{
    return globalMsgDepot().suspendUpdates(on);
}

void TparamCurve::resumeMessagesAndUpdate()
{
    globalMsgDepot().resumeMessages();
}
