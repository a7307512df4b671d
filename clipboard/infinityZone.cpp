// The part of a range beyond the keys, written out as keys: the keys that
// the infinity types repeat into it, the lines of constant and linear
// infinities, and keys at the range ends. The keys are laid out once, from
// the curve whose infinities govern (X of a triple), and every channel is
// built from that layout, so a triple's keys stay in step.

#include "clipboard/clipboardKit.h"
#include "clipboard/pasteKit.h"
#include "curve/detail/editKit.h"
#include "keelanim/base/numeric.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <vector>

using namespace keel_clipboard;

namespace {

// More keys than this in one copy is a range far beyond any use.
constexpr double kMostKeys = 1.0e6;
// Repetitions further out than this lie where single-precision times no
// longer tell a cycle's keys apart.
constexpr double kFarthestCycle = 1.0e9;

bool isCyclic(TparamCurveEnums::TinfinityType type)
{
    return type == TparamCurveEnums::kCycle || type == TparamCurveEnums::kCycleRelative ||
           type == TparamCurveEnums::kOscillate;
}

// Which source key one side of a laid-out key comes from: key `fIndex` of
// repetition `fCycle` (0 is the keys themselves), mirrored in time on odd
// repetitions of an oscillation.
struct TkeySource {
    long fCycle = 0;
    unsigned fIndex = 0;
    bool fMirrored = false;
};

// One key of the layout: its time, where its in and out sides come from,
// and whether it bounds a repetition (its sides are then held fixed, since
// its neighbours differ from the source key's).
struct TlaidKey {
    TtimeValue fTime;
    TkeySource fIn;
    TkeySource fOut;
    bool fHeld = false;
    bool fZone = false;  // a key of a constant or linear zone, at a range end
    // The side facing a constant zone lies flat.
    bool fFlatIn = false;
    bool fFlatOut = false;
};

class TinfinityLayout {
public:
    TinfinityLayout(TparamCurve const& governing, TtimeValue const& start, TtimeValue const& end);

    bool valid() const { return fValid; }
    std::vector<TlaidKey> const& keys() const { return fKeys; }
    // Channel `curve`'s key for one laid-out key.
    Tkeyframe keyOf(TparamCurve const& curve, TlaidKey const& laid) const;

private:
    TparamCurveEnums::TinfinityType typeOf(long cycle) const { return cycle < 0 ? fPre : fPost; }
    TtimeValue shifted(TtimeValue const& time, double periods) const;
    void layCycles(long from, long to, TparamCurve const& governing);
    void layZone(bool pre, TtimeValue const& time);
    Tkeyframe sourceKey(TparamCurve const& curve, TkeySource const& from) const;
    double zoneSlope(TparamCurve const& curve, unsigned index, bool pre) const;
    void placeOnZone(TparamCurve const& curve, TlaidKey const& laid, Tkeyframe& key) const;

