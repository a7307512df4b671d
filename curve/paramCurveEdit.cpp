// TparamCurve: key mutation. Every edit runs inside the change bracket.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "curve/detail/rotationHook.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/msgDepot.h"
#include "keelanim/keys/pickParts.h"
#include "keelanim/segments/animCurve.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

namespace {

std::unique_ptr<Tkeyframe> copyOf(Tkeyframe const* key)
{
    return key != nullptr ? std::make_unique<Tkeyframe>(*key) : nullptr;
}

// A neighbour of a shape-preserving insertion keeps the tangents it has on
// both sides: computed types would re-derive them from the new neighbour and
// reshape the spans beside the split one. Stepped out-types stay stepped.
void holdTangents(Tkeyframe& key)
{
    key.setTanInType(kTangentFixed);
    if (key.storedTanOutType() != kTangentStep && key.storedTanOutType() != kTangentStepNext) {
        key.setTanOutType(kTangentFixed);
    }
}

bool isNaNTime(TtimeValue const& time)
{
    return !time.isTicks() && std::isnan(time.seconds());
}

}  // namespace

void TparamCurve::keysChangedAround(unsigned index, bool keepTangentsAtIndex)
{
    recomputeWindow(index > 0 ? index - 1 : 0, index + 1, keepTangentsAtIndex ? index : kArrayFailure);
    setSpanInterpMethod(index);
    setSpanInterpMethod(index + 1);
    invalidateCache(static_cast<int>(index));
}

// --- Value and time ------------------------------------------------------------------

bool TparamCurve::setValue(unsigned index, double newValue)
{
    Tkeyframe const* key = keyframe(index);
    return key != nullptr && storeValue(index, newValue, key->quatComponent());
}

bool TparamCurve::setValue(unsigned index, double newValue, float aux)
{
    return !std::isnan(aux) && storeValue(index, newValue, aux);
}

// Writes a key's value (and auxiliary component) inside a bracket; nothing
// happens when both are already stored.
bool TparamCurve::storeValue(unsigned index, double newValue, float aux)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || std::isnan(newValue) || (key->value() == newValue && key->quatComponent() == aux)) {
        return false;
    }
    TchangeScope change(*this, kChangeValue);
    if (!change.open()) {
        return false;
    }
    if (key->quatComponent() == aux) {
        key->setValue(newValue);
    } else {
        key->setTimeAndValue(key->timeValue(), newValue, aux);
    }
    if (isStatic()) {
        checkStaticValueCondition(index);
    }
    keysChangedAround(index, false);
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyChanged);
    change.modified();
    return true;
}

bool TparamCurve::setTime(unsigned index, TtimeValue const& time)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || isNaNTime(time)) {
        return false;
    }
    fsTimeValue = timeValue(key);
    if (fsTimeValue == time) {
        return true;
    }
    if (!acceptsTimeForm(time)) {
        return false;
    }
    TchangeScope change(*this, kChangeTime);
    if (!change.open()) {
        return false;
    }
    key->setTime(storedTime(time));
    unsigned const ordered = fTickKeys != nullptr ? fTickKeys->change(index, key) : fFloatKeys->change(index, key);
    keysChangedAround(index, false);
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyChanged);
    change.modified();
    return ordered == 0;
}

bool TparamCurve::rotationKeyComponents(TtimeValue const& time, double& value, double& aux)
{
    return evaluatesAsQuaternion() && TrotationHook::fsKeyComponents != nullptr &&
           TrotationHook::fsKeyComponents(*this, time, value, aux);
}

