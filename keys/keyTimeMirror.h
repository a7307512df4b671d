#pragma once

#include "keelanim/base/export.h"
#include "keelanim/keys/keyframeArrays.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <vector>

// TkeyTimeMirror: a contiguous copy of the key times of one sorted key array,
// slot for slot, so that a search reads one dense array (4 bytes a key)
// instead of following a pointer into every key it compares.
//
// It is a cache owned beside the array. The owner says from which slot on
// the keys changed (time, order or count) and refreshes the copy before it
// searches; only that tail is copied again, so appending keys costs a copy
// of the new ones. The copy answers only while it covers every slot of the
// array and the keys are in order.
template <class Order> class KEEL_API TkeyTimeMirror {
public:
    using Key = typename Order::Key;
    using Stored = typename Order::Stored;

    // Slots from `index` on no longer describe the keys.
    void invalidateFrom(unsigned index)
    {
        if (index < fFresh) {
            fFresh = index;
        }
        fFirstDisorder = std::min(fFirstDisorder, fFresh);
    }
    void invalidate() { invalidateFrom(0); }
    // Makes room for `count` slots, growing geometrically, so that the
    // refresh that follows an edit copies without allocating: the owner
    // calls it on edits, which may allocate, and evaluation does not.
    void reserve(unsigned count)
    {
        if (count > fTimes.capacity()) {
            fTimes.reserve(std::max<std::size_t>(count, 2 * fTimes.capacity()));
        }
    }
    // Copies the times of the stale slots (and drops the slots past the
    // array's end). True when the copy then covers `keys`: an empty slot
    // stops the copy short of it.
    bool refresh(TkeyframeSortedArray<Order> const& keys) { return covers(keys.count()) || refreshTail(keys); }
    bool covers(unsigned count) const { return fFresh == count && fTimes.size() == count; }
    // The time of slot `index` as the array orders it; the slot must exist.
    Key keyAt(unsigned index) const { return Key(fTimes[index]); }

    // True when every key lies after its predecessor by more than the
    // order's tolerance (the copy covering its array).
    bool isOrdered() const { return fFirstDisorder >= fTimes.size(); }
    // For ordered keys: true, with the span (index of its first key), when
    // the probe lies inside a span and farther than the tolerance from both
    // of its keys. False outside the keys, near a key, or when not ordered.
    // Span `hint` and its neighbours are tried before searching.
    bool spanHolding(Key probe, unsigned hint, unsigned& span) const
    {
        auto const count = static_cast<unsigned>(fTimes.size());
        if (!isOrdered() || count < 2 || !Order::greater(probe, keyAt(0)) || !Order::less(probe, keyAt(count - 1))) {
            return false;  // outside the keys, or within the tolerance of an end key
        }
        // Ordered keys: at most one span holds the probe clear of both its
        // keys. Sweeps land in the hinted span or next to it: no search. A
        // probe between the first and last of those keys that none of their
        // spans holds is near one of them.
        unsigned const first = std::min(hint, count - 2) > 0 ? std::min(hint, count - 2) - 1 : 0;
        unsigned const last = std::min(first + 3, count - 1);
        if (!(probe < keyAt(first)) && !(probe > keyAt(last))) {
            // The keys below the probe inside the window name the only span
            // that can hold it; counted without a branch.
            unsigned s = first;
            for (unsigned k = first + 1; k < last; ++k) {
                s += keyAt(k) < probe ? 1 : 0;
            }
            if (!holds(probe, s)) {
                return false;
            }
            span = s;
            return true;
        }
        unsigned const after = firstNotBelow(probe);
        if (after == 0 || after >= count || !holds(probe, after - 1)) {
            return false;  // at or within the tolerance of a key
        }
        span = after - 1;
        return true;
    }

private:
    bool refreshTail(TkeyframeSortedArray<Order> const& keys);
    // True when span `s` holds the probe clear of both its keys.
    bool holds(Key probe, unsigned s) const
    {
        return Order::greater(probe, keyAt(s)) && Order::less(probe, keyAt(s + 1));
    }
    // The first slot whose time is not below the probe (exactly, without
    // the tolerance): where a probe that some span holds clear of its keys
    // would be inserted. Halving without a branch on the comparisons, which
    // random times would mispredict half the time.
    unsigned firstNotBelow(Key probe) const
    {
        Stored const* const times = fTimes.data();
        std::size_t length = fTimes.size();
        if (length == 0) {
            return 0;
        }
        // Steps of powers of two: when the length is not one, a first test
        // moves the window to the end so that the rest is a power of two.
        Stored const* first = times;
        std::size_t step = std::bit_floor(length);
        if (step != length && Key(first[step]) < probe) {
            length -= step + 1;
            if (length == 0) {
                return static_cast<unsigned>(fTimes.size());
            }
            step = std::bit_ceil(length);
            first = times + fTimes.size() - step;
        }
        for (step /= 2; step != 0; step /= 2) {
            first += Key(first[step]) < probe ? step : 0;
        }
        return static_cast<unsigned>(first - times) + (Key(*first) < probe ? 1 : 0);
    }

    void noteOrderFrom(unsigned from);

    std::vector<Stored> fTimes;
    unsigned fFresh = 0;          // slots [0, fFresh) hold their keys' times
    unsigned fFirstDisorder = 0;  // first slot not after its predecessor; <= fFresh
};

extern template class TkeyTimeMirror<TfloatKeyframePtrSObj>;
extern template class TkeyTimeMirror<TanimTimeKeyframePtrSObj>;
