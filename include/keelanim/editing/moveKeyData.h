#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/editing/keyframeHandle.h"

#include <cstdint>
#include <memory>

class TparamCurve;
class Tkeyframe;

// The bookkeeping of a key move: which keys take part, where each is to go,
// and which breakdown keys follow them.
//
// A breakdown key keeps its time as a proportion of the interval between its
// nearest non-breakdown neighbours. When a neighbour moves (or a region is
// scaled around it), TbreakdownData remembers that proportion and answers
// the time that keeps it (getDesiredTime). Times are in seconds throughout;
// tick curves answer tick times converted from seconds.

// A breakdown key and its two non-breakdown neighbours. Owns its three
// handles (made as clients of the curve, so they survive the keys' moves)
// and a copy of the breakdown key as it was.
class KEEL_API TbreakdownData {
public:
    // Neighbour indices of kNoNeighbour mean none. With both neighbours the
    // ratio is (t - tPrevious) / (tNext - tPrevious); with one it is the
    // offset from that neighbour in seconds; without either it is 1.0.
    static constexpr unsigned kNoNeighbour = ~0u;
    TbreakdownData(TparamCurve const* curve, unsigned previous, unsigned key, unsigned next);
    TbreakdownData(TbreakdownData const&) = delete;
    TbreakdownData& operator=(TbreakdownData const&) = delete;
    ~TbreakdownData();

    TkeyframeHandle* key() const { return fKey.get(); }
    TkeyframeHandle* previous() const { return fPrevious.get(); }
    TkeyframeHandle* next() const { return fNext.get(); }
    float ratio() const { return fRatio; }
    Tkeyframe const* savedKey() const { return fSavedKey.get(); }

    // The time that keeps the proportion with the neighbours where they are
    // now: a real time on a float curve, a tick time on a tick curve. Zero
    // seconds without a curve or a key.
    TtimeValue getDesiredTime(TparamCurve const* curve) const;
    // The same with the neighbours at the given times (seconds), where a
    // move is about to put them; a missing neighbour's time is not read.
    TtimeValue desiredTimeBetween(TparamCurve const* curve, double previousSeconds, double nextSeconds) const;

private:
    std::unique_ptr<TkeyframeHandle> fKey;
    std::unique_ptr<TkeyframeHandle> fPrevious;
    std::unique_ptr<TkeyframeHandle> fNext;
    float fRatio = 1.0f;
    std::unique_ptr<Tkeyframe> fSavedKey;
};

using TbreakdownDataPtrArray = TtypedArray<TbreakdownData*>;
using TbreakdownDataPtrArrayPtrList = TtypedArray<TbreakdownDataPtrArray*>;

// One key taking part in a move. Owns its handle; the breakdown data it
// points to belongs to the curve's breakdown cache.
struct KEEL_API TmoveKeyData {
    static constexpr std::uint32_t kNoSlot = ~0u;

    TmoveKeyData(TkeyframeHandle const& handle, bool moved, std::uint32_t slot, TbreakdownData* breakdown);
    TmoveKeyData(TmoveKeyData const&) = delete;
    TmoveKeyData& operator=(TmoveKeyData const&) = delete;
    ~TmoveKeyData();

    TkeyframeHandle* fHandle;
    TbreakdownData* fBreakdown;
    TtimeValue fTarget;   // where the key is to be placed (set by a batch)
    bool fMoved;          // a key the caller moves; false for a breakdown that follows
    bool fValid = true;   // takes part
    std::uint32_t fSlot;  // the key's position in the caller's handle array
};

// The order in which a batch places its keys: by the keys' current times,
// earliest first (the slot breaking ties). A batch walks keys that move
// later from the end of this order and keys that move earlier from its
// start, so no key ever lands on a moved key that has not left yet. Answers
// <0, 0 or >0 as `a` comes before, with or after `b`.
KEEL_API int moveKeyDataCompare(TmoveKeyData const* a, TmoveKeyData const* b);

// The records of one move, owned by the list, kept in moveKeyDataCompare
// order by sort().
class KEEL_API TmoveKeyDataPtrArray : public TtypedArray<TmoveKeyData*> {
public:
    TmoveKeyDataPtrArray() = default;
    TmoveKeyDataPtrArray(TmoveKeyDataPtrArray const&) = delete;
    TmoveKeyDataPtrArray& operator=(TmoveKeyDataPtrArray const&) = delete;
    ~TmoveKeyDataPtrArray();
    // Orders the records by moveKeyDataCompare (stable).
    void sort();
};

class KEEL_API TmoveKeyDataPtrList : public TmoveKeyDataPtrArray {
public:
    // The record whose handle equals `handle` (same key of the same curve),
    // or null.
    TmoveKeyData* findHandle(TkeyframeHandle const* handle) const;
    // The record of this key object, or null.
    TmoveKeyData* findKey(Tkeyframe const* key) const;
};
