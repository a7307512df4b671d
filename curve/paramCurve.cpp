// TparamCurve: construction, key storage and read access.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"

#include "curve/detail/curveEvaluator.h"
#include "curve/detail/editRecorder.h"
#include "keelanim/base/debugOutput.h"
#include "keelanim/curve/msgDepot.h"
#include "keelanim/prefs/prefItems.h"
#include "keelanim/segments/animCurve.h"

#include <cmath>
#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace {
constexpr unsigned kKeyArraySizeHint = 8;
}  // namespace

thread_local TtimeValue TparamCurve::fsTimeValue;
bool TparamCurve::fsOverrideTangentsForBlockingMode = false;

// --- Construction ----------------------------------------------------------------

namespace {

// The curves alive, by address, with the number each was given; curves are
// made and deleted on any thread.
struct TliveCurves {
    std::mutex fMutex;
    std::unordered_map<TparamCurve const*, std::uint64_t> fSerials;
    std::uint64_t fNext = 0;
};

TliveCurves& liveCurves()
{
    static TliveCurves live;
    return live;
}

}  // namespace

void TparamCurve::registerLive()
{
    TliveCurves& live = liveCurves();
    std::lock_guard<std::mutex> const lock(live.fMutex);
    fLiveSerial = ++live.fNext;
    live.fSerials[this] = fLiveSerial;
}

void TparamCurve::unregisterLive()
{
    TliveCurves& live = liveCurves();
    std::lock_guard<std::mutex> const lock(live.fMutex);
    live.fSerials.erase(this);
}

bool TparamCurve::isLive(TparamCurve const* curve, std::uint64_t serial)
{
    TliveCurves& live = liveCurves();
    std::lock_guard<std::mutex> const lock(live.fMutex);
    auto const found = live.fSerials.find(curve);
    return found != live.fSerials.end() && found->second == serial;
}

TparamCurve::TparamCurve(bool floatTime)
{
    registerLive();
    new (fEvaluatorSpace) TcurveEvaluator();
    // New curves are weighted unless the key-tangent preference says otherwise.
    fCurveFlags.set(kWeightedBit);
    if (TprefKeyframe const* preference = keyTangentPreference()) {
        fCurveFlags.setTo(kWeightedBit, preference->weightedTangents());
    }
    if (floatTime) {
        fFloatKeys = new TfloatKeyframePtrArray(false, kKeyArraySizeHint);
    } else {
        fTickKeys = new TanimTimeKeyframePtrArray(false, kKeyArraySizeHint);
    }
    fCurveFlags.set(kStaticBit);
}

TparamCurve::TparamCurve(TparamCurve const& other) : TdeltaUser(), TclientServer(other)
{
    registerLive();
    new (fEvaluatorSpace) TcurveEvaluator();
    if (other.isFloatCurve()) {
        fFloatKeys = new TfloatKeyframePtrArray(false, kKeyArraySizeHint);
    } else {
        fTickKeys = new TanimTimeKeyframePtrArray(false, kKeyArraySizeHint);
    }
    copySettingsFrom(other);
    copyKeysFrom(other);
}

TparamCurve& TparamCurve::operator=(TparamCurve const& other)
{
    if (this == &other) {
        return *this;
    }
    // A move or scale in progress ends with the keys it was about.
    delete fEditSession;
    fEditSession = nullptr;
    removeAllKeys(false, false);
    if (other.isFloatCurve() != isFloatCurve()) {
        delete fFloatKeys;
        delete fTickKeys;
        fFloatKeys = other.isFloatCurve() ? new TfloatKeyframePtrArray(false, kKeyArraySizeHint) : nullptr;
        fTickKeys = other.isFloatCurve() ? nullptr : new TanimTimeKeyframePtrArray(false, kKeyArraySizeHint);
    }
    copySettingsFrom(other);
    copyKeysFrom(other);
    invalidateCache();
    return *this;
}

