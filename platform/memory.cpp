#include "platform/memory.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace tovra {
namespace {

// Smaller ones are the C library's business.
constexpr std::size_t kSmallestKept = std::size_t{256} << 10;

// Text and tree of one document whose text is no large block. About half of it holds something, so
// that the process keeps no more than 12 MB.
constexpr std::size_t kMostKept = std::size_t{14} << 20;

class KeptBlocks {
  public:
    KeptBlocks() { blocks_.reserve(kMostKept / kSmallestKept + 1); }  // put() allocates nothing

    std::unique_ptr<char[]> take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                        [&](const Kept& it) { return it.size == size; });
        if (found == blocks_.end()) return nullptr;
        total_ -= size;
        std::unique_ptr<char[]> bytes = std::move(found->bytes);
        blocks_.erase(found);
        return bytes;
    }

    // Those that have not been needed for longest go.
    void put(std::unique_ptr<char[]> bytes, std::size_t size) {
        const std::lock_guard lock(mutex_);
        blocks_.push_back({std::move(bytes), size});
        total_ += size;
        while (total_ > kMostKept) {
            total_ -= blocks_.front().size;
            blocks_.erase(blocks_.begin());
        }
    }

  private:
    struct Kept {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
    };

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

void* takeBlock(std::size_t size) {
    const std::size_t rounded = blockSize(size);
    std::unique_ptr<char[]> bytes;
    if (mayBeKept(rounded)) bytes = keptBlocks().take(rounded);
    if (!bytes) {
        bytes = std::make_unique_for_overwrite<char[]>(rounded);
        preferLargePages(bytes.get(), rounded);
    }
    return bytes.release();
}

void KeepOrFree::operator()(void* block) const {
    std::unique_ptr<char[]> bytes(static_cast<char*>(block));
    if (mayBeKept(size)) keptBlocks().put(std::move(bytes), size);
}

}  // namespace tovra
