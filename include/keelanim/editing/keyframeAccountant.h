#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/editing/keyframeHandle.h"

#include <memory>
#include <vector>

class TparamCurve;
class TparamCurveDeltaComp;

// TkeyframeAccountant: undo records for edits that were not recorded.
//
// A host that changes keys by means that record nothing (a plug-in writing
// key objects, a tool working outside a modification) lists the curves first
// (addCurve snapshots every key: its handle, time, value, tangents, tangent
// types and auxiliary component), edits, then asks audit() what changed. Per
// curve the accountant finds, in this order: snapshot keys gone from the
// curve or moved in time (each a removal), keys still at their time whose
// value, tangents, types or auxiliary component changed (each a
// replacement), and keys new to the curve or moved in time (each an
// addition). A key that moved is a removal plus an addition.
//
// done() hands out those records in effect: undoing them (in a step, last to
// first) puts the curve back exactly as it was snapshot, removed keys coming
// back as fresh key objects with the snapshot's data; redoing them repeats
// the change. undone() hands out the same records last to first, marked
// undone, to tell observers that the change was taken back. Records handed
// out belong to the step that receives them. Nothing is handed out or posted
// before an audit that found a change.
//
// Curves must outlive the accountant's use of them; the snapshot's handles
// are not clients of the curves.
class KEEL_API TkeyframeAccountant {
public:
    TkeyframeAccountant();
    TkeyframeAccountant(TkeyframeAccountant const&) = delete;
    TkeyframeAccountant& operator=(TkeyframeAccountant const&) = delete;
    ~TkeyframeAccountant();

    // Lists the curve and snapshots its keys; a curve listed already keeps
    // its snapshot. Answers the curve's position in the list.
    unsigned addCurve(TparamCurve& curve);
    // The listed curve at `index`, null for a bad index.
    TparamCurve* curve(unsigned index) const;
    unsigned numCurves() const { return static_cast<unsigned>(fEntries.size()); }
    bool hasAudited() const { return fAudited; }
    bool hasChanged() const { return fChanged; }

    // Compares every listed curve with its snapshot and lists the changes;
    // answers hasChanged().
    bool audit();
    // The number of changes the audit found on curve `curveIndex`.
    unsigned numChanges(unsigned curveIndex) const;
    // Appends the record of one change to `out` (which owns it from then
    // on): in effect, or, with `undo`, marked undone. False for a bad index.
    bool diff(unsigned curveIndex, unsigned changeIndex, bool undo, TparamCurveDeltaComp& out);
    // Every change of the curve in order / last to first, marked undone;
    // false unless audited and changed.
    bool done(unsigned curveIndex, TparamCurveDeltaComp& out);
    bool undone(unsigned curveIndex, TparamCurveDeltaComp& out);

    // TparamCurveDeltaMsg messages of the audited change (or of its undoing):
    // to one curve's clients, to the library-wide board (all curves, last to
    // first when undoing), or both. Nothing unless audited and changed and
    // delta messaging is enabled.
    void postCurveMessages(unsigned curveIndex, bool undo);
    void postGlobalMessages(bool undo);
    void postAllMessages(bool undo);

private:
    struct Tentry;
    bool canHandOut() const { return fAudited && fChanged; }

    std::vector<std::unique_ptr<Tentry>> fEntries;
    bool fAudited = false;
    bool fChanged = false;
};
