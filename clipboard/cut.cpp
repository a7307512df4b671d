// Cutting: the copy, then the removal and the closing of the gap on every
// channel of the cut, once every channel accepts the change. Each edit is
// one of the curve's own recorded operations (insertKey, remove,
// moveKeyframe) in a change of its own, so a cut undoes exactly in a
// modification: one undo step when the host's modification holds it.

#include "clipboard/clipboardKit.h"
#include "clipboard/pasteKit.h"
#include "curve/detail/editKit.h"
#include "editing/pickedKeys.h"

#include <algorithm>
#include <vector>

using namespace keel_clipboard;

namespace {

// Whether the cut keys the range ends first (options 3 to 5 over a range
// longer than an instant).
bool keysRangeEnds(TparamCurve::TcutOption option)
{
    return option >= TparamCurve::kCutRange && option <= TparamCurve::kCutRangeAndJoin;
}

// Holds the key indices of the channels as they were before the cut, for
// the records to name keys by, until the cut ends.
class TrecordedIndices {
public:
    TrecordedIndices(TparamCurve* const* channels, unsigned count) : fChannels(channels), fCount(count)
    {
        for (unsigned c = 0; c < fCount; ++c) {
            fChannels[c]->recordKeyIndices();
        }
    }
    TrecordedIndices(TrecordedIndices const&) = delete;
    TrecordedIndices& operator=(TrecordedIndices const&) = delete;
    ~TrecordedIndices()
    {
        for (unsigned c = 0; c < fCount; ++c) {
            fChannels[c]->deleteRecordedKeyIndices();
        }
    }

private:
    TparamCurve* const* fChannels;
    unsigned fCount;
};

// The cut of one channel over [start, end].
class TchannelCut {
public:
    TchannelCut(TparamCurve& channel, TtimeValue const& start, TtimeValue const& end, TparamCurve::TcutOption option,
                bool quaternion)
        : fChannel(channel), fStart(start), fEnd(end), fOption(option),
          fDrop(quaternion ? 0.0 : channel.evaluate(end) - channel.evaluate(start))
    {
    }

    // Keys the range ends (shape kept) where the option asks for it.
    void keyEnds();
    // Removes the keys and closes the gap; true when the channel changed.
    bool run();
    // The keys that moved to close the gap, [first, count).
    unsigned firstMoved() const { return fFirstMoved; }
    bool closedGap() const { return fClosed; }

private:
    bool cutKeysInside();
    bool cutBetweenEnds();
    bool removeKeys(unsigned first, unsigned last);
    bool shiftFrom(unsigned first, TtimeValue const& shift, double drop);
    bool joinAtStart(unsigned startIndex);

