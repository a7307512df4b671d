#include "keelanim/undo/keyDeltas.h"

#include "curve/detail/editRecorder.h"
#include "keelanim/curve/paramCurve.h"
#include "undo/recordReplay.h"

#include <new>
#include <utility>

KEEL_DEFINE_METACLASS(TparamCurveDelta, &TdeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDaddRemoveKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDinsertKey, &TPCDaddRemoveKeyTmeta);
KEEL_DEFINE_METACLASS(TPCDblockAddRemoveKey, &TparamCurveDeltaTmeta);

// --- TparamCurveDelta ----------------------------------------------------------------------

TparamCurveDelta::TparamCurveDelta(TparamCurve* curve, Tkeyframe* key)
    : Tdelta(curve), fParamCurve(curve), fCurveSerial(curve != nullptr ? curve->liveSerial() : 0), fKeyframe(key),
      fUnrecordedDeletions(curve != nullptr ? curve->unrecordedDeletions() : 0)
{
}

TparamCurveDelta::TparamCurveDelta(TparamCurveDelta const& other)
    : Tdelta(other.fParamCurve), ZPtrBase(other), fParamCurve(other.fParamCurve), fCurveSerial(other.fCurveSerial),
      fKeyframe(other.fKeyframe), fIsUndone(other.fIsUndone),
      fRederived(other.fRederived != nullptr ? new TtangentJournal(*other.fRederived) : nullptr),
      fUnrecordedDeletions(other.fUnrecordedDeletions)
{
}

TparamCurveDelta::~TparamCurveDelta()
{
    delete fRederived;
}

void TparamCurveDelta::attachRederivedTangents(TtangentJournal* tangents)
{
    if (tangents == nullptr) {
        return;
    }
    if (fRederived == nullptr) {
        fRederived = tangents;
        return;
    }
    fRederived->merge(*tangents);
    delete tangents;
}

void TparamCurveDelta::takeRederivedTangents(TparamCurveDelta& earlier)
{
    TtangentJournal* mine = fRederived;
    fRederived = earlier.fRederived;
    earlier.fRederived = nullptr;
    attachRederivedTangents(mine);
}

unsigned TparamCurveDelta::replayMask() const
{
    return TparamCurve::kChangeAll;
}

bool TparamCurveDelta::curveGone() const
{
    return fParamCurve != nullptr && !TparamCurve::isLive(fParamCurve, fCurveSerial);
}

bool TparamCurveDelta::inert() const
{
    return fParamCurve == nullptr || curveGone() || fParamCurve->unrecordedDeletions() != fUnrecordedDeletions;
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

namespace {

Tkeyframe* keyAtTimeOf(TparamCurve* curve, Tkeyframe const* key)
{
    unsigned index = 0;
    return curve != nullptr && key != nullptr && curve->findStoredTime(key->timeValue(), index) ? curve->keyframe(index)
                                                                                                : nullptr;
}

}  // namespace

TPCDaddRemoveKey::TPCDaddRemoveKey(TparamCurve* curve, Tkeyframe* former)
    : TPCDaddRemoveKey(curve, keyAtTimeOf(curve, former), former != nullptr ? *former : Tkeyframe())
{
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
    if (fDeltaType == kAdded && !inert() && fKey != nullptr) {
        fParamCurve->find(fParamCurve->timeValue(fKey), index);
        fRecordedIndex = index;
    }
}

// The key that time() and value() describe: the one on the curve for a
// replacement, else the stored one. A key the curve owns is read only while
// the record still describes the curve's keys.
Tkeyframe const* TPCDaddRemoveKey::describedKey() const
{
    if (fDeltaType == kReplaced) {
        return inert() ? nullptr : fKeyframe;
    }
    return fHoldsKey || fOwnsCopy || !inert() ? fKey : nullptr;
}

TtimeValue TPCDaddRemoveKey::time() const
{
    Tkeyframe const* key = describedKey();
    return key != nullptr ? key->timeValue() : TtimeValue();
}

double TPCDaddRemoveKey::value() const
{
    Tkeyframe const* key = describedKey();
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
    // Inside the record's own bracket, as the neighbours of an insertion go
    // back: a lock on replacements set since must not split the step.
    Tkeyframe const current(*fKeyframe);
    if (!TcurveEditKit::putBackKey(*fParamCurve, fKeyframe, *fKey)) {
        return false;
    }
    *fKey = current;
    return true;
}

bool TPCDaddRemoveKey::undo()
{
    return replayInBracket(true);
}

bool TPCDaddRemoveKey::redo()
{
    return replayInBracket(false);
}

bool TPCDaddRemoveKey::replayInBracket(bool undoing)
{
    if (inert() || fOwnsCopy) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    return replaying.open() && replaying.finish(replay(undoing));
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

TPCDinsertKey::TPCDinsertKey(TparamCurve* curve, Tkeyframe* key, Tkeyframe const* previous, Tkeyframe const* next)
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
// key has or had) with the snapshots, inside the record's own bracket: the
// insertion reshaped them under its mask, which a lock on replacements
// (kChangeReplace) must not refuse here. The restored tangents stay, and what
// depends on them is derived again.
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
        if (TcurveEditKit::putBackKey(*fParamCurve, onCurve, *snapshot)) {
            *snapshot = current;
        }
    }
}

bool TPCDinsertKey::undo()
{
    if (inert() || fOwnsCopy) {
        return false;
    }
    TrecordReplay replaying(*this, true);
    if (!replaying.open()) {
        return false;
    }
    unsigned const index = fParamCurve->indexOfKey(fKey);
    bool const done = replay(true);
    if (done) {
        exchangeNeighbours(index);
    }
    return replaying.finish(done);
}

// The mirror of undo: the neighbours take their inserted-state contents
// first, so that the snapshots keep exactly what undo restored, and only then
// does the key come back.
bool TPCDinsertKey::redo()
{
    if (inert() || fOwnsCopy || !fHoldsKey) {
        return false;
    }
    TrecordReplay replaying(*this, false);
    if (!replaying.open()) {
        return false;
    }
    unsigned index = 0;
    fParamCurve->findStoredTime(fKey->timeValue(), index);
    exchangeNeighbours(index);
    return replaying.finish(replay(false));
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
    return replayInBracket(true);
}

bool TPCDblockAddRemoveKey::redo()
{
    return replayInBracket(false);
}

// Undoing an addition and redoing a removal both take the block out.
bool TPCDblockAddRemoveKey::replayInBracket(bool undoing)
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    return replaying.open() && replaying.finish((fType == kBlockAdded) == undoing ? removeBlock() : addBlock());
}
