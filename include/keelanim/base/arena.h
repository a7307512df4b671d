#pragma once

#include "keelanim/base/export.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

// Pools of equal-size blocks.
//
// A TcompactArena hands out blocks of one size from pages of `perPage`
// blocks, keeping one used-slot bit per block, so a block costs its own size
// plus one bit. Blocks are 16-byte aligned. Allocation and release are
// O(1) amortised: the arena remembers a page with free slots, and release
// finds the owning page by address. A page that empties is returned to the
// allocator unless it is the last one. The arena is safe to use from several
// threads.
//
// TpureArena::sPurifyInUse switches every arena user to the system allocator
// (memory checkers then see each block on its own). Users that bypass the
// arena must still release through it: deallocate() recognises blocks it did
// not hand out and frees them with the system allocator.

class KEEL_API Tallocator {
public:
    virtual ~Tallocator();
    virtual void* allocate(std::size_t bytes) = 0;
    virtual void deallocate(void* block) = 0;
};

class KEEL_API TmallocAllocator : public Tallocator {
public:
    void* allocate(std::size_t bytes) override;
    void deallocate(void* block) override;
    static TmallocAllocator& mallocAllocator();
};

class KEEL_API TpureArena {
public:
    static bool sPurifyInUse;
};

class KEEL_API TcompactPage {
public:
    TcompactPage(unsigned char* blocks, unsigned blockCount);
    // Claims a free slot, starting the search at *hint (updated to the slot
    // found); -1 when the page is full.
    int allocateSearch(int* hint);
    void release(unsigned slot);
    bool isFull() const { return fUsed == fBlockCount; }
    bool isEmpty() const { return fUsed == 0; }
    unsigned char* blocks() const { return fBlocks; }
    unsigned blockCount() const { return fBlockCount; }
    bool inUse(unsigned slot) const;

private:
    unsigned char* fBlocks;
    unsigned fBlockCount;
    unsigned fUsed = 0;
    int fHint = 0;
    std::vector<std::uint64_t> fUsedBits;
};

class KEEL_API TcompactArena {
public:
    TcompactArena(unsigned long elementSize, unsigned long perPage, Tallocator& allocator, char const* name);
    TcompactArena(TcompactArena const&) = delete;
    TcompactArena& operator=(TcompactArena const&) = delete;
    ~TcompactArena();

    // A block of at least `bytes` (at most the element size) bytes, or null.
    // `count` blocks are asked for at a time; only 1 is supported.
    void* allocate(unsigned long bytes, unsigned long count = 1);
    // Releases a block of this arena, or frees a block from the system
    // allocator. Null is ignored.
    void deallocate(void* block);

    unsigned long elementSize() const { return fElementSize; }
    std::size_t pageCount() const;
    std::size_t blocksInUse() const;
    char const* name() const { return fName; }

private:
    struct PageRecord {
        unsigned char* fStart;
        TcompactPage* fPage;
    };
    TcompactPage* newPage();
    PageRecord const* owningPage(void const* block) const;
    void releasePage(std::size_t index);

    unsigned long fElementSize;
    unsigned long fPerPage;
    Tallocator& fAllocator;
    char const* fName;
    std::vector<PageRecord> fPages;  // sorted by address
    TcompactPage* fCurrent = nullptr;
    std::size_t fInUse = 0;
    // Held for a few dozen instructions at a time: a spin lock costs less
    // than a mutex when, as usual, nobody else wants it.
    class TspinLock {
    public:
        void lock()
        {
            while (fFlag.test_and_set(std::memory_order_acquire)) {
                fFlag.wait(true, std::memory_order_relaxed);
            }
        }
        void unlock()
        {
            fFlag.clear(std::memory_order_release);
            fFlag.notify_one();
        }

    private:
        std::atomic_flag fFlag;
    };
    mutable TspinLock fLock;
};
