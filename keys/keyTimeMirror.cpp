#include "keelanim/keys/keyTimeMirror.h"

template <class Order> void TkeyTimeMirror<Order>::refresh(TkeyframeSortedArray<Order> const& keys)
{
    unsigned const count = keys.count();
    if (fFresh > count) {
        fFresh = count;
    }
    fTimes.resize(count);
    Tkeyframe* const* slots = keys.keys();
    for (unsigned i = fFresh; i < count; ++i) {
        // An empty slot is never searched through the copy: the array's own
        // search stops at it, so the copy stays short of it.
        if (slots[i] == nullptr) {
            fTimes.resize(i);
            fFresh = i;
            return;
        }
        fTimes[i] = Order::storedOf(*slots[i]);
    }
    fFresh = count;
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

// Sorted keys give the array's search the same answer whenever at most one
// key lies within the tolerance of the probe; with two (keys closer than
// twice the tolerance), the array's own halving decides which one answers.
template <class Order> bool TkeyTimeMirror<Order>::find(Key probe, unsigned& index) const
{
    auto const count = static_cast<unsigned>(fTimes.size());
    auto const matches = [this, probe](unsigned i) {
        return !Order::less(probe, keyAt(i)) && !Order::greater(probe, keyAt(i));
    };
    index = firstNotBefore(probe);
    if (index == count || !matches(index)) {
        return false;
    }
    if (index + 1 == count || !matches(index + 1)) {
        return true;
    }
    Stored const* times = fTimes.data();
    auto const timeAt = [times](unsigned i, Key& key) {
        key = Key(times[i]);
        return true;
    };
    return findAfterLastOrSearch<Order>(count, probe, timeAt, index);
}

template class TkeyTimeMirror<TfloatKeyframePtrSObj>;
template class TkeyTimeMirror<TanimTimeKeyframePtrSObj>;
