#pragma once

#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"
#include "keelanim/base/hashTable.h"
#include "keelanim/undo/curveDeltas.h"
#include "keelanim/undo/delta.h"

// Undo steps of curve edits, and the messages that tell observers which
// records happened to which curve.
//
// A host opens a modification on each curve it edits
// (TparamCurveDeltaUser::beginParamCurveMod), edits, and closes it
// (endParamCurveMod): the records the curve collected move into the user's
// step. undoPC() undoes the step's records last to first, redoPC() redoes
// them first to last. Records have exactly one owner: the curve's pending
// delta, then the step (or a TparamCurveDeltaList, which holds copies).

class TparamCurve;

KEEL_DECLARE_METACLASS(TparamCurveDeltaComp);
KEEL_DECLARE_METACLASS(TparamCurveDeltaMsg);

class KEEL_API TparamCurveDeltaComp : public TdeltaComposite {
    KEEL_TYPED(TparamCurveDeltaComp)

public:
    TparamCurveDeltaComp() = default;

    unsigned length() const { return childCount(); }
    Tdelta* delta(unsigned index) const { return child(index); }
    // Forgets the children without deleting them (they belong elsewhere now).
    void reset();
    // Appends a record as it is; a curve composite is flattened into this
    // one; anything else goes to the composite merge.
    void addLast(Tdelta* delta);
    // Appends every curve record of `composite` in order, without merging.
    void addLast(TparamCurveDeltaComp* composite);
    // Marks every direct curve record undone or in effect.
    void setIsUndone(bool undone);
    // preUndo() on every record first to last, then the records last to
    // first, then the undone mark. A step whose curves refuse the change (a
    // locked channel, a helper's veto) changes nothing, marks included, and
    // answers false.
    bool undo() override;
    bool redo() override;

    bool merge(Tdelta* delta) override;
    // Drag-key merging: with the merge switch on, a drag of a key that
    // continues an earlier drag of it replaces that record, running from its
    // previous state, and moves to the end. False when not absorbed.
    virtual bool merge(TparamCurveDelta* delta);
    virtual bool merge(TparamCurveDeltaComp* composite);

    bool mergeSwitch() const { return fFlag; }
    void setMergeSwitch(bool on) { fFlag = on; }

private:
    // Records whose curve was deleted let go of it before anything reads it.
    void forgetDeletedCurves();
    bool curvesAccept() const;
};

// "These records happened": sent to the message board for a whole step and
// to each curve for its own records. The message does not own the delta.
class KEEL_API TparamCurveDeltaMsg : public TserverMsg {
    KEEL_TYPED(TparamCurveDeltaMsg)

public:
    TparamCurveDeltaMsg() = default;
    explicit TparamCurveDeltaMsg(Tdelta& deltas) : fDeltas(&deltas) {}
    Tdelta* deltas() const { return fDeltas; }

private:
    Tdelta* fDeltas = nullptr;
};

// A curve's group number while records are grouped by curve.
class KEEL_API TparamCurveTableIndex : public TdataHashTable<TparamCurve*, unsigned int> {
public:
    using TdataHashTable::TdataHashTable;
};

class KEEL_API TparamCurveDeltaUser {
public:
    TparamCurveDeltaUser() = default;
    TparamCurveDeltaUser(TparamCurveDeltaUser const&) = delete;
    TparamCurveDeltaUser& operator=(TparamCurveDeltaUser const&) = delete;
    virtual ~TparamCurveDeltaUser();

    void beginParamCurveMod(TparamCurve& curve);
    // Moves the curve's records into the step; false when it had none.
    bool endParamCurveMod(TparamCurve& curve);
    void undoPC();
    void redoPC();

    TparamCurveDeltaComp& step() { return fStep; }
    bool postFlag() const { return fPost; }
    void setPostFlag(bool on) { fPost = on; }

    static bool isDeltaMessagingEnabled() { return fDeltaMessagingEnabled; }
    static void enableDeltaMessaging(bool on) { fDeltaMessagingEnabled = on; }

    // To the engine-wide message board / to the clients of one curve.
    static void postMessage(Tdelta& deltas);
    static void postMessage(TparamCurve& curve, Tdelta& deltas);
    static void postAllMessages(TparamCurveDeltaComp& step, bool undoing);
    // Groups the curve records of `composite` by curve, in order of first
    // appearance (walking backwards when undoing).
    static void parseDeltas(TparamCurveDeltaComp& composite, TparamCurveTableIndex& index, TdeltaPtrArrayArray& groups,
                            bool undoing);

    static bool fDeltaMessagingEnabled;

private:
    bool fPost = true;
    TparamCurveDeltaComp fStep;
};

// Independent copies of records, for a host that keeps a history of its own.
class KEEL_API TparamCurveDeltaList {
public:
    TparamCurveDeltaList() = default;
    TparamCurveDeltaList(TparamCurveDeltaList const&) = delete;
    TparamCurveDeltaList& operator=(TparamCurveDeltaList const&) = delete;
    virtual ~TparamCurveDeltaList();

    TparamCurveDeltaComp* deltas() const { return fDeltas; }
    unsigned numDeltas() const { return fDeltas != nullptr ? fDeltas->length() : 0; }
    void reset();
    void add(Tdelta* delta);
    void add(TparamCurveDeltaComp* composite);
    // Copies the record by its kind; rotation-interpolation and whole-curve
    // records are not copied.
    void add(TparamCurveDelta* delta);
    // One drag-key record per key of a segment drag.
    void convertPCDDragSegment(TPCDdragSegment* segment);

private:
    void append(Tdelta* copy);
    TparamCurveDeltaComp* fDeltas = nullptr;
};
