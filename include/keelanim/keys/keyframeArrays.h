#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/base/hashTable.h"
#include "keelanim/keys/keyframe.h"

#include <cstdint>

// Containers of key pointers. None of them owns the keys it points to.
//
// A curve keeps its keys in one sorted array: TfloatKeyframePtrArray orders
// keys by time in seconds with the key tolerance (kTimeTolerance), so keys
// closer than 1e-5 s are the same time; TanimTimeKeyframePtrArray orders them
// by ticks, exactly, as signed integers. Both share one set of operations
// (TkeyframeSortedArray) whose results are 0 for success or found and
// kArrayFailure for failure or not found.
//
// Appending keys in time order costs no search: insert() compares with the
// first and last keys before it searches.

inline constexpr unsigned kArrayFailure = ~0u;

// Ordering of float-time keys: seconds, tolerant. `Stored` is the time as a
// contiguous copy keeps it (TkeyTimeMirror): the key's own float.
struct KEEL_API TfloatKeyframePtrSObj {
    using Key = double;
    using Stored = float;
    static Key keyOf(Tkeyframe const& key) { return key.seconds(); }
    static Stored storedOf(Tkeyframe const& key) { return key.floatTime(); }
    static bool less(Key a, Key b) { return a < b - kTimeTolerance; }
    static bool greater(Key a, Key b) { return a > b + kTimeTolerance; }
    static bool lessOrEqual(Key a, Key b) { return a <= b + kTimeTolerance; }
    static bool greaterOrEqual(Key a, Key b) { return a >= b - kTimeTolerance; }
};

// Ordering of tick-time keys: ticks, exact.
struct KEEL_API TanimTimeKeyframePtrSObj {
    using Key = std::int32_t;
    using Stored = std::int32_t;
    static Key keyOf(Tkeyframe const& key) { return key.animTime().ticks(); }
    static Stored storedOf(Tkeyframe const& key) { return key.animTime().ticks(); }
    static bool less(Key a, Key b) { return a < b; }
    static bool greater(Key a, Key b) { return a > b; }
    static bool lessOrEqual(Key a, Key b) { return a <= b; }
    static bool greaterOrEqual(Key a, Key b) { return a >= b; }
};

template <class Order> class KEEL_API TkeyframeSortedArray : public TsortedArray {
public:
    using Key = typename Order::Key;
    using OrderType = Order;

    // Curves use no duplicates and a size hint of 8.
    TkeyframeSortedArray(bool allowDuplicates, unsigned sizeHint);

    // --- Access ------------------------------------------------------------
    unsigned count() const { return logicalSize(); }
    // The key pointer at `index`, null for a bad index.
    Tkeyframe* at(unsigned index) const { return index < count() ? keys()[index] : nullptr; }
    Tkeyframe* const* keys() const { return static_cast<Tkeyframe* const*>(data()); }

    // --- Search ------------------------------------------------------------
    // Binary search. Found: 0 and the index of the key (the first of equal
    // keys when duplicates are allowed). Not found: kArrayFailure and the
    // index at which the key would be inserted. A null probe or a null slot
    // met on the way stops the search as found.
    unsigned find(Tkeyframe const* key, unsigned& index) const;
    // As find; `count` is the number of consecutive equal keys from `index`
    // (0 when not found).
    unsigned find(Tkeyframe const* key, unsigned& index, unsigned& count) const;
    bool find(Tkeyframe const* key) const;
    // The same search for a bare time (seconds or ticks by the array's order).
    unsigned findKey(Key probe, unsigned& index) const;

    // --- Change ------------------------------------------------------------
    // Sorted insertion; refused (kArrayFailure) for a null key or, without
    // duplicates, a key at a time already present. With duplicates the key
    // goes ahead of the equal keys.
    unsigned insert(Tkeyframe* key);
    // Insertion at a given position; the caller keeps the order.
    unsigned insert(Tkeyframe* key, unsigned index);
    // Replaces the pointer at `index` when the order still holds with its
    // neighbours (strictly without duplicates); otherwise changes nothing.
    unsigned change(unsigned index, Tkeyframe* key);
    // Removes the slot holding this very pointer.
    unsigned remove(Tkeyframe* key);
    // Append without any order check, for bulk loading followed by sort().
    unsigned addLast(Tkeyframe* key);
    unsigned addLastUnsorted(Tkeyframe* key);
    // Stable insertion sort; a null slot stops the shifting.
    void sort();
    // Copies the pointers of another array of the same order.
    void copy(TkeyframeSortedArray const& other);

private:
    unsigned search(Key probe, bool probeIsNull, unsigned& index) const;
    unsigned firstOfEqual(Key probe, unsigned index) const;
};

extern template class TkeyframeSortedArray<TfloatKeyframePtrSObj>;
extern template class TkeyframeSortedArray<TanimTimeKeyframePtrSObj>;

class KEEL_API TfloatKeyframePtrArray : public TkeyframeSortedArray<TfloatKeyframePtrSObj> {
public:
    using TkeyframeSortedArray::TkeyframeSortedArray;
};

class KEEL_API TanimTimeKeyframePtrArray : public TkeyframeSortedArray<TanimTimeKeyframePtrSObj> {
public:
    using TkeyframeSortedArray::TkeyframeSortedArray;
};

// A plain list of key pointers in insertion order, searched by identity.
// New slots start null. The typed-array operations (addLast, insert, remove,
// copy, catenate ...) come from TtypedArray.
class KEEL_API TkeyframePtrList : public TtypedArray<Tkeyframe*, TobjArray> {
public:
    using TtypedArray::find;
    using TtypedArray::TtypedArray;

    // 0 and the first index holding `key`; kArrayFailure and index = count()
    // when absent.
    unsigned find(Tkeyframe* const& key, unsigned& index) const;
};

// Each key's index at one moment, by key address.
class KEEL_API TkeyframeIndexTable : public TdataHashTable<Tkeyframe*, unsigned int> {
public:
    using TdataHashTable::TdataHashTable;
};
