// TparamCurve: editing single tangents and the lock bits of keys, and the
// conversions between a tangent vector and the angle and weight an editor
// shows.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "editing/tangentMasks.h"
#include "keelanim/base/angle.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/keys/pickParts.h"
#include "keelanim/segments/animCurve.h"

#include <cmath>

namespace {

using namespace keel_tangents;

// Components inside this are no tangent at all.
constexpr float kVanishing = 1e-5f;
// Weights below this give the shortest tangent an editor may make.
constexpr float kMinimumWeight = 0.005f;
constexpr float kMinimumLength = 0.015f;
// The sine of the angle below which two tangents are in line.
constexpr double kInLineTolerance = 1e-6;

bool finite(float x, float y)
{
    return std::isfinite(x) && std::isfinite(y);
}

// Display scales are magnitudes: positive and finite.
bool validScales(float xScale, float yScale)
{
    return std::isfinite(xScale) && std::isfinite(yScale) && xScale > 0.0f && yScale > 0.0f;
}

void readSide(Tkeyframe const& key, bool in, float& x, float& y)
{
    in ? key.getTanIn(x, y) : key.getTanOut(x, y);
}

// The side's type as evaluation reads it / as the key stores it.
TtangentType sideType(Tkeyframe const& key, bool in)
{
    return in ? key.tanInType() : key.tanOutType();
}

TtangentType storedSideType(Tkeyframe const& key, bool in)
{
    return in ? key.storedTanInType() : key.storedTanOutType();
}

int sidePart(bool in)
{
    return in ? kPickInTangentBit : kPickOutTangentBit;
}

unsigned setMask(Tkeyframe const& key, bool in)
{
    if (key.tangentsLocked()) {
        return kSetLockedMask;
    }
    return in ? kSetInMask : kSetOutMask;
}

unsigned dragMask(Tkeyframe const& key, bool in)
{
    if (key.tangentsLocked()) {
        return in ? kDragInLockedMask : kDragOutLockedMask;
    }
    return in ? kDragInMask : kDragOutMask;
}

// The length of (x, y) on the editor's display.
double displayLength(float x, float y, float xScale, float yScale)
{
    return std::hypot(double(x) * xScale, double(y) * yScale);
}

// The vector at `angle` (radians) whose display length is `length`, written
// only when finite.
bool vectorFromPolar(double angle, double length, float xScale, float yScale, float& x, float& y)
{
    auto const newX = static_cast<float>(std::cos(angle) * length / xScale);
    auto const newY = static_cast<float>(std::sin(angle) * length / yScale);
    if (!finite(newX, newY)) {
        return false;
    }
    x = newX;
    y = newY;
    return true;
}

// (x, y) along its own direction at a display length of `length`; false for
// a vector without a direction. Scaling both components by one factor keeps
// the direction as exactly as floats can.
bool alongAtLength(float& x, float& y, double length, float xScale, float yScale)
{
    double const own = displayLength(x, y, xScale, yScale);
    if (own <= kVanishing || !std::isfinite(own)) {
        return false;
    }
    double const factor = length / own;
    auto const newX = static_cast<float>(x * factor);
    auto const newY = static_cast<float>(y * factor);
    if (!finite(newX, newY)) {
        return false;
    }
    x = newX;
    y = newY;
    return true;
}

// Whether two tangents point the same way within float noise (a vanishing
// one points every way).
bool pointSameWay(float x, float y, float otherX, float otherY)
{
    double const cross = double(x) * otherY - double(y) * otherX;
    double const dot = double(x) * otherX + double(y) * otherY;
    double const lengths = std::hypot(double(x), double(y)) * std::hypot(double(otherX), double(otherY));
    return lengths == 0.0 || (dot > 0.0 && std::fabs(cross) <= kInLineTolerance * lengths);
}

// A drag input as a key would store it: never backwards in time.
bool takeDragInput(float& x, float& y)
{
    if (!finite(x, y)) {
        return false;
    }
    x = x < 0.0f ? 0.0f : x;
    return true;
}

// 3 × weight in single precision, never below the minimum length.
float lengthForWeight(float weight)
{
    return weight < kMinimumWeight ? kMinimumLength : 3.0f * weight;
}

bool setLockBit(TparamCurve& curve, unsigned index, unsigned mask, Tkeyframe::TflagBit bit, bool on)
{
    Tkeyframe* key = curve.keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TchangeScope change(curve, mask);
    if (!change.open()) {
        return false;
    }
    if (key->flags().isSet(bit) != on) {
        // No record names a lock: the keys as they were undo it.
        curve.generateCurveDeltas();
        TbitField64 flags = key->flags();
        flags.setTo(bit, on);
        key->setFlags(flags);
    }
    // Only curves from referenced files tell their clients of lock changes.
    if (curve.curveFlags().isSet(TparamCurve::kReferencedBit)) {
        curve.notifyClientsOfChange(key, TparamCurveModifiedMsg::kLockChanged);
    }
    change.modified();
    return true;
}

bool setThroughSegment(TparamCurve& curve, Tkeyframe* key, float x, float y, bool in)
{
    unsigned const index = curve.indexOfKey(key);
    if (index == kArrayFailure || !finite(x, y)) {
        return false;
    }
    T2dAnimCurve* segment = curve.tangentSegment(key);
    TchangeScope change(curve, setMask(*key, in));
    if (!change.open() || segment == nullptr) {
        return false;
    }
    if (!(in ? segment->setTanIn(key, x, y) : segment->setTanOut(key, x, y))) {
        return false;
    }
    // Neighbours whose rules read this key's tangents follow it.
    TcurveEditKit::keysChangedAround(curve, index, true);
    curve.notifyClientsOfChange(key, TparamCurveModifiedMsg::kTangentChanged);
    change.modified();
    return true;
}

// Records the change of side `in` of key `index` from `before` to the key
// as it is now, in a modification.
void recordSide(TparamCurve& curve, unsigned index, bool in, Tkeyframe const& before)
{
    TcurveEditRecorder* recorder = TcurveEditKit::recorder(curve);
    // A replayed record puts the key back itself; recording it again would
    // grow the step being replayed.
    if (recorder != nullptr && !TparamCurve::isReplaying()) {
        TcurveEditKit::record(curve, recorder->tangentDragged(curve, index, in, before, *curve.keyframe(index)));
    }
}

// The drag proper: the vector through the segment, the side made fixed, the
// record of both.
void dragThroughSegment(TparamCurve& curve, unsigned index, float x, float y, bool in)
{
    Tkeyframe* key = curve.keyframe(index);
    Tkeyframe const before = TcurveEditKit::keyAsTheChangeFoundIt(curve, *key);
    in ? curve.setTanIn(key, x, y) : curve.setTanOut(key, x, y);
    if (!Tkeyframe::isTangentTypeLocked(sideType(*key, in))) {
        curve.setTangentTypeHelper(index, kTangentFixed, sidePart(in));
    }
    recordSide(curve, index, in, before);
}

bool sideChanged(Tkeyframe const& before, Tkeyframe const& now, bool in)
{
    float wasX = 0.0f;
    float wasY = 0.0f;
    float x = 0.0f;
    float y = 0.0f;
    readSide(before, in, wasX, wasY);
    readSide(now, in, x, y);
    return wasX != x || wasY != y || storedSideType(before, in) != storedSideType(now, in);
}

}  // namespace

