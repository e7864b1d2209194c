// The program that reads what this one writes: whether it is still there, and whether it reads.
#pragma once

#include <string_view>
#include <system_error>

namespace tovra {

// Whether the other end of a pipe or socket is still open; true for anything else that is open.
[[nodiscard]] bool hasReader(int descriptor);

// Whether a person looks at what is written there.
[[nodiscard]] bool isTerminal(int descriptor);

// Waits until the descriptor takes PIPE_BUF bytes at once. False when nobody reads any more.
[[nodiscard]] bool awaitReader(int descriptor);

// Writes all of `bytes`. Gives the system's reason where that fails, EPIPE where nobody reads any
// more. Gives EINTR where it would have to wait although the process is told to end.
[[nodiscard]] std::error_code writeToReader(int descriptor, std::string_view bytes);

}  // namespace tovra