    TparamCurveEnums::TinfinityType fPre;
    TparamCurveEnums::TinfinityType fPost;
    TtimeValue fFirst;
    TtimeValue fLast;
    TtimeValue fPeriod;
    unsigned fCount;
    bool fTicks;
    bool fValid = true;
    std::vector<TlaidKey> fKeys;
};

TinfinityLayout::TinfinityLayout(TparamCurve const& governing, TtimeValue const& start, TtimeValue const& end)
    : fPre(governing.preInfinityType()), fPost(governing.postInfinityType()), fFirst(governing.timeValue(0u)),
      fLast(governing.timeValue(governing.keyframeCountAll() - 1)), fPeriod(fLast - fFirst),
      fCount(governing.keyframeCountAll()), fTicks(governing.isAnimTimeCurve())
{
    double const period = fPeriod.seconds();
    if (!(period > 0.0)) {
        // One key, or keys at one time: the curve is that value everywhere.
        fPre = fPost = TparamCurveEnums::kConstant;
    }
    // Repetitions counted in doubles: a long range over a short cycle is
    // refused before any count is turned into an integer.
    double from = 0.0;
    double to = 0.0;
    auto cycleOf = [&](TtimeValue const& time) { return std::floor((time - fFirst).seconds() / period); };
    if (start < fFirst && isCyclic(fPre)) {
        from = cycleOf(start);
    }
    if (fLast < end && isCyclic(fPost)) {
        to = cycleOf(end);
    }
    if (fLast < start && isCyclic(fPost)) {
        from = std::max(from, cycleOf(start));
    }
    if (end < fFirst && isCyclic(fPre)) {
        to = std::min(to, cycleOf(end));
    }
    bool const countable = std::fabs(from) <= kFarthestCycle && std::fabs(to) <= kFarthestCycle;
    if (!countable || (to - from + 1.0) * fCount > kMostKeys) {
        fValid = false;
        return;
    }
    if (start < fFirst && !isCyclic(fPre)) {
        layZone(true, start);
    }
    layCycles(static_cast<long>(from), static_cast<long>(to), governing);
    if (fLast < end && !isCyclic(fPost)) {
        layZone(false, end);
    }
    if (fKeys.size() > 1 && fKeys.front().fZone && fPre == TparamCurveEnums::kConstant) {
        fKeys[1].fFlatIn = true;
    }
    if (fKeys.size() > 1 && fKeys.back().fZone && fPost == TparamCurveEnums::kConstant) {
        fKeys[fKeys.size() - 2].fFlatOut = true;
    }
}

TtimeValue TinfinityLayout::shifted(TtimeValue const& time, double periods) const
{
    if (fTicks) {
        double const ticks = double(time.animTime().ticks()) + periods * fPeriod.animTime().ticks();
        return TanimTime::fromTicks(static_cast<std::int32_t>(std::clamp(ticks, double(INT_MIN), double(INT_MAX))));
    }
    return TtimeValue(narrowToFloat(time.seconds() + periods * fPeriod.seconds()));
}

void TinfinityLayout::layZone(bool pre, TtimeValue const& time)
{
    TlaidKey zone;
    zone.fTime = time;
    zone.fIn.fIndex = zone.fOut.fIndex = pre ? 0 : fCount - 1;
    zone.fZone = true;
    zone.fHeld = true;
    fKeys.push_back(zone);
}

// Repetitions from..to, joined where they meet: a seam the curve crosses
// without a jump is one key with the earlier repetition's in side and the
// later one's out side; at a jump the key the curve does not take at the
// seam stands one tick away on its own side.
void TinfinityLayout::layCycles(long from, long to, TparamCurve const& governing)
{
    for (long cycle = from; cycle <= to; ++cycle) {
        bool const mirrored = typeOf(cycle) == TparamCurveEnums::kOscillate && (cycle % 2) != 0;
        for (unsigned n = 0; n < fCount; ++n) {
            unsigned const index = mirrored ? fCount - 1 - n : n;
            TlaidKey laid;
            laid.fIn = laid.fOut = TkeySource{cycle, index, mirrored};
            TtimeValue const own = governing.timeValue(index);
            laid.fTime = mirrored ? shifted(fFirst + fLast - own, double(cycle)) : shifted(own, double(cycle));
            laid.fHeld = n == 0 || n + 1 == fCount;
            bool const seam = n == 0 && cycle > from;
            if (!seam) {
                fKeys.push_back(laid);
                continue;
            }
            TlaidKey& earlier = fKeys.back();
            // The seam belongs to the zone of the repetition further out.
            TparamCurveEnums::TinfinityType const type = typeOf(cycle > 0 ? cycle : cycle - 1);
            bool const joined =
                type != TparamCurveEnums::kCycle || governing.value(0u) == governing.value(fCount - 1) || fCount == 1;
            if (joined) {
                earlier.fOut = laid.fOut;
                earlier.fTime = laid.fTime;
                continue;
            }
            // Evaluation answers the repetition further from the keys at
            // the seam: the later one after them, the earlier one before.
            TtimeValue const tick = oneTick(governing);
            if (cycle > 0) {
                earlier.fTime = laid.fTime - tick;
            } else {
                earlier.fTime = laid.fTime;
                laid.fTime = laid.fTime + tick;
            }
            fKeys.push_back(laid);
        }
    }
}

Tkeyframe TinfinityLayout::sourceKey(TparamCurve const& curve, TkeySource const& from) const
{
    unsigned const index = std::min(from.fIndex, curve.keyframeCountAll() - 1);
    Tkeyframe key = keyWithHostTime(curve, index);
    if (from.fMirrored) {
        key.switchSides();
    }
    if (typeOf(from.fCycle) == TparamCurveEnums::kCycleRelative && from.fCycle != 0) {
        double const shift = curve.value(curve.keyframeCountAll() - 1) - curve.value(0u);
        key.setValue(key.value() + shift * double(from.fCycle));
    }
    return key;
}

// The slope of a zone: flat for a constant infinity, the end key's outer
// tangent for a linear one.
double TinfinityLayout::zoneSlope(TparamCurve const& curve, unsigned index, bool pre) const
{
    TparamCurveEnums::TinfinityType const type = pre ? fPre : fPost;
    return type == TparamCurveEnums::kLinear ? std::tan(curve.tangentAngle(index, pre, 1.0, 1.0)) : 0.0;
}

// The zone key lies on the zone's line, its tangents along it.
void TinfinityLayout::placeOnZone(TparamCurve const& curve, TlaidKey const& laid, Tkeyframe& key) const
{
    unsigned const index = std::min(laid.fIn.fIndex, curve.keyframeCountAll() - 1);
    bool const pre = laid.fTime < fFirst;
    double const slope = zoneSlope(curve, index, pre);
    key.setValue(curve.value(index) + slope * (laid.fTime - curve.timeValue(index)).seconds());
    key.setTanIn(1.0f, narrowToFloat(slope));
    key.setTanOut(1.0f, narrowToFloat(slope));
    key.setTanInType(kTangentFixed);
    key.setTanOutType(kTangentFixed);
    key.setBreakdown(false);
}

Tkeyframe TinfinityLayout::keyOf(TparamCurve const& curve, TlaidKey const& laid) const
{
    Tkeyframe key = sourceKey(curve, laid.fOut);
    if (laid.fIn.fCycle != laid.fOut.fCycle || laid.fIn.fIndex != laid.fOut.fIndex) {
        Tkeyframe const in = sourceKey(curve, laid.fIn);
        float x = 0.0f;
        float y = 0.0f;
        in.getTanIn(x, y);
        key.setTanInType(in.storedTanInType());
        key.setTanIn(x, y);
    }
    key.setTime(laid.fTime);
    if (laid.fHeld) {
        key.setTanInType(kTangentFixed);
        if (key.storedTanOutType() != kTangentStep && key.storedTanOutType() != kTangentStepNext) {
            key.setTanOutType(kTangentFixed);
        }
    }
    float x = 0.0f;
    float y = 0.0f;
    if (laid.fFlatIn) {
        key.getTanIn(x, y);
        key.setTanIn(x > 0.0f ? x : 1.0f, 0.0f);
    }
    if (laid.fFlatOut) {
        key.getTanOut(x, y);
        key.setTanOut(x > 0.0f ? x : 1.0f, 0.0f);
    }
    if (laid.fZone) {
        placeOnZone(curve, laid, key);
    }
    return key;
}

}  // namespace

