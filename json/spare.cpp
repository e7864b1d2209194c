#include "json/spare.h"

#include <mutex>
#include <utility>

namespace tovra::json {
namespace {

struct Slot {
    std::mutex mutex;
    DocumentArrays arrays;
};

Slot& slot() {
    static Slot slot;
    return slot;
}

}  // namespace

DocumentArrays takeSpare(std::size_t textSize) {
    if (textSize < kSmallestSpare) return {};
    const std::lock_guard lock(slot().mutex);
    return std::move(slot().arrays);
}

void putSpare(DocumentArrays arrays) noexcept {
    const std::size_t size =
        arrays.bytes.resident() + arrays.nodes.resident() + arrays.waiting.resident();
    // As much room has what was made for a text of kSmallestSpare.
    if (arrays.bytes.capacity() < kSmallestSpare / 2 || size > kMostSpare) return;
    const std::lock_guard lock(slot().mutex);
    slot().arrays = std::move(arrays);
}

}  // namespace tovra::json
