#include "json/memory.h"

#include <gtest/gtest.h>

#include <vector>

namespace tovra::json {
namespace {

// Makes blocks of a megabyte, of which that many bytes are touched, and gives all of them back.
void useBlocks(int count, Reuse reuse, std::size_t touched) {
    std::vector<Block<char>> blocks;
    for (int i = 0; i < count; ++i) {
        blocks.push_back(makeBlock<char>(1 << 20, reuse));
        blocks.back().get_deleter().touch(touched);
    }
}

TEST(BlockPool, HoldsWhatWasTouchedUpToItsCapacity) {
    useBlocks(100, Reuse::pooled, 1);
    const std::size_t few = pooledBytes();
    EXPECT_LE(few, 64U) << "of small ones there are never many";
    useBlocks(4, Reuse::never, 1 << 20);
    useBlocks(4, Reuse::pooled, 0);
    EXPECT_LE(pooledBytes(), few);
    useBlocks(64, Reuse::pooled, 1000);
    EXPECT_EQ(pooledBytes(), 64'000U);
    useBlocks(100, Reuse::pooled, 1 << 20);
    const std::size_t full = pooledBytes();
    EXPECT_LE(full, kPoolCapacity);
    EXPECT_GT(full, kPoolCapacity - (1 << 20));

    const auto larger = makeBlock<char>(2 << 20, Reuse::pooled);
    EXPECT_EQ(pooledBytes(), full) << "only a block of the same size serves again";
    const auto same = makeBlock<char>(1 << 20, Reuse::pooled);
    EXPECT_EQ(pooledBytes(), full - (1 << 20));
}

}  // namespace
}  // namespace tovra::json