TparamCurve::~TparamCurve()
{
    unregisterLive();
    delete fEditSession;
    // The host's hooks may name curves already gone: a curve being deleted
    // asks nothing more of them.
    fHostHooksEnabled = false;
    announceDeletion();
    globalMsgDepot().forgetCurve(this);
    delete fTangentJournal;
    removeAllKeys(false, false);
    while (fRecordedIndices != nullptr) {
        deleteRecordedKeyIndices();
    }
    delete fFloatKeys;
    delete fTickKeys;
    delete fTangentSegment;
    evaluator().~TcurveEvaluator();
}

void TparamCurve::copySettingsFrom(TparamCurve const& other)
{
    fCurveKind = other.fCurveKind;
    fHostHooks = other.fHostHooks;
    fHostHooksEnabled = other.fHostHooksEnabled;
    fNleData = other.fNleData;
    fCurveFlags = other.fCurveFlags;
    fPreInfinity = other.fPreInfinity;
    fPostInfinity = other.fPostInfinity;
    fLockedParams = other.fLockedParams;
    fRotationInterpolation = other.fRotationInterpolation;
}

void TparamCurve::copyKeysFrom(TparamCurve const& other)
{
    unsigned const n = other.arrayCount();
    if (fFloatKeys != nullptr) {
        fFloatKeys->allocateArray(n);
    } else {
        fTickKeys->allocateArray(n);
    }
    for (unsigned i = 0; i < n; ++i) {
        if (Tkeyframe const* key = other.keyframe(i)) {
            insertPointer(newKeyCopy(*key));
        }
    }
}

Tkeyframe* TparamCurve::newKeyCopy(Tkeyframe const& source) const
{
    return new Tkeyframe(source);
}

// --- Storage ---------------------------------------------------------------------

unsigned TparamCurve::indexOfKey(Tkeyframe const* key) const
{
    if (key == nullptr) {
        return kArrayFailure;
    }
    unsigned index = 0;
    if (findStoredTime(key->timeValue(), index) && keyframe(index) == key) {
        return index;
    }
    // A key moved out of order (setTime leaves that to the caller) is not
    // where a search looks: find it by identity.
    return slotOf(key);
}

bool TparamCurve::holdsKey(Tkeyframe const* key) const
{
    return key != nullptr && slotOf(key) != kArrayFailure;
}

unsigned TparamCurve::slotOf(Tkeyframe const* key) const
{
    for (unsigned i = 0; i < arrayCount(); ++i) {
        if (keyframe(i) == key) {
            return i;
        }
    }
    return kArrayFailure;
}

unsigned TparamCurve::insertPointer(Tkeyframe* key)
{
    unsigned index = 0;
    if (key == nullptr || findStoredTime(key->timeValue(), index)) {
        return kArrayFailure;
    }
    return insertPointerAt(key, index) ? index : kArrayFailure;
}

bool TparamCurve::insertPointerAt(Tkeyframe* key, unsigned index)
{
    return (fTickKeys != nullptr ? fTickKeys->insert(key, index) : fFloatKeys->insert(key, index)) == 0;
}

bool TparamCurve::removePointerAt(unsigned index)
{
    if (index >= arrayCount()) {
        return false;
    }
    return fTickKeys != nullptr ? fTickKeys->removeAt(index, 1) : fFloatKeys->removeAt(index, 1);
}

void TparamCurve::replaceKeyArray()
{
    if (fTickKeys != nullptr) {
        delete fTickKeys;
        fTickKeys = new TanimTimeKeyframePtrArray(false, kKeyArraySizeHint);
    } else {
        delete fFloatKeys;
        fFloatKeys = new TfloatKeyframePtrArray(false, kKeyArraySizeHint);
    }
}

bool TparamCurve::acceptsTimeForm(TtimeValue const& time) const
{
    if (time.isTicks()) {
        return isAnimTimeCurve();
    }
    return isFloatCurve() && !std::isnan(time.floatSeconds());
}

// A host time in the form the keys store: ticks on an animTime curve (mapped
// back through the clip of a non-linear-editing curve), seconds otherwise.
TtimeValue TparamCurve::storedTime(TtimeValue const& time) const
{
    if (fTickKeys == nullptr) {
        return time;
    }
    TanimTime const ticks = time.asAnimTime();
    return TtimeValue(fNleData != nullptr ? fNleData->fromZeva(ticks) : ticks);
}

