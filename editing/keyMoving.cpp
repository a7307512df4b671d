// TparamCurve: moving keys in time and value, one key at a time or as a
// batch between beginMoveKeys and endMoveKeys.

#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "editing/keyMoveSession.h"
#include "editing/pickedKeys.h"
#include "keelanim/curve/curveMessages.h"

#include <cmath>
#include <limits>
#include <unordered_set>

namespace {

using TmoveOption = TparamCurveEnums::TmoveOption;

// Relative offsets at or below these (as single-precision values) are no
// move at all; absolute values closer than kSameValue are the same value.
constexpr float kNoRelativeMove = 1e-5f;
constexpr double kSameValue = 1e-10;
// The lock of a key's second quantity (the auxiliary component).
constexpr unsigned kSecondLocked = 2;
// The bracket of a move that a lock held back in part.
constexpr unsigned kPartlyLockedMove = 216;

bool replacesKeys(TmoveOption option)
{
    return option == TparamCurveEnums::kMoveReplace || option == TparamCurveEnums::kMoveReplaceBracketed;
}

bool finiteTime(TtimeValue const& time)
{
    return time.isTicks() || std::isfinite(time.seconds());
}

// A time as a number of the curve's own unit: exact ticks on an animTime
// curve, seconds on a float curve.
double curveUnits(TparamCurve const& curve, TtimeValue const& time)
{
    return curve.isAnimTimeCurve() ? double(time.asAnimTime().ticks()) : time.seconds();
}

// Whether a batch's inputs can be used: times finite, values finite, and
// arrays as long as the handles (values may be left empty).
bool usableBatch(TkeyframeHandlePtrArray const& handles, TtimeValueArray const& times, TdoubleArray const& values)
{
    if (times.count() != handles.count() || (values.count() != 0 && values.count() != handles.count())) {
        return false;
    }
    for (TtimeValue const& time : times) {
        if (!finiteTime(time)) {
            return false;
        }
    }
    for (double value : values) {
        if (!std::isfinite(value)) {
            return false;
        }
    }
    return true;
}

// The handles of the live picks of `curve`, in time order (caller owns).
void pickedHandles(TparamCurve const& curve, TpickKeyDictionary const& picks, TkeyframeHandlePtrArray& handles)
{
    forEachPickedKey(curve, picks, [&](Tkeyframe&, unsigned, TpickKey const& pick) {
        handles.addLast(new TkeyframeHandle(*pick.handle(), false));
    });
}

void deleteHandles(TkeyframeHandlePtrArray& handles)
{
    for (TkeyframeHandle* handle : handles) {
        delete handle;
    }
    handles.changeLogicalSizeTo(0);
}

// Whether a record takes part in a batch's pass.
bool placedByBatch(TmoveKeyData const& record, bool followBreakdowns)
{
    return record.fValid && (record.fMoved || (followBreakdowns && record.fBreakdown != nullptr));
}

// Puts key `index` (the object `key`) at `time` with `value` and `second`:
// its new index, or kArrayFailure when another key holds that time.
unsigned placeMovedKey(TparamCurve& curve, Tkeyframe& key, unsigned index, TtimeValue const& time, double value,
                       double second)
{
    if (!(time == curve.timeValue(index))) {
        index = TcurveEditKit::retimeKey(curve, index, time);
        if (index == kArrayFailure) {
            return kArrayFailure;
        }
    }
    if (value != key.value() || second != key.quatComponent()) {
        key.setTimeAndValue(key.timeValue(), value, second);
        if (curve.isStatic()) {
            curve.checkStaticValueCondition(index);
        }
        TcurveEditKit::keysChangedAround(curve, index, false);
    }
    return index;
}

// Tells the curve's clients of a placed key: a change, and a move when its
// time changed.
void announceMove(TparamCurve& curve, Tkeyframe* key, TtimeValue const& from, TtimeValue const& to, TmoveOption option)
{
    curve.notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyChanged);
    if (!(from == to) && curve.hasMessage(TkeyframeMovedMsgTmeta)) {
        curve.notifyClients(TkeyframeMovedMsg(from, to, option));
    }
}

}  // namespace

