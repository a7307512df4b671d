#include "keelanim/base/arena.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>

namespace {

constexpr unsigned long kBlockAlignment = 16;
constexpr unsigned kBitsPerWord = 64;

unsigned long roundUpToAlignment(unsigned long size)
{
    size = size == 0 ? 1 : size;
    return (size + kBlockAlignment - 1) / kBlockAlignment * kBlockAlignment;
}

}  // namespace

// Under AddressSanitizer every block goes to the system allocator by
// default, so that the checker sees each one on its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMemoryCheckerBuild = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kMemoryCheckerBuild = true;
#else
constexpr bool kMemoryCheckerBuild = false;
#endif
#else
constexpr bool kMemoryCheckerBuild = false;
#endif

bool TpureArena::sPurifyInUse = kMemoryCheckerBuild;

Tallocator::~Tallocator() = default;

void* TmallocAllocator::allocate(std::size_t bytes)
{
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void TmallocAllocator::deallocate(void* block)
{
    std::free(block);
}

TmallocAllocator& TmallocAllocator::mallocAllocator()
{
    static TmallocAllocator allocator;
    return allocator;
}

TcompactPage::TcompactPage(unsigned char* blocks, unsigned blockCount)
    : fBlocks(blocks), fBlockCount(blockCount), fUsedBits((blockCount + kBitsPerWord - 1) / kBitsPerWord, 0)
{
}

bool TcompactPage::inUse(unsigned slot) const
{
    return slot < fBlockCount && ((fUsedBits[slot / kBitsPerWord] >> (slot % kBitsPerWord)) & 1u) != 0;
}

int TcompactPage::allocateSearch(int* hint)
{
    if (isFull()) {
        return -1;
    }
    unsigned const words = static_cast<unsigned>(fUsedBits.size());
    int const start = hint != nullptr ? *hint : fHint;
    unsigned const firstWord =
        start >= 0 && static_cast<unsigned>(start) < fBlockCount ? unsigned(start) / kBitsPerWord : 0;
    for (unsigned n = 0; n < words; ++n) {
        unsigned const w = (firstWord + n) % words;
        std::uint64_t const freeBits = ~fUsedBits[w];
        if (freeBits == 0) {
            continue;
        }
        unsigned const slot = w * kBitsPerWord + static_cast<unsigned>(std::countr_zero(freeBits));
        if (slot >= fBlockCount) {
            continue;  // padding bits past the last block of the page
        }
        fUsedBits[w] |= std::uint64_t(1) << (slot % kBitsPerWord);
        ++fUsed;
        fHint = static_cast<int>(slot);
        if (hint != nullptr) {
            *hint = fHint;
        }
        return static_cast<int>(slot);
    }
    return -1;
}

void TcompactPage::release(unsigned slot)
{
    if (inUse(slot)) {
        fUsedBits[slot / kBitsPerWord] &= ~(std::uint64_t(1) << (slot % kBitsPerWord));
        --fUsed;
        fHint = static_cast<int>(slot);
    }
}

TcompactArena::TcompactArena(unsigned long elementSize, unsigned long perPage, Tallocator& allocator, char const* name)
    : fElementSize(roundUpToAlignment(elementSize)), fPerPage(std::clamp(perPage, 1ul, 1ul << 20)),
      fAllocator(allocator), fName(name != nullptr ? name : "")
{
}

TcompactArena::~TcompactArena()
{
    for (PageRecord const& record : fPages) {
        fAllocator.deallocate(record.fStart);
        delete record.fPage;
    }
}

TcompactPage* TcompactArena::newPage()
{
    auto* blocks = static_cast<unsigned char*>(fAllocator.allocate(fElementSize * fPerPage));
    if (blocks == nullptr) {
        return nullptr;
    }
    auto* page = new (std::nothrow) TcompactPage(blocks, static_cast<unsigned>(fPerPage));
    if (page == nullptr) {
        fAllocator.deallocate(blocks);
        return nullptr;
    }
    auto at = std::lower_bound(fPages.begin(), fPages.end(), blocks,
                               [](PageRecord const& r, unsigned char* p) { return std::less<>()(r.fStart, p); });
    fPages.insert(at, PageRecord{blocks, page});
    return page;
}

void* TcompactArena::allocate(unsigned long bytes, unsigned long count)
{
    if (bytes > fElementSize || count != 1) {
        return nullptr;
    }
    std::lock_guard<TspinLock> lock(fLock);
    if (fCurrent == nullptr || fCurrent->isFull()) {
        fCurrent = nullptr;
        for (PageRecord const& record : fPages) {
            if (!record.fPage->isFull()) {
                fCurrent = record.fPage;
                break;
            }
        }
    }
    if (fCurrent == nullptr && (fCurrent = newPage()) == nullptr) {
        return nullptr;
    }
    int const slot = fCurrent->allocateSearch(nullptr);
    ++fInUse;
    return fCurrent->blocks() + static_cast<unsigned long>(slot) * fElementSize;
}

TcompactArena::PageRecord const* TcompactArena::owningPage(void const* block) const
{
    auto const* address = static_cast<unsigned char const*>(block);
    auto after =
        std::upper_bound(fPages.begin(), fPages.end(), address,
                         [](unsigned char const* p, PageRecord const& r) { return std::less<>()(p, r.fStart); });
    if (after == fPages.begin()) {
        return nullptr;
    }
    PageRecord const& record = *(after - 1);
    bool const inside =
        std::less_equal<>()(record.fStart, address) && std::less<>()(address, record.fStart + fElementSize * fPerPage);
    return inside ? &record : nullptr;
}

void TcompactArena::releasePage(std::size_t index)
{
    PageRecord const record = fPages[index];
    fPages.erase(fPages.begin() + static_cast<std::ptrdiff_t>(index));
    fAllocator.deallocate(record.fStart);
    delete record.fPage;
}

void TcompactArena::deallocate(void* block)
{
    if (block == nullptr) {
        return;
    }
    std::lock_guard<TspinLock> lock(fLock);
    PageRecord const* record = owningPage(block);
    if (record == nullptr) {
        std::free(block);  // handed out by the system allocator while the arena was bypassed
        return;
    }
    auto const offset = static_cast<unsigned long>(static_cast<unsigned char*>(block) - record->fStart);
    TcompactPage* page = record->fPage;
    if (offset % fElementSize != 0 || !page->inUse(static_cast<unsigned>(offset / fElementSize))) {
        return;  // not a block start, or already free: never corrupt the bitmap
    }
    page->release(static_cast<unsigned>(offset / fElementSize));
    --fInUse;
    if (page->isEmpty() && page != fCurrent && fPages.size() > 1) {
        releasePage(static_cast<std::size_t>(record - fPages.data()));
    } else if (fCurrent == nullptr || fCurrent->isFull()) {
        fCurrent = page;
    }
}

std::size_t TcompactArena::pageCount() const
{
    std::lock_guard<TspinLock> lock(fLock);
    return fPages.size();
}

std::size_t TcompactArena::blocksInUse() const
{
    std::lock_guard<TspinLock> lock(fLock);
    return fInUse;
}