// --- Read access -------------------------------------------------------------------

unsigned TparamCurve::keyframeCount() const
{
    unsigned const n = arrayCount();
    if (!fCurveFlags.isSet(kHideKeysBit)) {
        return n;
    }
    unsigned visible = 0;
    for (unsigned i = 0; i < n; ++i) {
        Tkeyframe const* key = keyframe(i);
        visible += (key != nullptr && !key->hidden()) ? 1 : 0;
    }
    return visible;
}

Tkeyframe* TparamCurve::seekKey(unsigned& index, int direction) const
{
    bool const hiding = fCurveFlags.isSet(kHideKeysBit);
    auto visible = [hiding](Tkeyframe const* key) { return key != nullptr && !(hiding && key->hidden()); };
    unsigned const n = arrayCount();
    if (direction > 0) {
        for (unsigned i = index; i < n; ++i) {
            if (visible(keyframe(i))) {
                index = i;
                return keyframe(i);
            }
        }
        return nullptr;
    }
    if (direction < 0) {
        for (unsigned i = index < n ? index + 1 : n; i-- > 0;) {
            if (visible(keyframe(i))) {
                index = i;
                return keyframe(i);
            }
        }
        return nullptr;
    }
    unsigned ordinal = 0;
    for (unsigned i = 0; i < n; ++i) {
        if (visible(keyframe(i)) && ordinal++ == index) {
            index = i;
            return keyframe(i);
        }
    }
    return nullptr;
}

bool TparamCurve::find(TtimeValue const& time, unsigned& index) const
{
    index = 0;
    if (!time.isTicks() && std::isnan(time.seconds())) {
        return false;
    }
    return findStoredTime(storedTime(time), index);
}

bool TparamCurve::findStoredTime(TtimeValue const& time, unsigned& index) const
{
    index = 0;
    if (fTickKeys != nullptr) {
        return findIn(*fTickKeys, time.asAnimTime().ticks(), index);
    }
    double const seconds = time.seconds();
    return !std::isnan(seconds) && findIn(*fFloatKeys, seconds, index);
}

// Keys are most often added after the last one: that costs no search.
template <class Array> bool TparamCurve::findIn(Array const& keys, typename Array::Key probe, unsigned& index)
{
    using Order = typename Array::OrderType;
    unsigned const n = keys.count();
    Tkeyframe const* last = n > 0 ? keys.at(n - 1) : nullptr;
    if (last != nullptr && Order::greater(probe, Order::keyOf(*last))) {
        index = n;
        return false;
    }
    return keys.findKey(probe, index) == 0;
}

TtimeValue TparamCurve::timeValue(Tkeyframe const* key) const
{
    if (key == nullptr) {
        return TtimeValue();
    }
    if (fTickKeys == nullptr) {
        return TtimeValue(key->floatTime());
    }
    TanimTime const ticks = key->animTime();
    return TtimeValue(fNleData != nullptr ? fNleData->toZeva(ticks) : ticks);
}

TtimeValue TparamCurve::timeValue(unsigned index) const
{
    return timeValue(keyframe(index));
}

TtimeValue const& TparamCurve::timeValueRef(Tkeyframe const* key) const
{
    fsTimeValue = timeValue(key);
    return fsTimeValue;
}

double TparamCurve::doubleSeconds(Tkeyframe const* key) const
{
    return timeValue(key).seconds();
}

float TparamCurve::seconds(Tkeyframe const* key) const
{
    return static_cast<float>(doubleSeconds(key));
}

float TparamCurve::seconds(unsigned index) const
{
    return seconds(keyframe(index));
}

bool TparamCurve::breakdown(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && key->breakdown();
}

bool TparamCurve::tickDrawSpecial(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && key->tickDrawSpecial();
}

// --- Host context ------------------------------------------------------------------

// The Euler samples of a rotation channel describe the triple the hooks
// named: both the triple it leaves and the one it joins drop theirs.
void TparamCurve::setHostHooks(ThostHooks const& hooks, bool enabled)
{
    if (isRotationCurve()) {
        dirtyQuaternionEulerCache(-1);
    }
    fHostHooks = hooks;
    fHostHooksEnabled = enabled;
    if (isRotationCurve()) {
        dirtyQuaternionEulerCache(-1);
    }
}