unsigned TparamCurve::retimeKey(unsigned index, TtimeValue const& time)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr || !acceptsTimeForm(time)) {
        return kArrayFailure;
    }
    TtimeValue const stored = storedTime(time);
    Tkeyframe* const previous = keyframe(index - 1);
    Tkeyframe* const next = keyframe(index + 1);
    Tkeyframe probe(stored);
    if ((previous == nullptr || *previous < probe) && (next == nullptr || probe < *next)) {
        // Still between its neighbours: the key keeps its slot.
        key->setTime(stored);
        keysChangedAround(index, false);
        return index;
    }
    unsigned at = 0;
    if (findStoredTime(stored, at) && at != index) {
        return kArrayFailure;
    }
    TtimeValue const former = key->timeValue();
    removePointerAt(index);
    key->setTime(stored);
    unsigned const placed = insertPointer(key);
    if (placed == kArrayFailure) {
        // A neighbour within the key tolerance: the key goes back.
        key->setTime(former);
        insertPointerAt(key, index);
        return kArrayFailure;
    }
    // The old neighbours met each other; the key met new ones.
    for (Tkeyframe* neighbour : {previous, next}) {
        unsigned where = 0;
        if (neighbour != nullptr && findStoredTime(neighbour->timeValue(), where)) {
            keysChangedAround(where, false);
        }
    }
    keysChangedAround(placed, false);
    invalidateCache(static_cast<int>(std::min(placed, index)));
    return placed;
}

bool TparamCurve::restoreKeyOrder()
{
    unsigned const count = arrayCount();
    std::vector<Tkeyframe*> keys(count);
    bool ordered = true;
    for (unsigned i = 0; i < count; ++i) {
        keys[i] = keyframe(i);
        ordered = ordered && (i == 0 || *keys[i - 1] < *keys[i]);
    }
    if (ordered) {
        return true;
    }
    std::stable_sort(keys.begin(), keys.end(),
                     [](Tkeyframe const* a, Tkeyframe const* b) { return a->seconds() < b->seconds(); });
    for (unsigned i = 1; i < count; ++i) {
        if (!(*keys[i - 1] < *keys[i])) {
            return false;
        }
    }
    replaceKeyArray();
    for (unsigned i = 0; i < count; ++i) {
        insertPointerAt(keys[i], i);
    }
    invalidateCache();
    return true;
}

void TparamCurve::allKeysChanged()
{
    unsigned const count = arrayCount();
    if (count == 0) {
        return;
    }
    recomputeWindow(0, count - 1, kArrayFailure);
    for (unsigned i = 0; i < count; ++i) {
        setSpanInterpMethod(i);
    }
    invalidateCache();
}

bool TparamCurve::setKeyTime(Tkeyframe* key, TtimeValue const& time)
{
    unsigned const index = indexOfKey(key);
    return index != kArrayFailure && setTime(index, time);
}

// --- Adding keys -----------------------------------------------------------------------

bool TparamCurve::add(Tkeyframe const& key, bool select, bool keepTangents, bool quiet)
{
    if (!acceptsTimeForm(key.timeValue())) {
        return false;
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open()) {
        return false;
    }
    unsigned index = 0;
    Tkeyframe* target = nullptr;
    bool const replacing = findStoredTime(key.timeValue(), index);
    if (replacing) {
        target = keyframe(index);
        if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
            record(recorder->keyReplaced(*this, target, *target));
        }
        *target = key;
    } else {
        target = newKeyCopy(key);
        if (!insertPointerAt(target, index)) {
            delete target;
            return false;
        }
        if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
            record(recorder->keyAdded(*this, target));
        }
    }
    if (select) {
        target->setActive(TbitField32(kPickKeyMask), true);
    }
    keysChangedAround(index, keepTangents);
    recheckStatic(index);
    if (!quiet) {
        notifyClientsOfChange(target,
                              replacing ? TparamCurveModifiedMsg::kKeyChanged : TparamCurveModifiedMsg::kKeyInserted);
    }
    change.modified();
    return true;
}

bool TparamCurve::insert(Tkeyframe const& key, bool keepTangents, bool select)
{
    Tkeyframe* copy = newKeyCopy(key);
    if (!insert(copy, keepTangents)) {
        delete copy;
        return false;
    }
    if (select) {
        copy->setActive(TbitField32(kPickKeyMask), true);
    }
    return true;
}

