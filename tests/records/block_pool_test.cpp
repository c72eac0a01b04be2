// BlockPool: the slabs file records are carved from. The tests check that
// blocks never overlap and keep what is written into them, that a block
// given back is handed out again, and that the pool gives slabs back as they
// empty, keeping one for the next burst, so that its memory follows the
// blocks that are out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "records/block_pool.h"

namespace {

using zandb4::BlockPool;

constexpr size_t kBlockSize = 280;

// Fills a block with a pattern of its own, to find it unharmed later.
void Stamp(void* block, uint8_t mark) { std::memset(block, mark, kBlockSize); }
bool Intact(const void* block, uint8_t mark) {
    const uint8_t* bytes = static_cast<const uint8_t*>(block);
    return std::all_of(bytes, bytes + kBlockSize, [&](uint8_t byte) { return byte == mark; });
}

TEST(BlockPoolTest, BlocksAreAlignedAndDoNotOverlap) {
    BlockPool pool(kBlockSize);
    std::vector<void*> blocks;
    for (int index = 0; index < 1000; ++index) {
        void* block = pool.Allocate();
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % BlockPool::kAlignment, 0u);
        Stamp(block, static_cast<uint8_t>(index));
        blocks.push_back(block);
    }
    std::vector<uintptr_t> starts;
    for (void* block : blocks) starts.push_back(reinterpret_cast<uintptr_t>(block));
    std::sort(starts.begin(), starts.end());
    for (size_t index = 1; index < starts.size(); ++index) ASSERT_GE(starts[index] - starts[index - 1], kBlockSize);
    for (size_t index = 0; index < blocks.size(); ++index)
        EXPECT_TRUE(Intact(blocks[index], static_cast<uint8_t>(index))) << "block " << index;
    for (void* block : blocks) pool.Free(block);
}

TEST(BlockPoolTest, ABlockGivenBackIsHandedOutAgain) {
    BlockPool pool(kBlockSize);
    void* first = pool.Allocate();
    void* second = pool.Allocate();
    pool.Free(first);

    void* third = pool.Allocate();

    EXPECT_EQ(third, first);
    pool.Free(second);
    pool.Free(third);
}

// A burst of more slabs than are kept, then all of them back: the kept
// number of empty slabs stays, the rest go.
TEST(BlockPoolTest, EmptiedSlabsBeyondTheKeptNumberAreGivenBack) {
    BlockPool pool(kBlockSize);
    std::vector<void*> blocks;
    const size_t blocksPerSlab = BlockPool::kSlabSize / (kBlockSize + sizeof(void*));
    while (blocks.size() < (BlockPool::kMaxSpareSlabs + 10) * blocksPerSlab) blocks.push_back(pool.Allocate());
    EXPECT_GT(pool.SlabCount(), BlockPool::kMaxSpareSlabs);

    for (void* block : blocks) pool.Free(block);

    EXPECT_EQ(pool.SlabCount(), BlockPool::kMaxSpareSlabs);
    EXPECT_EQ(pool.SpareCount(), BlockPool::kMaxSpareSlabs);
}

// A burst that fits in the kept number: every slab stays, and the next burst
// of the same size takes no new slab.
TEST(BlockPoolTest, EmptiedSlabsAreKeptForTheNextBurst) {
    BlockPool pool(kBlockSize);
    std::vector<void*> blocks;
    for (int index = 0; index < 2000; ++index) blocks.push_back(pool.Allocate());
    const size_t slabs = pool.SlabCount();
    ASSERT_GT(slabs, 1u);
    ASSERT_LE(slabs, BlockPool::kMaxSpareSlabs);
    for (void* block : blocks) pool.Free(block);
    EXPECT_EQ(pool.SlabCount(), slabs);
    EXPECT_EQ(pool.SpareCount(), slabs);

    blocks.clear();
    for (int index = 0; index < 2000; ++index) {
        blocks.push_back(pool.Allocate());
        Stamp(blocks.back(), static_cast<uint8_t>(index % 251));
    }
    EXPECT_EQ(pool.SlabCount(), slabs);
    EXPECT_EQ(pool.SpareCount(), 0u);
    for (size_t index = 0; index < blocks.size(); ++index)
        EXPECT_TRUE(Intact(blocks[index], static_cast<uint8_t>(index % 251)));
    for (void* block : blocks) pool.Free(block);
}

// Blocks given back in a shuffled order, a few kept: the slabs that hold a
// kept block stay, the others go, and the kept blocks are unharmed.
TEST(BlockPoolTest, SlabsHoldingABlockStayAndTheRestGo) {
    BlockPool pool(kBlockSize);
    std::vector<void*> blocks;
    for (int index = 0; index < 4000; ++index) {
        blocks.push_back(pool.Allocate());
        Stamp(blocks.back(), static_cast<uint8_t>(index % 251));
    }
    std::vector<size_t> order(blocks.size());
    for (size_t index = 0; index < order.size(); ++index) order[index] = index;
    std::shuffle(order.begin(), order.end(), std::mt19937_64(17));
    std::vector<size_t> kept;
    for (size_t index : order) {
        if (index % 1000 == 0)
            kept.push_back(index);
        else
            pool.Free(blocks[index]);
    }

    // At most the slab of each kept block, and the spares.
    EXPECT_LE(pool.SlabCount(), kept.size() + pool.SpareCount());
    EXPECT_LE(pool.SpareCount(), BlockPool::kMaxSpareSlabs);
    for (size_t index : kept) EXPECT_TRUE(Intact(blocks[index], static_cast<uint8_t>(index % 251)));
    for (size_t index : kept) pool.Free(blocks[index]);
    EXPECT_EQ(pool.SlabCount(), pool.SpareCount());
}

// Blocks made on one thread and given back on others, as records are let go
// wherever the client holds them.
TEST(BlockPoolTest, ThreadsAllocatingAndFreeingTogetherLoseNothing) {
    BlockPool pool(kBlockSize);
    auto work = [&pool](uint8_t mark) {
        std::vector<void*> mine;
        for (int round = 0; round < 20; ++round) {
            for (int index = 0; index < 500; ++index) {
                mine.push_back(pool.Allocate());
                Stamp(mine.back(), mark);
            }
            for (void* block : mine) {
                EXPECT_TRUE(Intact(block, mark));
                pool.Free(block);
            }
            mine.clear();
        }
    };
    std::thread first(work, 1), second(work, 2), third(work, 3);
    first.join();
    second.join();
    third.join();

    // Every slab left is an empty one kept for the next burst.
    EXPECT_EQ(pool.SlabCount(), pool.SpareCount());
    EXPECT_LE(pool.SpareCount(), BlockPool::kMaxSpareSlabs);
}

}  // namespace
