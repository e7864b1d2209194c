#include "platform/memory.h"

#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace tovra {
namespace {

// Smaller ones are the C library's business.
constexpr std::size_t kSmallestKept = std::size_t{256} << 10;

// How much memory the kept blocks may hold, so that the process keeps no more than 12 MB.
constexpr std::size_t kMostKept = std::size_t{7} << 20;
constexpr std::size_t kMostBlocks = 64;

// A block begins with a line of the cache; otherwise each of the wide pieces in which its bytes are
// read and written lies in two lines.
constexpr std::align_val_t kAlignment{64};

struct Free {
    void operator()(char* bytes) const { ::operator delete(bytes, kAlignment); }
};

struct Kept {
    std::unique_ptr<char[], Free> bytes;
    KeepOrFree deleter;
};

class KeptBlocks {
  public:
    KeptBlocks() { blocks_.reserve(kMostBlocks + 1); }  // put() allocates nothing

    Block<char> take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                        [&](const Kept& it) { return it.deleter.size == size; });
        if (found == blocks_.end()) return {};
        Block<char> block(found->bytes.release(), found->deleter);
        total_ -= found->deleter.used;
        blocks_.erase(found);
        return block;
    }

    // Those that have not been needed for longest go.
    void put(Kept kept) {
        const std::lock_guard lock(mutex_);
        total_ += kept.deleter.used;
        blocks_.push_back(std::move(kept));
        while (total_ > kMostKept || blocks_.size() > kMostBlocks) {
            total_ -= blocks_.front().deleter.used;
            blocks_.erase(blocks_.begin());
        }
    }

  private:
    std::mutex mutex_;
    std::vector<Kept> blocks_;
    std::size_t total_ = 0;
};

KeptBlocks& keptBlocks() {
    static KeptBlocks blocks;
    return blocks;
}

bool mayBeKept(std::size_t size) { return size >= kSmallestKept && size <= kLargeBlock; }

}  // namespace

Block<char> takeBlock(std::size_t size) {
    const std::size_t rounded = blockSize(size);
    Block<char> block;
    if (mayBeKept(rounded)) block = keptBlocks().take(rounded);
    if (!block) {
        block = {static_cast<char*>(::operator new(rounded, kAlignment)), KeepOrFree{rounded}};
        if (rounded > kLargeBlock) preferLargePages(block.get(), rounded);
    }
    return block;
}

void KeepOrFree::operator()(void* block) const {
    std::unique_ptr<char[], Free> bytes(static_cast<char*>(block));
    if (used > 0 && mayBeKept(size)) keptBlocks().put({std::move(bytes), *this});
}

}  // namespace tovra
