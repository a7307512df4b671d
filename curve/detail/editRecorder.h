#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/curve/paramCurveEnums.h"
#include "keelanim/keys/keyframe.h"

#include <algorithm>
#include <vector>

class Tdelta;
class TparamCurve;

// How a curve tells the undo machinery what an edit did.
//
// The curve knows no undo record: inside a modification, each edit calls
// the installed recorder, which answers a new record (a Tdelta the curve then
// collects through TparamCurve::addDelta) or null. The undo subsystem
// installs its recorder when the library loads; without one, edits record
// nothing. Records take ownership of what the calls below say they keep.

// The tangents of one key, as a key stores them.
struct TkeyTangents {
    float fInX = 0.0f, fInY = 0.0f, fOutX = 0.0f, fOutY = 0.0f;
    friend bool operator==(TkeyTangents const&, TkeyTangents const&) = default;
    static TkeyTangents of(Tkeyframe const& key)
    {
        TkeyTangents t;
        key.getTanIn(t.fInX, t.fInY);
        key.getTanOut(t.fOutX, t.fOutY);
        return t;
    }
};

// The keys whose tangents one outermost change re-derived from the tangent
// types, in the order they were first touched: their tangents before the
// first re-derivation, and as the change left them. Replaying a step does not
// re-derive tangents: the record made last in the change carries these and
// puts them back.
class TtangentJournal {
public:
    struct Tentry {
        Tkeyframe* fKey;
        TkeyTangents fBefore;
        TkeyTangents fAfter;
    };

    // A key noted again keeps its first "before" and takes the new "after".
    void note(Tkeyframe* key, TkeyTangents const& before, TkeyTangents const& after)
    {
        for (Tentry& entry : fEntries) {
            if (entry.fKey == key) {
                entry.fAfter = after;
                return;
            }
        }
        fEntries.push_back({key, before, after});
    }
    // Notes every entry of a later journal of the same keys.
    void merge(TtangentJournal const& later)
    {
        for (Tentry const& entry : later.fEntries) {
            note(entry.fKey, entry.fBefore, entry.fAfter);
        }
    }
    // A key's first "before" (false when the key is not in the journal).
    bool find(Tkeyframe const* key, TkeyTangents& before) const
    {
        auto const entry = locate(key);
        if (entry == fEntries.end()) {
            return false;
        }
        before = entry->fBefore;
        return true;
    }
    // Takes a key out of the journal, answering its first "before" (false
    // when the key is not in it).
    bool take(Tkeyframe const* key, TkeyTangents& before)
    {
        auto const entry = locate(key);
        if (entry == fEntries.end()) {
            return false;
        }
        before = entry->fBefore;
        fEntries.erase(entry);
        return true;
    }
    // Takes each "after" from its key as it stands now, for the keys
    // `onCurve` accepts. A record made later in the same change (a drag of a
    // key re-derived earlier) may rewrite a journaled key, and redo must end
    // where the change ended, not where the re-derivation left the key.
    template <class OnCurve> void settle(OnCurve&& onCurve)
    {
        for (Tentry& entry : fEntries) {
            if (onCurve(entry.fKey)) {
                entry.fAfter = TkeyTangents::of(*entry.fKey);
            }
        }
    }
    bool empty() const { return fEntries.empty(); }
    std::vector<Tentry> const& entries() const { return fEntries; }

private:
    std::vector<Tentry>::const_iterator locate(Tkeyframe const* key) const
    {
        return std::find_if(fEntries.begin(), fEntries.end(), [key](Tentry const& entry) { return entry.fKey == key; });
    }

    std::vector<Tentry> fEntries;
};

// A key rewritten in place by an edit (its time, tangents or types), as it
// was before the edit and as the edit left it.
struct TkeyRewrite {
    Tkeyframe* fKey;
    Tkeyframe fBefore;
    Tkeyframe fAfter;
};

