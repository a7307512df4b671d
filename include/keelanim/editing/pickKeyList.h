#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"
#include "keelanim/editing/pickKeyDictionary.h"

class TparamCurve;

// TpickKeyList: a selection on one curve with set operations.
//
// The same dictionary as TpickKeyDictionary (time to pick, one pick per time,
// ascending), plus merging, removing, intersecting and differencing picks,
// finding conflicts, and a repair step (updateDictionary) for when picked
// keys have moved since they were stored: the stored times then lag behind
// the keys' times now. The list operations that take another list repair
// this list first.
//
// Two picks conflict in time when their keys lie at the same time now
// (TpickKey::conflictsInTimeWith); the set operations meet picks that way.
//
// Ownership as for the dictionary: every operation stores copies. Results
// are written to an `out` list; `out` may be this list or the other one.
//
// Failure: operations answer false (nothing found, nothing to do); none of
// them reports an error otherwise.
KEEL_DECLARE_METACLASS(TpickKeyList);

class KEEL_API TpickKeyList : public TpickKeyDictionary {
    KEEL_TYPED(TpickKeyList)

public:
    static TpickKeyList* construct();
    static TpickKeyList* constructInPlace(void* place);

    TpickKeyList() = default;
    // Copies every pick of `picks`, stored under its key's time now (not
    // under the time `picks` stored it at).
    explicit TpickKeyList(TpickKeyDictionary const& picks);
    ~TpickKeyList() override;

    // --- Repair and lookup -------------------------------------------------
    // When any stored time differs from its pick's time now, or the picks'
    // times are out of order, re-stores every pick under its time now; a
    // pick whose key was deleted is re-keyed, not dropped. True when it did.
    bool updateDictionary();
    // True with `node` at exactly `time`; otherwise false with `node` the
    // last entry before `time`, or the first entry when none is before it
    // (null for an empty list). Stored times are searched.
    bool findByTime(TtimeValue const& time, TpickKeyDictionaryNode*& node);
    // Finds the entry at `pick`'s time; true when its pick == `pick`.
    bool findExactly(TpickKey const& pick, TpickKeyDictionaryNode*& node);

    // --- Merge and remove ----------------------------------------------------
    // Merges `pick`'s parts into the pick that conflicts with it in time
    // (TpickKey::setFlagsMerge: merging a tangent into a key pick leaves a
    // tangent pick), found from the entry findByTime gives. The result is
    // stored at that key's time, or the entry removed when no part is left.
    // False, with nothing changed, for an empty list or when that entry does
    // not conflict with `pick`.
    bool merge(TpickKey const& pick);
    // Repairs this list, then merges each pick of `other`, inserting under
    // `other`'s stored time each pick that merge(pick) did not take. True.
    bool merge(TpickKeyList const& other);
    // Takes `pick`'s parts out of the conflicting pick found as merge(pick)
    // finds it, and removes the entry when no part is left; a pick on a
    // curve that refuses selection is left alone. Answers false in every
    // case (read it as "nothing left to remove").
    bool remove(TpickKey const& pick);
    // Repairs this list, then remove(pick) for each pick of `other`; true
    // when any of those answered false, so true exactly when `other` is not
    // empty.
    bool remove(TpickKeyList const& other);
    using TpickKeyDictionary::remove;

    // --- Set operations into `out` -----------------------------------------
    // Adds to `out` (not emptied first), for each pick of this list that
    // conflicts with `pick`, a copy holding only the parts both pick (a copy
    // with no part left is still added). True when `out` is not empty.
    bool getIntersection(TpickKey const& pick, TpickKeyList& out) const;
    // Empties `out`, then the above for each pick of `other`.
    bool getIntersection(TpickKeyList const& other, TpickKeyList& out) const;
    // Empties `out`, then adds the picks of this list that equal no pick of
    // `other`, under their times now. Deliberately, the first pick found in
    // `other` ends the difference: no later pick is added either.
    bool getDifference(TpickKeyList const& other, TpickKeyList& out) const;
    // Whether any pick of this list conflicts in time with any of `other`.
    bool intersects(TpickKeyList const& other) const;
    // Adds to `out` (not emptied first) each pick of this list that
    // conflicts in time with some pick of `other`. True when `out` is not
    // empty.
    bool getConflicts(TpickKeyList const& other, TpickKeyList& out) const;

    // --- Ranges --------------------------------------------------------------
    // The times now of the first and the last active pick with a handle, in
    // stored order; false (and nothing written) when there is none.
    bool timeRange(TtimeValue& first, TtimeValue& last) const;
    // Picks every key of `curve` from the first at or after `from` to the
    // last at or before `to` as a whole key (merged into picks already
    // there). The picks' handles are clients of the curve, so they follow
    // their keys through deletion and undo. False for a null curve or one
    // that refuses selection; true otherwise, also when no key lies between.
    bool insertRange(TparamCurve* curve, TtimeValue const& from, TtimeValue const& to);

private:
    // The last entry stored before `time`, or null.
    TpickKeyDictionaryNode* lastNodeBefore(TtimeValue const& time);
    // Stores `pick` at `time` when it still names parts of a key, else
    // removes the entry at `time`.
    void storeRemainder(TtimeValue const& time, TpickKey const& pick);
    void insertAtCurrentTimes(TpickKeyDictionary const& picks);
    void intersectInto(TpickKey const& pick, TpickKeyList& into) const;
    // Results are gathered in `scratch` when `out` is one of the inputs, so
    // that filling it never disturbs the walk over them; handOver then
    // moves them to `out` (emptying it first when `replace`).
    TpickKeyList& gatherInto(TpickKeyList& out, TpickKeyList const& other, TpickKeyList& scratch) const;
    static bool handOver(TpickKeyList& gathered, TpickKeyList& out, bool replace);
    // `other`, or a copy of it in `scratch` when it is this list, which the
    // caller is about to change while walking `other`.
    TpickKeyList const& walkable(TpickKeyList const& other, TpickKeyList& scratch) const;
    static void insertAtStoredTimes(TpickKeyDictionary const& from, TpickKeyDictionary& to);
    static bool conflictsWithAny(TpickKeyList const& picks, TpickKey const& pick);
    static bool holdsEqual(TpickKeyList const& picks, TpickKey const& pick);
};
