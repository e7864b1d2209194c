#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

#include "platform/memory.h"

namespace tovra {

void preferLargePages(void* begin, std::size_t size) {
    constexpr std::size_t kPage = 4096, kLargePage = std::size_t{2} << 20;
    if (size < kLargePage) return;
    // The C library maps a block of this size on its own, a few bytes behind the start of a page.
    const std::size_t skipped = kPage - reinterpret_cast<std::uintptr_t>(begin) % kPage;
    ::madvise(static_cast<char*>(begin) + skipped, (size - skipped) / kPage * kPage, MADV_HUGEPAGE);
}

void returnFreedMemory() {
#ifdef M_MMAP_THRESHOLD
    // Set, they do not grow with the blocks that are freed.
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 1 << 19);
#endif
}

}  // namespace tovra