// --- Locks ---------------------------------------------------------------------------------------

bool TparamCurve::setLocked(unsigned index, bool on)
{
    return setLockBit(*this, index, kLockMask, Tkeyframe::kLockedBit, on);
}

bool TparamCurve::setTangentsLocked(unsigned index, bool on)
{
    return setLockBit(*this, index, kLockMask, Tkeyframe::kTangentsLockedBit, on);
}

bool TparamCurve::setWeightsLocked(unsigned index, bool on)
{
    return setLockBit(*this, index, kWeightLockMask, Tkeyframe::kWeightsLockedBit, on);
}

bool TparamCurve::tangentsLocked(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && key->tangentsLocked();
}

bool TparamCurve::weightsLocked(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && key->weightsLocked();
}

// --- Setting and dragging ------------------------------------------------------------------------

bool TparamCurve::setTanIn(Tkeyframe* key, float x, float y)
{
    return setThroughSegment(*this, key, x, y, true);
}

bool TparamCurve::setTanOut(Tkeyframe* key, float x, float y)
{
    return setThroughSegment(*this, key, x, y, false);
}

bool TparamCurve::dragTangent(unsigned index, float x, float y, bool in)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || !finite(x, y) || (in && key->interpMethod() == Tkeyframe::kInterpLinear)) {
        return false;
    }
    TchangeScope change(*this, dragMask(*key, in));
    if (!change.open()) {
        return false;
    }
    if (fCurveFlags.isSet(kSuppressMessagesBit)) {
        in ? key->setTanIn(x, y) : key->setTanOut(x, y);
    } else {
        dragThroughSegment(*this, index, x, y, in);
    }
    if (isStatic()) {
        checkStaticTanCondition(index);
    }
    keysChangedAround(index, true);
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kTangentChanged);
    change.modified();
    return true;
}

