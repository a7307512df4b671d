#include "keelanim/keys/keyframeArrays.h"

template <class Order>
TkeyframeSortedArray<Order>::TkeyframeSortedArray(bool allowDuplicates, unsigned sizeHint)
    : TsortedArray(sizeof(Tkeyframe*), sizeHint, allowDuplicates)  // NOLINT(bugprone-sizeof-expression): pointer slots
{
}

template <class Order> unsigned TkeyframeSortedArray<Order>::firstOfEqual(Key probe, unsigned index) const
{
    while (index > 0) {
        Tkeyframe const* previous = keys()[index - 1];
        if (previous == nullptr) {
            break;
        }
        Key const key = Order::keyOf(*previous);
        if (Order::less(key, probe) || Order::greater(key, probe)) {
            break;
        }
        --index;
    }
    return index;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::search(Key probe, bool probeIsNull, unsigned& index) const
{
    unsigned const n = count();
    if (n < 1) {
        index = 0;
        return kArrayFailure;
    }
    long long lo = 0;
    long long hi = static_cast<long long>(n) - 1;
    for (;;) {
        long long const mid = (lo + hi) / 2;
        Tkeyframe const* key = keys()[mid];
        if (probeIsNull || key == nullptr) {
            index = static_cast<unsigned>(mid);
            return 0;
        }
        Key const midKey = Order::keyOf(*key);
        if (Order::less(probe, midKey)) {
            hi = mid - 1;
            if (lo > hi) {
                index = static_cast<unsigned>(lo);
                return kArrayFailure;
            }
        } else if (Order::greater(probe, midKey)) {
            lo = mid + 1;
            if (lo > hi) {
                index = static_cast<unsigned>(mid + 1);
                return kArrayFailure;
            }
        } else {
            index = allowDuplicates() ? firstOfEqual(probe, static_cast<unsigned>(mid)) : static_cast<unsigned>(mid);
            return 0;
        }
    }
}

template <class Order> unsigned TkeyframeSortedArray<Order>::findKey(Key probe, unsigned& index) const
{
    return search(probe, false, index);
}

template <class Order> unsigned TkeyframeSortedArray<Order>::find(Tkeyframe const* key, unsigned& index) const
{
    return search(key != nullptr ? Order::keyOf(*key) : Key{}, key == nullptr, index);
}

template <class Order>
unsigned TkeyframeSortedArray<Order>::find(Tkeyframe const* key, unsigned& index, unsigned& equalCount) const
{
    equalCount = 0;
    unsigned const result = find(key, index);
    if (result != 0) {
        return result;
    }
    equalCount = 1;
    if (key == nullptr) {
        return result;
    }
    Key const probe = Order::keyOf(*key);
    for (unsigned i = index + 1; i < count(); ++i) {
        Tkeyframe const* next = keys()[i];
        if (next == nullptr) {
            break;
        }
        Key const nextKey = Order::keyOf(*next);
        if (Order::less(nextKey, probe) || Order::greater(nextKey, probe)) {
            break;
        }
        ++equalCount;
    }
    return result;
}

template <class Order> bool TkeyframeSortedArray<Order>::find(Tkeyframe const* key) const
{
    unsigned index = 0;
    return find(key, index) == 0;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::insert(Tkeyframe* key, unsigned index)
{
    if (key == nullptr || index > count()) {
        return kArrayFailure;
    }
    return insertElement(&key, index, 1) ? 0 : kArrayFailure;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::insert(Tkeyframe* key)
{
    if (key == nullptr) {
        return kArrayFailure;
    }
    unsigned const n = count();
    if (n == 0) {
        return insert(key, 0);
    }
    Key const probe = Order::keyOf(*key);
    Tkeyframe const* first = keys()[0];
    Tkeyframe const* last = keys()[n - 1];
    if (first != nullptr && Order::less(probe, Order::keyOf(*first))) {
        return insert(key, 0);
    }
    if (last != nullptr && Order::greater(probe, Order::keyOf(*last))) {
        return insert(key, n);
    }
    unsigned index = 0;
    if (find(key, index) == 0 && !allowDuplicates()) {
        return kArrayFailure;
    }
    return insert(key, index);
}

template <class Order> unsigned TkeyframeSortedArray<Order>::change(unsigned index, Tkeyframe* key)
{
    unsigned const n = count();
    if (key == nullptr || index >= n) {
        return kArrayFailure;
    }
    Key const probe = Order::keyOf(*key);
    bool const duplicates = allowDuplicates();
    if (index > 0) {
        Tkeyframe const* previous = keys()[index - 1];
        if (previous == nullptr) {
            return kArrayFailure;
        }
        Key const before = Order::keyOf(*previous);
        if (duplicates ? !Order::lessOrEqual(before, probe) : !Order::less(before, probe)) {
            return kArrayFailure;
        }
    }
    if (index + 1 < n) {
        Tkeyframe const* next = keys()[index + 1];
        if (next == nullptr) {
            return kArrayFailure;
        }
        Key const after = Order::keyOf(*next);
        if (duplicates ? !Order::greaterOrEqual(after, probe) : !Order::greater(after, probe)) {
            return kArrayFailure;
        }
    }
    static_cast<Tkeyframe**>(data())[index] = key;
    return 0;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::remove(Tkeyframe* key)
{
    unsigned index = 0;
    unsigned equalCount = 0;
    if (key == nullptr || find(key, index, equalCount) != 0) {
        return kArrayFailure;
    }
    for (unsigned i = index; i < index + equalCount; ++i) {
        if (keys()[i] == key) {
            return removeAt(i, 1) ? 0 : kArrayFailure;
        }
    }
    return kArrayFailure;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::addLast(Tkeyframe* key)
{
    return insertElement(&key, count(), 1) ? 0 : kArrayFailure;
}

template <class Order> unsigned TkeyframeSortedArray<Order>::addLastUnsorted(Tkeyframe* key)
{
    return addLast(key);
}

template <class Order> void TkeyframeSortedArray<Order>::sort()
{
    auto** slots = static_cast<Tkeyframe**>(data());
    unsigned const n = count();
    for (unsigned i = 1; i < n; ++i) {
        Tkeyframe* moving = slots[i];
        if (moving == nullptr) {
            continue;
        }
        Key const key = Order::keyOf(*moving);
        unsigned j = i;
        while (j > 0 && slots[j - 1] != nullptr && Order::greater(Order::keyOf(*slots[j - 1]), key)) {
            slots[j] = slots[j - 1];
            --j;
        }
        slots[j] = moving;
    }
}

template <class Order> void TkeyframeSortedArray<Order>::copy(TkeyframeSortedArray const& other)
{
    if (this != &other) {
        Tarray::operator=(other);
    }
}

template class TkeyframeSortedArray<TfloatKeyframePtrSObj>;
template class TkeyframeSortedArray<TanimTimeKeyframePtrSObj>;

// --- TkeyframePtrList ----------------------------------------------------------

unsigned TkeyframePtrList::find(Tkeyframe* const& key, unsigned& index) const
{
    return findElement(&key, index) ? 0 : kArrayFailure;
}
