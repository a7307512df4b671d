#include "clipboard/clipboardKit.h"
#include "curve/detail/editKit.h"
#include "editing/pickedKeys.h"
#include "keelanim/editing/pickKeyDictionary.h"
#include "keelanim/keys/pickParts.h"

#include <cmath>

namespace keel_clipboard {

bool usableRange(TparamCurve const& curve, TtimeValue const& start, TtimeValue const& end)
{
    return TcurveEditKit::acceptsTimeForm(curve, start) && TcurveEditKit::acceptsTimeForm(curve, end) &&
           std::isfinite(start.seconds()) && std::isfinite(end.seconds()) && !(end < start);
}

bool keysInRange(TparamCurve const& curve, TtimeValue const& start, TtimeValue const& end, unsigned& first,
                 unsigned& last)
{
    unsigned const count = curve.keyframeCountAll();
    if (count == 0) {
        return false;
    }
    curve.find(start, first);
    if (!curve.find(end, last)) {
        if (last == 0) {
            return false;
        }
        --last;
    }
    return first <= last && last < count;
}

unsigned channelsOf(TparamCurve const& curve, TparamCurve* channels[3])
{
    TparamCurve* x = nullptr;
    TparamCurve* y = nullptr;
    TparamCurve* z = nullptr;
    if (curve.getSiblingRotationCurves(&x, &y, &z) && x != nullptr && y != nullptr && z != nullptr) {
        channels[0] = x;
        channels[1] = y;
        channels[2] = z;
        return 3;
    }
    channels[0] = const_cast<TparamCurve*>(&curve);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    channels[1] = nullptr;
    channels[2] = nullptr;
    return 1;
}

bool isQuaternionTriple(TparamCurve* const* channels, unsigned count)
{
    return count == 3 && channels[0] != nullptr && channels[0]->evaluatesAsQuaternion();
}

unsigned finishCopy(bool copied, bool quaternion, TparamCurve& x, TparamCurve** result, unsigned count)
{
    if (!copied) {
        clearSlots(result);
        return 0;
    }
    if (quaternion) {
        writeTripleRotations(x, result);
    }
    return count;
}

bool allAcceptChange(TparamCurve* const* curves, unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        if (!TchangeScope(*curves[i], TparamCurve::kChangeAll).open()) {
            return false;
        }
    }
    return true;
}

TcopyChannels::TcopyChannels(TparamCurve& curve, TparamCurve** result)
{
    curve.copyInit(&fCount, fSources, result);
    fQuaternion = isQuaternionTriple(fSources, fCount);
}

void clearSlots(TparamCurve** slots)
{
    for (unsigned i = 0; i < TparamCurve::kMaxClipboardCurves; ++i) {
        delete slots[i];
        slots[i] = nullptr;
    }
}

std::unique_ptr<TparamCurve> scratchOf(TparamCurve const& source)
{
    auto scratch = std::make_unique<TparamCurve>(source);
    scratch->setHostHooks(TparamCurve::ThostHooks{}, false);
    scratch->setLockedParams(0);
    scratch->setCurveFlag(TparamCurve::kAskHelpersBit, false);
    scratch->setCurveFlag(TparamCurve::kReferencedBit, false);
    return scratch;
}

TparamCurve* emptyLike(TparamCurve const& source)
{
    auto* made = new TparamCurve(source.isFloatCurve());
    made->setCurveKind(source.curveKind());
    made->setIsWeighted(source.isWeighted());
    made->setRotationInterpolation(source.rotationInterpolation());
    return made;
}

Tkeyframe keyWithHostTime(TparamCurve const& curve, unsigned index)
{
    Tkeyframe key(*curve.keyframe(index));
    key.setTime(curve.timeValue(index));
    key.setActive(TbitField32(kPickPartsMask), false);
    return key;
}

