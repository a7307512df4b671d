// TparamCurve: keeping every key's tangents as its tangent types ask.

#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/keys/pickParts.h"
#include "keelanim/segments/animCurve.h"
#include "keelanim/segments/hermite.h"

namespace {

bool isSmoothType(TtangentType type)
{
    return type == kTangentSpline || type == kTangentSmooth;
}

bool needsSecondPass(TtangentType type)
{
    return type == kTangentOldClamped || type == kTangentClamped || type == kTangentPlateau;
}

}  // namespace

double TparamCurve::normScaleValue() const
{
    if (fHostHooksEnabled && fHostHooks.fNormalisationScale != nullptr) {
        return fHostHooks.fNormalisationScale(fHostHooks.fOwner, this);
    }
    return 1.0;
}

void TparamCurve::modifyTangentHelper(unsigned index)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return;
    }
    // Keys whose types compute nothing are left alone without selecting a
    // segment for them: most keys of a fixed or stepped curve.
    if (!T2dAnimCurve::hasTangentRule(key->tanInType()) && !T2dAnimCurve::hasTangentRule(key->tanOutType())) {
        return;
    }
    if (isReplaying()) {
        return;  // a replayed step restores its tangents itself
    }
    TkeyTangents const before = TkeyTangents::of(*key);
    T2dAnimCurve::calculateTangents(keyframe(index - 1), key, keyframe(index + 1), this);
    if (fTangentJournal != nullptr) {
        TkeyTangents const after = TkeyTangents::of(*key);
        if (!(after == before)) {
            fTangentJournal->note(key, before, after);
        }
    }
}

T2dAnimCurve* TparamCurve::tangentSegment(Tkeyframe const* key)
{
    TinterpolatorType const desired = T2dAnimCurve::desiredInterpolatorType(isWeighted(), key);
    if (fTangentSegment == nullptr || fTangentSegment->interpolatorType() != desired) {
        delete fTangentSegment;
        fTangentSegment = T2dAnimCurve::new2dAnimCurve(isFloatCurve(), desired);
    }
    return fTangentSegment;
}

bool TparamCurve::tangentMethodIdentifier(unsigned index, bool useIn, bool sameSideOnly)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TtangentType const deciding = useIn ? key->tanInType() : key->tanOutType();
    TtangentType const other = useIn ? key->tanOutType() : key->tanInType();
    bool const secondPass = !sameSideOnly && needsSecondPass(other);
    if (!T2dAnimCurve::hasTangentRule(deciding) && deciding != kTangentFixed) {
        return true;
    }
    if (!isSmoothType(deciding)) {
        modifyTangentHelper(index);
        return true;
    }
    if (!sameSideOnly || !isSmoothType(other)) {
        modifyTangentHelper(index);
        if (secondPass) {
            modifyTangentHelper(index);
        }
    }
    return true;
}

bool TparamCurve::readsNeighbourTangents(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && (key->tanInType() == kTangentPlateau || key->tanOutType() == kTangentPlateau);
}

void TparamCurve::modifyTangents(unsigned index)
{
    if (keyframe(index) == nullptr) {
        return;
    }
    modifySmoothTangents(index, index);
}

void TparamCurve::modifySmoothTangents(unsigned first, unsigned last)
{
    recomputeWindow(first > 0 ? first - 1 : 0, last + 1, kArrayFailure);
}

void TparamCurve::recomputeWindow(unsigned from, unsigned to, unsigned keep)
{
    unsigned const count = arrayCount();
    if (count == 0 || from >= count) {
        return;
    }
    to = to < count ? to : count - 1;
    for (unsigned i = from; i <= to; ++i) {
        if (i != keep) {
            modifyTangentHelper(i);
        }
    }
    // Plateau keys bound their spans with their neighbours' tangents: the
    // change travels on through runs of them.
    for (unsigned i = to + 1; i < count && readsNeighbourTangents(i); ++i) {
        modifyTangentHelper(i);
    }
    for (unsigned i = from; i-- > 0 && readsNeighbourTangents(i);) {
        modifyTangentHelper(i);
    }
}

void TparamCurve::modifyLinearTangents(unsigned first, unsigned last)
{
    // Linear tangents follow the same neighbours as every other computed
    // type; one recomputation serves both.
    modifySmoothTangents(first, last);
}

void TparamCurve::recomputeTangents(TkeyframeHandlePtrArray& handles)
{
    for (TkeyframeHandle* handle : handles) {
        int const index = handle != nullptr ? handle->index() : -1;
        if (index >= 0) {
            modifyTangents(static_cast<unsigned>(index));
        }
    }
}

