// Pasting: the clipboard's keys placed on the target curves, once every
// target accepts the change. Each edit is one of the curve's own recorded
// operations in a change of its own, so a paste undoes exactly in a
// modification.

#include "clipboard/clipboardKit.h"
#include "clipboard/pasteKit.h"
#include "curve/detail/editKit.h"
#include "keelanim/base/numeric.h"
#include "keelanim/keys/pickParts.h"

#include <algorithm>
#include <cmath>
#include <memory>

using namespace keel_clipboard;

namespace keel_clipboard {

TtimeValue oneTick(TparamCurve const& curve)
{
    return curve.isAnimTimeCurve() ? TtimeValue(TanimTime::fromTicks(1)) : TtimeValue(kOneTickSeconds);
}

TtimeValue timesAlong(TtimeValue const& offset, TtimeValue const& length, unsigned count)
{
    if (offset.isTicks() && length.isTicks()) {
        double const ticks = double(offset.animTime().ticks()) + double(count) * length.animTime().ticks();
        return TanimTime::fromTicks(static_cast<std::int32_t>(std::clamp(ticks, -2147483648.0, 2147483647.0)));
    }
    return TtimeValue(narrowToFloat(offset.seconds() + double(count) * length.seconds()));
}

}  // namespace keel_clipboard

namespace {

// Repetitions of a merge beyond this many keys are refused whole.
constexpr double kMostPastedKeys = 1.0e6;

bool finiteTime(TtimeValue const& time)
{
    return std::isfinite(time.seconds());
}

// The value transform of the settings, with the connecting offset folded
// in: the block's first key meets the target's value at the paste start.
TpasteSettings connected(TparamCurve& target, TparamCurve const& clipboard, TtimeValue const& start,
                         TpasteSettings settings)
{
    if (!settings.fConnect || target.evaluatesAsQuaternion() || clipboard.keyframeCountAll() == 0 ||
        target.keyframeCountAll() == 0) {
        return settings;
    }
    double const first = (clipboard.value(0u) - settings.fValuePivot) * settings.fValueScale + settings.fValuePivot;
    settings.fValueOffset = target.evaluate(start) - first;
    return settings;
}

// Places every key of `clipboard` on `target`, moved by `offset`.
bool placeBlock(TparamCurve& target, TparamCurve const& clipboard, TtimeValue const& offset,
                TpasteSettings const& settings, bool joinFirst)
{
    bool placed = false;
    unsigned const count = clipboard.keyframeCountAll();
    for (unsigned i = 0; i < count; ++i) {
        placed = target.pasteOneKey(*clipboard.keyframe(i), offset, settings, joinFirst && i == 0) || placed;
    }
    return placed;
}

// Moves the target's keys at or after `from` later by `room`, the latest
// first so that none passes another.
bool makeRoom(TparamCurve& target, TtimeValue const& from, TtimeValue const& room)
{
    unsigned first = 0;
    target.find(from, first);
    bool moved = false;
    for (unsigned i = target.keyframeCountAll(); i-- > first;) {
        moved = target.moveKeyframe(i, target.timeValue(i) + room, target.value(i),
                                    TparamCurveEnums::kMoveBetweenNeighbours, true) ||
                moved;
    }
    return moved;
}

bool clearRange(TparamCurve& target, TtimeValue const& start, TtimeValue const& end)
{
    unsigned first = 0;
    unsigned last = 0;
    if (end < start || !keysInRange(target, start, end, first, last)) {
        return false;
    }
    bool removed = false;
    for (unsigned i = last + 1; i-- > first;) {
        removed = target.remove(i) || removed;
    }
    return removed;
}

// Readies each target (`prepare`), then puts its clipboard curve's block
// down once, moved by `offset`: the number of targets that took keys.
template <class Prepare>
unsigned pasteOnEach(unsigned count, TparamCurve* const* clipboard, TparamCurve* const* targets,
                     TtimeValue const& start, TtimeValue const& offset, TpasteSettings const& settings,
                     Prepare&& prepare)
{
    unsigned pasted = 0;
    for (unsigned i = 0; i < count; ++i) {
        TpasteSettings const values = connected(*targets[i], *clipboard[i], start, settings);
        prepare(*targets[i]);
        pasted += placeBlock(*targets[i], *clipboard[i], offset, values, false) ? 1 : 0;
    }
    return pasted;
}

}  // namespace

TtimeValue TparamCurve::oneTickShorter(TtimeValue const& time) const
{
    if (time.isTicks()) {
        return time - TtimeValue(TanimTime::fromTicks(1));
    }
    return TtimeValue(narrowToFloat(time.seconds() - double(kOneTickSeconds)));
}

unsigned TparamCurve::paste(TtimeValue const& start, TtimeValue const& end, unsigned count,
                            TparamCurve* const* clipboard, TpasteOption option, unsigned sourceIndex, bool connect,
                            TtimeValue const* copiedStart, TtimeValue const* copiedEnd, double valueOffset,
                            double valueScale, TtimeValue const* clearEnd, double valuePivot, bool select,
                            unsigned repetitions)
{
    TpasteSettings const settings{sourceIndex, connect,  copiedStart, copiedEnd, valueOffset,
                                  valueScale,  clearEnd, valuePivot,  select,    repetitions};
    return paste(start, end, count, clipboard, option, settings);
}