bool TparamCurve::insert(Tkeyframe* key, bool keepTangents)
{
    return placeKey(key, keepTangents, false);
}

// Puts a key object into its slot; the curve owns it on success. A key
// coming back from an undo record is announced to handles instead of being
// recorded as a new addition.
bool TparamCurve::placeKey(Tkeyframe* key, bool keepTangents, bool returning)
{
    unsigned index = 0;
    if (key == nullptr || !acceptsTimeForm(key->timeValue()) || findStoredTime(key->timeValue(), index)) {
        return false;
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open() || !insertPointerAt(key, index)) {
        return false;
    }
    if (returning && hasMessage(TkeyframeAddDeleteMsgTmeta)) {
        notifyClients(TkeyframeAddDeleteMsg(key, true));
    }
    TcurveEditRecorder* recorder = returning ? nullptr : TcurveEditKit::recorder(*this);
    if (recorder != nullptr) {
        record(recorder->keyAdded(*this, key));
    }
    keysChangedAround(index, keepTangents);
    recheckStatic(index);
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyInserted);
    change.modified();
    return true;
}

// Splits the span that holds `time` (strictly between two keys) so that the
// curve keeps its shape: `made` gets the value and tangents of a key at that
// time. A segment span also reshapes its keys' facing tangents:
// `neighbourTangents` then holds the first key's new out-tangent and the
// second key's new in-tangent, and `reshapes` is true; linear and stepped
// spans keep their keys. False when no span holds the time or the span has
// no segment to split.
bool TparamCurve::splitSpanAt(TtimeValue const& time, Tkeyframe& made, float neighbourTangents[4], bool& reshapes)
{
    reshapes = false;
    unsigned index = 0;
    if (find(time, index) || index == 0 || index >= arrayCount()) {
        return false;
    }
    unsigned const lo = index - 1;
    Tkeyframe* first = keyframe(lo);
    Tkeyframe* second = keyframe(index);
    first->getTanOut(neighbourTangents[0], neighbourTangents[1]);
    second->getTanIn(neighbourTangents[2], neighbourTangents[3]);
    double const x = time.seconds();
    Tkeyframe::TspanInterpMethod const method =
        fsOverrideTangentsForBlockingMode ? Tkeyframe::kInterpStep : first->interpMethod();
    switch (method) {
    case Tkeyframe::kInterpStep:
    case Tkeyframe::kInterpStepNext:
        made.setValue(method == Tkeyframe::kInterpStep ? first->value() : second->value());
        made.setTanOutType(method == Tkeyframe::kInterpStep ? kTangentStep : kTangentStepNext);
        return true;
    case Tkeyframe::kInterpLinear: {
        double const x0 = doubleSeconds(first);
        double const x1 = doubleSeconds(second);
        double const rise = second->value() - first->value();
        made.setValue(first->value() + (x - x0) / (x1 - x0) * rise);
        made.setTanIn(float(x1 - x0), float(rise));
        made.setTanOut(float(x1 - x0), float(rise));
        made.updateGlobalTangentTypes(kTangentLinear, kTangentLinear);
        return true;
    }
    case Tkeyframe::kInterpSegment: break;
    }
    setInterpolationInterval(lo);
    T2dAnimCurve const* segment = interpolator();
    if (segment == nullptr || !segment->splitsSpans()) {
        return false;  // the caller keeps the curve's value at least
    }
    float o[8] = {};
    double const v = segment->newMatchingKey(x, o[0], o[1], o[2], o[3], o[4], o[5], o[6], o[7]);
    made.setValue(v);
    made.setTanIn(o[2], o[3]);
    made.setTanOut(o[4], o[5]);
    made.updateGlobalTangentTypes(kTangentFixed, kTangentFixed);
    neighbourTangents[0] = o[0];
    neighbourTangents[1] = o[1];
    neighbourTangents[2] = o[6];
    neighbourTangents[3] = o[7];
    reshapes = true;
    return true;
}

