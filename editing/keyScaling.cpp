// TparamCurve: scaling keys in time about a pivot (a region map) and in
// value about a value pivot.
//
// Every scale plans the new time of each key first and refuses the whole
// scale when two keys would meet; only then are keys rewritten, so a
// refused scale leaves the curve untouched. The record of a scale keeps
// every rewritten key as it was and is, so that undo and redo are exact
// whatever rounding the mapping did.

#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "editing/keyMoveSession.h"
#include "editing/keyScaling.h"
#include "editing/pickedKeys.h"
#include "keelanim/curve/curveMessages.h"
#include "keelanim/editing/pickKeyList.h"
#include "keelanim/segments/animCurve.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace {

// One tick in seconds, as single precision keeps it: ranges no longer than
// this are empty.
constexpr double kOneTick = static_cast<double>(kOneTickSeconds);

bool finiteTimes(std::initializer_list<TtimeValue const*> times)
{
    return std::all_of(times.begin(), times.end(),
                       [](TtimeValue const* time) { return time->isTicks() || std::isfinite(time->seconds()); });
}

bool usableScale(float scale)
{
    return std::isfinite(scale) && scale != 0.0f;
}

// A host time in seconds as the curve keeps times: seconds on a float curve,
// the nearest tick on an animTime curve.
TtimeValue curveTime(TparamCurve const& curve, double seconds)
{
    return curve.isAnimTimeCurve() ? TtimeValue(TanimTime(seconds, kSeconds)) : TtimeValue(narrowToFloat(seconds));
}

double keySeconds(TparamCurve const& curve, unsigned index)
{
    return curve.timeValue(index).seconds();
}

// The new place of every key of a curve: its host time, and the factor its
// fixed tangents are scaled by in time (1: untouched).
struct TtimePlan {
    std::vector<TtimeValue> fTimes;
    std::vector<float> fTangentFactors;

    explicit TtimePlan(TparamCurve const& curve)
    {
        unsigned const count = curve.keyframeCountAll();
        fTimes.reserve(count);
        for (unsigned i = 0; i < count; ++i) {
            fTimes.push_back(curve.timeValue(i));
        }
        fTangentFactors.assign(count, 1.0f);
    }
    void place(TparamCurve const& curve, unsigned index, double seconds) { fTimes[index] = curveTime(curve, seconds); }
};

// Whether the planned times keep every key apart, in whatever order.
bool keepsKeysApart(TparamCurve const& curve, TtimePlan const& plan)
{
    std::vector<Tkeyframe> probes;
    probes.reserve(plan.fTimes.size());
    for (TtimeValue const& time : plan.fTimes) {
        probes.emplace_back(TcurveEditKit::storedTime(curve, time));
    }
    auto const apart = [](Tkeyframe const& a, Tkeyframe const& b) { return a < b; };
    if (std::adjacent_find(probes.begin(), probes.end(), [&](auto& a, auto& b) { return !apart(a, b); }) ==
        probes.end()) {
        return true;  // still in order: the common case costs no sort
    }
    std::sort(probes.begin(), probes.end(),
              [](Tkeyframe const& a, Tkeyframe const& b) { return a.seconds() < b.seconds(); });
    return std::adjacent_find(probes.begin(), probes.end(), [&](auto& a, auto& b) { return !apart(a, b); }) ==
           probes.end();
}

// The change bracket of a scale, on the curve and on the other two curves of
// its rotation triple; open only when all of them accepted.
class TscaleBracket {
public:
    TscaleBracket(TparamCurve& curve, unsigned mask) : fOwn(curve, mask)
    {
        TparamCurve* triple[3] = {nullptr, nullptr, nullptr};
        if (!fOwn.open() || !curve.isRotationCurve() ||
            !curve.getSiblingRotationCurves(&triple[0], &triple[1], &triple[2])) {
            return;
        }
        for (unsigned i = 0; i < 3; ++i) {
            if (triple[i] != nullptr && triple[i] != &curve) {
                fSiblings[i].emplace(*triple[i], mask);
                fSiblingsOpen = fSiblingsOpen && fSiblings[i]->open();
            }
        }
    }
    bool open() const { return fOwn.open() && fSiblingsOpen; }
    void modified() { fOwn.modified(); }

private:
    TchangeScope fOwn;
    std::optional<TchangeScope> fSiblings[3];
    bool fSiblingsOpen = true;
};