// --- Angle and weight ----------------------------------------------------------------------------

double TparamCurve::tangentWeight(unsigned index, bool in, float xScale, float yScale) const
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || !validScales(xScale, yScale)) {
        return 0.0;
    }
    float x = 0.0f;
    float y = 0.0f;
    readSide(*key, in, x, y);
    if (!isWeighted()) {
        return std::fabs(x) > kVanishing || std::fabs(y) > kVanishing ? 1.0 : 0.0;
    }
    float const handleX = x / 3.0f * xScale;
    float const handleY = y / 3.0f * yScale;
    return double(std::sqrt(handleX * handleX + handleY * handleY));
}

bool TparamCurve::setTangentAngle(unsigned index, Tangle const& angle, bool in, float& x, float& y, float xScale,
                                  float yScale) const
{
    if (keyframe(index) == nullptr || !validScales(xScale, yScale)) {
        return false;
    }
    double const length = 3.0 * tangentWeight(index, in, xScale, yScale);
    return vectorFromPolar(angle.radians(), length, xScale, yScale, x, y);
}

bool TparamCurve::setTangentWeight(unsigned index, float weight, bool in, float& x, float& y, float xScale,
                                   float yScale) const
{
    if (keyframe(index) == nullptr || !validScales(xScale, yScale)) {
        return false;
    }
    double const angle = tangentAngle(index, in, xScale, yScale);
    return vectorFromPolar(angle, lengthForWeight(weight), xScale, yScale, x, y);
}

// Neither side of the key is read: both are given.
bool TparamCurve::setTangentWeightAndAngle(unsigned index, float weight, Tangle const& angle, bool /*in*/, float& x,
                                           float& y, float xScale, float yScale) const
{
    if (keyframe(index) == nullptr || !validScales(xScale, yScale)) {
        return false;
    }
    return vectorFromPolar(angle.radians(), lengthForWeight(weight), xScale, yScale, x, y);
}

// --- Keeping locks -------------------------------------------------------------------------------

bool TparamCurve::adjustForWeightLock(unsigned index, bool in, float& x, float& y, float xScale, float yScale) const
{
    Tkeyframe const* key = keyframe(index);
    float newX = x;
    float newY = y;
    if (key == nullptr || !validScales(xScale, yScale) || !takeDragInput(newX, newY)) {
        return false;
    }
    if (isWeighted() && key->weightsLocked()) {
        float oldX = 0.0f;
        float oldY = 0.0f;
        readSide(*key, in, oldX, oldY);
        if (!alongAtLength(newX, newY, displayLength(oldX, oldY, xScale, yScale), xScale, yScale)) {
            return false;
        }
    }
    x = newX;
    y = newY;
    return true;
}

bool TparamCurve::adjustForAngleLock(unsigned index, bool in, float x, float y, float& otherX, float& otherY,
                                     float xScale, float yScale) const
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || !validScales(xScale, yScale) || !takeDragInput(x, y)) {
        return false;
    }
    float newX = 0.0f;
    float newY = 0.0f;
    readSide(*key, !in, newX, newY);
    double const length = displayLength(newX, newY, xScale, yScale);
    newX = x;
    newY = y;
    if (!alongAtLength(newX, newY, length, xScale, yScale)) {
        return false;
    }
    otherX = newX;
    otherY = newY;
    return true;
}

