// How the process gets the memory of large documents, keeps some of it and gives the rest back. May
// be called from several threads.
#pragma once

#include <cstddef>
#include <memory>

namespace tovra {

// Blocks beyond this size in bytes are never kept.
inline constexpr std::size_t kLargeBlock = std::size_t{9} << 20 | std::size_t{256} << 10;

// Keeps the block for the next one that asks for this size, or frees it.
struct KeepOrFree {
    std::size_t size = 0;  // in bytes
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

// A block of blockSize(size) bytes; to be owned by a Block.
[[nodiscard]] void* takeBlock(std::size_t size);

template <typename T>
[[nodiscard]] Block<T> makeBlock(std::size_t count) {
    const std::size_t size = count * sizeof(T);
    return {static_cast<T*>(takeBlock(size)), KeepOrFree{blockSize(size)}};
}

// Asks for large pages behind a whole block of memory from the heap. A hint; nothing is done about
// one that is not beyond kLargeBlock.
void preferLargePages(void* begin, std::size_t size);

// Makes blocks from a megabyte on go back to the system as soon as they are freed. Called once, at
// start-up.
void returnFreedMemory();

}  // namespace tovra