// --- The move bracket --------------------------------------------------------------------

void TparamCurve::beginMoveKeys(TkeyframeHandlePtrArray const& handles)
{
    TkeyMoveSession* session = TkeyMoveSession::of(*this, true);
    session->fMoveList.reset();
    if (handles.empty() || anyParamsLocked(kChangeAll)) {
        return;
    }
    auto list = std::make_unique<TmoveKeyDataPtrList>();
    std::unordered_set<Tkeyframe const*> taken;
    for (unsigned slot = 0; slot < handles.count(); ++slot) {
        TkeyframeHandle const* handle = handles[slot];
        if (indexOfHandle(*this, handle) != kArrayFailure && taken.insert(handle->keyframe()).second) {
            list->addLast(new TmoveKeyData(*handle, true, slot, nullptr));
        }
    }
    getAffectedBreakdowns(handles);
    for (TbreakdownData* breakdown : session->fBreakdowns) {
        if (breakdown->key() != nullptr && taken.insert(breakdown->key()->keyframe()).second) {
            list->addLast(new TmoveKeyData(*breakdown->key(), false, 0, breakdown));
        }
    }
    session->fMoveList = std::move(list);
}

void TparamCurve::beginMoveKeys(TpickKeyDictionary const& picks)
{
    TkeyframeHandlePtrArray handles;
    pickedHandles(*this, picks, handles);
    beginMoveKeys(handles);
    deleteHandles(handles);
}

void TparamCurve::endMoveKeys()
{
    if (TkeyMoveSession* session = TkeyMoveSession::of(*this, false)) {
        session->fMoveList.reset();
    }
    flushBreakdownCache();
}

TmoveKeyDataPtrList* TparamCurve::moveKeyList() const
{
    auto const* session = TkeyMoveSession::of(*this);
    return session != nullptr ? session->fMoveList.get() : nullptr;
}

// --- The batch -----------------------------------------------------------------------------

bool TparamCurve::moveKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& newTimes, TtimeValueArray& oldTimes,
                           TdoubleArray& newValues, TdoubleArray& oldValues, TmoveOption option, bool followBreakdowns)
{
    TmoveKeyDataPtrList* list = moveKeyList();
    if (arrayCount() == 0 || handles.empty() || list == nullptr || list->empty() ||
        !usableBatch(handles, newTimes, newValues)) {
        return false;
    }
    TchangeScope change(*this, kChangeBatchMove);
    if (!change.open()) {
        return false;
    }
    oldTimes.changeLogicalSizeTo(0);
    oldValues.changeLogicalSizeTo(0);
    for (TkeyframeHandle const* handle : handles) {
        oldTimes.addLast(handle != nullptr ? handle->timeValue() : TtimeValue(0.0f));
        oldValues.addLast(handle != nullptr ? handle->value() : 0.0);
    }
    for (TmoveKeyData* record : *list) {
        if (record->fValid && record->fMoved) {
            record->fTarget = record->fHandle->timeValue();
            if (record->fSlot < newTimes.count() && acceptsTimeForm(newTimes[record->fSlot])) {
                record->fTarget = newTimes[record->fSlot];
            }
        }
    }
    if (followBreakdowns) {
        adjustBreakdownData(*list);
    }
    list->sort();
    // Keys moving later go latest first, then keys moving earlier go
    // earliest first: no key lands where a moved key has not left yet.
    auto place = [&](TmoveKeyData const& record) {
        unsigned const index = indexOfHandle(*this, record.fHandle);
        if (index == kArrayFailure) {
            return false;
        }
        bool const ownValue = record.fMoved && record.fSlot < newValues.count();
        double const value = ownValue ? newValues[record.fSlot] : keyframe(index)->value();
        return moveKeyframe(index, record.fTarget, value, option, true);
    };
    bool placed = false;
    for (unsigned i = list->count(); i-- > 0;) {
        TmoveKeyData const& record = *(*list)[i];
        if (placedByBatch(record, followBreakdowns) && !(record.fTarget < record.fHandle->timeValue())) {
            placed = place(record) || placed;
        }
    }
    for (TmoveKeyData const* record : *list) {
        if (placedByBatch(*record, followBreakdowns) && record->fTarget < record->fHandle->timeValue()) {
            placed = place(*record) || placed;
        }
    }
    if (placed) {
        change.modified();
    }
    return true;
}

