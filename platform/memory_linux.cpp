#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

namespace tovra {

void preferLargePages(void* begin, std::size_t size) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    if (size < 4 * kLargePage) return;
    // The C library maps a block of this size on its own, a few bytes behind the start of a page.
    constexpr std::size_t kPage = 4096;
    const std::size_t skipped = kPage - reinterpret_cast<std::uintptr_t>(begin) % kPage;
    ::madvise(static_cast<char*>(begin) + skipped, (size - skipped) / kPage * kPage, MADV_HUGEPAGE);
}

void returnFreedMemory() {
#ifdef M_MMAP_THRESHOLD
    // Below this a block is worth keeping for the next call: its pages cost more than their use.
    constexpr int kLargeBlock = 10 << 20;
    ::mallopt(M_MMAP_THRESHOLD, kLargeBlock);
    ::mallopt(M_TRIM_THRESHOLD, 2 * kLargeBlock);
#endif
}

}  // namespace tovra
