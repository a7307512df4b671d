// TparamCurve: the tangent operations that work on every key or tangent of a
// pick dictionary: lock bits, and lock-preserving edits to a vector, an angle
// or a weight.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "editing/pickedKeys.h"
#include "editing/tangentMasks.h"
#include "keelanim/base/angle.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/editing/pickKeyDictionary.h"

namespace {

using namespace keel_tangents;

// Every tangent drag of a key, locked or not, falls under this mask.
constexpr unsigned kAnyDragMask = kDragInMask | kDragInLockedMask | kDragOutMask | kDragOutLockedMask;

// One bracket for the whole dictionary; every picked key is told, unlike the
// single-key setters, which tell only referenced curves' clients.
bool setPickedLockBits(TparamCurve& curve, TpickKeyDictionary const& picks, unsigned mask, Tkeyframe::TflagBit bit,
                       bool on)
{
    TchangeScope change(curve, mask);
    if (!change.open()) {
        return false;
    }
    bool recorded = false;
    forEachPickedKey(curve, picks, [&](Tkeyframe& key, unsigned, TpickKey const&) {
        if (key.flags().isSet(bit) != on) {
            if (!recorded) {
                curve.generateCurveDeltas();  // no record names a lock: the keys as they were undo them all
                recorded = true;
            }
            TbitField64 flags = key.flags();
            flags.setTo(bit, on);
            key.setFlags(flags);
        }
        curve.notifyClientsOfChange(&key, TparamCurveModifiedMsg::kLockChanged);
    });
    change.modified();
    return true;
}

// The sides a pick names: its tangents, or the out-tangent for a whole key
// (a tangent lock then carries the in-tangent along).
template <class Visit> void forEachPickedSide(TpickKey const& pick, Visit&& visit)
{
    bool const in = pick.flags().isSet(kPickInTangentBit);
    bool const out = pick.flags().isSet(kPickOutTangentBit) || pick.flags().isSet(kPickKeyBit);
    if (in) {
        visit(true);
    }
    if (out) {
        visit(false);
    }
}

// Edits every picked side with `vectorFor(index, in, x, y)`, which writes the
// side's new vector, through editTangent, inside one bracket: all or nothing.
// True when every picked side took its vector.
template <class VectorFor>
bool editPickedSides(TparamCurve& curve, TpickKeyDictionary const& picks, float xScale, float yScale,
                     VectorFor&& vectorFor)
{
    TchangeScope change(curve, kAnyDragMask);
    if (!change.open()) {
        return false;
    }
    bool all = true;
    bool any = false;
    forEachPickedKey(curve, picks, [&](Tkeyframe&, unsigned index, TpickKey const& pick) {
        forEachPickedSide(pick, [&](bool in) {
            float x = 0.0f;
            float y = 0.0f;
            bool const edited = vectorFor(index, in, x, y) && curve.editTangent(index, x, y, in, xScale, yScale);
            all = all && edited;
            any = any || edited;
        });
    });
    if (any) {
        change.modified();
    }
    return all;
}

}  // namespace

bool TparamCurve::setTangentLockedStatus(TpickKeyDictionary const& picks, bool on)
{
    return setPickedLockBits(*this, picks, kLockMask, Tkeyframe::kTangentsLockedBit, on);
}

bool TparamCurve::setWeightLockedStatus(TpickKeyDictionary const& picks, bool on)
{
    return setPickedLockBits(*this, picks, kWeightLockMask, Tkeyframe::kWeightsLockedBit, on);
}

bool TparamCurve::adjustTangents(TpickKeyDictionary const& picks, float x, float y, float xScale, float yScale)
{
    return editPickedSides(*this, picks, xScale, yScale, [x, y](unsigned, bool, float& newX, float& newY) {
        newX = x;
        newY = y;
        return true;
    });
}

bool TparamCurve::adjustTangents(TpickKeyDictionary const& picks, Tangle const& angle, float xScale, float yScale)
{
    return editPickedSides(*this, picks, xScale, yScale, [&](unsigned index, bool in, float& newX, float& newY) {
        return setTangentAngle(index, angle, in, newX, newY, xScale, yScale);
    });
}

bool TparamCurve::adjustTangents(TpickKeyDictionary const& picks, float weight, float xScale, float yScale)
{
    return editPickedSides(*this, picks, xScale, yScale, [&](unsigned index, bool in, float& newX, float& newY) {
        return setTangentWeight(index, weight, in, newX, newY, xScale, yScale);
    });
}