// --- One key -------------------------------------------------------------------------------

bool TparamCurve::moveKeyframe(unsigned index, TtimeValue time, double value, TmoveOption option, bool record)
{
    Tkeyframe* key = keyframe(index);
    return key != nullptr && moveKeyframeHelper(key, index, time, value, key->quatComponent(), option, record);
}

bool TparamCurve::moveKeyframeInValue(unsigned index, double value, double second)
{
    Tkeyframe* key = keyframe(index);
    return key != nullptr && moveKeyframeHelper(key, index, timeValue(index), value, second,
                                                TparamCurveEnums::kMoveBetweenNeighbours, true);
}

bool TparamCurve::moveKeyframeHelper(Tkeyframe* key, unsigned index, TtimeValue const& time, double value,
                                     double second, TmoveOption option, bool record)
{
    // The auxiliary component is kept in single precision: beyond that range
    // it would turn infinite.
    bool const secondFits = std::fabs(second) <= double(std::numeric_limits<float>::max());
    if (key == nullptr || keyframe(index) != key || !acceptsTimeForm(time) || !finiteTime(time) ||
        !std::isfinite(value) || !secondFits) {
        return false;
    }
    unsigned const fromIndex = index;
    TtimeValue const fromTime = timeValue(index);
    double const fromValue = key->value();
    double const fromSecond = key->quatComponent();
    bool const timeLocked = anyParamsLocked(kChangeTime);
    bool const valueLocked = anyParamsLocked(kChangeValue);
    bool const secondLocked = anyParamsLocked(kSecondLocked) || !isRotationCurve();
    TtimeValue const target = timeLocked ? fromTime : time;
    double const newValue = valueLocked ? fromValue : value;
    double const newSecond = secondLocked ? fromSecond : second;
    bool const timeChanges = !(target == fromTime);
    if (!timeChanges && newValue == fromValue && newSecond == fromSecond) {
        return false;
    }
    // A key met at the target is replaced under options 2 and 3 (unless it
    // moves too); otherwise the move is refused before anything changes.
    unsigned met = 0;
    if (timeChanges && find(target, met) && met != index) {
        TmoveKeyDataPtrList const* list = moveKeyList();
        if (!replacesKeys(option) || (list != nullptr && list->findKey(keyframe(met)) != nullptr)) {
            return false;
        }
    } else {
        met = kArrayFailure;
    }
    bool const partlyLocked = timeLocked || valueLocked || anyParamsLocked(kSecondLocked);
    TchangeScope change(*this, partlyLocked ? kPartlyLockedMove : kChangeNothing);
    if (!change.open()) {
        return false;
    }
    if (met != kArrayFailure) {
        TchangeScope replacing(*this, kChangeNothing);
        if (!replacing.open() || !remove(met)) {
            return false;
        }
        index = met < index ? index - 1 : index;
    }
    if (placeMovedKey(*this, *key, index, target, newValue, newSecond) == kArrayFailure) {
        return false;
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this); recorder != nullptr && record) {
        this->record(recorder->keyMoved(*this, key, fromIndex, fromTime, fromValue, fromSecond, option));
    }
    announceMove(*this, key, fromTime, target, option);
    change.modified();
    return true;
}

