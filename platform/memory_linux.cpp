#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

namespace tovra {
namespace {

// A block of this size is mapped on its own and goes back when it is freed. Below that it is worth
// keeping for the next call: taking its pages anew would cost more than their use.
constexpr std::size_t kLargeBlock = std::size_t{10} << 20;

}  // namespace

void preferLargePages(void* begin, std::size_t size) {
    if (size < kLargeBlock) return;
    // The C library maps a block of this size on its own, a few bytes behind the start of a page.
    constexpr std::size_t kPage = 4096;
    const std::size_t skipped = kPage - reinterpret_cast<std::uintptr_t>(begin) % kPage;
    ::madvise(static_cast<char*>(begin) + skipped, (size - skipped) / kPage * kPage, MADV_HUGEPAGE);
}

void returnFreedMemory() {
#ifdef M_MMAP_THRESHOLD
    ::mallopt(M_MMAP_THRESHOLD, kLargeBlock);
    ::mallopt(M_TRIM_THRESHOLD, 2 * kLargeBlock);
#endif
}

void returnAllFreedMemory() {
#ifdef M_MMAP_THRESHOLD
    ::malloc_trim(0);
#endif
}

}  // namespace tovra