namespace {

// Keys at the range ends that keep the curve's shape, on a scratch copy:
// the neighbours' tangents change with the split, so the copy cannot take
// the ends from the source alone.
std::unique_ptr<TparamCurve> withKeysAt(TparamCurve const& source, TtimeValue const& start, TtimeValue const& end)
{
    auto scratch = scratchOf(source);
    for (TtimeValue const& time : {start, end}) {
        unsigned index = 0;
        if (!scratch->find(time, index)) {
            Tkeyframe const probe(TcurveEditKit::storedTime(*scratch, time), 0.0, kTangentFixed, kTangentFixed);
            scratch->insertKey(probe, true);
        }
    }
    return scratch;
}

// Stepped sides and sides that choose their span's kind keep their type at
// the ends of a copy: fixing them would change the span, not hold it.
bool takesInwardType(TtangentType type)
{
    return type != kTangentStep && !choosesSpanKind(type);
}

}  // namespace

bool copyKeysBetween(TparamCurve const& source, TparamCurve& result, TtimeValue const& start, TtimeValue const& end,
                     bool withEnds, bool quaternion)
{
    std::unique_ptr<TparamCurve> scratch;
    unsigned first = 0;
    unsigned last = 0;
    bool const keyedEnds = source.find(start, first) && source.find(end, last);
    if (withEnds && !keyedEnds) {
        scratch = withKeysAt(source, start, end);
    }
    TparamCurve const& from = scratch != nullptr ? *scratch : source;
    if (!keysInRange(from, start, end, first, last)) {
        return false;
    }
    bool const whole = first == 0 && last + 1 == source.keyframeCountAll() && scratch == nullptr;
    TtangentType const inward = quaternion ? kTangentLinear : kTangentFixed;
    for (unsigned i = first; i <= last; ++i) {
        Tkeyframe key = keyWithHostTime(from, i);
        if (!whole && i == first && takesInwardType(key.tanOutType())) {
            key.setTanOutType(inward);
        }
        if (!whole && i == last && takesInwardType(key.tanInType())) {
            key.setTanInType(inward);
        }
        result.add(key, false, true, false);
    }
    return true;
}

void rotationComponents(TparamCurve& x, unsigned axis, TtimeValue const& time, double& value, double& aux)
{
    Tquaternion const q = x.evaluateQuaternion(time);
    double const components[3] = {q.x(), q.y(), q.z()};
    value = components[axis];
    aux = axis == 2 ? q.w() : 1.0;
}

void writeTripleRotations(TparamCurve& x, TparamCurve* const results[3])
{
    unsigned const count = results[0]->keyframeCountAll();
    for (unsigned i = 0; i < count; ++i) {
        TtimeValue const time = results[0]->timeValue(i);
        for (unsigned axis = 0; axis < 3; ++axis) {
            double value = 0.0;
            double aux = 1.0;
            rotationComponents(x, axis, time, value, aux);
            if (Tkeyframe* key = results[axis]->keyframe(i)) {
                key->setTimeAndValue(key->timeValue(), value, aux);
            }
        }
    }
    for (unsigned axis = 0; axis < 3; ++axis) {
        TcurveEditKit::allKeysChanged(*results[axis]);
    }
}

bool picksWholeKey(TpickKey const& pick)
{
    return pick.flags().isSet(TpickKey::kPickKey);
}

TpickRun readPicks(TparamCurve const& curve, TpickKeyDictionary const& picks, TtimeValue& start, TtimeValue& end)
{
    TpickKeyDictionaryNode const* first = picks.first();
    if (curve.keyframeCountAll() == 0 || first == nullptr) {
        return TpickRun::kNothing;
    }
    unsigned count = 0;
    bool allKeys = true;
    TpickKeyDictionaryNode const* last = first;
    for (TpickKeyDictionaryNode const* node = first; node != nullptr; node = node->next()) {
        allKeys = allKeys && picksWholeKey(node->pick());
        last = node;
        ++count;
    }
    if (!allKeys) {
        return count == 1 ? TpickRun::kNothing : TpickRun::kKeyByKey;
    }
    // A pick whose key is gone (or inactive) names no time to copy from.
    unsigned const firstIndex =
        first->pick().isInactive() ? kArrayFailure : indexOfHandle(curve, first->pick().handle());
    unsigned const lastIndex = last->pick().isInactive() ? kArrayFailure : indexOfHandle(curve, last->pick().handle());
    if (firstIndex == kArrayFailure || lastIndex == kArrayFailure) {
        return TpickRun::kNothing;
    }
    start = curve.timeValue(firstIndex);
    end = curve.timeValue(lastIndex);
    return lastIndex - firstIndex + 1 == count ? TpickRun::kRange : TpickRun::kKeyByKey;
}

}  // namespace keel_clipboard