bool TparamCurve::moveForDeltaUndoRedo(TkeyframeHandle* handle, TtimeValue const& time, double value, double second,
                                       TmoveOption option)
{
    unsigned index = indexOfHandle(*this, handle);
    if (index == kArrayFailure || !acceptsTimeForm(time) || !finiteTime(time) || !std::isfinite(value)) {
        return false;
    }
    // Records hold values in the curve's normalised space.
    double const scale = normScaleValue();
    if (std::fabs(scale) > kSameValue) {
        value /= scale;
    }
    Tkeyframe* key = keyframe(index);
    TtimeValue const fromTime = timeValue(index);
    TchangeScope change(*this, kChangeNothing);
    if (!change.open() || placeMovedKey(*this, *key, index, time, value,
                                        std::isfinite(second) ? second : key->quatComponent()) == kArrayFailure) {
        return false;
    }
    announceMove(*this, key, fromTime, time, option);
    change.modified();
    return true;
}

// --- Replacing, swapping, reversing ----------------------------------------------------------

bool TparamCurve::replaceKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& newTimes, TtimeValueArray& replaced,
                              TmoveOption option)
{
    replaced.changeLogicalSizeTo(0);
    TdoubleArray const noValues;
    if (option != TparamCurveEnums::kMoveReplace || handles.empty() || arrayCount() == 0 ||
        !usableBatch(handles, newTimes, noValues) || anyParamsLocked(kChangeReplace)) {
        return false;
    }
    TchangeScope change(*this, kChangeReplace);
    if (!change.open()) {
        return false;
    }
    std::unordered_set<Tkeyframe const*> moving;
    for (TkeyframeHandle const* handle : handles) {
        moving.insert(handle != nullptr ? handle->keyframe() : nullptr);
    }
    for (unsigned i = 0; i < handles.count(); ++i) {
        unsigned const index = indexOfHandle(*this, handles[i]);
        unsigned met = 0;
        if (index == kArrayFailure || newTimes[i] == timeValue(index) || !find(newTimes[i], met) ||
            moving.count(keyframe(met)) != 0) {
            continue;
        }
        TtimeValue const at = timeValue(met);
        if (remove(met)) {
            replaced.addLast(at);
            change.modified();
        }
    }
    return true;
}

bool TparamCurve::swapKeys(unsigned a, unsigned b)
{
    Tkeyframe* first = keyframe(a);
    Tkeyframe* second = keyframe(b);
    if (first == nullptr || second == nullptr || a == b) {
        return false;
    }
    TchangeScope change(*this, kChangeTime);
    if (!change.open()) {
        return false;
    }
    unsigned const low = std::min(a, b);
    unsigned const high = std::max(a, b);
    TrewriteSnapshot const before(*this, low, high);
    TtimeValue const firstTime = timeValue(a);
    TtimeValue const secondTime = timeValue(b);
    TtimeValue const firstStored = first->timeValue();
    first->setTime(second->timeValue());
    second->setTime(firstStored);
    restoreKeyOrder();
    keysChangedAround(low, false);
    keysChangedAround(high, false);
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        TtimeValue const middle(narrowToFloat((firstTime.seconds() + secondTime.seconds()) / 2.0));
        std::vector<TkeyRewrite> changes = before.changes();
        if (!changes.empty()) {
            record(recorder->regionScaled(*this, firstTime, secondTime, secondTime, firstTime, middle,
                                          std::move(changes)));
        }
    }
    notifyClientsOfChange(first, TparamCurveModifiedMsg::kKeyChanged);
    change.modified();
    return true;
}

bool TparamCurve::switchInOutTangents(TkeyframeHandle* handle)
{
    unsigned const index = indexOfHandle(*this, handle);
    if (index == kArrayFailure || tangentSegment(keyframe(index)) == nullptr) {
        return false;
    }
    Tkeyframe& key = *keyframe(index);
    TtangentType const in = key.tanInType();
    TtangentType const out = key.tanOutType();
    bool const fixedSide = in == kTangentFixed || out == kTangentFixed;
    if (!fixedSide && in == out) {
        return false;
    }
    if (in != out) {
        key.exchangeTangentTypes();
    }
    if (fixedSide) {
        key.reverseTangentVectors();
    }
    invalidateCache(static_cast<int>(index));
    return true;
}

