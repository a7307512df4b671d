#pragma once

#include <cstdint>

#include "keelanim/base/export.h"
#include "keelanim/undo/delta.h"
#include "keelanim/undo/hostApi.h"

// TparamCurveDelta: the base of the undo records of curve edits.
//
// Each record stores what it needs to put its curve back (undo) and to make
// the edit again (redo), and presents itself to the host API by a type
// number and name. Records never merge by themselves; the collection does
// (TparamCurveDeltaComp). A record whose curve was invalidated is inert.
// Records replay through the curve's own operations, inside its change
// bracket, so that a refused change leaves the curve exactly as it is.
//
// A record also carries the tangents that its edit re-derived from the
// tangent types (the record made last in an edit carries them for the whole
// edit): replaying re-derives nothing, so undo puts the tangents back as they
// were before the edit and redo as the edit left them.
//
// A record refers to keys of its curve by address. Once the curve has
// deleted a key without a record taking it (removeAllKeys, assignment, or a
// removal outside a modification), the records made before are inert: they
// no longer describe the keys, and never read a deleted one.
//
// Undo and redo run outside a modification, so they record nothing. The
// record families: key records (keyDeltas.h), curve settings
// (settingDeltas.h), and moves, drags and scales (editDeltas.h).

class TparamCurve;
class Tkeyframe;
class TtangentJournal;

KEEL_DECLARE_METACLASS(TparamCurveDelta);

class KEEL_API TparamCurveDelta : public Tdelta, public ZPtrBase {
    KEEL_TYPED(TparamCurveDelta)

public:
    explicit TparamCurveDelta(TparamCurve* curve, Tkeyframe* key = nullptr);
    TparamCurveDelta(TparamCurveDelta const& other);
    ~TparamCurveDelta() override;

    virtual ZFn::Type apiType() const { return ZFn::kKeyframeDelta; }
    char const* apiTypeString() const { return ZObjBase::typeString(apiType()); }
    virtual void setKeyframePtr(Tkeyframe* key) { fKeyframe = key; }
    // Called on every record of a step, first to last, before the step is
    // undone.
    virtual void preUndo() {}

    TparamCurve* paramCurve() const { return fParamCurve; }
    Tkeyframe* keyframe() const { return fKeyframe; }
    // Kept by the collection: whether the step holding the record is undone.
    bool isUndone() const { return fIsUndone; }
    void setIsUndone(bool undone) { fIsUndone = undone; }
    // Makes the record inert, for records that outlive their curve.
    void invalidateParamCurve() { fParamCurve = nullptr; }

    // The change mask the record's replay opens its curve's bracket with:
    // the mask of the edit it stands for.
    virtual unsigned replayMask() const;
    // True when undo and redo must do nothing: no curve, or the curve deleted
    // keys without a record since this record was made.
    bool inert() const;
    // Whether the record's curve has been deleted (the record then holds a
    // pointer it must not follow: invalidateParamCurve).
    bool curveGone() const;

    // The tangents the edit re-derived, before and after (null when none);
    // the record owns them. Attaching to a record that has some already
    // merges them, the earlier "before" winning.
    TtangentJournal const* rederivedTangents() const { return fRederived; }
    void attachRederivedTangents(TtangentJournal* tangents);
    // Takes the tangents of an earlier record of the same continuing edit
    // (a merged drag): its "before" wins, this record's "after" wins.
    void takeRederivedTangents(TparamCurveDelta& earlier);

protected:
    TparamCurve* fParamCurve;
    std::uint64_t fCurveSerial = 0;
    Tkeyframe* fKeyframe;
    bool fIsUndone = false;

private:
    TtangentJournal* fRederived = nullptr;
    unsigned fUnrecordedDeletions = 0;
};
