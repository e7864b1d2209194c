// How the process gets the memory of large documents, keeps some of it and gives the rest back. May
// be called from several threads.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

namespace tovra {

// Blocks beyond this size in bytes are never kept.
inline constexpr std::size_t kLargeBlock = std::size_t{13} << 19;

// Keeps a block that was used for the next one that asks for this size, or frees it.
struct KeepOrFree {
    std::size_t size = 0;  // in bytes
    std::size_t used = 0;  // how much of it holds memory; 0 where its owner has not told

    // Tells that so many bytes at the beginning have been written.
    void use(std::size_t bytes) { used = std::max(used, bytes); }
    void operator()(void* block) const;
};

// Memory for objects that need no construction, not initialised. Taking fresh pages costs more than
// parsing what is read into them, so the blocks of a document of ordinary size serve the next one.
template <typename T>
using Block = std::unique_ptr<T[], KeepOrFree>;

// How many bytes are asked for where `size` are needed: in steps, so that the blocks of a file that
// has grown a little are those of the call before.
[[nodiscard]] constexpr std::size_t blockSize(std::size_t size) {
    constexpr std::size_t kStep = std::size_t{256} << 10;
    return size < kStep ? size : (size + kStep - 1) / kStep * kStep;
}

// A block of blockSize(size) bytes.
[[nodiscard]] Block<char> takeBlock(std::size_t size);

template <typename T>
[[nodiscard]] Block<T> makeBlock(std::size_t count) {
    Block<char> block = takeBlock(count * sizeof(T));
    const KeepOrFree deleter = block.get_deleter();
    return {reinterpret_cast<T*>(block.release()), deleter};
}

// Asks for large pages behind a whole block of memory from the heap. A hint; nothing is done about
// one that is smaller than such a page.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra
