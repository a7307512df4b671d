#include "keelanim/undo/curveDeltas.h"

#include "keelanim/curve/paramCurve.h"
#include "keelanim/keys/pickParts.h"

#include <cmath>
#include <utility>

KEEL_DEFINE_METACLASS(TparamCurveDelta, &TdeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDaddRemoveKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDinsertKey, &TPCDaddRemoveKeyTmeta);
KEEL_DEFINE_METACLASS(TPCDblockAddRemoveKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDinfinityType, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDbreakdown, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDweightedTangents, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDcurveDelta, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDdragKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDdragTan, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDdragSegment, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDscaleKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDrotationInterpolation, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDkeyTangents, &TparamCurveDeltaTmeta);

namespace {

constexpr double kNormTolerance = 1e-10;

}  // namespace

// --- TparamCurveDelta ----------------------------------------------------------------------

TparamCurveDelta::TparamCurveDelta(TparamCurve* curve, Tkeyframe* key)
    : Tdelta(curve), fParamCurve(curve), fKeyframe(key)
{
}

TparamCurveDelta::TparamCurveDelta(TparamCurveDelta const& other)
    : Tdelta(other.fParamCurve), ZPtrBase(other), fParamCurve(other.fParamCurve), fKeyframe(other.fKeyframe),
      fIsUndone(other.fIsUndone)
{
}

// --- TPCDaddRemoveKey -------------------------------------------------------------------------

TPCDaddRemoveKey::TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* key, TdeltaType type)
    : TparamCurveDelta(curve, key), fDeltaType(type), fKey(key), fHoldsKey(type == kRemoved)
{
    recordIndex();
}

TPCDaddRemoveKey::TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* onCurve, Tkeyframe const& former)
    : TparamCurveDelta(curve, onCurve), fDeltaType(kReplaced), fKey(new Tkeyframe(former)), fHoldsKey(true)
{
    recordIndex();
}

TPCDaddRemoveKey::TPCDaddRemoveKey(TPCDaddRemoveKey const& other, bool ownCopy)
    : TparamCurveDelta(other), fDeltaType(other.fDeltaType), fKey(other.fKey), fReversed(other.fReversed),
      fRecordedIndex(other.fRecordedIndex), fOwnsCopy(ownCopy)
{
    if (ownCopy && other.fKey != nullptr) {
        fKey = new Tkeyframe(*other.fKey);
    }
}

TPCDaddRemoveKey::~TPCDaddRemoveKey()
{
    if (fOwnsCopy || fHoldsKey) {
        delete fKey;
    }
}

void TPCDaddRemoveKey::recordIndex()
{
    if (fDeltaType == kRemoved && fParamCurve != nullptr && fParamCurve->hasRecordedKeyIndices()) {
        fRecordedIndex = fParamCurve->recordedKeyIndex(fKey);
    }
}

TPCDaddRemoveKey::TdeltaType TPCDaddRemoveKey::deltaType() const
{
    if (!fIsUndone) {
        return fDeltaType;
    }
    switch (fDeltaType) {
    case kAdded: return kRemoved;
    case kRemoved: return kAdded;
    default: return fDeltaType;
    }
}

void TPCDaddRemoveKey::preUndo()
{
    unsigned index = 0;
    if (fDeltaType == kAdded && fParamCurve != nullptr && fKey != nullptr) {
        fParamCurve->find(fParamCurve->timeValue(fKey), index);
        fRecordedIndex = index;
    }
}

TtimeValue TPCDaddRemoveKey::time() const
{
    Tkeyframe const* key = fDeltaType == kReplaced ? fKeyframe : fKey;
    return key != nullptr ? key->timeValue() : TtimeValue();
}

double TPCDaddRemoveKey::value() const
{
    Tkeyframe const* key = fDeltaType == kReplaced ? fKeyframe : fKey;
    return key != nullptr ? key->value() : 0.0;
}

double TPCDaddRemoveKey::replacedValue() const
{
    return fDeltaType == kReplaced && fKey != nullptr ? fKey->value() : 0.0;
}

