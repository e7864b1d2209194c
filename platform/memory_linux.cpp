#include "platform/memory.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "platform/file.h"

namespace tovra {
namespace {

// What the process may keep between two calls, in bytes.
constexpr std::size_t kMostKept = std::size_t{12} << 20;

// A block of this size is mapped on its own and goes back when it is freed. Below that it is worth
// keeping for the next call: taking its pages anew would cost more than their use. The largest file
// whose text stays below it leaves the process just within what it may keep.
constexpr std::size_t kLargeBlock = std::size_t{9} << 20 | std::size_t{256} << 10;

std::atomic<int> callsUnderWay = 0;

// The memory of the process in bytes; 0 where the system does not tell.
std::size_t residentSize() {
    const Descriptor file(::open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
    std::array<char, 128> text{};
    if (::read(file.get(), text.data(), text.size() - 1) <= 0) return 0;
    const char* second = std::strchr(text.data(), ' ');
    std::size_t pages = 0;
    if (second != nullptr) std::from_chars(second + 1, text.end(), pages);
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

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
    ::mallopt(M_ARENA_MAX, 1);  // of several, each would keep as much
#endif
}

CallMemory::CallMemory() { ++callsUnderWay; }

CallMemory::~CallMemory() {
    if (--callsUnderWay > 0) return;
#ifdef M_MMAP_THRESHOLD
    if (residentSize() > kMostKept) ::malloc_trim(0);
#endif
}

}  // namespace tovra
