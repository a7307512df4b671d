// TparamCurve: what edits tell the undo machinery, and the replay switch.
// The records themselves are made by the installed recorder (see
// curve/detail/editRecorder.h); the curve only collects them.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"

namespace {

thread_local unsigned sReplayDepth = 0;

// Set while the library loads, before any curve exists; read on every edit.
TcurveEditRecorder* sRecorder = nullptr;

}  // namespace

TcurveEditRecorder* TcurveEditRecorder::installed()
{
    return sRecorder;
}

void TcurveEditRecorder::install(TcurveEditRecorder* recorder)
{
    sRecorder = recorder;
}

bool TparamCurve::addDelta(Tdelta* delta, bool append)
{
    if (delta == nullptr || !isMod()) {
        return append;
    }
    Tdelta* pending = pendingDelta();
    if (pending == nullptr) {
        setPendingDelta(delta);
        return true;
    }
    TcurveEditRecorder* recorder = TcurveEditRecorder::installed();
    if (recorder == nullptr) {
        delete delta;  // nothing can combine records: the first one stands
        return false;
    }
    bool answer = append;
    Tdelta* combined = recorder->combine(pending, delta, append, answer);
    if (combined != pending) {
        releasePendingDelta();
        setPendingDelta(combined);
    }
    return answer;
}

void TparamCurve::record(Tdelta* delta)
{
    if (isMod()) {
        addDelta(delta, false);
    } else {
        delete delta;
    }
}

void TparamCurve::generateCurveDeltas()
{
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(recorder->curveSnapshot(*this));
    }
}

void TparamCurve::openTangentJournal()
{
    TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this);
    if (recorder == nullptr || isReplaying() || fTangentJournal != nullptr) {
        return;
    }
    fTangentJournal = new TtangentJournal();
    fRecordsBeforeChange = recorder->recordCount(pendingDelta());
}

// The tangents travel with the last record the change made; a change that
// recorded nothing (setValue, say) has nothing to undo them with.
void TparamCurve::closeTangentJournal()
{
    TtangentJournal* journal = fTangentJournal;
    fTangentJournal = nullptr;
    TcurveEditRecorder* recorder = TcurveEditRecorder::installed();
    if (journal != nullptr && !journal->empty() && recorder != nullptr && isMod() &&
        recorder->recordCount(pendingDelta()) > fRecordsBeforeChange) {
        journal->settle([this](Tkeyframe const* key) { return indexOfKey(key) != kArrayFailure; });
        recorder->attachTangents(pendingDelta(), journal);
        return;
    }
    delete journal;
}

// A record made later in the change must undo the key to where the change
// found it: the journal's "before" is undone before the record is (last
// record first), so a record that remembered the re-derived tangents would
// put them back over it.
Tkeyframe TparamCurve::keyAsTheChangeFoundIt(Tkeyframe const& key) const
{
    Tkeyframe found(key);
    TkeyTangents before;
    if (fTangentJournal != nullptr && fTangentJournal->find(&key, before)) {
        found.setTanIn(before.fInX, before.fInY);
        found.setTanOut(before.fOutX, before.fOutY);
    }
    return found;
}

TparamCurve::TreplayScope::TreplayScope()
{
    ++sReplayDepth;
}

TparamCurve::TreplayScope::~TreplayScope()
{
    --sReplayDepth;
}

bool TparamCurve::isReplaying()
{
    return sReplayDepth > 0;
}
