#include "keelanim/undo/editDeltas.h"

#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/keys/pickParts.h"
#include "undo/recordReplay.h"

#include <cmath>
#include <unordered_set>

KEEL_DEFINE_METACLASS(TPCDdragKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDdragTan, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDdragSegment, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDscaleKey, &TparamCurveDeltaTmeta);
KEEL_DEFINE_METACLASS(TPCDrotationInterpolation, &TparamCurveDeltaTmeta);

namespace {

constexpr double kNormTolerance = 1e-10;
// Dragged positions closer than this are the same position.
constexpr float kPositionTolerance = 1e-5f;

}  // namespace

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

bool TPCDdragKey::replay(bool undoing)
{
    if (inert() || fHandle == nullptr) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    if (!replaying.open()) {
        return false;
    }
    bool const done =
        undoing ? fParamCurve->moveForDeltaUndoRedo(fHandle, fPreviousTime, fPreviousValue, fPreviousW, fOption)
                : fParamCurve->moveForDeltaUndoRedo(fHandle, fCurrentTime, fCurrentValue, fCurrentW, fOption);
    return replaying.finish(done);
}

bool TPCDdragKey::undo()
{
    return replay(true);
}

bool TPCDdragKey::redo()
{
    return replay(false);
}

int TPCDdragKey::modifyTangent()
{
    if (fOption != 0) {
        return fOption;
    }
    if (!inert() && fHandle != nullptr && fHandle->index() >= 0) {
        fParamCurve->modifyTangents(static_cast<unsigned>(fHandle->index()));
    }
    return 0;
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

unsigned TPCDdragTan::replayMask() const
{
    return TparamCurve::kChangeTangentType;
}

TPCDdragTan::TkeySides TPCDdragTan::TkeySides::of(Tkeyframe const& key)
{
    TkeySides sides;
    key.getTanIn(sides.fInX, sides.fInY);
    key.getTanOut(sides.fOutX, sides.fOutY);
    sides.fInType = key.storedTanInType();
    sides.fOutType = key.storedTanOutType();
    return sides;
}

// The stored values were accepted by the key once, so writing them again
// stores them bit for bit.
void TPCDdragTan::TkeySides::applyTo(TparamCurve& curve, unsigned index) const
{
    Tkeyframe* key = curve.keyframe(index);
    key->setTanIn(fInX, fInY);
    key->setTanOut(fOutX, fOutY);
    curve.setTangentTypeHelper(index, fInType, kPickInTangentBit);
    curve.setTangentTypeHelper(index, fOutType, kPickOutTangentBit);
}

void TPCDdragTan::keepWholeKey(Tkeyframe const& before, Tkeyframe const& after)
{
    fBefore = TkeySides::of(before);
    fAfter = TkeySides::of(after);
    fHasWholeKey = true;
}

// A drag back to `type`'s position, from the side of `otherType`. Computed
// types have no position of their own to drag to.
bool TPCDdragTan::dragBack(TtangentType type, TtangentType otherType, bool undoing)
{
    float const x = undoing ? fPreviousX : fCurrentX;
    float const y = undoing ? fPreviousY : fCurrentY;
    float const fromX = undoing ? fCurrentX : fPreviousX;
    float const fromY = undoing ? fCurrentY : fPreviousY;
    bool const moved = std::fabs(x - fromX) > kPositionTolerance || std::fabs(y - fromY) > kPositionTolerance;
    bool const carriesPosition = type == kTangentFixed || isPluginTangentType(type);
    bool done = false;
    if (carriesPosition && (type != otherType || moved)) {
        done = fParamCurve->dragTangent(fIndex, x, y, fInTangent);
    }
    if (type != otherType) {
        done = fParamCurve->setTangentTypeHelper(fIndex, type, fInTangent ? kPickInTangentBit : kPickOutTangentBit) ||
               done;
    }
    return done;
}

bool TPCDdragTan::restore(TtangentType type, TtangentType otherType, bool undoing)
{
    if (inert() || fIndex >= fParamCurve->keyframeCount()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    if (!replaying.open()) {
        return false;
    }
    bool const dragged = dragBack(type, otherType, undoing);
    if (!fHasWholeKey) {
        return replaying.finish(dragged);
    }
    (undoing ? fBefore : fAfter).applyTo(*fParamCurve, fIndex);
    // The spans around the key take the methods of the types put back.
    TcurveEditKit::keysChangedAround(*fParamCurve, fIndex, true);
    fParamCurve->notifyClientsOfChange(fParamCurve->keyframe(fIndex), TparamCurveModifiedMsg::kTangentChanged);
    return replaying.finish(true);
}

bool TPCDdragTan::undo()
{
    return restore(fPreviousType, fCurrentType, true);
}

bool TPCDdragTan::redo()
{
    return restore(fCurrentType, fPreviousType, false);
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

namespace {

// A time in the form the curve keeps: exact ticks on an animTime curve.
TtimeValue inCurveForm(TparamCurve const& curve, TtimeValue const& time)
{
    if (curve.isAnimTimeCurve()) {
        return time.isTicks() ? time : TtimeValue(time.asAnimTime());
    }
    return time.isTicks() ? TtimeValue(static_cast<float>(time.seconds())) : time;
}

}  // namespace

bool TPCDdragSegment::shift(bool undoing)
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    if (!replaying.open()) {
        return false;
    }
    retrieveIndicesFromCurve();
    TparamCurve& curve = *fParamCurve;
    TtimeValue const change = inCurveForm(curve, fTimeChange);
    double const valueChange = undoing ? -fValueChange : fValueChange;
    TtimeValueArray newTimes;
    TtimeValueArray oldTimes;
    TdoubleArray newValues;
    TdoubleArray oldValues;
    for (TkeyframeHandle const* handle : fHandles) {
        TtimeValue const now = handle != nullptr ? handle->timeValue() : TtimeValue();
        newTimes.addLast(inCurveForm(curve, undoing ? now - change : now + change));
        newValues.addLast((handle != nullptr ? handle->value() : 0.0) + valueChange);
    }
    curve.beginMoveKeys(fHandles);
    bool const done = curve.moveKeys(fHandles, newTimes, oldTimes, newValues, oldValues,
                                     TparamCurveEnums::kMoveReplaceBracketed, true);
    curve.endMoveKeys();
    return replaying.finish(done);
}

bool TPCDdragSegment::undo()
{
    return shift(true);
}

bool TPCDdragSegment::redo()
{
    return shift(false);
}

// --- TPCDscaleKey, TPCDrotationInterpolation -------------------------------------------------------------------------

TPCDscaleKey::TPCDscaleKey(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end,
                           TtimeValue const& currentStart, TtimeValue const& currentEnd, TtimeValue const& pivot)
    : TparamCurveDelta(curve), fStart(start), fEnd(end), fCurrentStart(currentStart), fCurrentEnd(currentEnd),
      fPivot(pivot)
{
}

unsigned TPCDscaleKey::replayMask() const
{
    return TparamCurve::kChangeReplace;
}

void TPCDscaleKey::keepKey(Tkeyframe* key, Tkeyframe const& before, Tkeyframe const& after)
{
    fKeys.push_back(key);
    fBefore.push_back(before);
    fAfter.push_back(after);
}

bool TPCDscaleKey::replay(bool undoing)
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    if (!replaying.open()) {
        return false;
    }
    TparamCurve& curve = *fParamCurve;
    if (fKeys.empty()) {
        return replaying.finish(undoing ? curve.scaleRegion(fCurrentStart, fCurrentEnd, fStart, fEnd, fPivot)
                                        : curve.scaleRegion(fStart, fEnd, fCurrentStart, fCurrentEnd, fPivot));
    }
    std::unordered_set<Tkeyframe const*> onCurve;
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        onCurve.insert(curve.keyframe(i));
    }
    std::vector<Tkeyframe> const& contents = undoing ? fBefore : fAfter;
    for (std::size_t i = 0; i < fKeys.size(); ++i) {
        if (onCurve.count(fKeys[i]) != 0) {
            *fKeys[i] = contents[i];
        }
    }
    TcurveEditKit::restoreKeyOrder(curve);
    TcurveEditKit::allKeysChanged(curve);
    curve.notifyClientsOfChange(curve.keyframe(0), TparamCurveModifiedMsg::kKeyChanged);
    return replaying.finish(true);
}

bool TPCDscaleKey::undo()
{
    return replay(true);
}

bool TPCDscaleKey::redo()
{
    return replay(false);
}

TPCDrotationInterpolation::TPCDrotationInterpolation(TparamCurve* curve,
                                                     TparamCurveEnums::TrotationInterpolation previous,
                                                     TparamCurveEnums::TrotationInterpolation current)
    : TparamCurveDelta(curve), fPrevious(previous), fCurrent(current)
{
}

unsigned TPCDrotationInterpolation::replayMask() const
{
    return TparamCurve::kChangeNothing;
}

bool TPCDrotationInterpolation::replay(bool undoing)
{
    if (inert()) {
        return false;
    }
    TrecordReplay replaying(*this, undoing);
    return replaying.open() && replaying.finish(fParamCurve->setRotationInterpolation(undoing ? fPrevious : fCurrent));
}

bool TPCDrotationInterpolation::undo()
{
    return replay(true);
}

bool TPCDrotationInterpolation::redo()
{
    return replay(false);
}
