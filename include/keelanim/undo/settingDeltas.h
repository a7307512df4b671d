#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/paramCurveEnums.h"
#include "keelanim/keys/keyframe.h"
#include "keelanim/undo/curveDelta.h"

// Undo records of curve settings: infinity types, a key's breakdown bit,
// the weighting of tangents, and whole-curve snapshots.

KEEL_DECLARE_METACLASS(TPCDinfinityType);
KEEL_DECLARE_METACLASS(TPCDbreakdown);
KEEL_DECLARE_METACLASS(TPCDweightedTangents);
KEEL_DECLARE_METACLASS(TPCDcurveDelta);

// Records whose redo is their undo: each call swaps the stored state with the
// curve's. Which way a call goes (undoing the edit or redoing it) alternates,
// and the tangents the edit re-derived follow that direction.
class KEEL_API TparamCurveToggleDelta : public TparamCurveDelta {
public:
    using TparamCurveDelta::TparamCurveDelta;
    bool redo() override { return undo(); }

protected:
    bool undoesEdit() const { return fEditInEffect; }
    void swapped() { fEditInEffect = !fEditInEffect; }

private:
    bool fEditInEffect = true;
};

class KEEL_API TPCDinfinityType : public TparamCurveDelta {
    KEEL_TYPED(TPCDinfinityType)

public:
    TPCDinfinityType(TparamCurve* curve, bool pre, TparamCurveEnums::TinfinityType previous,
                     TparamCurveEnums::TinfinityType current);
    TPCDinfinityType(TPCDinfinityType const& other) = default;

    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaInfType; }
    unsigned replayMask() const override;

    bool isPreInfinity() const { return fPre; }
    TparamCurveEnums::TinfinityType previousInfType() const { return fPrevious; }
    TparamCurveEnums::TinfinityType currentInfType() const { return fCurrent; }

private:
    bool apply(TparamCurveEnums::TinfinityType type, bool undoing);
    bool fPre;
    TparamCurveEnums::TinfinityType fPrevious;
    TparamCurveEnums::TinfinityType fCurrent;
};

// A key's breakdown bit: each undo (and redo) swaps the stored state with
// the key's.
class KEEL_API TPCDbreakdown : public TparamCurveToggleDelta {
    KEEL_TYPED(TPCDbreakdown)

public:
    TPCDbreakdown(TparamCurve* curve, unsigned index, bool wasBreakdown);
    TPCDbreakdown(TPCDbreakdown const& other) = default;

    bool undo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaBreakdown; }
    unsigned replayMask() const override;

    unsigned index() const { return fIndex; }
    bool wasBreakdown() const { return fWasBreakdown; }
    bool isBreakdown() const { return !fWasBreakdown; }

private:
    unsigned fIndex;
    bool fWasBreakdown;
};

// The curve's weighted-tangents flag: each undo (and redo) swaps the stored
// state with the curve's. The keys' converted tangents come back through the
// whole-curve snapshot recorded with it.
class KEEL_API TPCDweightedTangents : public TparamCurveToggleDelta {
    KEEL_TYPED(TPCDweightedTangents)

public:
    TPCDweightedTangents(TparamCurve* curve, bool wasWeighted);
    TPCDweightedTangents(TPCDweightedTangents const& other) = default;

    bool undo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaWeighted; }
    unsigned replayMask() const override;

    bool wasWeighted() const { return fWasWeighted; }

private:
    bool fWasWeighted;
};

// One key of a whole-curve snapshot.
struct KEEL_API TcurveDeltaData {
    Tkeyframe* fKey = nullptr;  // owned by the snapshot
};
using TcurveDeltaDataPtrArray = TtypedArray<TcurveDeltaData*>;

// A whole-curve snapshot: each undo (and redo) swaps it with the curve's keys.
class KEEL_API TPCDcurveDelta : public TparamCurveToggleDelta {
    KEEL_TYPED(TPCDcurveDelta)

public:
    explicit TPCDcurveDelta(TparamCurve* curve);
    ~TPCDcurveDelta() override;

    bool undo() override;

    TcurveDeltaDataPtrArray const& data() const { return fData; }

private:
    bool swapWithCurve();
    TcurveDeltaDataPtrArray fData;
};
