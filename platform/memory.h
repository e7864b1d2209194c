// How the process gets the memory of large documents and gives it back.
#pragma once

#include <cstddef>

namespace tovra {

// Asks for large pages behind a whole block of memory from the heap: taking a page costs more than
// parsing the bytes in it. A hint; blocks that are not mapped on their own are left alone.
void preferLargePages(void* begin, std::size_t size);

// Makes large blocks go back to the system as soon as they are freed. Called once, at start-up.
void returnFreedMemory();

// Gives back all that is free at this moment, after work that will not be repeated soon.
void returnAllFreedMemory();

}  // namespace tovra
