#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/bitField.h"
#include "keelanim/base/export.h"
#include "keelanim/keys/pickParts.h"

class TparamCurve;
class TkeyframeHandle;

// TpickKey: one picked key of a curve, or only its in or out tangent.
//
// A pick names its key through a TkeyframeHandle that it owns, never by index
// or pointer, so it stays valid while keys are added, removed or re-indexed.
// Its flag word says which parts of the key are picked (TpickBits): the whole
// key, or one or both tangents. A key pick already means both tangents, so
// whenever kPickKey is set the tangent bits are cleared (ensureFlagIntegrity).
// A pick with kPickInactive set is void: its handle is ignored by time,
// equality and copying.
//
// Ownership: the handle is made by create() and deleted by the destructor
// and by assignment. Copies never share the handle object (they share the
// handle's data, as handle copies do).
//
// Time: a pick's time is its key's time now, not when it was picked; zero
// for an inactive pick or a pick without a handle.
//
// Failure: create() answers -1 and changes nothing; nothing else fails.
class KEEL_API TpickKey {
public:
    // Bit numbers in the flag word. The same numbers choose the tangent in
    // the tangent-type operations: 1 the in tangent, 2 the out tangent.
    enum TpickBits : int {
        kPickKey = kPickKeyBit,                // whole key (mask 1)
        kPickInTangent = kPickInTangentBit,    // in tangent (mask 2)
        kPickOutTangent = kPickOutTangentBit,  // out tangent (mask 4)
        kPickInactive = kPickInactiveBit,      // void pick (mask 8)
    };

    // What conflictsInTimeWith answers when two picks' keys share a time.
    static constexpr int kConflictInTime = 4;

    // --- Construction ------------------------------------------------------
    // No parts, no handle.
    TpickKey() = default;
    // A copy of an active pick with a handle, made without asking the curve
    // whether it may be selected; `makeClient` registers the shared handle
    // data with the curve. An inactive or empty pick copies as an empty one.
    TpickKey(TpickKey const& other, bool makeClient = false);  // NOLINT(google-explicit-constructor)
    // Drops this pick's handle when it is active, then copies an active
    // `other` with a handle, asking the curve whether it may be selected: on
    // a curve that refuses, this pick ends up without a handle. An inactive
    // pick keeps its handle (only the destructor deletes it), so assigning
    // onto an inactive pick that holds one changes nothing; neither does
    // assigning a pick to itself.
    TpickKey& operator=(TpickKey const& other);
    ~TpickKey();

    // Makes this pick refer to the key at `time` (exactly there), the key at
    // `index`, or the key of `handle`, with `flags` (inactive bit cleared,
    // integrity applied). `makeClient` goes to the handle, which then hears
    // of the key's deletion and return. Answers 0, or -1 when this pick
    // already has a handle, when there is no curve, or when `force` is
    // false and the curve refuses selection (TparamCurve::canSelect). A time
    // or index with no key still makes a pick, on a handle without a key.
    int create(TparamCurve* curve, float time, TbitField32 const& flags, bool makeClient, bool force);
    int create(TparamCurve* curve, unsigned index, TbitField32 const& flags, bool makeClient, bool force);
    int create(TkeyframeHandle const& handle, TbitField32 const& flags, bool makeClient, bool force);

    // --- State -------------------------------------------------------------
    TbitField32 const& flags() const { return fFlags; }
    // Replaces the flag word as given (kPickInactive included), then keeps
    // the flag integrity.
    void setFlags(TbitField32 const& flags);
    TkeyframeHandle* handle() const { return fHandle; }
    bool isInactive() const { return fFlags.isSet(kPickInactive); }
    // Active and holding a handle: the pick names a key.
    bool isLive() const { return fHandle != nullptr && !isInactive(); }
    // Whether any of the key, in-tangent and out-tangent parts is picked.
    bool hasParts() const { return fFlags.anyOf(kPickPartsMask); }
    // The key's time now; zero when inactive or without a handle.
    TtimeValue timeValue() const;

    // --- Comparison --------------------------------------------------------
    // Equal when both have handles that compare equal, the flags are equal
    // and this pick is active.
    bool operator==(TpickKey const& other) const;
    bool operator!=(TpickKey const& other) const { return !(*this == other); }
    // By time only (flags play no part); false when this pick has no handle.
    bool operator<(TpickKey const& other) const;
    bool operator>(TpickKey const& other) const;
    bool operator<=(TpickKey const& other) const;
    bool operator>=(TpickKey const& other) const;
    // kConflictInTime when both picks have handles whose keys lie at equal
    // times now, else 0. The inactive bit is not consulted.
    int conflictsInTimeWith(TpickKey const& other) const;

    // --- Set operations on the parts ---------------------------------------
    // `b` picking the whole key gives exactly a key pick; otherwise the union
    // of the tangent parts of both. A key pick in `a` does not survive a
    // tangent pick in `b`: merging a tangent into a key pick leaves a tangent
    // pick.
    static TbitField32 merge(TbitField32 const& a, TbitField32 const& b);
    // Each of these does nothing on a pick without a handle.
    void setFlagsMerge(TpickKey const& other);
    // Clears the parts that `other` picks.
    void setFlagsDifference(TpickKey const& other);
    // Keeps only the parts that `other` picks too; other bits stay.
    void setFlagsIntersection(TpickKey const& other);
    // A key pick clears both tangent bits.
    void ensureFlagIntegrity();

private:
    // Stores the handle made for a create() that passed its checks.
    int adopt(TkeyframeHandle* handle, TbitField32 const& flags);
    bool mayCreateOn(TparamCurve const* curve, bool force) const;
    void deleteHandle();

    TbitField32 fFlags;
    TkeyframeHandle* fHandle = nullptr;
};