Tkeyframe* TparamCurve::newMatchingKeyframe(TtimeValue const& time)
{
    if (!time.isTicks() && std::isnan(time.seconds())) {
        return nullptr;
    }
    TtimeValue const stored = storedTime(time);
    auto* made = isAnimTimeCurve() ? new Tkeyframe(stored.animTime(), 0.0, kTangentGlobal, kTangentGlobal)
                                   : new Tkeyframe(stored.floatSeconds(), 0.0, kTangentGlobal, kTangentGlobal);
    float neighbours[4] = {};
    bool reshapes = false;
    if (!splitSpanAt(time, *made, neighbours, reshapes)) {
        made->setValue(evaluate(time));
    }
    double value = 0.0;
    double aux = 1.0;
    if (rotationKeyComponents(time, value, aux)) {
        made->setTimeAndValue(made->timeValue(), value, aux);
    }
    return made;
}

bool TparamCurve::insertKey(Tkeyframe const& key, bool preserveShape)
{
    unsigned index = 0;
    if (!acceptsTimeForm(key.timeValue())) {
        return false;
    }
    if (findStoredTime(key.timeValue(), index)) {
        return add(key, false, false, false);
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open()) {
        return false;
    }
    Tkeyframe* inserted = newKeyCopy(key);
    float neighbours[4] = {};
    bool reshapes = false;
    bool const split = preserveShape && splitSpanAt(timeValue(inserted), *inserted, neighbours, reshapes);
    if (preserveShape && !split) {
        inserted->setValue(evaluate(timeValue(inserted)));  // beyond the keys: keep at least the value
    }
    // The neighbours as they were, for the undo record.
    std::unique_ptr<Tkeyframe> const previousAsWas = copyOf(keyframe(index - 1));
    std::unique_ptr<Tkeyframe> const nextAsWas = copyOf(keyframe(index));
    if (!insertPointerAt(inserted, index)) {
        delete inserted;
        return false;
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(preserveShape ? recorder->keyInserted(*this, inserted, previousAsWas.get(), nextAsWas.get())
                             : recorder->keyAdded(*this, inserted));
    }
    if (reshapes) {
        Tkeyframe* before = keyframe(index - 1);
        Tkeyframe* after = keyframe(index + 1);
        before->setTanOut(neighbours[0], neighbours[1]);
        after->setTanIn(neighbours[2], neighbours[3]);
        holdTangents(*before);
        holdTangents(*after);
    }
    keysChangedAround(index, split);
    if (reshapes) {
        setSpanInterpMethod(index - 1);  // the span before the held neighbour may stop being linear
    }
    recheckStatic(index);
    notifyClientsOfChange(inserted, TparamCurveModifiedMsg::kKeyInserted);
    change.modified();
    return true;
}

bool TparamCurve::insert(TtimeValue const& time, bool breakdown, bool allChannels)
{
    if (!acceptsTimeForm(time) || anyParamsLocked(kChangeAll)) {
        return false;
    }
    TparamCurve* channels[3];
    siblingsOrSelf(allChannels, channels);
    // Every channel's key is made before any is inserted: the first
    // insertion takes the triple out of step.
    double values[3] = {};
    double aux[3] = {1.0, 1.0, 1.0};
    for (unsigned c = 0; c < 3; ++c) {
        if (channels[c] != nullptr && !channels[c]->rotationKeyComponents(time, values[c], aux[c])) {
            values[c] = channels[c]->evaluate(time);
        }
    }
    bool inserted = false;
    for (unsigned c = 0; c < 3; ++c) {
        TparamCurve* channel = channels[c];
        if (channel == nullptr || !channel->acceptsTimeForm(time)) {
            continue;
        }
        unsigned index = 0;
        if (channel->find(time, index)) {
            continue;
        }
        TtimeValue const stored = channel->storedTime(time);
        Tkeyframe key(stored, values[c], aux[c], kTangentGlobal, kTangentGlobal);
        key.setBreakdown(breakdown);
        bool const done = channel->arrayCount() == 0 ? channel->add(key) : channel->insert(key, false, false);
        inserted = done || inserted;
    }
    return inserted;
}

