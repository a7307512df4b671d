#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/paramCurveEnums.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/keys/keyframe.h"
#include "keelanim/keys/keyframeArrays.h"
#include "keelanim/undo/delta.h"
#include "keelanim/undo/hostApi.h"

#include <vector>

// The undo records of curve edits.
//
// Each record stores what it needs to put its curve back (undo) and to make
// the edit again (redo), and presents itself to the host API by a type
// number and name. Records never merge by themselves; the collection does
// (TparamCurveDeltaComp). A record whose curve was invalidated is inert.
//
// Undo and redo run outside a modification, so they record nothing.

class TparamCurve;
class TkeyframeHandle;

KEEL_DECLARE_METACLASS(TparamCurveDelta);
KEEL_DECLARE_METACLASS(TPCDaddRemoveKey);
KEEL_DECLARE_METACLASS(TPCDinsertKey);
KEEL_DECLARE_METACLASS(TPCDblockAddRemoveKey);
KEEL_DECLARE_METACLASS(TPCDinfinityType);
KEEL_DECLARE_METACLASS(TPCDbreakdown);
KEEL_DECLARE_METACLASS(TPCDweightedTangents);
KEEL_DECLARE_METACLASS(TPCDcurveDelta);
KEEL_DECLARE_METACLASS(TPCDdragKey);
KEEL_DECLARE_METACLASS(TPCDdragTan);
KEEL_DECLARE_METACLASS(TPCDdragSegment);
KEEL_DECLARE_METACLASS(TPCDscaleKey);
KEEL_DECLARE_METACLASS(TPCDrotationInterpolation);
KEEL_DECLARE_METACLASS(TPCDkeyTangents);

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

// One key added (type 0), removed (1) or replaced (2).
//
// The stored key: for an addition or a removal, the key object itself, held
// by the record while it is off the curve; for a replacement, a private copy
// of the other state of the key (swapped with the curve's key on each undo
// and redo). A copy made with `ownCopy` holds its own deep copy of the key.
class KEEL_API TPCDaddRemoveKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDaddRemoveKey)

public:
    enum TdeltaType : std::int32_t { kAdded = 0, kRemoved = 1, kReplaced = 2 };

    TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* key, TdeltaType type);
    // A replacement: `onCurve` is the curve's key, `former` its content
    // before the edit (copied).
    TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* onCurve, Tkeyframe const& former);
    TPCDaddRemoveKey(TPCDaddRemoveKey const& other, bool ownCopy);
    ~TPCDaddRemoveKey() override;

    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaAddRemove; }
    void preUndo() override;
    // The type as it reads now: while the step is undone, additions read as
    // removals and the reverse.
    virtual TdeltaType deltaType() const;

    TdeltaType storedType() const { return fDeltaType; }
    Tkeyframe const* storedKey() const { return fKey; }
    TtimeValue time() const;
    double value() const;
    double replacedValue() const;
    unsigned index() const { return fRecordedIndex; }
    void recordIndex();

protected:
    // Undo (`undoing`) or redo: the key leaves or rejoins the curve, or
    // trades places with the one there, as the record's type says.
    bool replay(bool undoing);
    // Takes key `index` off the curve into the record / gives it back.
    bool takeFromCurve();
    bool giveToCurve();
    bool swapWithCurve();

    TdeltaType fDeltaType;
    Tkeyframe* fKey;
    unsigned fReversed = 0;
    unsigned fRecordedIndex = 0;
    bool fOwnsCopy = false;
    bool fHoldsKey = false;  // the record, not the curve, owns fKey now
};

// A key inserted into a span, with the neighbours as they were before and
// after, so that shape-preserving insertions undo exactly.
class KEEL_API TPCDinsertKey : public TPCDaddRemoveKey {
    KEEL_TYPED(TPCDinsertKey)

public:
    // `previous` and `next` are the neighbours' contents before the
    // insertion (either may be null).
    TPCDinsertKey(TparamCurve* curve, Tkeyframe* key, Tkeyframe* previous, Tkeyframe* next);
    TPCDinsertKey(TPCDinsertKey const& other, bool ownCopy);
    ~TPCDinsertKey() override;

    bool undo() override;
    bool redo() override;

    Tkeyframe const* previousSnapshot() const { return fPrevious; }
    Tkeyframe const* nextSnapshot() const { return fNext; }

private:
    void exchangeNeighbours(unsigned keyIndex);
    Tkeyframe* fPrevious = nullptr;
    Tkeyframe* fNext = nullptr;
};

// A block of keys added (or removed) at once.
class KEEL_API TPCDblockAddRemoveKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDblockAddRemoveKey)