class TcurveEditRecorder {
public:
    TcurveEditRecorder() = default;
    TcurveEditRecorder(TcurveEditRecorder const&) = delete;
    TcurveEditRecorder& operator=(TcurveEditRecorder const&) = delete;
    virtual ~TcurveEditRecorder() = default;

    // The recorder edits report to; null when none is installed.
    static TcurveEditRecorder* installed();
    // Installs `recorder` (not owned; it must outlive every curve).
    static void install(TcurveEditRecorder* recorder);

    // --- Records of edits (each new, owned by the caller) -------------------
    // `key` joined the curve; the record refers to it.
    virtual Tdelta* keyAdded(TparamCurve& curve, Tkeyframe* key) = 0;
    // `key` left the curve; the record takes the key object.
    virtual Tdelta* keyRemoved(TparamCurve& curve, Tkeyframe* key) = 0;
    // `onCurve` is about to take new content; `former` is copied.
    virtual Tdelta* keyReplaced(TparamCurve& curve, Tkeyframe* onCurve, Tkeyframe const& former) = 0;
    // `key` split a span; the neighbours' contents before (either may be
    // null) are copied.
    virtual Tdelta* keyInserted(TparamCurve& curve, Tkeyframe* key, Tkeyframe const* previousAsWas,
                                Tkeyframe const* nextAsWas) = 0;
    // The keys a block addition made.
    virtual Tdelta* blockAdded(TparamCurve& curve, Tkeyframe* const* keys, unsigned count, TtangentType in,
                               TtangentType out) = 0;
    virtual Tdelta* breakdownChanged(TparamCurve& curve, unsigned index, bool wasBreakdown) = 0;
    virtual Tdelta* infinityChanged(TparamCurve& curve, bool pre, TparamCurveEnums::TinfinityType previous,
                                    TparamCurveEnums::TinfinityType current) = 0;
    virtual Tdelta* weightingChanged(TparamCurve& curve, bool wasWeighted) = 0;
    // One tangent of key `index` (the in-tangent when `in`) was dragged or
    // changed: `before` and `after` hold the key as it was and is (both
    // copied; the side's type before is read as evaluation read it).
    virtual Tdelta* tangentDragged(TparamCurve& curve, unsigned index, bool in, Tkeyframe const& before,
                                   Tkeyframe const& after) = 0;
    // Every key of the curve as it is now.
    virtual Tdelta* curveSnapshot(TparamCurve& curve) = 0;
    virtual Tdelta* rotationInterpolationChanged(TparamCurve& curve, TparamCurveEnums::TrotationInterpolation previous,
                                                 TparamCurveEnums::TrotationInterpolation current) = 0;
    // `key` moved from (previousIndex, previousTime, previousValue,
    // previousSecond) to where it is now.
    virtual Tdelta* keyMoved(TparamCurve& curve, Tkeyframe* key, unsigned previousIndex, TtimeValue const& previousTime,
                             double previousValue, double previousSecond, TparamCurveEnums::TmoveOption option) = 0;
    // The keys of [start, end] were mapped onto [newStart, newEnd] about
    // `pivot`; `keys` are every key the edit rewrote (taken).
    virtual Tdelta* regionScaled(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end,
                                 TtimeValue const& newStart, TtimeValue const& newEnd, TtimeValue const& pivot,
                                 std::vector<TkeyRewrite>&& keys) = 0;

    // --- Collection ------------------------------------------------------------
    // How many records a modification's pending record holds (0 for null).
    virtual unsigned recordCount(Tdelta const* pending) const = 0;
    // Hands the tangents a change re-derived to the last record of the
    // pending record, which takes ownership of them.
    virtual void attachTangents(Tdelta* pending, TtangentJournal* tangents) = 0;
    // Combines a record offered to a modification with the one already
    // pending there (both non-null). Answers the new pending record (it may
    // be `pending` itself), disposes of whatever it did not keep, and sets
    // `answer` to what TparamCurve::addDelta answers.
    virtual Tdelta* combine(Tdelta* pending, Tdelta* offered, bool append, bool& answer) = 0;
};
