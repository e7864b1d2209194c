// How the process gets the memory of large documents, keeps some of it and gives the rest back. May
// be called from several threads.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

namespace tovra::json {

// How many bytes kept blocks may hold together, so that the process keeps no more than 12 MB.
inline constexpr std::size_t kMostKept = std::size_t{29} << 18;

// Whether a block may serve others of its size after its owner, or goes back to the system.
enum class Fate : bool { freed, kept };

// What becomes of a block when its owner is done with it.
struct KeepOrFree {
    std::size_t size = 0;     // in bytes
    Fate fate = Fate::freed;  // never changes: it decides how the block is aligned
    std::size_t used = 0;     // how much of it holds memory; where it is 0 the block is freed

    // Tells that so many bytes at the beginning have been written.
    void use(std::size_t bytes) { used = std::max(used, bytes); }
    void operator()(void* block) const;
};

// Memory for objects that need no construction, not initialised.
template <typename T>
using Block = std::unique_ptr<T[], KeepOrFree>;

// A block of at least `size` bytes. Taking fresh pages costs more than parsing what is read into
// them, so those of a document of ordinary size are kept; the others are made of large pages where
// there are such.
[[nodiscard]] Block<char> takeBlock(std::size_t size, Fate fate);

template <typename T>
[[nodiscard]] Block<T> makeBlock(std::size_t count, Fate fate) {
    Block<char> block = takeBlock(count * sizeof(T), fate);
    const KeepOrFree deleter = block.get_deleter();
    return {reinterpret_cast<T*>(block.release()), deleter};
}

// The size of a large page; a block made of them begins at a multiple of it.
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;

// Asks for large pages behind a block, which begins at a multiple of kLargePage. A hint.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra::json
