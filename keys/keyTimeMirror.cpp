#include "keys/keyTimeMirror.h"

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

template class TkeyTimeMirror<TfloatKeyframePtrSObj>;
template class TkeyTimeMirror<TanimTimeKeyframePtrSObj>;