// The pre and post offsets of a region map: keys before the region shift to
// stay clear of its new start, keys after to stay clear of its new end,
// except on the side where the reference lies beyond all four bounds.
struct TregionMap {
    double fOldStart, fOldEnd, fNewStart, fNewEnd;
    double fOldLength, fNewLength;
    bool fPureShift;
    double fPreOffset = 0.0, fPostOffset = 0.0;

    TregionMap(TtimeValue const& oldStart, TtimeValue const& oldEnd, TtimeValue const& newStart,
               TtimeValue const& newEnd, TtimeValue const& reference)
        : fOldStart(oldStart.seconds()), fOldEnd(oldEnd.seconds()), fNewStart(newStart.seconds()),
          fNewEnd(newEnd.seconds()), fOldLength(fOldEnd - fOldStart), fNewLength(fNewEnd - fNewStart),
          fPureShift(std::fabs(fOldLength) <= kOneTick || std::fabs(fNewLength) <= kOneTick)
    {
        double const r = reference.seconds();
        double const lowest = std::min({fOldStart, fOldEnd, fNewStart, fNewEnd});
        double const highest = std::max({fOldStart, fOldEnd, fNewStart, fNewEnd});
        if (r > lowest) {
            fPreOffset = std::min(fNewStart, fNewEnd) - fOldStart;
        }
        if (r < highest) {
            fPostOffset = std::max(fNewStart, fNewEnd) - fOldEnd;
        }
    }
    double inside(double t) const
    {
        return fPureShift ? t - fOldStart + fNewStart : (t - fOldStart) / fOldLength * fNewLength + fNewStart;
    }
    float tangentFactor() const { return fPureShift ? 1.0f : narrowToFloat(fNewLength / fOldLength); }
};

// The keys a region covers: from the first at or after its start to the
// last at or before its end (first > last when none).
void regionIndices(TparamCurve const& curve, TtimeValue const& start, TtimeValue const& end, unsigned& first,
                   unsigned& last)
{
    curve.find(start, first);
    unsigned at = 0;
    bool const exact = curve.find(end, at);
    last = exact ? at : at - 1;  // kArrayFailure-like when no key lies before the end
}

// Plans a region map over the keys `takes` admits.
template <class Takes>
void planRegion(TparamCurve const& curve, TregionMap const& map, unsigned first, unsigned last, TtimePlan& plan,
                Takes&& takes)
{
    for (unsigned i = 0; i < plan.fTimes.size(); ++i) {
        if (!takes(i)) {
            continue;
        }
        double const t = keySeconds(curve, i);
        if (i < first) {
            plan.place(curve, i, t + map.fPreOffset);
        } else if (i > last || last == kArrayFailure) {
            plan.place(curve, i, t + map.fPostOffset);
        } else {
            plan.place(curve, i, map.inside(t));
            plan.fTangentFactors[i] = map.tangentFactor();
        }
    }
}

}  // namespace

// --- The scale bracket -----------------------------------------------------------------------

void TparamCurve::beginScaleKeys(unsigned first, unsigned last)
{
    TkeyMoveSession* session = TkeyMoveSession::of(*this, true);
    if (session->fEditMode == TkeyMoveSession::kScaling) {
        return;
    }
    session->fEditMode = TkeyMoveSession::kScaling;
    for (unsigned i = 0; i < arrayCount(); ++i) {
        if (i >= first && i <= last) {
            continue;
        }
        if (TbreakdownData* record = getBreakdownData(i)) {
            session->fBreakdowns.addLast(record);
        }
    }
}

void TparamCurve::endScaleKeys()
{
    if (TkeyMoveSession* session = TkeyMoveSession::of(*this, false)) {
        session->fEditMode = TkeyMoveSession::kNoEdit;
    }
    flushBreakdownCache();
}

bool TparamCurve::canScale(TkeyframeHandlePtrArray&, float, TtimeValue const&)
{
    return true;
}

// --- Tangents ------------------------------------------------------------------------------------

