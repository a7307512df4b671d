#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <set>
#include <vector>

namespace {

// Counts the pages the arena asks for, to check page reuse and release.
class TcountingAllocator : public Tallocator {
public:
    void* allocate(std::size_t bytes) override
    {
        ++fLive;
        return std::malloc(bytes);
    }
    void deallocate(void* block) override
    {
        --fLive;
        std::free(block);
    }
    int fLive = 0;
};

TEST(CompactArena, BlocksAreDistinctAlignedAndReused)
{
    TcountingAllocator pages;
    {
        TcompactArena arena(64, 8, pages, "test");
        std::vector<void*> blocks;
        std::set<void*> distinct;
        for (int i = 0; i < 20; ++i) {
            void* block = arena.allocate(64);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
            blocks.push_back(block);
            distinct.insert(block);
        }
        EXPECT_EQ(distinct.size(), 20u);
        EXPECT_EQ(arena.pageCount(), 3u);
        EXPECT_EQ(arena.blocksInUse(), 20u);

        void* freed = blocks[17];  // on the page that still has room
        arena.deallocate(freed);
        EXPECT_EQ(arena.allocate(32), freed) << "a freed slot is handed out again";
        for (void* block : blocks) {
            arena.deallocate(block);
        }
        EXPECT_EQ(arena.blocksInUse(), 0u);
        EXPECT_LE(arena.pageCount(), 1u) << "empty pages go back to the allocator";
    }
    EXPECT_EQ(pages.fLive, 0) << "the arena returns every page when destroyed";
}

TEST(CompactArena, RefusesWhatItCannotServe)
{
    TcompactArena arena(24, 4, TmallocAllocator::mallocAllocator(), "small");
    EXPECT_EQ(arena.elementSize(), 32u) << "blocks are rounded up to the alignment";
    EXPECT_EQ(arena.allocate(33), nullptr);
    EXPECT_EQ(arena.allocate(8, 2), nullptr);
    arena.deallocate(nullptr);
    EXPECT_STREQ(arena.name(), "small");
}

TEST(CompactArena, ReleasesForeignBlocksAndIgnoresDoubleRelease)
{
    TcompactArena arena(64, 4, TmallocAllocator::mallocAllocator(), "mixed");
    void* ours = arena.allocate(64);
    void* other = arena.allocate(64);
    arena.deallocate(ours);
    arena.deallocate(ours);  // already free: the bitmap must stay right
    EXPECT_EQ(arena.blocksInUse(), 1u);
    arena.deallocate(std::malloc(64));  // a block from the system allocator
    arena.deallocate(other);
    EXPECT_EQ(arena.blocksInUse(), 0u);
}

TEST(CompactPage, SearchesFromTheHintAndWraps)
{
    unsigned char storage[100 * 8];
    TcompactPage page(storage, 100);
    int hint = 98;
    EXPECT_EQ(page.allocateSearch(&hint), 64) << "search starts at the hint's word";
    for (int i = 0; i < 99; ++i) {
        ASSERT_GE(page.allocateSearch(nullptr), 0);
    }
    EXPECT_TRUE(page.isFull());
    EXPECT_EQ(page.allocateSearch(nullptr), -1);
    page.release(5);
    EXPECT_FALSE(page.inUse(5));
    EXPECT_EQ(page.allocateSearch(nullptr), 5);
    page.release(1000);  // out of range: ignored
}

}  // namespace
