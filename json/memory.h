// The memory of documents: large blocks, of which a pool keeps some for the next document.
// May be called from several threads.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>

namespace tovra::json {

// The most bytes that the process may hold after a call, and what it holds before the first one.
inline constexpr std::size_t kMostResident = 12'000'000;
inline constexpr std::size_t kResidentAtRest = 4'400'000;

// How many bytes the pool may hold. A fresh page costs more than parsing what is read into it, so
// the blocks of documents of ordinary size are pooled.
inline constexpr std::size_t kPoolCapacity = kMostResident - kResidentAtRest;

// Whether a block that is freed stays in the pool for another owner, or goes back to the system.
enum class Reuse : bool { never, pooled };

// Gives a block back when its owner is done with it.
struct BlockDeleter {
    std::size_t size = 0;        // in bytes
    Reuse reuse = Reuse::never;  // never changes: it decides how the block is aligned
    std::size_t touched = 0;     // bytes that hold memory; a block with 0 is not pooled

    // To be called when so many bytes at the beginning have been written.
    void touch(std::size_t bytes) { touched = std::max(touched, bytes); }
    void operator()(void* block) const;
};

// Memory for objects that need no construction, not initialised.
template <typename T>
using Block = std::unique_ptr<T[], BlockDeleter>;

// A block of at least `size` bytes. Blocks below 256 KiB are never pooled. A large one that is not
// pooled is made of large pages where the system has them. Throws std::bad_alloc.
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

// Asks the system to use large pages for a block; it need not. REQUIRES: `begin` is a multiple of
// kLargePage.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra::json
