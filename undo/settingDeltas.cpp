#include "keelanim/undo/settingDeltas.h"

#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/paramCurve.h"
#include "undo/recordReplay.h"

#include <utility>

KEEL_DEFINE_METACLASS(TPCDinfinityType, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDbreakdown, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDweightedTangents, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDcurveDelta, &TparamCurveDeltaTmeta);

// --- Infinity, breakdown, weighting ----------------------------------------------------------------------

TPCDinfinityType::TPCDinfinityType(TparamCurve* curve, bool pre, TparamCurveEnums::TinfinityType previous,
                                   TparamCurveEnums::TinfinityType current)
    : TparamCurveDelta(curve), fPre(pre), fPrevious(previous), fCurrent(current)
{
}

bool TPCDinfinityType::apply(TparamCurveEnums::TinfinityType type, bool undoing)
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    return replaying.open() &&
           replaying.finish(fPre ? fParamCurve->setPreInfinityType(type) : fParamCurve->setPostInfinityType(type));
}

unsigned TPCDinfinityType::replayMask() const
{
    return TparamCurve::kChangeInfinity;
}

bool TPCDinfinityType::undo()
{
    return apply(fPrevious, true);
}

bool TPCDinfinityType::redo()
{
    return apply(fCurrent, false);
}

TPCDbreakdown::TPCDbreakdown(TparamCurve* curve, unsigned index, bool wasBreakdown)
    : TparamCurveToggleDelta(curve, curve != nullptr ? curve->keyframe(index) : nullptr), fIndex(index),
      fWasBreakdown(wasBreakdown)
{
}

unsigned TPCDbreakdown::replayMask() const
{
    return TparamCurve::kChangeTime;
}

bool TPCDbreakdown::undo()
{
    if (inert() || fParamCurve->keyframe(fIndex) == nullptr) {
        return false;
    }
    TrecordReplay replaying(*this, undoesEdit());
    if (!replaying.open()) {
        return false;
    }
    bool const current = fParamCurve->breakdown(fIndex);
    bool const done = fParamCurve->setBreakdown(fIndex, fWasBreakdown);
    if (done) {
        fWasBreakdown = current;
        swapped();
    }
    return replaying.finish(done);
}

TPCDweightedTangents::TPCDweightedTangents(TparamCurve* curve, bool wasWeighted)
    : TparamCurveToggleDelta(curve), fWasWeighted(wasWeighted)
{
}

unsigned TPCDweightedTangents::replayMask() const
{
    return TparamCurve::kChangeNothing;
}

// The keys' converted tangents come back through the whole-curve snapshot
// recorded with this record; here only the flag changes, announced as the
// edit announced it.
bool TPCDweightedTangents::undo()
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoesEdit());
    if (!replaying.open()) {
        return false;
    }
    bool const current = fParamCurve->isWeighted();
    fParamCurve->setWeightedFlag(fWasWeighted);
    fWasWeighted = current;
    swapped();
    fParamCurve->notifyClientsOfChange(fParamCurve->keyframe(0), TparamCurveModifiedMsg::kWeightingChanged);
    return replaying.finish(true);
}

// --- TPCDcurveDelta ------------------------------------------------------------------------------------------

TPCDcurveDelta::TPCDcurveDelta(TparamCurve* curve) : TparamCurveToggleDelta(curve), fData(8)
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

// A snapshot holds copies of its keys, not addresses: it stays valid after
// the curve deleted keys without records.
bool TPCDcurveDelta::undo()
{
    if (fParamCurve == nullptr) {
        return false;
    }
    TrecordReplay replaying(*this, undoesEdit());
    if (!replaying.open() || !replaying.finish(swapWithCurve())) {
        return false;
    }
    swapped();
    return true;
}

bool TPCDcurveDelta::swapWithCurve()
{
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