    TparamCurve& fChannel;
    TtimeValue fStart;
    TtimeValue fEnd;
    TparamCurve::TcutOption fOption;
    double fDrop;  // the rise over the range that a join takes off the moved keys
    unsigned fFirstMoved = kArrayFailure;
    bool fClosed = false;
};

void TchannelCut::keyEnds()
{
    for (TtimeValue const& time : {fStart, fEnd}) {
        unsigned index = 0;
        if (!fChannel.find(time, index)) {
            Tkeyframe const probe(TcurveEditKit::storedTime(fChannel, time), 0.0, kTangentFixed, kTangentFixed);
            fChannel.insertKey(probe, true);
        }
    }
}

bool TchannelCut::removeKeys(unsigned first, unsigned last)
{
    if (first == 0 && last + 1 >= fChannel.keyframeCountAll()) {
        TparamCurve::disableAnimCurveModelUpdates();
    }
    bool removed = false;
    for (unsigned i = last + 1; i-- > first;) {
        removed = fChannel.remove(i) || removed;
    }
    return removed;
}

// Moves keys first.. earlier by `shift`, the earliest first so that none
// passes another, lowering their values by `drop`.
bool TchannelCut::shiftFrom(unsigned first, TtimeValue const& shift, double drop)
{
    bool moved = false;
    unsigned const count = fChannel.keyframeCountAll();
    for (unsigned i = first; i < count; ++i) {
        moved = fChannel.moveKeyframe(i, fChannel.timeValue(i) - shift, fChannel.value(i) - drop,
                                      TparamCurveEnums::kMoveBetweenNeighbours, true) ||
                moved;
    }
    fFirstMoved = first;
    fClosed = moved;
    return moved;
}

// The start key takes the out side of the end key, which then goes: the
// joined curve runs on from the start key as it ran on from the end key.
bool TchannelCut::joinAtStart(unsigned startIndex)
{
    Tkeyframe* startKey = fChannel.keyframe(startIndex);
    Tkeyframe const* endKey = fChannel.keyframe(startIndex + 1);
    if (startKey == nullptr || endKey == nullptr) {
        return false;
    }
    float x = 0.0f;
    float y = 0.0f;
    endKey->getTanOut(x, y);
    TtangentType const outType = endKey->storedTanOutType();
    fChannel.remove(startIndex + 1);
    TchangeScope change(fChannel, TparamCurve::kChangeTangentType);
    if (!change.open()) {
        return true;
    }
    Tkeyframe const before = TcurveEditKit::keyAsTheChangeFoundIt(fChannel, *startKey);
    startKey->setTanOutType(outType);
    startKey->setTanOut(x, y);
    TcurveEditKit::keysChangedAround(fChannel, startIndex, true);
    TcurveEditKit::recordTangentEdit(fChannel, startIndex, before);
    change.modified();
    return true;
}

// Options 0, 1, 2 and 6, and 3 to 5 at an instant: the keys inside go, and
// the keys after close the gap as the option asks.
bool TchannelCut::cutKeysInside()
{
    unsigned first = 0;
    unsigned last = 0;
    bool const any = keysInRange(fChannel, fStart, fEnd, first, last);
    unsigned const after = any ? last + 1 : first;
    // Where the first key after the cut keys stands from the first of them.
    TtimeValue const footprint = any && after < fChannel.keyframeCountAll()
                                     ? fChannel.timeValue(after) - fChannel.timeValue(first)
                                     : TtimeValue();
    bool changed = any && removeKeys(first, last);
    unsigned const next = any ? first : after;
    TparamCurve::TcutOption const kind =
        keysRangeEnds(fOption) ? TparamCurve::TcutOption(fOption - TparamCurve::kCutRange) : fOption;
    if (kind == TparamCurve::kCutAndClose || kind == TparamCurve::kCutAndJoin) {
        changed = shiftFrom(next, fEnd - fStart, kind == TparamCurve::kCutAndJoin ? fDrop : 0.0) || changed;
    } else if (kind == TparamCurve::kCutKeysAndCloseOnKeys && any) {
        changed = shiftFrom(next, footprint, 0.0) || changed;
    }
    return changed;
}

// Options 3 to 5 over a range: the keys between the keyed ends go, and the
// end key and those after it close the gap as the option asks.
bool TchannelCut::cutBetweenEnds()
{
    unsigned startIndex = 0;
    unsigned endIndex = 0;
    if (!fChannel.find(fStart, startIndex) || !fChannel.find(fEnd, endIndex)) {
        return false;
    }
    bool changed = endIndex > startIndex + 1 && removeKeys(startIndex + 1, endIndex - 1);
    TtimeValue const length = fEnd - fStart;
    if (fOption == TparamCurve::kCutRangeAndClose) {
        changed = shiftFrom(startIndex + 1, length - oneTick(fChannel), 0.0) || changed;
    } else if (fOption == TparamCurve::kCutRangeAndJoin) {
        changed = joinAtStart(startIndex) || changed;
        changed = shiftFrom(startIndex + 1, length, fDrop) || changed;
    }
    return changed;
}

bool TchannelCut::run()
{
    return keysRangeEnds(fOption) && fStart != fEnd ? cutBetweenEnds() : cutKeysInside();
}

// On a quaternion triple the keys that closed the gap turn by the rotation
// from the end of the range to its start, so the rotation runs on without
// a jump.
void joinRotations(TparamCurve& x, unsigned firstMoved, Tquaternion const& atStart, Tquaternion const& atEnd)
{
    Tquaternion const turn = atStart * atEnd.inverse();
    unsigned const count = x.keyframeCountAll();
    for (unsigned i = firstMoved; i < count; ++i) {
        TtimeValue const time = x.timeValue(i);
        x.moveKeyframe(i, time, turn * x.evaluateQuaternion(time), TparamCurveEnums::kMoveBetweenNeighbours, true);
    }
}

}  // namespace