bool TPCDaddRemoveKey::takeFromCurve()
{
    unsigned const index = fParamCurve->indexOfKey(fKey);
    if (fHoldsKey || index == kArrayFailure) {
        return false;
    }
    Tkeyframe* taken = fParamCurve->detachKey(index);
    fHoldsKey = taken == fKey;
    return fHoldsKey;
}

bool TPCDaddRemoveKey::giveToCurve()
{
    if (!fHoldsKey || !fParamCurve->addRemovedKey(fKey)) {
        return false;
    }
    fHoldsKey = false;
    return true;
}

bool TPCDaddRemoveKey::swapWithCurve()
{
    if (fKeyframe == nullptr || fKey == nullptr) {
        return false;
    }
    Tkeyframe const current(*fKeyframe);
    if (!fParamCurve->replaceKey(fKeyframe, *fKey)) {
        return false;
    }
    *fKey = current;
    return true;
}

bool TPCDaddRemoveKey::undo()
{
    return replay(true);
}

bool TPCDaddRemoveKey::redo()
{
    return replay(false);
}

// Undoing an addition and redoing a removal both take the key back out.
bool TPCDaddRemoveKey::replay(bool undoing)
{
    if (fParamCurve == nullptr || fOwnsCopy) {
        return false;
    }
    bool done = false;
    if (fDeltaType == kReplaced) {
        done = swapWithCurve();
    } else {
        done = (fDeltaType == kAdded) == undoing ? takeFromCurve() : giveToCurve();
    }
    fReversed = undoing ? 1 : 0;
    return done;
}

// --- TPCDinsertKey ---------------------------------------------------------------------------------

TPCDinsertKey::TPCDinsertKey(TparamCurve* curve, Tkeyframe* key, Tkeyframe* previous, Tkeyframe* next)
    : TPCDaddRemoveKey(curve, key, kAdded), fPrevious(previous != nullptr ? new Tkeyframe(*previous) : nullptr),
      fNext(next != nullptr ? new Tkeyframe(*next) : nullptr)
{
}

TPCDinsertKey::TPCDinsertKey(TPCDinsertKey const& other, bool ownCopy)
    : TPCDaddRemoveKey(other, ownCopy),
      fPrevious(other.fPrevious != nullptr ? new Tkeyframe(*other.fPrevious) : nullptr),
      fNext(other.fNext != nullptr ? new Tkeyframe(*other.fNext) : nullptr)
{
}

TPCDinsertKey::~TPCDinsertKey()
{
    delete fPrevious;
    delete fNext;
}

// Swaps the neighbours of the key slot at `keyIndex` (the slot the inserted
// key has or had) with the snapshots. replaceKey keeps the restored tangents
// and re-derives whatever depends on them.
void TPCDinsertKey::exchangeNeighbours(unsigned keyIndex)
{
    bool const present = fParamCurve->keyframe(keyIndex) == fKey;
    Tkeyframe* before = keyIndex > 0 ? fParamCurve->keyframe(keyIndex - 1) : nullptr;
    Tkeyframe* after = fParamCurve->keyframe(present ? keyIndex + 1 : keyIndex);
    for (auto [onCurve, snapshot] : {std::pair{before, fPrevious}, std::pair{after, fNext}}) {
        if (onCurve == nullptr || snapshot == nullptr) {
            continue;
        }
        Tkeyframe const current(*onCurve);
        if (fParamCurve->replaceKey(onCurve, *snapshot)) {
            *snapshot = current;
        }
    }
}

bool TPCDinsertKey::undo()
{
    if (fParamCurve == nullptr || fOwnsCopy) {
        return false;
    }
    unsigned const index = fParamCurve->indexOfKey(fKey);
    bool const done = TPCDaddRemoveKey::undo();
    if (done) {
        exchangeNeighbours(index);
    }
    return done;
}

// The mirror of undo: the neighbours take their inserted-state contents
// first, so that the snapshots keep exactly what undo restored, and only then
// does the key come back.
bool TPCDinsertKey::redo()
{
    if (fParamCurve == nullptr || fOwnsCopy || !fHoldsKey) {
        return false;
    }
    unsigned index = 0;
    fParamCurve->findStoredTime(fKey->timeValue(), index);
    exchangeNeighbours(index);
    return TPCDaddRemoveKey::redo();
}

