#include "keelanim/editing/keyframeAccountant.h"

#include "keelanim/curve/paramCurve.h"
#include "keelanim/undo/deltaCollection.h"
#include "keelanim/undo/keyDeltas.h"

#include <algorithm>
#include <memory>

namespace {

constexpr unsigned kSnapshotRoom = 8;

}  // namespace

// One curve's snapshot, as parallel arrays with one entry per key, and the
// changes the audit found.
struct TkeyframeAccountant::Tentry {
    enum class Tkind { kRemoved, kReplaced, kAdded };
    struct Tchange {
        Tkind fKind;
        unsigned fSnapshot;  // the snapshot entry (removals, replacements)
        Tkeyframe* fKey;     // the curve's key (replacements, additions)
    };

    explicit Tentry(TparamCurve& curve)
        : fCurve(&curve), fHandles(kSnapshotRoom), fTimes(kSnapshotRoom), fValues(kSnapshotRoom), fInX(kSnapshotRoom),
          fInY(kSnapshotRoom), fOutX(kSnapshotRoom), fOutY(kSnapshotRoom), fInTypes(kSnapshotRoom),
          fOutTypes(kSnapshotRoom), fAux(kSnapshotRoom)
    {
        for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
            note(curve.keyframe(i));
        }
    }
    Tentry(Tentry const&) = delete;
    Tentry& operator=(Tentry const&) = delete;
    ~Tentry()
    {
        for (TkeyframeHandle* handle : fHandles) {
            delete handle;
        }
    }

    void note(Tkeyframe* key)
    {
        float x = 0.0f;
        float y = 0.0f;
        fHandles.addLast(new TkeyframeHandle(fCurve, key, false));
        fTimes.addLast(key->timeValue());
        fValues.addLast(key->value());
        key->getTanIn(x, y);
        fInX.addLast(x);
        fInY.addLast(y);
        key->getTanOut(x, y);
        fOutX.addLast(x);
        fOutY.addLast(y);
        fInTypes.addLast(static_cast<std::uint32_t>(key->storedTanInType()));
        fOutTypes.addLast(static_cast<std::uint32_t>(key->storedTanOutType()));
        fAux.addLast(key->quatComponent());
    }

    // Snapshot entry `i` written over `key` (its time included).
    void restoreOnto(unsigned i, Tkeyframe& key) const
    {
        key.setTimeAndValue(fTimes[i], fValues[i], fAux[i]);
        key.setTanIn(fInX[i], fInY[i]);
        key.setTanOut(fOutX[i], fOutY[i]);
        key.setTanInType(static_cast<TtangentType>(fInTypes[i]));
        key.setTanOutType(static_cast<TtangentType>(fOutTypes[i]));
    }

    // The snapshot holds what the key stored, so plain comparisons suffice.
    bool differsFrom(unsigned i, Tkeyframe const& key) const
    {
        float inX = 0, inY = 0, outX = 0, outY = 0;
        key.getTanIn(inX, inY);
        key.getTanOut(outX, outY);
        bool const same = fValues[i] == key.value() && fInX[i] == inX && fInY[i] == inY && fOutX[i] == outX &&
                          fOutY[i] == outY && fInTypes[i] == static_cast<std::uint32_t>(key.storedTanInType()) &&
                          fOutTypes[i] == static_cast<std::uint32_t>(key.storedTanOutType()) &&
                          fAux[i] == double(key.quatComponent());
        return !same;
    }

    void audit()
    {
        fChanges.clear();
        std::vector<Tkeyframe*> kept;
        std::vector<Tchange> replacements;
        for (unsigned i = 0; i < fHandles.count(); ++i) {
            Tkeyframe* key = fHandles[i]->present() ? fHandles[i]->keyframe() : nullptr;
            if (key == nullptr || !(key->timeValue() == fTimes[i])) {
                fChanges.push_back({Tkind::kRemoved, i, nullptr});
                continue;
            }
            kept.push_back(key);
            if (differsFrom(i, *key)) {
                replacements.push_back({Tkind::kReplaced, i, key});
            }
        }
        fChanges.insert(fChanges.end(), replacements.begin(), replacements.end());
        std::sort(kept.begin(), kept.end());
        for (unsigned j = 0; j < fCurve->keyframeCountAll(); ++j) {
            Tkeyframe* key = fCurve->keyframe(j);
            if (!std::binary_search(kept.begin(), kept.end(), key)) {
                fChanges.push_back({Tkind::kAdded, 0, key});
            }
        }
    }

    // The record of change `c`, in effect on the curve as the audit found it.
    TPCDaddRemoveKey* record(Tchange const& c) const
    {
        switch (c.fKind) {
        case Tkind::kRemoved: {
            auto* back = new Tkeyframe(fTimes[c.fSnapshot]);
            restoreOnto(c.fSnapshot, *back);
            return new TPCDaddRemoveKey(fCurve, back, TPCDaddRemoveKey::kRemoved);
        }
        case Tkind::kReplaced: {
            Tkeyframe former(*c.fKey);
            restoreOnto(c.fSnapshot, former);
            return new TPCDaddRemoveKey(fCurve, c.fKey, former);
        }
        case Tkind::kAdded: return new TPCDaddRemoveKey(fCurve, c.fKey, TPCDaddRemoveKey::kAdded);
        }
        return nullptr;
    }

    TparamCurve* fCurve;
    TkeyframeHandlePtrArray fHandles;  // owned, not clients of the curve
    TtimeValueArray fTimes;
    TdoubleArray fValues;
    TfloatArray fInX, fInY, fOutX, fOutY;
    // Full tangent types: plug-in kinds run up to 32767.
    TuInt32Array fInTypes, fOutTypes;
    TdoubleArray fAux;  // the auxiliary (quaternion) component
    std::vector<Tchange> fChanges;
};

