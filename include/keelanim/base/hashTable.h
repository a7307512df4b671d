#pragma once

#include "keelanim/base/export.h"

#include <cstdint>
#include <type_traits>

// Hash tables with caller-computed hashes.
//
// ThashTable chains entries in a power-of-two number of buckets and doubles
// the buckets when the chains grow past the load limit. The caller computes
// each entry's hash (usually ThashUtil::hash32 over the key's bytes) and owns
// the entries; TdataHashTable below is the typed table that owns its own.

class KEEL_API ThashUtil {
public:
    // 32-bit hash of `length` bytes (MurmurHash3, x86 32-bit variant).
    static std::uint32_t hash32(void const* data, unsigned length, unsigned seed);
};

class KEEL_API ThashTableEntry {
public:
    ThashTableEntry() = default;
    ThashTableEntry(ThashTableEntry const&) = delete;
    ThashTableEntry& operator=(ThashTableEntry const&) = delete;
    virtual ~ThashTableEntry();

    std::uint32_t hash() const { return fHash; }
    ThashTableEntry* next() const { return fNext; }

private:
    friend class ThashTable;
    ThashTableEntry* fNext = nullptr;
    std::uint32_t fHash = 0;
};

class KEEL_API ThashTable {
public:
    static constexpr unsigned kDefaultBuckets = 16;
    static constexpr unsigned kDefaultLoad = 2;

    // `bucketCount` is rounded up to a power of two; `maxLoad` is the mean
    // chain length that triggers doubling (0 means the default).
    explicit ThashTable(unsigned bucketCount = kDefaultBuckets, unsigned maxLoad = kDefaultLoad);
    ThashTable(ThashTable const&) = delete;
    ThashTable& operator=(ThashTable const&) = delete;
    virtual ~ThashTable();

    // Links the entry in; false for a null entry.
    bool insertWithHash(ThashTableEntry* entry, std::uint32_t hash);
    // Unlinks the entry (the caller keeps it); false when it is not here.
    bool removeEntry(ThashTableEntry* entry);
    // First entry of the chain that `hash` selects; walk on with next() and
    // compare hash() and the key.
    ThashTableEntry* firstWithHash(std::uint32_t hash) const;
    // Forgets every entry without deleting any, back to the initial buckets.
    void reinitializeTable();
    // Deletes every entry.
    void deleteEntries();

    unsigned count() const { return fCount; }
    unsigned bucketCount() const { return fBucketCount; }

private:
    friend class ThashTableIterator;
    void grow();

    ThashTableEntry** fBuckets = nullptr;
    unsigned fBucketCount = 0;
    unsigned fInitialBuckets;
    unsigned fMaxLoad;
    unsigned fCount = 0;
};

// Visits every entry once, in no particular order. The table must not change
// while an iterator walks it.
class KEEL_API ThashTableIterator {
public:
    explicit ThashTableIterator(ThashTable& table) : fTable(table) {}
    ThashTableEntry* _first();
    ThashTableEntry* _next();

private:
    ThashTableEntry* fromBucket(unsigned bucket);
    ThashTable& fTable;
    unsigned fBucket = 0;
    ThashTableEntry* fEntry = nullptr;
};

// A table from trivially copyable keys (usually pointers) to values. Keys are
// hashed with ThashUtil::hash32 over their bytes with seed 0 and compared
// with ==. The table owns its entries and deletes them when destroyed.
template <class Key, class Value> class TdataHashTable : public ThashTable {
    static_assert(std::is_trivially_copyable_v<Key>, "keys are hashed by their bytes");

public:
    class Entry : public ThashTableEntry {
    public:
        Entry(Key const& key, Value const& value) : fKey(key), fValue(value) {}
        Key fKey;
        Value fValue;
    };

    class Iterator {
    public:
        explicit Iterator(TdataHashTable& table) : fIterator(table) {}
        Entry* first() { return static_cast<Entry*>(fIterator._first()); }
        Entry* next() { return static_cast<Entry*>(fIterator._next()); }

    private:
        ThashTableIterator fIterator;
    };

    using ThashTable::ThashTable;
    ~TdataHashTable() override { deleteEntries(); }

    static std::uint32_t hashOf(Key const& key)
    {
        return ThashUtil::hash32(&key, sizeof(Key), 0);  // NOLINT(bugprone-sizeof-expression): the key bytes
    }

    // Adds the pair, or replaces the value of an existing key.
    bool insert(Key const& key, Value const& value)
    {
        if (Entry* existing = findEntry(key)) {
            existing->fValue = value;
            return true;
        }
        return insertWithHash(new Entry(key, value), hashOf(key));
    }

    Entry* findEntry(Key const& key) const
    {
        std::uint32_t const hash = hashOf(key);
        for (ThashTableEntry* e = firstWithHash(hash); e != nullptr; e = e->next()) {
            if (e->hash() == hash && static_cast<Entry*>(e)->fKey == key) {
                return static_cast<Entry*>(e);
            }
        }
        return nullptr;
    }

    bool find(Key const& key, Value& value) const
    {
        Entry const* e = findEntry(key);
        if (e != nullptr) {
            value = e->fValue;
        }
        return e != nullptr;
    }

    bool remove(Key const& key)
    {
        Entry* e = findEntry(key);
        if (e == nullptr) {
            return false;
        }
        removeEntry(e);
        delete e;
        return true;
    }
};