bool TparamCurve::adjustTangent(unsigned index, bool in, float& x, float& y, float& otherX, float& otherY, float xScale,
                                float yScale) const
{
    Tkeyframe const* key = keyframe(index);
    float newX = x;
    float newY = y;
    if (key == nullptr || !adjustForWeightLock(index, in, newX, newY, xScale, yScale)) {
        return false;
    }
    float newOtherX = 0.0f;
    float newOtherY = 0.0f;
    readSide(*key, !in, newOtherX, newOtherY);
    if (key->tangentsLocked() && !adjustForAngleLock(index, in, newX, newY, newOtherX, newOtherY, xScale, yScale)) {
        return false;
    }
    x = newX;
    y = newY;
    otherX = newOtherX;
    otherY = newOtherY;
    return true;
}

bool TparamCurve::editTangent(unsigned index, float x, float y, bool in, float xScale, float yScale)
{
    float otherX = 0.0f;
    float otherY = 0.0f;
    if (!adjustTangent(index, in, x, y, otherX, otherY, xScale, yScale)) {
        return false;
    }
    Tkeyframe const* key = keyframe(index);
    bool const both = key->tangentsLocked();
    TchangeScope change(*this, dragMask(*key, in) | (both ? dragMask(*key, !in) : 0u));
    if (!change.open() || !dragTangent(index, x, y, in)) {
        return false;
    }
    if (both) {
        dragTangent(index, otherX, otherY, !in);
    }
    change.modified();
    return true;
}

bool TparamCurve::adjustTangent(unsigned index, bool in, float& x, float& y, float xScale, float yScale)
{
    if (!editTangent(index, x, y, in, xScale, yScale)) {
        return false;
    }
    readSide(*keyframe(index), in, x, y);
    return true;
}

bool TparamCurve::manageTangentChangeWhenLocked(unsigned index, bool in, Tkeyframe const& before, float xScale,
                                                float yScale)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || !validScales(xScale, yScale)) {
        return false;
    }
    float x = 0.0f;
    float y = 0.0f;
    readSide(*key, in, x, y);
    if (isWeighted() && key->weightsLocked()) {
        float oldX = 0.0f;
        float oldY = 0.0f;
        readSide(before, in, oldX, oldY);
        if (!alongAtLength(x, y, displayLength(oldX, oldY, xScale, yScale), xScale, yScale)) {
            return false;
        }
    }
    float otherX = 0.0f;
    float otherY = 0.0f;
    readSide(*key, !in, otherX, otherY);
    bool const both = key->tangentsLocked();
    if (both && !adjustForAngleLock(index, in, x, y, otherX, otherY, xScale, yScale)) {
        return false;
    }
    TchangeScope change(*this, dragMask(*key, in) | dragMask(*key, !in));
    if (!change.open()) {
        return false;
    }
    setThroughSegment(*this, key, x, y, in);
    if (both) {
        setThroughSegment(*this, key, otherX, otherY, !in);
    }
    generateDeltasForTangents(index, before);  // the whole change, from `before`, as drag records
    change.modified();
    return true;
}

bool TparamCurve::preserveTangentLock(unsigned index, bool in, float xScale, float yScale)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || !validScales(xScale, yScale)) {
        return false;
    }
    float x = 0.0f;
    float y = 0.0f;
    float otherX = 0.0f;
    float otherY = 0.0f;
    readSide(*key, in, x, y);
    readSide(*key, !in, otherX, otherY);
    if (!key->tangentsLocked() || pointSameWay(x, y, otherX, otherY)) {
        return true;
    }
    return adjustForAngleLock(index, in, x, y, otherX, otherY, xScale, yScale) &&
           dragTangent(index, otherX, otherY, !in);
}

bool TparamCurve::generateDeltasForTangents(unsigned index, Tkeyframe const& before)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || TcurveEditKit::recorder(*this) == nullptr) {
        return false;
    }
    for (bool const in : {true, false}) {
        if (sideChanged(before, *key, in)) {
            recordSide(*this, index, in, before);
        }
    }
    return true;
}