// --- TPCDblockAddRemoveKey ----------------------------------------------------------------------------

TPCDblockAddRemoveKey::TPCDblockAddRemoveKey(TparamCurve* curve, TanimTimeArray const* times,
                                             TdoubleArray const* values, TtimeValue start, TtimeValue end,
                                             TtangentType in, TtangentType out, bool flag, TblockDeltaType type)
    : TparamCurveDelta(curve), fStart(start), fEnd(end), fIn(in), fOut(out), fFlag(flag), fType(type)
{
    if (times != nullptr) {
        fTimes.copy(*times);
    }
    if (values != nullptr) {
        fValues.copy(*values);
    }
}

TPCDblockAddRemoveKey::TPCDblockAddRemoveKey(TparamCurve* curve, Tkeyframe* const* keys, unsigned count,
                                             TtangentType in, TtangentType out)
    : TparamCurveDelta(curve), fIn(in), fOut(out), fFlag(false), fType(kBlockAdded)
{
    for (unsigned i = 0; keys != nullptr && i < count; ++i) {
        fKeys.addLast(keys[i]);
        fTimes.addLast(keys[i]->isTickTime() ? keys[i]->animTime() : TanimTime(keys[i]->floatTime(), kSeconds));
        fValues.addLast(keys[i]->value());
    }
    if (count > 0 && curve != nullptr) {
        fStart = curve->timeValue(keys[0]);
        fEnd = curve->timeValue(keys[count - 1]);
    }
}

TPCDblockAddRemoveKey::TPCDblockAddRemoveKey(TPCDblockAddRemoveKey const& other)
    : TparamCurveDelta(other), fTimes(other.fTimes), fValues(other.fValues), fStart(other.fStart), fEnd(other.fEnd),
      fIn(other.fIn), fOut(other.fOut), fFlag(other.fFlag), fType(other.fType)
{
}

TPCDblockAddRemoveKey::~TPCDblockAddRemoveKey()
{
    if (fHoldsKeys) {
        for (Tkeyframe* key : fKeys) {
            delete key;
        }
    }
}

bool TPCDblockAddRemoveKey::addBlock()
{
    if (fKeys.empty()) {
        return fParamCurve->blockAdd(fTimes, fValues, fIn, fOut);
    }
    if (!fHoldsKeys) {
        return false;
    }
    bool added = false;
    for (Tkeyframe* key : fKeys) {
        added = fParamCurve->addRemovedKey(key) || added;
    }
    fHoldsKeys = false;
    return added;
}

bool TPCDblockAddRemoveKey::removeBlock()
{
    if (!fKeys.empty()) {
        if (fHoldsKeys) {
            return false;
        }
        for (Tkeyframe* key : fKeys) {
            fParamCurve->detachKey(fParamCurve->indexOfKey(key));
        }
        fHoldsKeys = true;
        return true;
    }
    bool removed = false;
    for (TanimTime const& ticks : fTimes) {
        TtimeValue const time =
            fParamCurve->isAnimTimeCurve() ? TtimeValue(ticks) : TtimeValue(static_cast<float>(ticks.seconds()));
        unsigned index = 0;
        if (fParamCurve->findStoredTime(time, index)) {
            removed = fParamCurve->remove(index) || removed;
        }
    }
    return removed;
}

bool TPCDblockAddRemoveKey::undo()
{
    if (fParamCurve == nullptr) {
        return false;
    }
    return fType == kBlockAdded ? removeBlock() : addBlock();
}

bool TPCDblockAddRemoveKey::redo()
{
    if (fParamCurve == nullptr) {
        return false;
    }
    return fType == kBlockAdded ? addBlock() : removeBlock();
}

// --- Infinity, breakdown, weighting ----------------------------------------------------------------------

TPCDinfinityType::TPCDinfinityType(TparamCurve* curve, bool pre, TparamCurveEnums::TinfinityType previous,
                                   TparamCurveEnums::TinfinityType current)
    : TparamCurveDelta(curve), fPre(pre), fPrevious(previous), fCurrent(current)
{
}

