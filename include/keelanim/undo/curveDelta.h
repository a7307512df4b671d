#pragma once

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
// bracket, so that a refused change leaves the curve as it is.
//
// Undo and redo run outside a modification, so they record nothing. The
// record families: key records (keyDeltas.h), curve settings
// (settingDeltas.h), and moves, drags and scales (editDeltas.h).

class TparamCurve;
class Tkeyframe;

KEEL_DECLARE_METACLASS(TparamCurveDelta);

class KEEL_API TparamCurveDelta : public Tdelta, public ZPtrBase {
    KEEL_TYPED(TparamCurveDelta)

public:
    explicit TparamCurveDelta(TparamCurve* curve, Tkeyframe* key = nullptr);
    TparamCurveDelta(TparamCurveDelta const& other);

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

protected:
    TparamCurve* fParamCurve;
    Tkeyframe* fKeyframe;
    bool fIsUndone = false;
};
