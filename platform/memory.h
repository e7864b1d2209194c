// How the process gets the memory of large documents and gives it back.
#pragma once

#include <cstddef>

namespace tovra {

// How much to ask for where `size` bytes are needed: large blocks come in steps, so that those of a
// file that has grown a little go where those of the call before were.
[[nodiscard]] constexpr std::size_t roomFor(std::size_t size) {
    constexpr std::size_t kStep = std::size_t{256} << 10;
    return size < kStep ? size : (size + kStep - 1) / kStep * kStep;
}

// Asks for large pages behind a whole block of memory from the heap: taking a page costs more than
// parsing the bytes in it. A hint; blocks that are not mapped on their own are left alone.
void preferLargePages(void* begin, std::size_t size);

// Makes large blocks go back to the system as soon as they are freed. Called once, at start-up,
// before there are other threads.
void returnFreedMemory();

// Held while a call is under way. When the last one goes, what else is free goes back as well where
// the process holds more than it should keep between two calls.
class CallMemory {
  public:
    CallMemory();
    CallMemory(const CallMemory&) = delete;
    CallMemory& operator=(const CallMemory&) = delete;
    ~CallMemory();
};

}  // namespace tovra
