// Moves whose targets come from a change function: each key asks the
// function for its own time and value change, and the batch places them.

#include "editing/keyMoveSession.h"
#include "editing/pickedKeys.h"
#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/changeFunctions.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/editing/moveKeyData.h"

#include <cmath>
#include <cstdint>

namespace {

// Slots beyond any handle array a move begins with.
constexpr std::uint32_t kMostSlots = 1u << 24;

// A change in the curve's form: seconds to the nearest tick on an animTime
// curve, ticks to seconds on a float curve.
TtimeValue inCurveForm(TparamCurve const& curve, TtimeValue const& change)
{
    if (curve.isAnimTimeCurve()) {
        return change.isTicks() ? change : TtimeValue(change.asAnimTime());
    }
    return change.isTicks() ? TtimeValue(narrowToFloat(change.seconds())) : change;
}

// Targets for the handles: each key's time and value now plus its change.
// False when a change is not finite.
bool targetsOf(TparamCurve const& curve, TkeyframeHandlePtrArray const& handles, TtimeValueChangeFn const& change,
               TtimeValueArray& times, TdoubleArray& values)
{
    for (TkeyframeHandle const* handle : handles) {
        if (handle == nullptr || handle->keyframe() == nullptr) {
            times.addLast(TtimeValue());
            values.addLast(0.0);
            continue;
        }
        TtimeValue const delta = inCurveForm(curve, change.timeChange(handle, nullptr));
        double const value = handle->value() + change.valueChange(handle);
        if (!std::isfinite(delta.seconds()) || !std::isfinite(value)) {
            return false;
        }
        times.addLast(handle->timeValue() + delta);
        values.addLast(value);
    }
    return true;
}

}  // namespace

bool TparamCurve::moveKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& oldTimes,
                           TtimeValueChangeFn const& change, TparamCurveEnums::TmoveOption option,
                           bool followBreakdowns)
{
    TtimeValueArray newTimes;
    TdoubleArray newValues;
    TdoubleArray oldValues;
    if (!targetsOf(*this, handles, change, newTimes, newValues)) {
        return false;
    }
    return moveKeys(handles, newTimes, oldTimes, newValues, oldValues, option, followBreakdowns);
}

bool TparamCurve::moveKeys(TpickKeyDictionary const& picks, TtimeValueChangeFn const& change,
                           TparamCurveEnums::TmoveOption option, bool followBreakdowns)
{
    TkeyframeHandlePtrArray handles;
    forEachPickedKey(*this, picks, [&](Tkeyframe&, unsigned, TpickKey const& pick) {
        if (pick.flags().isSet(TpickKey::kPickKey)) {
            handles.addLast(pick.handle());
        }
    });
    TtimeValueArray oldTimes;
    return moveKeys(handles, oldTimes, change, option, followBreakdowns);
}

// The move list names its keys by their slot in the handles its move began
// with: the handles are laid out again at those slots.
bool TparamCurve::applyMoveKeyList(TtimeValueChangeFn const& change, TparamCurveEnums::TmoveOption option,
                                   bool followBreakdowns)
{
    TmoveKeyDataPtrList const* list = moveKeyList();
    if (list == nullptr) {
        return false;
    }
    TkeyframeHandlePtrArray handles;
    for (TmoveKeyData const* record : *list) {
        if (!record->fMoved || !record->fValid || record->fSlot >= kMostSlots) {
            continue;
        }
        while (handles.count() <= record->fSlot) {
            handles.addLast(nullptr);
        }
        handles[record->fSlot] = record->fHandle;
    }
    TtimeValueArray oldTimes;
    return moveKeys(handles, oldTimes, change, option, followBreakdowns);
}
