#include "json/memory.h"

#include <cstdlib>
#include <new>

namespace tovra::json {

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): this is where they are
// wrapped, since operator delete would have to be told the alignment.
Block<char> allocateBlock(std::size_t size) {
    constexpr std::size_t kCacheLine = 64;
    const std::size_t alignment = size < kLargeBlock ? kCacheLine : kLargePage;
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    Block<char> block(static_cast<char*>(std::aligned_alloc(alignment, rounded)));
    if (!block) throw std::bad_alloc();
    if (alignment == kLargePage) preferLargePages(block.get(), rounded);
    return block;
}

void Free::operator()(void* block) const { std::free(block); }
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

}  // namespace tovra::json
