#include "json/memory.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace tovra::json {
namespace {

// Smaller blocks are left to the C library.
constexpr std::size_t kSmallestPooled = std::size_t{256} << 10;
constexpr std::size_t kMostBlocks = 64;

// Sizes go in steps, so that the blocks of a file that has grown a little fit the next call.
constexpr std::size_t rounded(std::size_t size) {
    constexpr std::size_t kStep = kSmallestPooled;
    return size < kStep ? size : (size + kStep - 1) / kStep * kStep;
}

bool hasLargePages(const BlockDeleter& block) {
    return block.reuse == Reuse::never && block.size >= kLargePage;
}

// A block begins at a line of the cache. Otherwise wide reads and writes would each touch two
// lines.
constexpr std::size_t kCacheLine = 64;

std::align_val_t alignmentOf(const BlockDeleter& block) {
    return std::align_val_t{hasLargePages(block) ? kLargePage : kCacheLine};
}

struct Free {
    BlockDeleter block;
    void operator()(char* bytes) const { ::operator delete(bytes, alignmentOf(block)); }
};
using FreedBlock = std::unique_ptr<char[], Free>;

class BlockPool {
  public:
    BlockPool() { blocks_.reserve(kMostBlocks + 1); }  // put() allocates nothing

    // A block of that size, or none.
    FreedBlock take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(blocks_.begin(), blocks_.end(), [&](const FreedBlock& it) {
            return it.get_deleter().block.size == size;
        });
        if (found == blocks_.end()) return {};
        FreedBlock block = std::move(*found);
        touched_ -= block.get_deleter().block.touched;
        blocks_.erase(found);
        return block;
    }

    // Where there are too many, those that have waited longest are freed.
    void put(FreedBlock block) {
        const std::lock_guard lock(mutex_);
        touched_ += block.get_deleter().block.touched;
        blocks_.push_back(std::move(block));
        while (touched_ > kPoolCapacity || blocks_.size() > kMostBlocks) {
            touched_ -= blocks_.front().get_deleter().block.touched;
            blocks_.erase(blocks_.begin());
        }
    }

    std::size_t touched() {
        const std::lock_guard lock(mutex_);
        return touched_;
    }

  private:
    std::mutex mutex_;
    std::vector<FreedBlock> blocks_;
    std::size_t touched_ = 0;  // the sum over the blocks
};

BlockPool& pool() {
    static BlockPool pool;
    return pool;
}

}  // namespace

Block<char> allocateBlock(std::size_t size, Reuse reuse) {
    BlockDeleter deleter{rounded(size), reuse};
    if (deleter.size < kSmallestPooled) deleter.reuse = Reuse::never;
    FreedBlock block;
    if (deleter.reuse == Reuse::pooled) block = pool().take(deleter.size);
    if (!block) {
        void* bytes = ::operator new(deleter.size, alignmentOf(deleter));
        block = {static_cast<char*>(bytes), Free{deleter}};
        if (hasLargePages(deleter)) preferLargePages(bytes, deleter.size);
    }
    deleter = block.get_deleter().block;
    return {block.release(), deleter};
}

void BlockDeleter::operator()(void* block) const {
    FreedBlock freed(static_cast<char*>(block), Free{*this});
    if (reuse == Reuse::pooled && touched > 0) pool().put(std::move(freed));
}

std::size_t pooledBytes() { return pool().touched(); }

}  // namespace tovra::json