using namespace keel_clipboard;

bool TparamCurve::canCopy(TpickKeyDictionary const& picks, TcopyOption /*option*/) const
{
    TpickKeyDictionaryNode const* first = picks.first();
    if (first == nullptr) {
        return false;
    }
    if (first->next() == nullptr) {
        return true;
    }
    for (TpickKeyDictionaryNode const* node = first; node != nullptr; node = node->next()) {
        if (!picksWholeKey(node->pick())) {
            return false;
        }
    }
    return true;
}

void TparamCurve::copyInit(unsigned* count, TparamCurve** sources, TparamCurve** results)
{
    TparamCurve* channels[3] = {};
    unsigned const made = channelsOf(*this, channels);
    for (unsigned i = 0; i < kMaxClipboardCurves; ++i) {
        if (sources != nullptr) {
            sources[i] = channels[i];
        }
        if (results != nullptr) {
            results[i] = i < made ? emptyLike(*channels[i]) : nullptr;
        }
    }
    if (count != nullptr) {
        *count = made;
    }
}

unsigned TparamCurve::copy(TpickKeyDictionary const& picks, TcopyOption option, TparamCurve** result)
{
    TtimeValue start;
    TtimeValue end;
    switch (readPicks(*this, picks, start, end)) {
    case TpickRun::kRange: return copyKeysInRange(start, end, option, result);
    case TpickRun::kKeyByKey: return copyKeysInPickArray(picks, option, result);
    case TpickRun::kNothing: break;
    }
    return 0;
}

unsigned TparamCurve::copyKeysInRange(TtimeValue start, TtimeValue end, TcopyOption option, TparamCurve** result)
{
    unsigned const keys = keyframeCountAll();
    if (result == nullptr || keys == 0 || !usableRange(*this, start, end)) {
        return 0;
    }
    bool const withEnds = option == kCopyWithRangeEnds;
    if (withEnds && (start < timeValue(0u) || timeValue(keys - 1) < end)) {
        return copyKeysInInfinityZone(start, end, option, result);
    }
    TcopyChannels const channels(*this, result);
    bool copied = false;
    for (unsigned c = 0; c < channels.fCount; ++c) {
        copied =
            copyKeysBetween(*channels.fSources[c], *result[c], start, end, withEnds, channels.fQuaternion) || copied;
    }
    return finishCopy(copied, channels.fQuaternion, *channels.fSources[0], result, channels.fCount);
}

unsigned TparamCurve::copyKeysInPickArray(TpickKeyDictionary const& picks, TcopyOption /*option*/, TparamCurve** result)
{
    if (result == nullptr || keyframeCountAll() == 0 || picks.first() == nullptr) {
        return 0;
    }
    TcopyChannels const channels(*this, result);
    bool copied = false;
    forEachPickedKey(*this, picks, [&](Tkeyframe const&, unsigned index, TpickKey const& pick) {
        if (!picksWholeKey(pick)) {
            return;
        }
        TtimeValue const time = timeValue(index);
        for (unsigned c = 0; c < channels.fCount; ++c) {
            TparamCurve const& source = *channels.fSources[c];
            unsigned at = 0;
            if (source.find(time, at)) {
                copied = result[c]->add(keyWithHostTime(source, at), false, true, false) || copied;
            }
        }
    });
    // The keys copied are the keys themselves: nothing to take from the triple.
    return finishCopy(copied, false, *channels.fSources[0], result, channels.fCount);
}