public:
    enum TblockDeltaType : std::int32_t { kBlockAdded = 0, kBlockRemoved = 1 };

    TPCDblockAddRemoveKey(TparamCurve* curve, TanimTimeArray const* times, TdoubleArray const* values, TtimeValue start,
                          TtimeValue end, TtangentType in, TtangentType out, bool flag, TblockDeltaType type);
    // The keys a blockAdd just made: the record keeps the key objects
    // themselves, so that later records of the step still find them.
    TPCDblockAddRemoveKey(TparamCurve* curve, Tkeyframe* const* keys, unsigned count, TtangentType in,
                          TtangentType out);
    // Copies hold times and values only.
    TPCDblockAddRemoveKey(TPCDblockAddRemoveKey const& other);
    ~TPCDblockAddRemoveKey() override;

    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaBlockAddRemove; }

    TtimeValue startTime() const { return fStart; }
    TtimeValue endTime() const { return fEnd; }
    unsigned numKeys() const { return fTimes.count(); }
    TanimTimeArray const& timeArray() const { return fTimes; }
    TdoubleArray const& valueArray() const { return fValues; }
    TblockDeltaType deltaType() const { return fType; }

private:
    bool addBlock();
    bool removeBlock();

    TkeyframePtrList fKeys;
    bool fHoldsKeys = false;
    TanimTimeArray fTimes;
    TdoubleArray fValues;
    TtimeValue fStart;
    TtimeValue fEnd;
    TtangentType fIn;
    TtangentType fOut;
    bool fFlag;
    TblockDeltaType fType;
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

    bool isPreInfinity() const { return fPre; }
    TparamCurveEnums::TinfinityType previousInfType() const { return fPrevious; }
    TparamCurveEnums::TinfinityType currentInfType() const { return fCurrent; }

private:
    bool apply(TparamCurveEnums::TinfinityType type);
    bool fPre;
    TparamCurveEnums::TinfinityType fPrevious;
    TparamCurveEnums::TinfinityType fCurrent;
};

// A key's breakdown bit: each undo (and redo) swaps the stored state with
// the key's.
class KEEL_API TPCDbreakdown : public TparamCurveDelta {
    KEEL_TYPED(TPCDbreakdown)

public:
    TPCDbreakdown(TparamCurve* curve, unsigned index, bool wasBreakdown);
    TPCDbreakdown(TPCDbreakdown const& other) = default;

    bool undo() override;
    bool redo() override { return undo(); }
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaBreakdown; }

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
class KEEL_API TPCDweightedTangents : public TparamCurveDelta {
    KEEL_TYPED(TPCDweightedTangents)

public:
    TPCDweightedTangents(TparamCurve* curve, bool wasWeighted);
    TPCDweightedTangents(TPCDweightedTangents const& other) = default;

    bool undo() override;
    bool redo() override { return undo(); }
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaWeighted; }

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
class KEEL_API TPCDcurveDelta : public TparamCurveDelta {
    KEEL_TYPED(TPCDcurveDelta)

public:
    explicit TPCDcurveDelta(TparamCurve* curve);
    ~TPCDcurveDelta() override;

    bool undo() override;
    bool redo() override { return undo(); }

    TcurveDeltaDataPtrArray const& data() const { return fData; }

private:
    TcurveDeltaDataPtrArray fData;
};

// One key moved: from the previous to the current time, value and weight.
// Values are held in the curve's normalised space.
class KEEL_API TPCDdragKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragKey)

public:
    TPCDdragKey(TkeyframeHandle* key, unsigned previousIndex, TtimeValue previousTime, double previousValue,
                double previousW, TtimeValue currentTime, double currentValue, double currentW,
                TparamCurveEnums::TmoveOption option, TparamCurve* curve);
    explicit TPCDdragKey(TparamCurve* curve);
    TPCDdragKey(TPCDdragKey const& other);
    ~TPCDdragKey() override;

    // Moving keys is not part of the engine yet: these replay nothing.
    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaMove; }

    TtimeValue previousTime() const { return fPreviousTime; }
    TtimeValue currentTime() const { return fCurrentTime; }
    double previousValue() const { return fPreviousValue; }
    double currentValue() const { return fCurrentValue; }
    double previousW() const { return fPreviousW; }
    double currentW() const { return fCurrentW; }
    unsigned previousIndex() const { return fPreviousIndex; }
    unsigned currentIndex() const { return fCurrentIndex; }
    TparamCurveEnums::TmoveOption moveOption() const { return fOption; }
    TkeyframeHandle* keyHandle() const { return fHandle; }
    void setPrevious(TtimeValue const& time, double value, double w);
    void setCurrent(TtimeValue const& time, double value, double w);

private:
    TtimeValue fPreviousTime;
    TtimeValue fCurrentTime;
    double fPreviousValue = 0.0;
    double fCurrentValue = 0.0;
    double fPreviousW = 0.0;
    double fCurrentW = 0.0;
    unsigned fPreviousIndex = 0;
    unsigned fCurrentIndex = 0;
    TparamCurveEnums::TmoveOption fOption = TparamCurveEnums::kMoveBetweenNeighbours;
    TkeyframeHandle* fHandle = nullptr;  // owned
};

// One tangent of one key dragged or retyped.
class KEEL_API TPCDdragTan : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragTan)