bool TparamCurve::scaleTangentX(Tkeyframe* key, float factor, bool scaleIn, bool scaleOut)
{
    if (key == nullptr || factor == 1.0f || !std::isfinite(factor) || updateInterpolator(key) == nullptr) {
        return false;
    }
    if (factor < 0.0f) {
        TkeyframeHandle handle(this, key, false);
        switchInOutTangents(&handle);
        factor = -factor;
    }
    // Only fixed tangents carry a length in time; the other types are
    // recomputed from the keys. The blocking override reads as stepped.
    float x = 0.0f;
    float y = 0.0f;
    if (scaleIn && key->tanInType() == kTangentFixed) {
        key->getTanIn(x, y);
        key->setTanIn(x * factor, y);
    }
    if (scaleOut && key->tanOutType() == kTangentFixed) {
        key->getTanOut(x, y);
        key->setTanOut(x * factor, y);
    }
    return true;
}

bool TparamCurve::scaleTangentY(Tkeyframe* key, float factor)
{
    if (key == nullptr || !std::isfinite(factor)) {
        return false;
    }
    float x = 0.0f;
    float y = 0.0f;
    key->getTanIn(x, y);
    key->setTanIn(x, y * factor);
    key->getTanOut(x, y);
    key->setTanOut(x, y * factor);
    return true;
}

// --- Region maps -------------------------------------------------------------------------------------

namespace {

// Rewrites every key as planned (times, then fixed tangents scaled in time)
// and puts the array back in order. The plan must keep the keys apart.
void applyTimePlan(TparamCurve& curve, TtimePlan const& plan)
{
    std::vector<Tkeyframe*> keys;
    keys.reserve(plan.fTimes.size());
    for (unsigned i = 0; i < plan.fTimes.size(); ++i) {
        keys.push_back(curve.keyframe(i));
    }
    for (unsigned i = 0; i < keys.size(); ++i) {
        if (plan.fTangentFactors[i] != 1.0f) {
            curve.scaleTangentX(keys[i], plan.fTangentFactors[i], true, true);
        }
        if (!(plan.fTimes[i] == curve.timeValue(keys[i]))) {
            keys[i]->setTime(TcurveEditKit::storedTime(curve, plan.fTimes[i]));
        }
    }
    TcurveEditKit::restoreKeyOrder(curve);
}

// The common end of every scale: breakdown keys keep their proportion,
// tangents and caches follow, clients hear, and the record keeps the keys.
void finishScale(TparamCurve& curve, TrewriteSnapshot const& before, TtimeValue const times[5])
{
    curve.applyBreakdownCache();
    TcurveEditKit::allKeysChanged(curve);
    TcurveEditRecorder* recorder = TcurveEditKit::recorder(curve);
    std::vector<TkeyRewrite> changes = recorder != nullptr ? before.changes() : std::vector<TkeyRewrite>();
    if (!changes.empty()) {
        TcurveEditKit::record(
            curve, recorder->regionScaled(curve, times[0], times[1], times[2], times[3], times[4], std::move(changes)));
    }
    curve.notifyClientsOfChange(curve.keyframe(0), TparamCurveModifiedMsg::kKeyChanged);
}

// A value scale carries the vectors a key holds; sides that a tangent rule
// derives are derived again from the scaled values afterwards, and recorded
// then from what they were. Scaling them here too would change them before
// that record could see them as they were.
void scaleHeldTangentsY(Tkeyframe& key, float factor)
{
    float x = 0.0f;
    float y = 0.0f;
    if (!T2dAnimCurve::hasTangentRule(key.tanInType())) {
        key.getTanIn(x, y);
        key.setTanIn(x, y * factor);
    }
    if (!T2dAnimCurve::hasTangentRule(key.tanOutType())) {
        key.getTanOut(x, y);
        key.setTanOut(x, y * factor);
    }
}

// Scales the values of the keys `takes` admits about the pivot, with the
// slopes of the tangents they hold.
template <class Takes> void scaleValues(TparamCurve& curve, float valueScale, double valuePivot, Takes&& takes)
{
    if (valueScale == 1.0f) {
        return;
    }
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        Tkeyframe* key = curve.keyframe(i);
        if (takes(i)) {
            key->setValue((key->value() - valuePivot) * valueScale + valuePivot);
            scaleHeldTangentsY(*key, valueScale);
        }
    }
    if (curve.isStatic()) {
        curve.checkStaticValueCondition(0);
    }
}

