// The memory of a large document that is gone, which serves the next one: a fresh page costs more
// than parsing what is read into it. There is one such memory in the process. Of several documents
// at once only one finds it. Only for json/; may be called from several threads.
#pragma once

#include <cstddef>

#include "json/growable_array.h"
#include "json/node.h"

namespace tovra::json {

// A shorter text takes fresh memory, and leaves this one alone.
inline constexpr std::size_t kSmallestSpare = std::size_t{256} << 10;

// What takes more bytes goes back to the system. With this, and with what it takes before its first
// call, a process that answers over standard input stays below 12 MB.
inline constexpr std::size_t kMostSpare = 7'600'000;

// The arrays that are spare, for a text of that size; else empty ones.
[[nodiscard]] DocumentArrays takeSpare(std::size_t textSize);

// Keeps the arrays of a document that is gone, in place of those that are kept.
void putSpare(DocumentArrays arrays) noexcept;

}  // namespace tovra::json
