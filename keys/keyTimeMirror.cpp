#include "keelanim/keys/keyTimeMirror.h"

#include <algorithm>

template <class Order> bool TkeyTimeMirror<Order>::refreshTail(TkeyframeSortedArray<Order> const& keys)
{
    unsigned const count = keys.count();
    if (fFresh > count) {
        fFresh = count;
    }
    unsigned const from = fFresh;
    fTimes.resize(count);
    Tkeyframe* const* slots = keys.keys();
    for (unsigned i = from; i < count; ++i) {
        // An empty slot is never searched through the copy: the array's own
        // search stops at it, so the copy stays short of it.
        if (slots[i] == nullptr) {
            fTimes.resize(i);
            fFresh = i;
            fFirstDisorder = std::min(fFirstDisorder, i);
            return false;
        }
        fTimes[i] = Order::storedOf(*slots[i]);
    }
    fFresh = count;
    noteOrderFrom(from);
    return true;
}

// Only the refreshed tail (and its first pair with the head) can bring a
// disorder, and only when the head had none.
template <class Order> void TkeyTimeMirror<Order>::noteOrderFrom(unsigned from)
{
    if (fFirstDisorder < from) {
        return;
    }
    auto const count = static_cast<unsigned>(fTimes.size());
    fFirstDisorder = count;
    for (unsigned i = std::max(from, 1u); i < count; ++i) {
        if (!Order::less(keyAt(i - 1), keyAt(i))) {
            fFirstDisorder = i;
            return;
        }
    }
}

template <class Order> bool TkeyTimeMirror<Order>::spanHolding(Key probe, unsigned hint, unsigned& span) const
{
    auto const count = static_cast<unsigned>(fTimes.size());
    if (!isOrdered() || count < 2) {
        return false;
    }
    // Ordered keys: at most one span holds the probe clear of both its keys.
    auto const holds = [this, probe](unsigned s) {
        return Order::greater(probe, keyAt(s)) && Order::less(probe, keyAt(s + 1));
    };
    if (!Order::greater(probe, keyAt(0)) || !Order::less(probe, keyAt(count - 1))) {
        return false;  // outside the keys, or within the tolerance of an end key
    }
    // Sweeps land in the hinted span or next to it: no search. A probe
    // between the first and last of those keys that none of their spans
    // holds is near one of them.
    unsigned const first = std::min(hint, count - 2) > 0 ? std::min(hint, count - 2) - 1 : 0;
    unsigned const last = std::min(first + 3, count - 1);
    if (!(probe < keyAt(first)) && !(probe > keyAt(last))) {
        for (unsigned s = first; s < last; ++s) {
            if (holds(s)) {
                span = s;
                return true;
            }
        }
        return false;
    }
    unsigned const after = firstNotBefore(probe);
    if (after == 0 || after == count || !holds(after - 1)) {
        return false;  // within the tolerance of key `after`
    }
    span = after - 1;
    return true;
}

// The first slot whose time the probe is not past: the slot a probe between
// keys would be inserted at, or the key it lies at. Halving without a branch
// on the comparisons, which random times would mispredict half the time.
template <class Order> unsigned TkeyTimeMirror<Order>::firstNotBefore(Key probe) const
{
    Stored const* times = fTimes.data();
    std::size_t n = fTimes.size();
    if (n == 0) {
        return 0;
    }
    std::size_t base = 0;
    while (n > 1) {
        std::size_t const half = n / 2;
        base = Order::greater(probe, Key(times[base + half])) ? base + half : base;
        n -= half;
    }
    return static_cast<unsigned>(base + (Order::greater(probe, Key(times[base])) ? 1 : 0));
}

template class TkeyTimeMirror<TfloatKeyframePtrSObj>;
template class TkeyTimeMirror<TanimTimeKeyframePtrSObj>;
