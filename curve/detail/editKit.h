#pragma once

#include "curve/detail/editRecorder.h"
#include "keelanim/curve/paramCurve.h"

// The shared kit of every source that edits a curve: the change bracket as a
// scope, recording for undo, and the step that follows any change of keys
// (tangents, span methods and evaluation caches around the changed index).
// Edits that live outside the curve class (editing, clipboard, rotation)
// reach the curve's private edit steps through TcurveEditKit only.

// Opens a change bracket and closes it on every path out of an edit. An edit
// that changed the curve says so with modified() before the scope ends, so
// that the outermost close reports the curve to the depot.
class TchangeScope {
public:
    TchangeScope(TparamCurve& curve, unsigned mask) : fCurve(curve), fOpen(curve.beginChange(mask)) {}
    TchangeScope(TchangeScope const&) = delete;
    TchangeScope& operator=(TchangeScope const&) = delete;
    ~TchangeScope()
    {
        if (fOpen) {
            fCurve.endChange(fModified);
        }
    }
    // False when the curve refused the change: the edit must do nothing.
    bool open() const { return fOpen; }
    void modified() { fModified = true; }

private:
    TparamCurve& fCurve;
    bool fOpen;
    bool fModified = false;
};

class TcurveEditKit {
public:
    // The recorder an edit of `curve` reports to: the installed one while the
    // curve is in a modification, else null (nothing is to be recorded).
    static TcurveEditRecorder* recorder(TparamCurve const& curve)
    {
        return curve.isMod() ? TcurveEditRecorder::installed() : nullptr;
    }
    // Hands a record (null is ignored) to the curve's modification, or
    // deletes it when the curve is in none.
    static void record(TparamCurve& curve, Tdelta* delta) { curve.record(delta); }
    // The keys around `index` changed: tangents that follow their
    // neighbours are rebuilt (key `index` itself too unless
    // `keepTangentsAtIndex`), the spans touching the key renew their
    // interpolation methods, and evaluation forgets what it remembers.
    static void keysChangedAround(TparamCurve& curve, unsigned index, bool keepTangentsAtIndex)
    {
        curve.keysChangedAround(index, keepTangentsAtIndex);
    }
};
