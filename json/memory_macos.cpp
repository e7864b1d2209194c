// macOS has no such settings. Its allocator gives large blocks back by itself.
#include "json/memory.h"

namespace tovra::json {

void preferLargePages(void*, std::size_t) {}

void returnFreedMemory() {}

}  // namespace tovra::json