bool TparamCurve::addRemovedKey(Tkeyframe* key)
{
    return placeKey(key, true, true);
}

// --- Block add ---------------------------------------------------------------------------

bool TparamCurve::blockAdd(TanimTimeArray const& times, TdoubleArray const& values, TtangentType in, TtangentType out)
{
    if (times.count() != values.count()) {
        return false;
    }
    return blockAdd(times.begin(), values.begin(), times.count(), in, out);
}

bool TparamCurve::blockAdd(TanimTime const* times, double const* values, unsigned count, TtangentType in,
                           TtangentType out)
{
    if (count == 0) {
        return true;
    }
    if (times == nullptr || values == nullptr ||
        std::any_of(values, values + count, [](double v) { return std::isnan(v); })) {
        return false;
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open()) {
        return false;
    }
    unsigned firstChanged = 0;
    if (!mergeBlock(times, values, count, in, out, firstChanged)) {
        return false;
    }
    modifySmoothTangents(firstChanged, arrayCount() - 1);  // one pass over the whole block
    for (unsigned i = firstChanged > 0 ? firstChanged - 1 : 0; i < arrayCount(); ++i) {
        setSpanInterpMethod(i);
        if (isStatic()) {
            recheckStatic(i);
        }
    }
    invalidateCache(static_cast<int>(firstChanged));
    change.modified();
    return true;
}

// Merges the block into the key array in one pass: new keys are sorted once
// and interleaved with the existing keys, so a block costs O((n + m) log m)
// whatever the order of its times.
bool TparamCurve::mergeBlock(TanimTime const* times, double const* values, unsigned count, TtangentType in,
                             TtangentType out, unsigned& firstChanged)
{
    std::vector<unsigned> order(count);
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(),
                     [times](unsigned a, unsigned b) { return times[a].ticks() < times[b].ticks(); });

    std::vector<Tkeyframe*> fresh;
    fresh.reserve(count);
    firstChanged = arrayCount();
    for (unsigned n = 0; n < count; ++n) {
        unsigned const i = order[n];
        bool const lastOfTime = n + 1 == count || times[order[n + 1]].ticks() != times[i].ticks();
        if (!lastOfTime) {
            continue;  // a later pair for the same time wins
        }
        TtimeValue const time =
            fTickKeys != nullptr ? TtimeValue(times[i]) : TtimeValue(static_cast<float>(times[i].seconds()));
        unsigned index = 0;
        if (findStoredTime(time, index)) {
            if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
                record(recorder->keyReplaced(*this, keyframe(index), *keyframe(index)));
            }
            keyframe(index)->setValue(values[i]);
            firstChanged = std::min(firstChanged, index);
            notifyClientsOfChange(keyframe(index), TparamCurveModifiedMsg::kKeyChanged);
            continue;
        }
        Tkeyframe* key = fTickKeys != nullptr ? new Tkeyframe(times[i], values[i], in, out)
                                              : new Tkeyframe(time.floatSeconds(), values[i], in, out);
        if (!fresh.empty() && !(*fresh.back() < *key) && fTickKeys == nullptr) {
            delete key;  // within the key tolerance of the previous new key
            continue;
        }
        fresh.push_back(key);
    }
    if (fresh.empty()) {
        return true;
    }

    unsigned const oldCount = arrayCount();
    Tarray& storage = fTickKeys != nullptr ? static_cast<Tarray&>(*fTickKeys) : static_cast<Tarray&>(*fFloatKeys);
    if (!storage.allocateArray(oldCount + static_cast<unsigned>(fresh.size()))) {
        for (Tkeyframe* key : fresh) {
            delete key;
        }
        return false;
    }
    std::vector<Tkeyframe*> merged;
    merged.reserve(oldCount + fresh.size());
    auto* existing = static_cast<Tkeyframe**>(storage.data());
    std::merge(existing, existing + oldCount, fresh.begin(), fresh.end(), std::back_inserter(merged),
               [](Tkeyframe const* a, Tkeyframe const* b) { return a->seconds() < b->seconds(); });
    storage.copyElements(0, merged.data(), static_cast<unsigned>(merged.size()));

    unsigned index = 0;
    findStoredTime(fresh.front()->timeValue(), index);
    firstChanged = std::min(firstChanged, index);
    for (Tkeyframe* key : fresh) {
        notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyInserted);
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(recorder->blockAdded(*this, fresh.data(), static_cast<unsigned>(fresh.size()), in, out));
    }
    return true;
}

