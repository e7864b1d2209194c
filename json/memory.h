// The memory of documents: how the process gets large blocks, pools some and gives the rest back.
// May be called from several threads.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>

namespace tovra::json {

// The most that the process may hold after a call, in bytes, and what it holds before the first
// one.
inline constexpr std::size_t kMostResident = 12'000'000;
inline constexpr std::size_t kResidentAtRest = 4'400'000;

// How many bytes the pool may hold. Taking fresh pages costs more than parsing what is read into
// them, so blocks of documents of ordinary size are pooled.
inline constexpr std::size_t kPoolCapacity = kMostResident - kResidentAtRest;

// Whether a block serves others of its size after its owner, or goes back to the system.
enum class Reuse : bool { never, pooled };

// Gives a block back when its owner is done with it.
struct BlockDeleter {
    std::size_t size = 0;        // in bytes
    Reuse reuse = Reuse::never;  // never changes: it decides how the block is aligned
    std::size_t touched = 0;     // how many bytes hold memory; where it is 0 the block is freed

    // Tells that so many bytes at the beginning have been written.
    void touch(std::size_t bytes) { touched = std::max(touched, bytes); }
    void operator()(void* block) const;
};

// Memory for objects that need no construction, not initialised.
template <typename T>
using Block = std::unique_ptr<T[], BlockDeleter>;

// A block of at least `size` bytes, pooled only where it is large enough to be worth it. One that
// is not pooled is made of large pages where there are such. Throws std::bad_alloc.
[[nodiscard]] Block<char> allocateBlock(std::size_t size, Reuse reuse);

template <typename T>
[[nodiscard]] Block<T> makeBlock(std::size_t count, Reuse reuse) {
    static_assert(std::is_trivial_v<T>, "a block neither constructs nor destroys");
    Block<char> block = allocateBlock(count * sizeof(T), reuse);
    const BlockDeleter deleter = block.get_deleter();
    return {reinterpret_cast<T*>(block.release()), deleter};
}

// How many bytes the pool holds now: at most kPoolCapacity.
[[nodiscard]] std::size_t pooledBytes();

// The size of a large page; a block made of them begins at a multiple of it.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

// Asks for large pages behind a block. A hint. REQUIRES: `begin` is a multiple of kLargePage.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra::json
