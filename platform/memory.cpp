#include "platform/memory.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace tovra {
namespace {

// Smaller ones are the C library's business.
constexpr std::size_t kSmallestKept = std::size_t{256} << 10;

// Text and tree of one document whose text is no large block. About half of it holds something, so
// that the process keeps no more than 12 MB.
constexpr std::size_t kMostKept = std::size_t{14} << 20;

// A block begins with a line of the cache; otherwise each of the wide pieces in which its bytes are
// read and written lies in two lines.
constexpr std::align_val_t kAlignment{64};

struct Free {
    void operator()(char* bytes) const { ::operator delete(bytes, kAlignment); }
};
using Bytes = std::unique_ptr<char[], Free>;

class KeptBlocks {
  public:
    KeptBlocks() { blocks_.reserve(kMostKept / kSmallestKept + 1); }  // put() allocates nothing

    Bytes take(std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                        [&](const Kept& it) { return it.size == size; });
        if (found == blocks_.end()) return nullptr;
        total_ -= size;
        Bytes bytes = std::move(found->bytes);
        blocks_.erase(found);
        return bytes;
    }

    // Those that have not been needed for longest go.
    void put(Bytes bytes, std::size_t size) {
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
        Bytes bytes;
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
    Bytes bytes;
    if (mayBeKept(rounded)) bytes = keptBlocks().take(rounded);
    if (!bytes) {
        bytes.reset(static_cast<char*>(::operator new(rounded, kAlignment)));
        preferLargePages(bytes.get(), rounded);
    }
    return bytes.release();
}

void KeepOrFree::operator()(void* block) const {
    Bytes bytes(static_cast<char*>(block));
    if (mayBeKept(size)) keptBlocks().put(std::move(bytes), size);
}

}  // namespace tovra
