// How the process gets the memory of large documents and gives it back.
#pragma once

#include <cstddef>

namespace tovra {

// Asks for large pages behind a region of memory that will be filled from its beginning: taking a
// page costs more than parsing the bytes in it. A hint; small regions are left alone.
void preferLargePages(void* begin, std::size_t size);

// Makes large blocks go back to the system as soon as they are freed. Called once, at start-up.
void returnFreedMemory();

}  // namespace tovra
