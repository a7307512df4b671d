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

// What an edit that spans several calls keeps on its curve (a move's keys,
// the breakdown cache). The editing subsystem derives from it; the curve
// owns it and deletes it with itself, or when its keys are replaced.
class TcurveEditSession {
public:
    TcurveEditSession() = default;
    TcurveEditSession(TcurveEditSession const&) = delete;
    TcurveEditSession& operator=(TcurveEditSession const&) = delete;
    virtual ~TcurveEditSession() = default;
};

class TcurveEditKit {
public:
    // The curve's session slot (null when none); the curve owns what it
    // holds.
    static TcurveEditSession*& session(TparamCurve& curve) { return curve.fEditSession; }
    static TcurveEditSession* session(TparamCurve const& curve) { return curve.fEditSession; }
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
    // Moves key `index` to a host time in order (see TparamCurve::retimeKey):
    // the new index, or kArrayFailure when a key lies there already.
    static unsigned retimeKey(TparamCurve& curve, unsigned index, TtimeValue const& time)
    {
        return curve.retimeKey(index, time);
    }
    // The key array back in time order after times were written in place;
    // false when two keys share a time.
    static bool restoreKeyOrder(TparamCurve& curve) { return curve.restoreKeyOrder(); }
    // In a modification, records the tangent edit of key `index` from
    // `before`, and carries the tangents the change re-derived around it
    // even when the key's own sides came out as they were.
    static void recordTangentEdit(TparamCurve& curve, unsigned index, Tkeyframe const& before)
    {
        curve.recordTangentEdit(index, before);
    }
    // A copy of `key` as the open change found it, for a record's "before":
    // tangents the change re-derived earlier are as they were.
    static Tkeyframe keyAsTheChangeFoundIt(TparamCurve const& curve, Tkeyframe const& key)
    {
        return curve.keyAsTheChangeFoundIt(key);
    }
    // Overwrites `key` with `contents` (same time order), inside a bracket the
    // caller holds: for records that put back neighbours their edit changed.
    // False when the contents would break the order.
    static bool putBackKey(TparamCurve& curve, Tkeyframe* key, Tkeyframe const& contents)
    {
        return curve.putBackKey(key, contents);
    }
    // Tangents, span methods and caches of every key renewed.
    static void allKeysChanged(TparamCurve& curve) { curve.allKeysChanged(); }
    // A host time in the form the keys store it.
    static TtimeValue storedTime(TparamCurve const& curve, TtimeValue const& time) { return curve.storedTime(time); }
    static bool acceptsTimeForm(TparamCurve const& curve, TtimeValue const& time)
    {
        return curve.acceptsTimeForm(time);
    }
};