bool TparamCurve::getSiblingRotationCurves(TparamCurve** x, TparamCurve** y, TparamCurve** z, bool) const
{
    TparamCurve* self = const_cast<TparamCurve*>(this);
    TparamCurve* found[3] = {self, nullptr, nullptr};
    bool const asked = fHostHooksEnabled && fHostHooks.fSiblingRotationCurves != nullptr &&
                       fHostHooks.fSiblingRotationCurves(fHostHooks.fOwner, this, &found[0], &found[1], &found[2]);
    if (!asked) {
        found[0] = self;
        found[1] = found[2] = nullptr;
    }
    if (x != nullptr) {
        *x = found[0];
    }
    if (y != nullptr) {
        *y = found[1];
    }
    if (z != nullptr) {
        *z = found[2];
    }
    return asked;
}

void TparamCurve::setNLEData(TNLEData const* data)
{
    fNleData = data;
    invalidateCache();
}

// --- Static conditions, caches and recorded indices ---------------------------------

void TparamCurve::checkStaticValueCondition(unsigned index)
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr) {
        return;
    }
    Tkeyframe const* before = index > 0 ? keyframe(index - 1) : nullptr;
    if (before != nullptr && before->value() != key->value()) {
        fCurveFlags.clear(kStaticBit);
    }
    if (fCurveFlags.isSet(kSuppressMessagesBit) || !fCurveFlags.isSet(kStaticBit)) {
        return;
    }
    Tkeyframe const* after = keyframe(index + 1);
    if (after != nullptr && after->value() != key->value()) {
        fCurveFlags.clear(kStaticBit);
    }
}

// A key that joined or changed decides both conditions: its value against
// its neighbours', then, while the curve is still static, its tangents
// against its own value.
void TparamCurve::recheckStatic(unsigned index)
{
    checkStaticValueCondition(index);
    if (isStatic()) {
        checkStaticTanCondition(index);
    }
}

void TparamCurve::checkStaticTanCondition(unsigned index)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return;
    }
    float x = 0.0f;
    float inY = 0.0f;
    float outY = 0.0f;
    key->getTanIn(x, inY);
    key->getTanOut(x, outY);
    // Compared with the key's value, not with zero.
    if (double(inY) != key->value() || double(outY) != key->value()) {
        fCurveFlags.clear(kStaticBit);
        notifyClientsOfChange(key, TparamCurveModifiedMsg::kTangentChanged);
    }
}

void TparamCurve::recordKeyIndices()
{
    ++fRecordedIndicesDepth;
    if (fRecordedIndices != nullptr) {
        return;
    }
    fRecordedIndices = new TkeyframeIndexTable();
    for (unsigned i = 0; i < arrayCount(); ++i) {
        if (Tkeyframe* key = keyframe(i)) {
            fRecordedIndices->insert(key, i);
        }
    }
}

unsigned TparamCurve::recordedKeyIndex(Tkeyframe* key) const
{
    unsigned index = 0;
    if (fRecordedIndices != nullptr && fRecordedIndices->find(key, index)) {
        return index;
    }
    return 0;
}

void TparamCurve::deleteRecordedKeyIndices()
{
    if (fRecordedIndicesDepth > 0) {
        --fRecordedIndicesDepth;
    }
    if (fRecordedIndicesDepth == 0) {
        delete fRecordedIndices;
        fRecordedIndices = nullptr;
    }
}

// --- Printing ------------------------------------------------------------------------

void TparamCurve::debugOutput(TdebugOutput& out) const
{
    // The header names the low 32 bits of the curve's address, on a line of
    // its own.
    auto const address = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this));
    out.print("Param Curve %#x : %d %s keys", address, int(keyframeCount()), isFloatCurve() ? "float" : "animTime");
    out.print("\n");
    for (unsigned i = 0; i < arrayCount(); ++i) {
        Tkeyframe const* key = keyframe(i);
        if (key != nullptr) {
            out.print("index: %d\t time: %f\t value: %f\n", int(i), doubleSeconds(key), key->value());
        }
    }
}
