#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/keys/keyframe.h"
#include "keelanim/keys/keyframeArrays.h"
#include "keelanim/undo/curveDelta.h"

// Undo records of keys added, removed, replaced and inserted, one at a time
// or as a block.

KEEL_DECLARE_METACLASS(TPCDaddRemoveKey);
KEEL_DECLARE_METACLASS(TPCDinsertKey);
KEEL_DECLARE_METACLASS(TPCDblockAddRemoveKey);

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
    // The same, with the curve's key found at `former`'s time (the record
    // then names no key when none lies there).
    TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* former);
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
    // trades places with the one there, as the record's type says; without
    // and with the change bracket.
    bool replay(bool undoing);
    bool replayInBracket(bool undoing);
    Tkeyframe const* describedKey() const;
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
    TPCDinsertKey(TparamCurve* curve, Tkeyframe* key, Tkeyframe const* previous, Tkeyframe const* next);
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
    bool replayInBracket(bool undoing);
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
