// The program that reads what this one writes: whether it is still there, and whether it reads.
#pragma once

#include <string_view>

namespace tovra {

// Whether the other end of a pipe or socket is still open; true for anything else.
[[nodiscard]] bool hasReader(int descriptor);

// Waits until the descriptor takes PIPE_BUF bytes at once. False when nobody reads any more.
[[nodiscard]] bool awaitReader(int descriptor);

// Writes all of `bytes`. False when it cannot be written, and when the reader lets the writing wait
// while a signal that is held back asks the process to end.
[[nodiscard]] bool writeToReader(int descriptor, std::string_view bytes);

}  // namespace tovra
