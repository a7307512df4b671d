// Ripple and retime: regions of the timeline scaled, later keys rippled, and
// the fixed tangents of every interval that changed length rescaled to it,
// so that the curve keeps its shape between keys.

#include "curve/detail/editKit.h"
#include "editing/keyMoveSession.h"
#include "editing/keyScaling.h"
#include "editing/pickedKeys.h"
#include "keelanim/base/numeric.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/editing/retimeData.h"

#include <cmath>
#include <memory>
#include <vector>

namespace {

// Intervals that change by no more than this (seconds) keep their tangents.
constexpr double kLengthTolerance = static_cast<double>(0.00001f);

TparamCurve* mutableCurve(TparamCurve const* curve)
{
    return const_cast<TparamCurve*>(curve);  // NOLINT(cppcoreguidelines-pro-type-const-cast): handles only read
}

// A key's time in seconds as a retime reads it: ticks / 6000 for a tick time.
double retimeSeconds(TparamCurve const& curve, Tkeyframe const* key)
{
    return curve.timeValue(key).seconds();
}

template <class Record> void flushRecords(TtypedArray<Record*>& cache)
{
    for (Record* record : cache) {
        delete record;
    }
    cache.changeLogicalSizeTo(0);
}

// Scales the fixed tangents that face into the interval from `before` to
// `after` by `ratio`, recording each side that changed.
void scaleInterval(TparamCurve& curve, unsigned before, unsigned after, float ratio)
{
    Tkeyframe* first = curve.keyframe(before);
    Tkeyframe* second = curve.keyframe(after);
    Tkeyframe const firstWas(*first);
    Tkeyframe const secondWas(*second);
    curve.scaleTangentX(first, ratio, false, true);
    curve.scaleTangentX(second, ratio, true, false);
    curve.invalidateCache(static_cast<int>(before));
    curve.generateDeltasForTangents(before, firstWas);
    curve.generateDeltasForTangents(after, secondWas);
}

// Where the keys of a retime would end: times of the picked keys scaled
// about the pivot.
void scaleTimes(TparamCurve const& curve, TpickKeyList const& region, float scale, TtimeValue const& pivot,
                std::vector<double>& times, std::vector<bool>& moved)
{
    double const about = pivot.seconds();
    forEachPickedKey(curve, region, [&](Tkeyframe&, unsigned index, TpickKey const&) {
        times[index] = about + (times[index] - about) * double(scale);
        moved[index] = true;
    });
}

// A scale a region can take: finite and not zero (1 changes nothing).
bool usableRegionScale(TpickKeyList const& region, float scale)
{
    return region.first() == nullptr || (std::isfinite(scale) && scale != 0.0f);
}

// A time in seconds as a key of this curve would hold it.
TtimeValue probeTime(TparamCurve const& curve, double seconds)
{
    return curve.isAnimTimeCurve() ? TtimeValue(TanimTime(seconds, kSeconds)) : TtimeValue(narrowToFloat(seconds));
}

// Whether the keys keep their order, apart, once the regions are scaled and
// the ripple keys moved: a rippled key may land on a key next to it that
// stays where it is (it replaces it), nothing else may meet or pass.
bool retimeKeepsKeyOrder(TparamCurve const& curve, TpickKeyList const& regionA, float scaleA, TtimeValue const& pivotA,
                         TpickKeyList const& regionB, float scaleB, TtimeValue const& pivotB,
                         TrippleDataPtrArray const& ripples)
{
    unsigned const count = curve.keyframeCountAll();
    std::vector<double> times(count);
    for (unsigned i = 0; i < count; ++i) {
        times[i] = curve.timeValue(i).seconds();
    }
    std::vector<bool> scaled(count, false);
    std::vector<bool> rippled(count, false);
    scaleTimes(curve, regionA, scaleA, pivotA, times, scaled);
    scaleTimes(curve, regionB, scaleB, pivotB, times, scaled);
    for (TrippleData const* record : ripples) {
        unsigned const index = indexOfHandle(curve, record->handle());
        if (index != kArrayFailure) {
            times[index] += double(record->offset());
            rippled[index] = true;
        }
    }
    auto replaces = [&](unsigned a, unsigned b) {
        return (rippled[a] && !rippled[b] && !scaled[b]) || (rippled[b] && !rippled[a] && !scaled[a]);
    };
    // Keys keep their order: each must stay clear of the one before it.
    for (unsigned i = 1; i < count; ++i) {
        Tkeyframe const before(probeTime(curve, times[i - 1]));
        Tkeyframe const after(probeTime(curve, times[i]));
        if (!(before < after) && !(replaces(i - 1, i) && !(after < before))) {
            return false;
        }
    }
    return true;
}

}  // namespace

// --- The records -------------------------------------------------------------------------------------

TrippleData::TrippleData(TparamCurve const* curve, unsigned index, float offset)
    : fHandle(curve != nullptr ? std::make_unique<TkeyframeHandle>(mutableCurve(curve), index, false) : nullptr),
      fOffset(offset)
{
}

TrippleData::~TrippleData() = default;

TtimeValue TrippleData::getDesiredTime(TparamCurve const* curve) const
{
    Tkeyframe const* key = fHandle != nullptr ? fHandle->keyframe() : nullptr;
    if (curve == nullptr || key == nullptr) {
        return TtimeValue();
    }
    double const seconds = retimeSeconds(*curve, key) + double(fOffset);
    return curve->isAnimTimeCurve() ? TtimeValue(TanimTime(seconds, kSeconds)) : TtimeValue(narrowToFloat(seconds));
}