bool TPCDinfinityType::apply(TparamCurveEnums::TinfinityType type)
{
    if (fParamCurve == nullptr) {
        return false;
    }
    return fPre ? fParamCurve->setPreInfinityType(type) : fParamCurve->setPostInfinityType(type);
}

bool TPCDinfinityType::undo()
{
    return apply(fPrevious);
}

bool TPCDinfinityType::redo()
{
    return apply(fCurrent);
}

TPCDbreakdown::TPCDbreakdown(TparamCurve* curve, unsigned index, bool wasBreakdown)
    : TparamCurveDelta(curve, curve != nullptr ? curve->keyframe(index) : nullptr), fIndex(index),
      fWasBreakdown(wasBreakdown)
{
}

bool TPCDbreakdown::undo()
{
    if (fParamCurve == nullptr || fParamCurve->keyframe(fIndex) == nullptr) {
        return false;
    }
    bool const current = fParamCurve->breakdown(fIndex);
    bool const done = fParamCurve->setBreakdown(fIndex, fWasBreakdown);
    if (done) {
        fWasBreakdown = current;
    }
    return done;
}

TPCDweightedTangents::TPCDweightedTangents(TparamCurve* curve, bool wasWeighted)
    : TparamCurveDelta(curve), fWasWeighted(wasWeighted)
{
}

bool TPCDweightedTangents::undo()
{
    if (fParamCurve == nullptr) {
        return false;
    }
    bool const current = fParamCurve->isWeighted();
    fParamCurve->setWeightedFlag(fWasWeighted);
    fWasWeighted = current;
    return true;
}

// --- TPCDcurveDelta ------------------------------------------------------------------------------------------

TPCDcurveDelta::TPCDcurveDelta(TparamCurve* curve) : TparamCurveDelta(curve), fData(8)
{
    if (curve == nullptr) {
        return;
    }
    for (unsigned i = 0; i < curve->keyframeCountAll(); ++i) {
        if (Tkeyframe const* key = curve->keyframe(i)) {
            fData.addLast(new TcurveDeltaData{new Tkeyframe(*key)});
        }
    }
}

TPCDcurveDelta::~TPCDcurveDelta()
{
    for (TcurveDeltaData* entry : fData) {
        delete entry->fKey;
        delete entry;
    }
}

bool TPCDcurveDelta::undo()
{
    if (fParamCurve == nullptr) {
        return false;
    }
    // Keys at the same times exchange contents, so that the key objects, and
    // the other records and handles that name them, stay on the curve.
    bool sameTimes = fData.count() == fParamCurve->keyframeCountAll();
    for (unsigned i = 0; sameTimes && i < fData.count(); ++i) {
        sameTimes = fData[i]->fKey->timeValue() == fParamCurve->keyframe(i)->timeValue();
    }
    if (sameTimes) {
        for (unsigned i = 0; i < fData.count(); ++i) {
            Tkeyframe* onCurve = fParamCurve->keyframe(i);
            Tkeyframe const held(*onCurve);
            *onCurve = *fData[i]->fKey;
            *fData[i]->fKey = held;
        }
        fParamCurve->markDirty();
        return true;
    }
    TkeyframePtrList keys;
    for (TcurveDeltaData const* entry : fData) {
        keys.addLast(entry->fKey);
    }
    if (!fParamCurve->swapKeyframes(keys)) {
        return false;
    }
    for (TcurveDeltaData* entry : fData) {
        delete entry;
    }
    fData.changeLogicalSizeTo(0);
    for (Tkeyframe* key : keys) {
        fData.addLast(new TcurveDeltaData{key});
    }
    return true;
}

// --- TPCDdragKey -------------------------------------------------------------------------------------------------