unsigned TparamCurve::cut(TpickKeyDictionary const& picks, TcutOption option, TparamCurve** result)
{
    TtimeValue start;
    TtimeValue end;
    switch (readPicks(*this, picks, start, end)) {
    case TpickRun::kRange: return cutKeysInRange(start, end, option, result);
    case TpickRun::kKeyByKey: return cutKeysInPickArray(picks, option, result);
    case TpickRun::kNothing: break;
    }
    return 0;
}

unsigned TparamCurve::cutKeysInRange(TtimeValue start, TtimeValue end, TcutOption option, TparamCurve** result)
{
    unsigned const keys = keyframeCountAll();
    if (option > kCutKeysAndCloseOnKeys || keys == 0 || !usableRange(*this, start, end)) {
        return 0;
    }
    TparamCurve* channels[3] = {};
    unsigned const count = channelsOf(*this, channels);
    if (!allAcceptChange(channels, count)) {
        return 0;
    }
    bool const rangeEnds = keysRangeEnds(option) && start != end;
    unsigned copied = 0;
    TtimeValue const first = timeValue(0u);
    TtimeValue const last = timeValue(keys - 1);
    if (rangeEnds && (start < first || last < end)) {
        if (result != nullptr) {
            copied = copyKeysInInfinityZone(start, end, kCopyWithRangeEnds, result);
        }
        start = std::max(start, first);
        end = std::min(end, last);
    }
    bool const outside = rangeEnds ? !(start < end) : end < first || last < start;
    if (outside) {
        return copied;
    }
    if (result != nullptr && copied == 0) {
        TcopyOption const copyOption = rangeEnds                          ? kCopyWithRangeEnds
                                       : option == kCutKeysAndCloseOnKeys ? kCopyForCut
                                                                          : kCopyKeys;
        copied = copyKeysInRange(start, end, copyOption, result);
    }
    bool const quaternion = isQuaternionTriple(channels, count);
    Tquaternion const atStart = quaternion ? evaluateQuaternion(start) : Tquaternion::identity;
    Tquaternion const atEnd = quaternion ? evaluateQuaternion(end) : Tquaternion::identity;
    TrecordedIndices const indices(channels, count);
    if (rangeEnds && quaternion) {
        channels[0]->insert(start, false, true);
        channels[0]->insert(end, false, true);
    }
    bool changed = false;
    unsigned firstMoved = kArrayFailure;
    bool closed = false;
    for (unsigned c = 0; c < count; ++c) {
        TchannelCut cut(*channels[c], start, end, option, quaternion);
        if (rangeEnds && !quaternion) {
            cut.keyEnds();
        }
        changed = cut.run() || changed;
        firstMoved = cut.firstMoved();
        closed = cut.closedGap() || closed;
    }
    bool const joins = option == kCutAndJoin || option == kCutRangeAndJoin;
    if (quaternion && joins && closed && firstMoved != kArrayFailure) {
        joinRotations(*channels[0], firstMoved, atStart, atEnd);
    }
    if (copied > 0) {
        return copied;
    }
    return changed ? count : 0;
}

unsigned TparamCurve::cutKeysInPickArray(TpickKeyDictionary const& picks, TcutOption option, TparamCurve** result)
{
    if (option > kCutKeysAndCloseOnKeys || keyframeCountAll() == 0 || picks.first() == nullptr) {
        return 0;
    }
    TparamCurve* channels[3] = {};
    if (!allAcceptChange(channels, channelsOf(*this, channels))) {
        return 0;
    }
    std::vector<TtimeValue> times;
    forEachPickedKey(*this, picks, [&](Tkeyframe const&, unsigned index, TpickKey const& pick) {
        if (picksWholeKey(pick)) {
            times.push_back(timeValue(index));
        }
    });
    std::sort(times.begin(), times.end(), [](TtimeValue const& a, TtimeValue const& b) { return b < a; });
    unsigned copied = 0;
    if (result != nullptr) {
        copied = copyKeysInPickArray(picks, option == kCutRange ? kCopyWithRangeEnds : kCopyKeys, result);
    }
    unsigned cutCount = 0;
    for (TtimeValue const& time : times) {
        cutCount = std::max(cutCount, cutKeysInRange(time, time, option, nullptr));
    }
    return copied > 0 ? copied : cutCount;
}
