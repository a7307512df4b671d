#include "keelanim/base/hashTable.h"

#include <cstring>
#include <new>

namespace {

std::uint32_t rotl32(std::uint32_t x, int r)
{
    return (x << r) | (x >> (32 - r));
}

unsigned roundUpToPowerOfTwo(unsigned n)
{
    unsigned p = 1;
    while (p < n && p < (1u << 30)) {
        p <<= 1;
    }
    return p;
}

}  // namespace

std::uint32_t ThashUtil::hash32(void const* data, unsigned length, unsigned seed)
{
    auto const* bytes = static_cast<unsigned char const*>(data);
    if (bytes == nullptr) {
        length = 0;
    }
    constexpr std::uint32_t c1 = 0xcc9e2d51;
    constexpr std::uint32_t c2 = 0x1b873593;
    std::uint32_t h = seed;
    unsigned const blocks = length / 4;
    for (unsigned i = 0; i < blocks; ++i) {
        std::uint32_t k = 0;
        std::memcpy(&k, bytes + std::size_t(i) * 4, 4);
        k *= c1;
        k = rotl32(k, 15);
        k *= c2;
        h ^= k;
        h = rotl32(h, 13);
        h = h * 5 + 0xe6546b64;
    }
    std::uint32_t k = 0;
    unsigned const tail = blocks * 4;
    switch (length & 3u) {
    case 3: k ^= std::uint32_t(bytes[tail + 2]) << 16; [[fallthrough]];
    case 2: k ^= std::uint32_t(bytes[tail + 1]) << 8; [[fallthrough]];
    case 1:
        k ^= bytes[tail];
        k *= c1;
        k = rotl32(k, 15);
        k *= c2;
        h ^= k;
        break;
    default: break;
    }
    h ^= length;
    h ^= h >> 16;
    h *= 0x85ebca6b;
    h ^= h >> 13;
    h *= 0xc2b2ae35;
    h ^= h >> 16;
    return h;
}

ThashTableEntry::~ThashTableEntry() = default;

ThashTable::ThashTable(unsigned bucketCount, unsigned maxLoad)
    : fInitialBuckets(roundUpToPowerOfTwo(bucketCount == 0 ? kDefaultBuckets : bucketCount)),
      fMaxLoad(maxLoad == 0 ? kDefaultLoad : maxLoad)
{
    reinitializeTable();
}

ThashTable::~ThashTable()
{
    delete[] fBuckets;
}

void ThashTable::reinitializeTable()
{
    delete[] fBuckets;
    fBucketCount = fInitialBuckets;
    fBuckets = new ThashTableEntry*[fBucketCount]();
    fCount = 0;
}

void ThashTable::deleteEntries()
{
    for (unsigned b = 0; b < fBucketCount; ++b) {
        ThashTableEntry* e = fBuckets[b];
        while (e != nullptr) {
            ThashTableEntry* next = e->fNext;
            delete e;
            e = next;
        }
        fBuckets[b] = nullptr;
    }
    fCount = 0;
}

void ThashTable::grow()
{
    unsigned const newCount = fBucketCount * 2;
    auto** buckets = new (std::nothrow) ThashTableEntry*[newCount]();
    if (buckets == nullptr) {
        return;  // Longer chains, still correct.
    }
    for (unsigned b = 0; b < fBucketCount; ++b) {
        ThashTableEntry* e = fBuckets[b];
        while (e != nullptr) {
            ThashTableEntry* next = e->fNext;
            unsigned const at = e->fHash & (newCount - 1);
            e->fNext = buckets[at];
            buckets[at] = e;
            e = next;
        }
    }
    delete[] fBuckets;
    fBuckets = buckets;
    fBucketCount = newCount;
}

bool ThashTable::insertWithHash(ThashTableEntry* entry, std::uint32_t hash)
{
    if (entry == nullptr) {
        return false;
    }
    if (fCount >= fBucketCount * fMaxLoad && fBucketCount < (1u << 30)) {
        grow();
    }
    entry->fHash = hash;
    unsigned const at = hash & (fBucketCount - 1);
    entry->fNext = fBuckets[at];
    fBuckets[at] = entry;
    ++fCount;
    return true;
}

bool ThashTable::removeEntry(ThashTableEntry* entry)
{
    if (entry == nullptr) {
        return false;
    }
    for (ThashTableEntry** link = &fBuckets[entry->fHash & (fBucketCount - 1)]; *link != nullptr;
         link = &(*link)->fNext) {
        if (*link == entry) {
            *link = entry->fNext;
            entry->fNext = nullptr;
            --fCount;
            return true;
        }
    }
    return false;
}

ThashTableEntry* ThashTable::firstWithHash(std::uint32_t hash) const
{
    return fBuckets[hash & (fBucketCount - 1)];
}

ThashTableEntry* ThashTableIterator::fromBucket(unsigned bucket)
{
    for (fBucket = bucket; fBucket < fTable.fBucketCount; ++fBucket) {
        if (fTable.fBuckets[fBucket] != nullptr) {
            return fEntry = fTable.fBuckets[fBucket];
        }
    }
    return fEntry = nullptr;
}

ThashTableEntry* ThashTableIterator::_first()
{
    return fromBucket(0);
}

ThashTableEntry* ThashTableIterator::_next()
{
    if (fEntry == nullptr) {
        return nullptr;
    }
    if (fEntry->next() != nullptr) {
        return fEntry = fEntry->next();
    }
    return fromBucket(fBucket + 1);
}