unsigned TparamCurve::paste(TtimeValue const& start, TtimeValue const& end, unsigned count,
                            TparamCurve* const* clipboard, TpasteOption option, TpasteSettings const& settings)
{
    TpastePlan plan(*this, count, clipboard, settings);
    if (option == kPasteUnhandled || option > kPasteFitMerge || !plan.valid() ||
        !TcurveEditKit::acceptsTimeForm(*this, start) || !TcurveEditKit::acceptsTimeForm(*this, end) ||
        !finiteTime(start) || !finiteTime(end)) {
        return 0;
    }
    TtimeValue const* clearEnd = settings.fClearEnd;
    if (clearEnd != nullptr && (!TcurveEditKit::acceptsTimeForm(*this, *clearEnd) || !finiteTime(*clearEnd))) {
        return 0;
    }
    TtimeValue copiedStart;
    TtimeValue copiedEnd;
    if (!plan.copiedRange(copiedStart, copiedEnd)) {
        return 0;
    }
    if (!allAcceptChange(plan.targets(), plan.count())) {
        return 0;
    }
    unsigned const n = plan.count();
    TparamCurve* const* from = plan.clipboard();
    TparamCurve* const* onto = plan.targets();
    unsigned pasted = 0;
    switch (option) {
    case kPasteInsert: pasted = pasteInsert(start, end, n, from, onto, copiedStart, copiedEnd, settings); break;
    case kPasteReplace: pasted = pasteReplace(start, end, n, from, onto, copiedStart, copiedEnd, settings); break;
    case kPasteMerge: pasted = pasteMerge(start, end, n, from, onto, copiedStart, copiedEnd, settings); break;
    case kPasteScaleInsert:
    case kPasteScaleReplace:
    case kPasteScaleMerge:
        pasted = pasteScale(start, end, n, from, onto, copiedStart, copiedEnd, option, settings);
        break;
    default: pasted = pasteFit(start, end, n, from, onto, copiedStart, copiedEnd, option, settings); break;
    }
    for (unsigned i = 0; i < n && pasted > 0; ++i) {
        plan.recheckStatic(i);
    }
    return pasted;
}

bool TparamCurve::pasteOneKey(Tkeyframe const& key, TtimeValue const& offset, TpasteSettings const& settings,
                              bool joinIn)
{
    TtimeValue const time = key.timeValue() + offset;
    if (!TcurveEditKit::acceptsTimeForm(*this, time) || !finiteTime(time)) {
        return false;
    }
    Tkeyframe placed(key);
    placed.setTime(TcurveEditKit::storedTime(*this, time));
    placed.setActive(TbitField32(kPickPartsMask), false);
    if (!evaluatesAsQuaternion()) {
        double const scale = settings.fValueScale;
        placed.setValue((key.value() - settings.fValuePivot) * scale + settings.fValuePivot + settings.fValueOffset);
        float x = 0.0f;
        float y = 0.0f;
        key.getTanIn(x, y);
        placed.setTanIn(x, narrowToFloat(y * scale));
        key.getTanOut(x, y);
        placed.setTanOut(x, narrowToFloat(y * scale));
    }
    unsigned index = 0;
    if (joinIn && findStoredTime(placed.timeValue(), index)) {
        Tkeyframe const* existing = keyframe(index);
        float x = 0.0f;
        float y = 0.0f;
        existing->getTanIn(x, y);
        placed.setTanInType(existing->storedTanInType());
        placed.setTanIn(x, y);
    }
    return add(placed, settings.fSelect, true, false);
}

unsigned TparamCurve::pasteInsert(TtimeValue const& start, TtimeValue const& /*end*/, unsigned count,
                                  TparamCurve* const* clipboard, TparamCurve* const* targets,
                                  TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                                  TpasteSettings const& settings)
{
    TtimeValue const length = copiedEnd - copiedStart;
    TtimeValue room = length;
    for (unsigned i = 0; i < count; ++i) {
        unsigned index = 0;
        if (targets[i]->find(start, index) && clipboard[i]->find(copiedEnd, index)) {
            room = length + oneTick(*targets[i]);  // the block's last key would meet the key at start
        }
    }
    return pasteOnEach(count, clipboard, targets, start, start - copiedStart, settings,
                       [&](TparamCurve& target) { makeRoom(target, start, room); });
}

unsigned TparamCurve::pasteReplace(TtimeValue const& start, TtimeValue const& /*end*/, unsigned count,
                                   TparamCurve* const* clipboard, TparamCurve* const* targets,
                                   TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                                   TpasteSettings const& settings)
{
    TtimeValue const clearTo = settings.fClearEnd != nullptr ? *settings.fClearEnd : start + (copiedEnd - copiedStart);
    return pasteOnEach(count, clipboard, targets, start, start - copiedStart, settings,
                       [&](TparamCurve& target) { clearRange(target, start, clearTo); });
}

unsigned TparamCurve::pasteMerge(TtimeValue const& start, TtimeValue const& /*end*/, unsigned count,
                                 TparamCurve* const* clipboard, TparamCurve* const* targets,
                                 TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                                 TpasteSettings const& settings)
{
    TtimeValue const length = copiedEnd - copiedStart;
    unsigned const repetitions = length.seconds() > 0.0 ? std::max(1u, settings.fRepetitions) : 1u;
    if (double(repetitions) * clipboard[0]->keyframeCountAll() > kMostPastedKeys) {
        return 0;
    }
    TtimeValue const offset = start - copiedStart;
    unsigned pasted = 0;
    for (unsigned i = 0; i < count; ++i) {
        TpasteSettings const values = connected(*targets[i], *clipboard[i], start, settings);
        bool placed = false;
        for (unsigned k = 0; k < repetitions; ++k) {
            placed = placeBlock(*targets[i], *clipboard[i], timesAlong(offset, length, k), values, k > 0) || placed;
        }
        pasted += placed ? 1 : 0;
    }
    return pasted;
}