public:
    TPCDdragTan(TparamCurve* curve, unsigned index);
    TPCDdragTan(float previousX, float previousY, unsigned char flag, float currentX, float currentY, TtangentType type,
                bool inTangent, TparamCurve* curve, unsigned index);
    TPCDdragTan(TtangentType previous, TtangentType current, bool inTangent, TparamCurve* curve, unsigned index);
    TPCDdragTan(TPCDdragTan const& other) = default;

    // Retypes the tangent back / forward; restoring a dragged position needs
    // tangent dragging, which is not part of the engine yet.
    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaTangent; }

    void setIndex(unsigned index) { fIndex = index; }
    void setInTangent(bool in) { fInTangent = in; }
    bool isInTangent() const { return fInTangent; }
    void setCurve(TparamCurve* curve) { fParamCurve = curve; }
    void setPreviousPosition(float x, float y);
    void setCurrentPosition(float x, float y);
    void getPreviousPosition(float& x, float& y) const;
    void getCurrentPosition(float& x, float& y) const;
    void setPreviousType(TtangentType type) { fPreviousType = type; }
    void setCurrentType(TtangentType type) { fCurrentType = type; }
    TtangentType previousType() const { return fPreviousType; }
    TtangentType currentType() const { return fCurrentType; }

private:
    bool restore(TtangentType type, TtangentType otherType);

    bool fInTangent = false;
    unsigned fIndex = 0;
    TtangentType fPreviousType = kTangentFixed;
    TtangentType fCurrentType = kTangentFixed;
    float fPreviousX = 0.0f, fPreviousY = 0.0f, fCurrentX = 0.0f, fCurrentY = 0.0f;
    unsigned char fFlag = 0;
};

// Several keys moved together by one time and value change.
class KEEL_API TPCDdragSegment : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragSegment)

public:
    TPCDdragSegment(TkeyframeHandlePtrArray& handles, TuInt32Array& indices, TtimeValue timeChange, double valueChange,
                    TparamCurveEnums::TmoveOption option, TparamCurve* curve);
    ~TPCDdragSegment() override;

    // Moving keys is not part of the engine yet: these replay nothing.
    bool undo() override;
    bool redo() override;

    TkeyframeHandlePtrArray const& keyHandles() const { return fHandles; }
    void timeChange(TtimeValue& change) const { change = fTimeChange; }
    void valueChange(double& change) const { change = fValueChange; }
    TparamCurveEnums::TmoveOption moveOption() const { return fOption; }
    TuInt32Array const& prevIndices() const { return fPreviousIndices; }
    TuInt32Array const& currentIndices() const { return fCurrentIndices; }
    void retrieveIndicesFromCurve();
    void retrieveIndicesFromCache();

private:
    TkeyframeHandlePtrArray fHandles;  // owned handles
    TuInt32Array fPreviousIndices;
    TuInt32Array fCurrentIndices;
    TtimeValue fTimeChange;
    double fValueChange;
    TparamCurveEnums::TmoveOption fOption;
};

// A region scaled in time.
class KEEL_API TPCDscaleKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDscaleKey)

public:
    TPCDscaleKey(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end, TtimeValue const& currentStart,
                 TtimeValue const& currentEnd, TtimeValue const& pivot);
    TPCDscaleKey(TPCDscaleKey const& other) = default;

    // Scaling regions is not part of the engine yet: these replay nothing.
    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaScale; }

    TtimeValue startTime() const { return fStart; }
    TtimeValue endTime() const { return fEnd; }
    TtimeValue currentStartTime() const { return fCurrentStart; }
    TtimeValue currentEndTime() const { return fCurrentEnd; }
    TtimeValue pivotTime() const { return fPivot; }

private:
    TtimeValue fStart, fEnd, fCurrentStart, fCurrentEnd, fPivot;
};

// The rotation interpolation of a curve changed.
class KEEL_API TPCDrotationInterpolation : public TparamCurveDelta {
    KEEL_TYPED(TPCDrotationInterpolation)

public:
    TPCDrotationInterpolation(TparamCurve* curve, int previous, int current);

    // Rotation interpolation is not part of the engine yet: these replay
    // nothing.
    bool undo() override;
    bool redo() override;

    int previousInterpolation() const { return fPrevious; }
    int currentInterpolation() const { return fCurrent; }

private:
    int fPrevious;
    int fCurrent;
};

// The tangents that an edit re-derived from the tangent types, before and
// after. Replaying a step does not re-derive tangents: this record puts them
// back exactly, whatever the rules would give now.
class KEEL_API TPCDkeyTangents : public TparamCurveDelta {
    KEEL_TYPED(TPCDkeyTangents)

public:
    struct Ttangents {
        float fInX, fInY, fOutX, fOutY;
        friend bool operator==(Ttangents const&, Ttangents const&) = default;
    };

    explicit TPCDkeyTangents(TparamCurve* curve);

    bool undo() override;
    bool redo() override;

    // Notes a key's tangents before and after a re-derivation; a key noted
    // again keeps its first "before".
    void note(Tkeyframe* key, Ttangents const& before, Ttangents const& after);
    bool empty() const { return fEntries.empty(); }
    unsigned count() const { return static_cast<unsigned>(fEntries.size()); }
    static Ttangents tangentsOf(Tkeyframe const& key);

private:
    struct Tentry {
        Tkeyframe* fKey;
        Ttangents fBefore;
        Ttangents fAfter;
    };
    bool apply(bool before);
    std::vector<Tentry> fEntries;
};