// --- Checks ------------------------------------------------------------------------------------

bool TparamCurve::canMove(TkeyframeHandlePtrArray& handles, TtimeValue const& time, double value, bool relative,
                          TmoveOption option)
{
    if (arrayCount() == 0 || handles.empty()) {
        return true;
    }
    TkeyframeHandle const* firstHandle = handles[0];
    TkeyframeHandle const* lastHandle = handles[handles.count() - 1];
    if (firstHandle == nullptr || lastHandle == nullptr || !finiteTime(time) || !std::isfinite(value)) {
        return false;
    }
    TtimeValue const firstTime = firstHandle->timeValue();
    // The senses differ on purpose: a tick offset sets the flag when the
    // time stays, as an absolute move to the key's own time does, while a
    // real offset sets it when the time changes.
    bool timeFlag = false;
    if (!relative) {
        timeFlag = time == firstTime;
    } else if (time.isTicks()) {
        timeFlag = time.asAnimTime().ticks() == 0;
    } else {
        timeFlag = std::fabs(time.floatSeconds()) > kNoRelativeMove;
    }
    bool const valueFlag = relative ? std::fabs(narrowToFloat(value)) > kNoRelativeMove
                                    : std::fabs(value - firstHandle->value()) > kSameValue;
    if ((timeFlag && anyParamsLocked(kChangeTime)) || (valueFlag && anyParamsLocked(kChangeValue))) {
        return false;
    }
    double const offset = relative ? curveUnits(*this, time) : curveUnits(*this, time) - curveUnits(*this, firstTime);
    if (option != TparamCurveEnums::kMoveBetweenNeighbours) {
        if (relative) {
            return true;
        }
        return option == TparamCurveEnums::kMoveReplace
                   ? handles.count() == 1
                   : option != TparamCurveEnums::kMoveRefused && option != TparamCurveEnums::kMoveReplaceBracketed;
    }
    unsigned first = 0;
    unsigned last = 0;
    find(firstTime, first);
    TtimeValue const lastTime = lastHandle->timeValue();
    if (!find(lastTime, last) && last > 0) {
        --last;
    }
    if (offset > 0.0) {
        Tkeyframe const* next = keyframe(last + 1);
        return next == nullptr || curveUnits(*this, lastTime) + offset <= curveUnits(*this, timeValue(next));
    }
    Tkeyframe const* previous = first > 0 ? keyframe(first - 1) : nullptr;
    return previous == nullptr || curveUnits(*this, firstTime) + offset >= curveUnits(*this, timeValue(previous));
}

bool TparamCurve::canMove(TpickKeyDictionary const& picks, TtimeValue const& time, double value, bool relative,
                          TmoveOption option, bool)
{
    TkeyframeHandlePtrArray handles;
    pickedHandles(*this, picks, handles);
    bool const allowed = canMove(handles, time, value, relative, option);
    deleteHandles(handles);
    return allowed;
}

// --- Records of moves the host made -----------------------------------------------------------

bool TparamCurve::generateDeltasForMove(TkeyframeHandlePtrArray& handles, TuInt32Array& indices, TtimeValueArray& times,
                                        TdoubleArray& values, TquaternionArray const*, TmoveOption option)
{
    TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this);
    unsigned const count = handles.count();
    if (recorder == nullptr || indices.count() != count || times.count() != count || values.count() != count) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        unsigned const index = indexOfHandle(*this, handles[i]);
        if (index != kArrayFailure) {
            Tkeyframe* key = keyframe(index);
            record(recorder->keyMoved(*this, key, indices[i], times[i], values[i], key->quatComponent(), option));
        }
    }
    return true;
}