TPCDdragKey::TPCDdragKey(TkeyframeHandle* key, unsigned previousIndex, TtimeValue previousTime, double previousValue,
                         double previousW, TtimeValue currentTime, double currentValue, double currentW,
                         TparamCurveEnums::TmoveOption option, TparamCurve* curve)
    : TparamCurveDelta(curve, key != nullptr ? key->keyframe() : nullptr), fPreviousTime(previousTime),
      fCurrentTime(currentTime), fPreviousValue(previousValue), fCurrentValue(currentValue), fPreviousW(previousW),
      fCurrentW(currentW), fPreviousIndex(previousIndex), fOption(option),
      fHandle(key != nullptr ? new TkeyframeHandle(*key, true) : nullptr)
{
    if (curve == nullptr) {
        return;
    }
    if (fKeyframe != nullptr) {
        curve->find(curve->timeValue(fKeyframe), fCurrentIndex);
    }
    // Values are held in the curve's normalised space.
    double const scale = curve->normScaleValue();
    if (std::fabs(scale) > kNormTolerance) {
        fPreviousValue *= scale;
        fCurrentValue *= scale;
    }
}

TPCDdragKey::TPCDdragKey(TparamCurve* curve) : TparamCurveDelta(curve) {}

TPCDdragKey::TPCDdragKey(TPCDdragKey const& other)
    : TparamCurveDelta(other), fPreviousTime(other.fPreviousTime), fCurrentTime(other.fCurrentTime),
      fPreviousValue(other.fPreviousValue), fCurrentValue(other.fCurrentValue), fPreviousW(other.fPreviousW),
      fCurrentW(other.fCurrentW), fPreviousIndex(other.fPreviousIndex), fCurrentIndex(other.fCurrentIndex),
      fOption(other.fOption), fHandle(other.fHandle != nullptr ? new TkeyframeHandle(*other.fHandle, false) : nullptr)
{
}

TPCDdragKey::~TPCDdragKey()
{
    delete fHandle;
}

bool TPCDdragKey::undo()
{
    return false;
}

bool TPCDdragKey::redo()
{
    return false;
}

void TPCDdragKey::setPrevious(TtimeValue const& time, double value, double w)
{
    fPreviousTime = time;
    fPreviousValue = value;
    fPreviousW = w;
}

void TPCDdragKey::setCurrent(TtimeValue const& time, double value, double w)
{
    fCurrentTime = time;
    fCurrentValue = value;
    fCurrentW = w;
}

// --- TPCDdragTan ----------------------------------------------------------------------------------------------------

TPCDdragTan::TPCDdragTan(TparamCurve* curve, unsigned index) : TparamCurveDelta(curve), fIndex(index) {}

TPCDdragTan::TPCDdragTan(float previousX, float previousY, unsigned char flag, float currentX, float currentY,
                         TtangentType type, bool inTangent, TparamCurve* curve, unsigned index)
    : TparamCurveDelta(curve), fInTangent(inTangent), fIndex(index), fPreviousType(type), fCurrentType(type),
      fPreviousX(previousX), fPreviousY(previousY), fCurrentX(currentX), fCurrentY(currentY), fFlag(flag)
{
}

TPCDdragTan::TPCDdragTan(TtangentType previous, TtangentType current, bool inTangent, TparamCurve* curve,
                         unsigned index)
    : TparamCurveDelta(curve), fInTangent(inTangent), fIndex(index), fPreviousType(previous), fCurrentType(current),
      fPreviousX(0.0f), fPreviousY(1.0f), fCurrentX(0.0f), fCurrentY(1.0f)
{
}

void TPCDdragTan::setPreviousPosition(float x, float y)
{
    fPreviousX = x;
    fPreviousY = y;
}

void TPCDdragTan::setCurrentPosition(float x, float y)
{
    fCurrentX = x;
    fCurrentY = y;
}

void TPCDdragTan::getPreviousPosition(float& x, float& y) const
{
    x = fPreviousX;
    y = fPreviousY;
}

void TPCDdragTan::getCurrentPosition(float& x, float& y) const
{
    x = fCurrentX;
    y = fCurrentY;
}

bool TPCDdragTan::restore(TtangentType type, TtangentType otherType)
{
    if (fParamCurve == nullptr || fIndex >= fParamCurve->keyframeCount()) {
        return false;
    }
    // Positions come back through tangent dragging, which the engine does
    // not have yet: only the type is restored.
    if (type == otherType) {
        return false;
    }
    return fParamCurve->setTangentTypeHelper(fIndex, type, fInTangent ? kPickInTangentBit : kPickOutTangentBit);
}

bool TPCDdragTan::undo()
{
    return restore(fPreviousType, fCurrentType);
}