// --- Replacing and removing ------------------------------------------------------------------

bool TparamCurve::replaceKey(Tkeyframe* old, Tkeyframe const& replacement)
{
    if (!fitsInPlace(old, replacement)) {
        return false;
    }
    TchangeScope change(*this, kChangeReplace);
    if (!change.open()) {
        return false;
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(recorder->keyReplaced(*this, old, *old));
    }
    writeInPlace(old, replacement);
    change.modified();
    return true;
}

// The replacement must be of the curve's time form and keep the order with
// the neighbours.
bool TparamCurve::fitsInPlace(Tkeyframe const* old, Tkeyframe const& replacement) const
{
    unsigned const index = indexOfKey(old);
    if (index == kArrayFailure || !acceptsTimeForm(replacement.timeValue())) {
        return false;
    }
    Tkeyframe const* before = keyframe(index - 1);
    Tkeyframe const* after = keyframe(index + 1);
    return fTickKeys != nullptr ? (index == 0 || before->animTime() < replacement.animTime()) &&
                                      (after == nullptr || replacement.animTime() < after->animTime())
                                : (index == 0 || *before < replacement) && (after == nullptr || replacement < *after);
}

void TparamCurve::writeInPlace(Tkeyframe* old, Tkeyframe const& replacement)
{
    unsigned const index = indexOfKey(old);
    *old = replacement;
    keysChangedAround(index, false);
    recheckStatic(index);
    notifyClientsOfChange(old, TparamCurveModifiedMsg::kKeyChanged);
}

bool TparamCurve::putBackKey(Tkeyframe* key, Tkeyframe const& contents)
{
    if (!fitsInPlace(key, contents)) {
        return false;
    }
    writeInPlace(key, contents);
    return true;
}

bool TparamCurve::siblingsOrSelf(bool allChannels, TparamCurve* channels[3])
{
    channels[0] = this;
    channels[1] = channels[2] = nullptr;
    if (allChannels && getSiblingRotationCurves(&channels[0], &channels[1], &channels[2])) {
        return true;
    }
    channels[0] = this;
    channels[1] = channels[2] = nullptr;
    return false;
}

// Opens and at once closes a bracket on every channel: false at the first
// that refuses, so that a multi-channel edit changes all or nothing.
bool TparamCurve::allChannelsAccept(TparamCurve* const channels[3], unsigned mask)
{
    for (int i = 0; i < 3; ++i) {
        if (channels[i] != nullptr && !TchangeScope(*channels[i], mask).open()) {
            return false;
        }
    }
    return true;
}

bool TparamCurve::remove(unsigned index, Tkeyframe const* record, bool allChannels)
{
    TparamCurve* channels[3];
    siblingsOrSelf(allChannels, channels);
    if (!allChannelsAccept(channels, kChangeAll)) {
        return false;
    }
    bool removed = false;
    for (TparamCurve* channel : channels) {
        if (channel == nullptr || index >= channel->keyframeCount()) {
            break;
        }
        removed = channel->removeOne(index, record, nullptr) || removed;
    }
    return removed;
}