unsigned TparamCurve::copyKeysInInfinityZone(TtimeValue const& start, TtimeValue const& end, TcopyOption /*option*/,
                                             TparamCurve** result)
{
    if (result == nullptr || keyframeCountAll() == 0 || !usableRange(*this, start, end)) {
        return 0;
    }
    TcopyChannels const channels(*this, result);
    TparamCurve* const* sources = channels.fSources;
    bool const quaternion = channels.fQuaternion;
    unsigned const count = channels.fCount;
    bool copied = false;
    for (unsigned c = 0; c < count; ++c) {
        TparamCurve const& governing = quaternion ? *sources[0] : *sources[c];
        // A channel of a triple may have no keys (or, in a quaternion mode,
        // keys out of step with X): it has nothing to lay out.
        if (governing.keyframeCountAll() == 0 || sources[c]->keyframeCountAll() != governing.keyframeCountAll()) {
            continue;
        }
        TinfinityLayout const layout(governing, start, end);
        if (!layout.valid()) {
            continue;
        }
        std::unique_ptr<TparamCurve> unrolled(emptyLike(*sources[c]));
        for (TlaidKey const& laid : layout.keys()) {
            unrolled->add(layout.keyOf(*sources[c], laid), false, true, true);
        }
        copied = copyKeysBetween(*unrolled, *result[c], start, end, true, quaternion) || copied;
    }
    return finishCopy(copied, quaternion, *sources[0], result, count);
}