TkeyframeAccountant::TkeyframeAccountant() = default;

TkeyframeAccountant::~TkeyframeAccountant() = default;

unsigned TkeyframeAccountant::addCurve(TparamCurve& curve)
{
    for (unsigned i = 0; i < numCurves(); ++i) {
        if (fEntries[i]->fCurve == &curve) {
            return i;
        }
    }
    fEntries.push_back(std::make_unique<Tentry>(curve));
    return numCurves() - 1;
}

TparamCurve* TkeyframeAccountant::curve(unsigned index) const
{
    return index < numCurves() ? fEntries[index]->fCurve : nullptr;
}

bool TkeyframeAccountant::audit()
{
    fChanged = false;
    for (auto& entry : fEntries) {
        entry->audit();
        fChanged = fChanged || !entry->fChanges.empty();
    }
    fAudited = true;
    return fChanged;
}

unsigned TkeyframeAccountant::numChanges(unsigned curveIndex) const
{
    return curveIndex < numCurves() ? static_cast<unsigned>(fEntries[curveIndex]->fChanges.size()) : 0;
}

bool TkeyframeAccountant::diff(unsigned curveIndex, unsigned changeIndex, bool undo, TparamCurveDeltaComp& out)
{
    if (changeIndex >= numChanges(curveIndex)) {
        return false;
    }
    Tentry const& entry = *fEntries[curveIndex];
    TPCDaddRemoveKey* made = entry.record(entry.fChanges[changeIndex]);
    made->setIsUndone(undo);
    out.addLast(made);
    return true;
}

bool TkeyframeAccountant::done(unsigned curveIndex, TparamCurveDeltaComp& out)
{
    if (!canHandOut() || curveIndex >= numCurves()) {
        return false;
    }
    for (unsigned i = 0; i < numChanges(curveIndex); ++i) {
        diff(curveIndex, i, false, out);
    }
    return true;
}

bool TkeyframeAccountant::undone(unsigned curveIndex, TparamCurveDeltaComp& out)
{
    if (!canHandOut() || curveIndex >= numCurves()) {
        return false;
    }
    for (unsigned i = numChanges(curveIndex); i-- > 0;) {
        diff(curveIndex, i, true, out);
    }
    return true;
}

void TkeyframeAccountant::postCurveMessages(unsigned curveIndex, bool undo)
{
    if (!canHandOut() || curveIndex >= numCurves() || !TparamCurveDeltaUser::isDeltaMessagingEnabled()) {
        return;
    }
    TparamCurveDeltaComp records;
    undo ? undone(curveIndex, records) : done(curveIndex, records);
    if (records.length() > 0) {
        TparamCurveDeltaUser::postMessage(*fEntries[curveIndex]->fCurve, records);
    }
}

void TkeyframeAccountant::postGlobalMessages(bool undo)
{
    if (!canHandOut() || !TparamCurveDeltaUser::isDeltaMessagingEnabled()) {
        return;
    }
    TparamCurveDeltaComp records;
    for (unsigned n = 0; n < numCurves(); ++n) {
        undo ? undone(numCurves() - 1 - n, records) : done(n, records);
    }
    if (records.length() > 0) {
        TparamCurveDeltaUser::postMessage(records);
    }
}

void TkeyframeAccountant::postAllMessages(bool undo)
{
    postGlobalMessages(undo);
    for (unsigned i = 0; i < numCurves(); ++i) {
        postCurveMessages(i, undo);
    }
}