bool TparamCurve::removeOne(unsigned index, Tkeyframe const* recordAs, Tkeyframe** detached)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open()) {
        return false;
    }
    if (hasMessage(TkeyframeAddDeleteMsgTmeta)) {
        notifyClients(TkeyframeAddDeleteMsg(key, false));
    }
    notifyClientsOfChange(key, TparamCurveModifiedMsg::kKeyRemoved);
    removePointerAt(index);
    if (detached != nullptr) {
        *detached = key;
    } else if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this);
               recorder != nullptr && !fCurveFlags.isSet(kNoRemovalDeltasBit)) {
        if (recordAs != nullptr) {
            *key = *recordAs;
        }
        // Tangents this change re-derived before the key left go back with
        // it: its record returns it as the change found it, and a journal
        // restores only keys that are on the curve.
        TkeyTangents before;
        if (fTangentJournal != nullptr && fTangentJournal->take(key, before)) {
            key->setTanIn(before.fInX, before.fInY);
            key->setTanOut(before.fOutX, before.fOutY);
        }
        Tdelta* removal = recorder->keyRemoved(*this, key);
        removal != nullptr ? static_cast<void>(addDelta(removal, false)) : deleteUnrecorded(key);
    } else {
        deleteUnrecorded(key);  // no record takes it
    }
    // The keys that lost a neighbour: the one before the gap and the one after.
    recomputeWindow(index > 0 ? index - 1 : 0, index, kArrayFailure);
    setSpanInterpMethod(index > 0 ? index - 1 : 0);
    setSpanInterpMethod(index);
    invalidateCache(static_cast<int>(index));
    if (arrayCount() == 0) {
        fCurveFlags.set(kStaticBit);
    }
    change.modified();
    return true;
}

Tkeyframe* TparamCurve::detachKey(unsigned index)
{
    Tkeyframe* key = nullptr;
    return removeOne(index, nullptr, &key) ? key : nullptr;
}

bool TparamCurve::swapKeyframes(TkeyframePtrList& keys)
{
    for (unsigned i = 1; i < keys.count(); ++i) {
        if (keys[i - 1] == nullptr || keys[i] == nullptr || !(*keys[i - 1] < *keys[i])) {
            return false;
        }
    }
    TchangeScope change(*this, kChangeAll);
    if (!change.open()) {
        return false;
    }
    TkeyframePtrList mine;
    for (unsigned i = 0; i < arrayCount(); ++i) {
        mine.addLast(keyframe(i));
    }
    replaceKeyArray();
    for (Tkeyframe* key : keys) {
        insertPointerAt(key, arrayCount());
    }
    keys.copy(mine);
    // Whether the curve is static is a question of the keys it holds now.
    fCurveFlags.set(kStaticBit);
    for (unsigned i = 0; i < arrayCount(); ++i) {
        setSpanInterpMethod(i);
        if (isStatic()) {
            recheckStatic(i);
        }
    }
    invalidateCache();
    if (Tkeyframe* first = keyframe(0)) {
        notifyClientsOfChange(first, TparamCurveModifiedMsg::kKeyChanged);
    }
    change.modified();
    return true;
}

// Records made before refer to keys by address and compare the count to know
// that they no longer describe the keys.
void TparamCurve::deleteUnrecorded(Tkeyframe* key)
{
    if (key != nullptr) {
        ++fUnrecordedDeletions;
        delete key;
    }
}

void TparamCurve::removeAllKeys(bool notify, bool allChannels)
{
    TparamCurve* channels[3];
    siblingsOrSelf(allChannels, channels);
    for (TparamCurve* channel : channels) {
        if (channel == nullptr) {
            continue;
        }
        unsigned const n = channel->arrayCount();
        Tkeyframe* first = channel->keyframe(0);
        if (notify && first != nullptr) {
            channel->notifyClientsOfChange(first, TparamCurveModifiedMsg::kKeyRemoved);
        }
        for (unsigned i = 0; i < n; ++i) {
            channel->deleteUnrecorded(channel->keyframe(i));
        }
        if (n > 0) {
            ++channel->fSilentKeyDrops;  // handles heard nothing: they compare this
        }
        channel->replaceKeyArray();
        channel->fCurveFlags.set(kStaticBit);
        channel->invalidateCache();
    }
}

