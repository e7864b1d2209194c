// Large blocks of memory for documents. May be called from several threads.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

namespace tovra::json {

struct Free {
    void operator()(void* block) const;
};

// The size of a large page, and the size from which on a block is made of them where the system has
// them. Smaller blocks serve the next document too, and are to hold no more than was written.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;
inline constexpr std::size_t kLargeBlock = 5'000'000;

// Memory for objects that need no construction, not initialised.
template <typename T>
using Block = std::unique_ptr<T[], Free>;

// A block of at least `size` bytes, which begins at a line of the cache: otherwise wide reads and
// writes would each touch two lines. Throws std::bad_alloc.
[[nodiscard]] Block<char> allocateBlock(std::size_t size);

template <typename T>
[[nodiscard]] Block<T> makeBlock(std::size_t count) {
    static_assert(std::is_trivial_v<T>, "a block neither constructs nor destroys");
    return Block<T>(reinterpret_cast<T*>(allocateBlock(count * sizeof(T)).release()));
}

// Asks the system to use large pages for a block; it need not. REQUIRES: `begin` is a multiple of
// kLargePage.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra::json
