// macOS has no such hints; its allocator gives large blocks back by itself.
#include "platform/memory.h"

namespace tovra {

void preferLargePages(void*, std::size_t) {}

void returnFreedMemory() {}

}  // namespace tovra