// Rewrites every key as planned, the values of the keys `takesValue` admits
// scaled about the value pivot first, and finishes the scale.
template <class Takes>
void rewriteKeys(TparamCurve& curve, TtimePlan const& plan, float valueScale, double valuePivot, Takes&& takesValue,
                 TtimeValue const times[5])
{
    TrewriteSnapshot const before(curve, 0, curve.keyframeCountAll() - 1);
    scaleValues(curve, valueScale, valuePivot, takesValue);
    applyTimePlan(curve, plan);
    finishScale(curve, before, times);
}

// Whether the caller bracketed the scale with beginScaleKeys.
bool scaleBracketOpen(TparamCurve const& curve)
{
    TkeyMoveSession const* session = TkeyMoveSession::of(curve);
    return session != nullptr && session->fEditMode == TkeyMoveSession::kScaling;
}

}  // namespace

bool TparamCurve::scaleRegion(TtimeValue const& oldStart, TtimeValue const& oldEnd, TtimeValue const& newStart,
                              TtimeValue const& newEnd, TtimeValue const& reference)
{
    if (!finiteTimes({&oldStart, &oldEnd, &newStart, &newEnd, &reference})) {
        return false;
    }
    TscaleBracket change(*this, kChangeReplace);
    if (!change.open()) {
        return false;
    }
    if (arrayCount() == 0) {
        return true;
    }
    unsigned first = 0;
    unsigned last = 0;
    regionIndices(*this, oldStart, oldEnd, first, last);
    TregionMap const map(oldStart, oldEnd, newStart, newEnd, reference);
    TtimePlan plan(*this);
    planRegion(*this, map, first, last, plan, [](unsigned) { return true; });
    if (!keepsKeysApart(*this, plan)) {
        return false;
    }
    // A scale the caller did not bracket is bracketed here.
    bool const ownBracket = !scaleBracketOpen(*this);
    beginScaleKeys(first, last);
    TtimeValue const times[5] = {oldStart, oldEnd, newStart, newEnd, reference};
    rewriteKeys(
        *this, plan, 1.0f, 0.0, [](unsigned) { return false; }, times);
    if (ownBracket) {
        endScaleKeys();
    }
    change.modified();
    return true;
}

bool TparamCurve::scaleRegion(TpickKeyList const& picks, TtimeValue const& oldStart, TtimeValue const& oldEnd,
                              TtimeValue const& newStart, TtimeValue const& newEnd, TtimeValue const& reference, bool)
{
    if (!finiteTimes({&oldStart, &oldEnd, &newStart, &newEnd, &reference})) {
        return false;
    }
    TscaleBracket change(*this, kChangeReplace);
    if (!change.open()) {
        return false;
    }
    std::vector<bool> picked(arrayCount(), false);
    forEachPickedKey(*this, picks, [&](Tkeyframe&, unsigned index, TpickKey const&) { picked[index] = true; });
    unsigned first = 0;
    unsigned last = 0;
    regionIndices(*this, oldStart, oldEnd, first, last);
    TregionMap const map(oldStart, oldEnd, newStart, newEnd, reference);
    TtimePlan plan(*this);
    planRegion(*this, map, first, last, plan, [&](unsigned i) { return bool(picked[i]); });
    if (!keepsKeysApart(*this, plan)) {
        return false;
    }
    if (arrayCount() > 0) {
        TtimeValue const times[5] = {oldStart, oldEnd, newStart, newEnd, reference};
        rewriteKeys(
            *this, plan, 1.0f, 0.0, [](unsigned) { return false; }, times);
        change.modified();
    }
    return true;
}

// --- Time and value together ---------------------------------------------------------------------

