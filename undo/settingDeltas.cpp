#include "keelanim/undo/settingDeltas.h"

#include "keelanim/curve/paramCurve.h"

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
