#include "json/memory.h"

#include <gtest/gtest.h>

#include <vector>

namespace tovra::json {
namespace {

constexpr std::size_t kMegabyte = 1 << 20;

// Makes blocks, of which that many bytes are touched, and gives all of them back.
void useBlocks(int count, Reuse reuse, std::size_t touched, std::size_t size = kMegabyte) {
    std::vector<Block<char>> blocks;
    for (int i = 0; i < count; ++i) {
        blocks.push_back(makeBlock<char>(size, reuse));
        blocks.back().get_deleter().touch(touched);
    }
}

TEST(BlockPool, HoldsWhatWasTouchedUpToItsCapacity) {
    useBlocks(100, Reuse::pooled, 1);
    const std::size_t few = pooledBytes();
    EXPECT_LE(few, 64U) << "of small ones there are never many";
    useBlocks(4, Reuse::never, kMegabyte);
    useBlocks(4, Reuse::pooled, 0, 3 * kMegabyte);
    EXPECT_EQ(pooledBytes(), few) << "what is not touched or not to be pooled takes no place";
    useBlocks(64, Reuse::pooled, 1000);
    EXPECT_EQ(pooledBytes(), 64'000U);
    useBlocks(100, Reuse::pooled, kMegabyte);
    const std::size_t full = pooledBytes();
    EXPECT_LE(full, kPoolCapacity);
    EXPECT_GT(full, kPoolCapacity - kMegabyte);

    const auto larger = makeBlock<char>(2 * kMegabyte, Reuse::pooled);
    EXPECT_EQ(pooledBytes(), full) << "only a block of the same size serves again";
    const auto same = makeBlock<char>(kMegabyte, Reuse::pooled);
    EXPECT_EQ(pooledBytes(), full - kMegabyte);
}

}  // namespace
}  // namespace tovra::json