bool TPCDdragTan::redo()
{
    return restore(fCurrentType, fPreviousType);
}

// --- TPCDdragSegment ------------------------------------------------------------------------------------------------

TPCDdragSegment::TPCDdragSegment(TkeyframeHandlePtrArray& handles, TuInt32Array& indices, TtimeValue timeChange,
                                 double valueChange, TparamCurveEnums::TmoveOption option, TparamCurve* curve)
    : TparamCurveDelta(curve), fPreviousIndices(indices), fTimeChange(timeChange), fValueChange(valueChange),
      fOption(option)
{
    for (TkeyframeHandle* handle : handles) {
        fHandles.addLast(handle != nullptr ? new TkeyframeHandle(*handle, true) : nullptr);
    }
    retrieveIndicesFromCurve();
}

TPCDdragSegment::~TPCDdragSegment()
{
    for (TkeyframeHandle* handle : fHandles) {
        delete handle;
    }
}

void TPCDdragSegment::retrieveIndicesFromCurve()
{
    fCurrentIndices.changeLogicalSizeTo(0);
    for (TkeyframeHandle const* handle : fHandles) {
        int const index = handle != nullptr ? handle->index() : -1;
        fCurrentIndices.addLast(index < 0 ? 0u : static_cast<unsigned>(index));
    }
}

void TPCDdragSegment::retrieveIndicesFromCache()
{
    fCurrentIndices.copy(fPreviousIndices);
}

bool TPCDdragSegment::undo()
{
    return false;
}

bool TPCDdragSegment::redo()
{
    return false;
}

// --- TPCDscaleKey, TPCDrotationInterpolation -------------------------------------------------------------------------

TPCDscaleKey::TPCDscaleKey(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end,
                           TtimeValue const& currentStart, TtimeValue const& currentEnd, TtimeValue const& pivot)
    : TparamCurveDelta(curve), fStart(start), fEnd(end), fCurrentStart(currentStart), fCurrentEnd(currentEnd),
      fPivot(pivot)
{
}

bool TPCDscaleKey::undo()
{
    return false;
}

bool TPCDscaleKey::redo()
{
    return false;
}

TPCDrotationInterpolation::TPCDrotationInterpolation(TparamCurve* curve, int previous, int current)
    : TparamCurveDelta(curve), fPrevious(previous), fCurrent(current)
{
}

bool TPCDrotationInterpolation::undo()
{
    return false;
}

bool TPCDrotationInterpolation::redo()
{
    return false;
}

// --- TPCDkeyTangents ---------------------------------------------------------------------------------------

TPCDkeyTangents::TPCDkeyTangents(TparamCurve* curve) : TparamCurveDelta(curve) {}

TPCDkeyTangents::Ttangents TPCDkeyTangents::tangentsOf(Tkeyframe const& key)
{
    Ttangents t{};
    key.getTanIn(t.fInX, t.fInY);
    key.getTanOut(t.fOutX, t.fOutY);
    return t;
}

void TPCDkeyTangents::note(Tkeyframe* key, Ttangents const& before, Ttangents const& after)
{
    for (Tentry& entry : fEntries) {
        if (entry.fKey == key) {
            entry.fAfter = after;
            return;
        }
    }
    fEntries.push_back({key, before, after});
}

bool TPCDkeyTangents::apply(bool before)
{
    if (fParamCurve == nullptr) {
        return false;
    }
    for (std::size_t n = 0; n < fEntries.size(); ++n) {
        Tentry const& entry = fEntries[before ? fEntries.size() - 1 - n : n];
        unsigned const index = fParamCurve->indexOfKey(entry.fKey);
        if (index == kArrayFailure) {
            continue;
        }
        Ttangents const& t = before ? entry.fBefore : entry.fAfter;
        entry.fKey->setTanIn(t.fInX, t.fInY);
        entry.fKey->setTanOut(t.fOutX, t.fOutY);
        fParamCurve->invalidateCache(static_cast<int>(index));
    }
    return true;
}

bool TPCDkeyTangents::undo()
{
    return apply(true);
}

bool TPCDkeyTangents::redo()
{
    return apply(false);
}
