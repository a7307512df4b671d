#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/paramCurve.h"

// What a paste does besides placing the block (see TparamCurve::paste).
// The defaults paste the clipboard as it is, once.
struct TpasteSettings {
    // The clipboard curve that pastes onto a curve outside a rotation triple
    // when the clipboard holds a triple.
    unsigned fSourceIndex = 0;
    // Offsets the pasted values (in place of fValueOffset) so that the
    // block's first key meets the target's value at the paste start.
    bool fConnect = false;
    TtimeValue const* fCopiedStart = nullptr;
    TtimeValue const* fCopiedEnd = nullptr;
    // Pasted values become (value - pivot) * scale + pivot + offset, and
    // tangents scale in value with them.
    double fValueOffset = 0.0;
    double fValueScale = 1.0;
    // Where a replace stops clearing keys (null: the end of the block).
    TtimeValue const* fClearEnd = nullptr;
    double fValuePivot = 0.0;
    // Selects the pasted keys.
    bool fSelect = false;
    // How many times a merge puts the block down, back to back.
    unsigned fRepetitions = 1;
};

// TclipboardCurves: the clipboard curves of one copy or cut, owned.
//
// Copy and cut fill caller-owned slots with new curves; this holder is those
// slots and deletes what they hold. It also keeps the copied range, which a
// paste needs to place the block where the range began (a copy with range
// ends starts the block at the range start, not at its first key).
class KEEL_API TclipboardCurves {
public:
    TclipboardCurves() = default;
    TclipboardCurves(TclipboardCurves const&) = delete;
    TclipboardCurves& operator=(TclipboardCurves const&) = delete;
    ~TclipboardCurves();

    // Deletes the curves held and empties the slots.
    void clear();
    // The three slots to hand to copy or cut (after clear()); record the
    // answer with took().
    TparamCurve** slots() { return fCurves; }
    // Notes how many curves the copy filled and the range it copied.
    void took(unsigned count, TtimeValue const& copiedStart, TtimeValue const& copiedEnd);

    unsigned count() const { return fCount; }
    bool empty() const { return fCount == 0; }
    TparamCurve* const* curves() const { return fCurves; }
    TparamCurve* curve(unsigned index) const { return index < fCount ? fCurves[index] : nullptr; }
    TtimeValue const& copiedStart() const { return fCopiedStart; }
    TtimeValue const& copiedEnd() const { return fCopiedEnd; }

    // Copies or cuts through `curve` into this clipboard (emptied first).
    unsigned copyRange(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                       TparamCurve::TcopyOption option);
    unsigned cutRange(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                      TparamCurve::TcutOption option);
    // Pastes this clipboard onto `curve` with the copied range it holds;
    // the settings' copied range is replaced by it.
    unsigned pasteOnto(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                       TparamCurve::TpasteOption option, TpasteSettings settings = {}) const;

private:
    TparamCurve* fCurves[TparamCurve::kMaxClipboardCurves] = {};
    unsigned fCount = 0;
    TtimeValue fCopiedStart;
    TtimeValue fCopiedEnd;
};
