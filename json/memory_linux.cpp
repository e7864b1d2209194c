#include <malloc.h>
#include <sys/mman.h>

#include <cassert>
#include <cstdint>

#include "json/memory.h"

namespace tovra::json {

void preferLargePages(void* begin, std::size_t size) {
    assert(reinterpret_cast<std::uintptr_t>(begin) % kLargePage == 0);
    ::madvise(begin, size, MADV_HUGEPAGE);
}

void returnFreedMemory() {
#ifdef M_MMAP_THRESHOLD
    // Unless they are set, these thresholds grow with the blocks that are freed.
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 1 << 19);
    // Unless it is set, there are heaps for eight threads of each processor, and each keeps some.
    ::mallopt(M_ARENA_MAX, 2);
#endif
}

}  // namespace tovra::json
