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
        for (int i = 0; i < 20; ++i) {
            blocks.push_back(arena.allocate(64));
            ASSERT_NE(blocks.back(), nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back()) % 16, 0u);
        }
        EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), 20u);
        EXPECT_EQ(arena.pageCount(), 3u);
        EXPECT_EQ(arena.blocksInUse(), 20u);
        arena.deallocate(blocks[17]);  // on the page that still has room
        EXPECT_EQ(arena.allocate(32), blocks[17]) << "a freed slot is handed out again";
        for (void* block : blocks) {
            arena.deallocate(block);
        }
        EXPECT_EQ(arena.blocksInUse(), 0u);
        EXPECT_LE(arena.pageCount(), 1u) << "empty pages go back to the allocator";
    }
    EXPECT_EQ(pages.fLive, 0) << "the arena returns every page when destroyed";
}

TEST(CompactArena, RefusesWhatItCannotServeAndSurvivesBadReleases)
{
    TcompactArena arena(24, 4, TmallocAllocator::mallocAllocator(), "small");
    EXPECT_EQ(arena.elementSize(), 32u) << "blocks are rounded up to the alignment";
    EXPECT_EQ(arena.allocate(33), nullptr);
    EXPECT_EQ(arena.allocate(8, 2), nullptr);
    void* ours = arena.allocate(32);
    void* other = arena.allocate(32);
    arena.deallocate(nullptr);
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