bool TparamCurve::setTangentTypeHelper(unsigned index, TtangentType type, int part)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || part < kPickKeyBit || part > kPickOutTangentBit) {
        return false;
    }
    if (part != kPickOutTangentBit) {
        key->setTanInType(type);
    }
    if (part != kPickInTangentBit) {
        key->setTanOutType(type);
    }
    return true;
}

bool TparamCurve::setTangentType(unsigned index, TtangentType in, TtangentType out)
{
    return retypeTangents(index, [&] {
        setTangentTypeHelper(index, in, kPickInTangentBit);
        setTangentTypeHelper(index, out, kPickOutTangentBit);
    });
}

bool TparamCurve::setTangentType(unsigned index, TtangentType type, int part)
{
    if (part < kPickKeyBit || part > kPickOutTangentBit) {
        return false;
    }
    return retypeTangents(index, [&] { setTangentTypeHelper(index, type, part); });
}

// In a modification, the sides of key `index` that changed from `before`; a
// record goes even when neither did, to carry the tangents the change
// re-derived around the key (a change without a record loses them).
void TparamCurve::recordTangentEdit(unsigned index, Tkeyframe const& before)
{
    TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this);
    Tkeyframe const* key = keyframe(index);
    if (recorder == nullptr || isReplaying() || key == nullptr) {
        return;
    }
    unsigned const records = recorder->recordCount(pendingDelta());
    generateDeltasForTangents(index, before);
    if (recorder->recordCount(pendingDelta()) == records) {
        record(recorder->tangentDragged(*this, index, true, before, *key));
    }
}

// The types change, the tangents follow them, and in a modification the key's
// sides are recorded from what they were (the neighbours' re-derived
// tangents go with the change's journal, which needs a record to travel
// with). Setting the types a key has re-derives its tangents.
template <class Retype> bool TparamCurve::retypeTangents(unsigned index, Retype&& retype)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TchangeScope change(*this, kChangeTangentType);
    if (!change.open()) {
        return false;
    }
    Tkeyframe const before = keyAsTheChangeFoundIt(*key);
    retype();
    keysChangedAround(index, false);
    recordTangentEdit(index, before);
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kTangentChanged);
    change.modified();
    return true;
}

// --- Weighting ------------------------------------------------------------------------------

namespace {

// A tangent as the other segment kind reads it: a weighted one keeps its
// slope and reaches a third of `length` into the span (a Bezier span with
// such handles is the Hermite span exactly; vertical tangents and spans of
// no length stay as they are), an unweighted one becomes a unit vector.
void convertTangent(float& x, float& y, bool toWeighted, double length)
{
    if (!toWeighted) {
        T2dHermite::validateTangent(x, y);
        return;
    }
    if (x == 0.0f || length <= 0.0) {
        return;
    }
    double const slope = double(y) / double(x);
    x = narrowToFloat(length);
    y = narrowToFloat(slope * length);
}

}  // namespace

void TparamCurve::setWeightedFlag(bool weighted)
{
    setCurveFlag(kWeightedBit, weighted);
}

bool TparamCurve::setIsWeighted(bool weighted)
{
    if (weighted == isWeighted()) {
        return true;
    }
    TchangeScope change(*this, kChangeNothing);
    if (!change.open()) {
        return false;
    }
    generateCurveDeltas();  // the tangents before conversion
    bool const was = isWeighted();
    unsigned const count = arrayCount();
    for (unsigned i = 0; i < count; ++i) {
        Tkeyframe* key = keyframe(i);
        double const t = hostSeconds(key);
        double const before = i > 0 ? t - hostSeconds(keyframe(i - 1)) : 0.0;
        double const after = i + 1 < count ? hostSeconds(keyframe(i + 1)) - t : 0.0;
        float x = 0.0f;
        float y = 0.0f;
        key->getTanIn(x, y);
        convertTangent(x, y, weighted, before > 0.0 ? before : after);
        key->setTanIn(x, y);
        key->getTanOut(x, y);
        convertTangent(x, y, weighted, after > 0.0 ? after : before);
        key->setTanOut(x, y);
    }
    setWeightedFlag(weighted);
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(recorder->weightingChanged(*this, was));
    }
    modifySmoothTangents(0, count > 0 ? count - 1 : 0);
    invalidateCache();
    notifyClientsOfChange(keyframe(0), TparamCurveModifiedMsg::kWeightingChanged);
    change.modified();
    return true;
}