bool TparamCurve::scaleTimeAndValue(TkeyframeHandlePtrArray& handles, float timeScale, float timePivot,
                                    float valueScale, double valuePivot)
{
    if (handles.empty() || !usableScale(timeScale) || !usableScale(valueScale) || !std::isfinite(timePivot) ||
        !std::isfinite(valuePivot)) {
        return false;
    }
    unsigned const first = indexOfHandle(*this, handles[0]);
    unsigned const last = indexOfHandle(*this, handles[handles.count() - 1]);
    if (first == kArrayFailure || last == kArrayFailure || first > last) {
        return false;
    }
    if (timeScale == 1.0f && valueScale == 1.0f) {
        return true;
    }
    TscaleBracket change(*this, kChangeReplace | kChangeValue);
    if (!change.open()) {
        return false;
    }
    double const firstTime = keySeconds(*this, first);
    double const lastTime = keySeconds(*this, last);
    TtimeValue const oldFirst = timeValue(first);
    TtimeValue const oldLast = timeValue(last);
    TregionMap const map(oldFirst, oldLast, curveTime(*this, timePivot + (firstTime - timePivot) * timeScale),
                         curveTime(*this, timePivot + (lastTime - timePivot) * timeScale), curveTime(*this, timePivot));
    TtimePlan plan(*this);
    if (timeScale != 1.0f) {
        planRegion(*this, map, first, last, plan, [](unsigned) { return true; });
        if (!keepsKeysApart(*this, plan)) {
            return false;
        }
    }
    std::vector<bool> named(arrayCount(), false);
    for (TkeyframeHandle const* handle : handles) {
        if (unsigned const index = indexOfHandle(*this, handle); index != kArrayFailure) {
            named[index] = true;
        }
    }
    bool const ownBracket = !scaleBracketOpen(*this);
    beginScaleKeys(first, last);
    TtimeValue const times[5] = {oldFirst, oldLast, plan.fTimes[first], plan.fTimes[last], curveTime(*this, timePivot)};
    rewriteKeys(
        *this, plan, valueScale, valuePivot, [&](unsigned i) { return bool(named[i]); }, times);
    if (ownBracket) {
        endScaleKeys();
    }
    change.modified();
    return true;
}

bool TparamCurve::scaleTimeAndValue(TpickKeyList const& picks, float timeScale, TtimeValue const& timePivot,
                                    float valueScale, double valuePivot, bool, bool followBreakdowns)
{
    return scalePickedKeys(*this, picks, timeScale, timePivot, valueScale, valuePivot, followBreakdowns, true);
}

bool scalePickedKeys(TparamCurve& curve, TpickKeyList const& picks, float timeScale, TtimeValue const& timePivot,
                     float valueScale, double valuePivot, bool followBreakdowns, bool scaleTangents)
{
    if (!usableScale(timeScale) || !usableScale(valueScale) || !finiteTimes({&timePivot}) ||
        !std::isfinite(valuePivot)) {
        return false;
    }
    if (timeScale == 1.0f && valueScale == 1.0f) {
        return true;
    }
    TscaleBracket change(curve, TparamCurve::kChangeReplace | TparamCurve::kChangeValue);
    if (!change.open()) {
        return false;
    }
    unsigned const count = curve.keyframeCountAll();
    std::vector<bool> picked(count, false);
    forEachPickedKey(curve, picks, [&](Tkeyframe&, unsigned index, TpickKey const&) { picked[index] = true; });
    double const pivot = timePivot.seconds();
    TtimePlan plan(curve);
    for (unsigned i = 0; i < count; ++i) {
        if (picked[i] && timeScale != 1.0f) {
            plan.place(curve, i, pivot + (keySeconds(curve, i) - pivot) * timeScale);
            plan.fTangentFactors[i] = scaleTangents ? timeScale : 1.0f;
        }
    }
    if (!keepsKeysApart(curve, plan)) {
        return false;
    }
    if (count == 0) {
        return true;
    }
    if (followBreakdowns) {
        curve.getAffectedBreakdowns(picks);
    }
    TtimeValue const times[5] = {TtimeValue(), TtimeValue(), TtimeValue(), TtimeValue(), timePivot};
    rewriteKeys(
        curve, plan, valueScale, valuePivot, [&](unsigned i) { return bool(picked[i]); }, times);
    curve.flushBreakdownCache();
    change.modified();
    return true;
}