TretimeDistanceData::TretimeDistanceData(TparamCurve const* curve, unsigned index, float distance)
    : fHandle(curve != nullptr ? std::make_unique<TkeyframeHandle>(mutableCurve(curve), index, false) : nullptr),
      fDistance(distance)
{
}

TretimeDistanceData::~TretimeDistanceData() = default;

// --- Ripple ------------------------------------------------------------------------------------------

TrippleData* TparamCurve::getRippleData(unsigned index, float offset) const
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || key->breakdown() || !std::isfinite(offset)) {
        return nullptr;
    }
    return new TrippleData(this, index, offset);
}

bool TparamCurve::buildRippleCache(TpickKeyList const& picks, float offset, TrippleDataPtrArray& out) const
{
    forEachPickedKey(*this, picks, [&](Tkeyframe&, unsigned index, TpickKey const& pick) {
        if (!pick.flags().isSet(TpickKey::kPickKey)) {
            return;
        }
        if (TrippleData* record = getRippleData(index, offset)) {
            out.addLast(record);
        }
    });
    return !out.empty();
}

void TparamCurve::applyRippleCache(TrippleDataPtrArray& cache)
{
    bool const later = !cache.empty() && cache[0]->offset() > 0.0f;
    unsigned const count = cache.count();
    for (unsigned n = 0; n < count; ++n) {
        TrippleData const* record = cache[later ? count - 1 - n : n];
        unsigned const index = indexOfHandle(*this, record->handle());
        if (index == kArrayFailure) {
            continue;
        }
        TtimeValue const desired = record->getDesiredTime(this);
        if (desired == timeValue(index)) {
            continue;
        }
        moveKeyframe(index, desired, value(index), TparamCurveEnums::kMoveReplace, true);
    }
}

void TparamCurve::flushRippleCache(TrippleDataPtrArray& cache)
{
    flushRecords(cache);
}

// --- Retime distances --------------------------------------------------------------------------------

bool TparamCurve::buildRetimeDistanceCache(TretimeDistanceDataPtrArray& out) const
{
    unsigned const count = keyframeCountAll();
    for (unsigned i = 0; i < count; ++i) {
        Tkeyframe const* key = keyframe(i);
        if (key == nullptr) {
            return false;
        }
        double const distance = i == 0 ? 0.0 : retimeSeconds(*this, key) - retimeSeconds(*this, keyframe(i - 1));
        out.addLast(new TretimeDistanceData(this, i, narrowToFloat(distance)));
    }
    return !out.empty();
}

void TparamCurve::applyRetimeDistanceCache(TretimeDistanceDataPtrArray& cache)
{
    TchangeScope change(*this, kChangeTangentType);
    if (!change.open()) {
        return;
    }
    unsigned previous = kArrayFailure;
    for (TretimeDistanceData const* record : cache) {
        unsigned const index = indexOfHandle(*this, record->handle());
        if (index == kArrayFailure) {
            return;
        }
        if (previous != kArrayFailure && record->distance() != 0.0f) {
            double const now = retimeSeconds(*this, keyframe(index)) - retimeSeconds(*this, keyframe(previous));
            if (std::fabs(now - double(record->distance())) > kLengthTolerance) {
                scaleInterval(*this, previous, index, narrowToFloat(now / double(record->distance())));
                change.modified();
            }
        }
        previous = index;
    }
}

void TparamCurve::flushRetimeDistanceCache(TretimeDistanceDataPtrArray& cache)
{
    flushRecords(cache);
}

// --- Retime ------------------------------------------------------------------------------------------

bool TparamCurve::retimeRegions(TpickKeyList const& regionA, TpickKeyList const& regionB, TpickKeyList const& ripple,
                                float scaleA, float scaleB, float rippleOffset, TtimeValue const& pivotA,
                                TtimeValue const& pivotB)
{
    TrippleDataPtrArray ripples;
    TretimeDistanceDataPtrArray distances;
    buildRippleCache(ripple, rippleOffset, ripples);
    bool const measured = buildRetimeDistanceCache(distances);
    auto fail = [&] {
        flushRippleCache(ripples);
        flushRetimeDistanceCache(distances);
        return false;
    };
    // Checked whole before anything moves: a region that grows into the
    // keys after it needs the ripple to have made room first.
    if (!usableRegionScale(regionA, scaleA) || !usableRegionScale(regionB, scaleB) ||
        !TchangeScope(*this, kChangeReplace | kChangeValue).open() ||
        !retimeKeepsKeyOrder(*this, regionA, scaleA, pivotA, regionB, scaleB, pivotB, ripples)) {
        return fail();
    }
    // The regions keep their tangents: the distances rescale every interval
    // that changed, once, by its own ratio.
    auto scaleRegion = [&](TpickKeyList const& region, float scale, TtimeValue const& pivot) {
        return region.first() == nullptr || scalePickedKeys(*this, region, scale, pivot, 1.0f, 0.0, true, false);
    };
    bool const rippleFirst = rippleOffset > 0.0f;
    if (rippleFirst) {
        applyRippleCache(ripples);
    }
    if (!scaleRegion(regionA, scaleA, pivotA) || !scaleRegion(regionB, scaleB, pivotB)) {
        return fail();
    }
    if (!rippleFirst) {
        applyRippleCache(ripples);
    }
    flushRippleCache(ripples);
    if (measured) {
        applyRetimeDistanceCache(distances);
    }
    flushRetimeDistanceCache(distances);
    // The moves and scales of a retime each renew the spans around the keys
    // they touch; a key whose neighbours several of them changed could keep
    // a method its types no longer ask for, which a redo would not rebuild.
    // Every span takes the method its keys' types ask for now.
    for (unsigned i = 0; i < keyframeCountAll(); ++i) {
        setSpanInterpMethod(i);
    }
    return true;
}
