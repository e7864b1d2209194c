#include "json/memory.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace tovra::json {
namespace {

// Smaller ones are the C library's business.
constexpr std::size_t kSmallestKept = std::size_t{256} << 10;
constexpr std::size_t kMostBlocks = 64;

// In steps, so that the blocks of a file that has grown a little are those of the call before.
constexpr std::size_t rounded(std::size_t size) {
    constexpr std::size_t kStep = std::size_t{256} << 10;
    return size < kStep ? size : (size + kStep - 1) / kStep * kStep;
}

bool isLarge(const KeepOrFree& block) {
    return block.fate == Fate::freed && block.size >= kLargePage;
}

// A block begins with a line of the cache; otherwise each of the wide pieces in which its bytes are
// read and written lies in two lines.
constexpr std::size_t kCacheLine = 64;

std::align_val_t alignmentOf(const KeepOrFree& block) {
    return std::align_val_t{isLarge(block) ? kLargePage : kCacheLine};
}

struct Free {
    KeepOrFree block;
    void operator()(char* bytes) const { ::operator delete(bytes, alignmentOf(block)); }
};
using Bytes = std::unique_ptr<char[], Free>;

class KeptBlocks {
  public:
    KeptBlocks() { blocks_.reserve(kMostBlocks + 1); }  // put() allocates nothing

    // One of that size, or none.
    Bytes take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(blocks_.begin(), blocks_.end(), [&](const Bytes& it) {
            return it.get_deleter().block.size == size;
        });
        if (found == blocks_.end()) return {};
        Bytes bytes = std::move(*found);
        total_ -= bytes.get_deleter().block.used;
        blocks_.erase(found);
        return bytes;
    }

    // Those that have not been needed for longest go.
    void put(Bytes bytes) {
        const std::lock_guard lock(mutex_);
        total_ += bytes.get_deleter().block.used;
        blocks_.push_back(std::move(bytes));
        while (total_ > kMostKept || blocks_.size() > kMostBlocks) {
            total_ -= blocks_.front().get_deleter().block.used;
            blocks_.erase(blocks_.begin());
        }
    }

  private:
    std::mutex mutex_;
    std::vector<Bytes> blocks_;
    std::size_t total_ = 0;
};

KeptBlocks& keptBlocks() {
    static KeptBlocks blocks;
    return blocks;
}

}  // namespace

Block<char> takeBlock(std::size_t size, Fate fate) {
    KeepOrFree block{rounded(size), fate};
    if (block.size < kSmallestKept) block.fate = Fate::freed;
    Bytes bytes;
    if (block.fate == Fate::kept) bytes = keptBlocks().take(block.size);
    if (!bytes) {
        bytes = {static_cast<char*>(::operator new(block.size, alignmentOf(block))), Free{block}};
        if (isLarge(block)) preferLargePages(bytes.get(), block.size);
    }
    block = bytes.get_deleter().block;
    return {bytes.release(), block};
}

void KeepOrFree::operator()(void* block) const {
    Bytes bytes(static_cast<char*>(block), Free{*this});
    if (fate == Fate::kept && used > 0) keptBlocks().put(std::move(bytes));
}

}  // namespace tovra::json