// --- Key flags ---------------------------------------------------------------------------------

bool TparamCurve::setKeyFlag(unsigned index, unsigned mask, Tkeyframe::TflagBit bit, bool on, int kind)
{
    Tkeyframe* key = keyframe(index);
    if (key == nullptr) {
        return false;
    }
    TchangeScope change(*this, mask);
    if (!change.open()) {
        return false;
    }
    TbitField64 flags = key->flags();
    flags.setTo(bit, on);
    key->setFlags(flags);
    notifyClientsOfChange(key, kind);
    change.modified();
    return true;
}

bool TparamCurve::setBreakdown(unsigned index, bool on)
{
    bool const was = breakdown(index);
    if (!setKeyFlag(index, kChangeTime, Tkeyframe::kBreakdownBit, on, TparamCurveModifiedMsg::kBreakdownChanged)) {
        return false;
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this)) {
        record(recorder->breakdownChanged(*this, index, was));
    }
    return true;
}

bool TparamCurve::setTickDrawSpecial(unsigned index, bool on)
{
    return setKeyFlag(index, kChangeNothing, Tkeyframe::kTickDrawSpecialBit, on, TparamCurveModifiedMsg::kKeyChanged);
}

void TparamCurve::markDirty()
{
    Tkeyframe* first = keyframe(0);
    if (first == nullptr) {
        return;
    }
    TchangeScope change(*this, kChangeNothing);
    if (!change.open()) {
        return;
    }
    invalidateCache();
    notifyClientsOfChange(first, TparamCurveModifiedMsg::kKeyChanged);
    change.modified();
}

// --- Infinities -----------------------------------------------------------------------------------

void TparamCurve::storeInfinityType(bool pre, TparamCurveEnums::TinfinityType type)
{
    bool const known = type == TparamCurveEnums::kLinear || type == TparamCurveEnums::kCycle ||
                       type == TparamCurveEnums::kCycleRelative || type == TparamCurveEnums::kOscillate;
    (pre ? fPreInfinity : fPostInfinity) = known ? type : TparamCurveEnums::kConstant;
}

bool TparamCurve::applyInfinityType(bool pre, TparamCurveEnums::TinfinityType type)
{
    TparamCurve* channels[3];
    siblingsOrSelf(isRotationCurve(), channels);
    if (!allChannelsAccept(channels, kChangeInfinity)) {
        return false;
    }
    for (TparamCurve* channel : channels) {
        // Compared with the request, not with what would be stored: a request
        // of 2 on a constant curve still runs the bracket and notifies.
        if (channel == nullptr || (pre ? channel->fPreInfinity : channel->fPostInfinity) == type) {
            continue;
        }
        TchangeScope change(*channel, kChangeNothing);
        if (!change.open()) {
            continue;
        }
        TparamCurveEnums::TinfinityType const previous = pre ? channel->fPreInfinity : channel->fPostInfinity;
        channel->storeInfinityType(pre, type);
        if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*channel)) {
            channel->record(recorder->infinityChanged(*channel, pre, previous,
                                                      pre ? channel->fPreInfinity : channel->fPostInfinity));
        }
        channel->invalidateCache();
        channel->notifyClientsOfChange(channel->keyframe(0), TparamCurveModifiedMsg::kTangentChanged);
        change.modified();
    }
    return true;
}

bool TparamCurve::setPreInfinityType(TparamCurveEnums::TinfinityType type)
{
    return applyInfinityType(true, type);
}

bool TparamCurve::setPostInfinityType(TparamCurveEnums::TinfinityType type)
{
    return applyInfinityType(false, type);
}
