#include "platform/output.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/lines.h"
#include "platform/signals.h"

namespace tovra {
namespace {

enum class Reader { ready, busy, gone };

Reader lookAtReader(int descriptor, int milliseconds) {
    pollfd waiting{descriptor, POLLOUT, 0};
    const int found = ::poll(&waiting, 1, milliseconds);
    // Where the system cannot tell, the writing itself will.
    if (found < 0 && errno != EINTR && errno != EAGAIN) return Reader::ready;
    if (found <= 0) return Reader::busy;
    if ((waiting.revents & (POLLERR | POLLHUP)) != 0) return Reader::gone;
    // macOS says that of a terminal, too.
    const bool isClosed = (waiting.revents & POLLNVAL) != 0 && ::fcntl(descriptor, F_GETFD) < 0;
    return isClosed ? Reader::gone : Reader::ready;
}

}  // namespace

bool isTerminal(int descriptor) { return ::isatty(descriptor) == 1; }

bool hasReader(int descriptor) { return lookAtReader(descriptor, 0) != Reader::gone; }

bool awaitReader(int descriptor) {
    for (;;) {
        const Reader reader = lookAtReader(descriptor, -1);
        if (reader != Reader::busy) return reader == Reader::ready;
    }
}

// Written in pieces of PIPE_BUF bytes, which a ready pipe takes at once. A write that waits for the
// reader could not be broken off.
std::error_code writeToReader(int descriptor, std::string_view bytes) {
    constexpr int kPause = 50;
    while (!bytes.empty()) {
        const Reader reader = lookAtReader(descriptor, kPause);
        if (reader == Reader::gone) return std::make_error_code(std::errc::broken_pipe);
        if (reader == Reader::busy) {
            if (isEndSignalPending()) return std::make_error_code(std::errc::interrupted);
            continue;
        }
        const std::string_view piece = bytes.substr(0, PIPE_BUF);
        if (const std::error_code error = writeAll(descriptor, piece)) return error;
        bytes.remove_prefix(piece.size());
    }
    return {};
}

}  // namespace tovra
