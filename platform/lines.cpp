#include "platform/lines.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

namespace tovra {
namespace {

// A buffer that a long line has made larger than this is freed.
constexpr std::size_t kKeptSize = 1024 * 1024;

// A host may have set the descriptor not to block. Waits until it can go on.
void waitFor(int descriptor, short event) {
    constexpr int kMilliseconds = 20;
    pollfd waiting{descriptor, event, 0};
    ::poll(&waiting, 1, -1);
    // macOS cannot wait for a terminal in this way, and says so at once.
    if ((waiting.revents & POLLNVAL) != 0) ::poll(nullptr, 0, kMilliseconds);
}

bool mayGoOn(int descriptor, short event) {
    if (errno == EINTR) return true;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return false;
    waitFor(descriptor, event);
    return true;
}

}  // namespace

std::optional<std::string_view> LineReader::next() {
    line_.clear();
    if (line_.capacity() > kKeptSize) line_.shrink_to_fit();
    while (!hasEnded_) {
        const std::string_view unread(read_.data() + begin_, end_ - begin_);
        const std::size_t feed = unread.find('\n');
        if (feed == std::string_view::npos) {
            keep(unread);
            hasEnded_ = !readMore();
            continue;
        }
        begin_ += feed + 1;
        const std::string_view line = lineEndingWith(unread.substr(0, feed));
        if (!std::exchange(isTooLong_, false)) return line;
    }
    if (line_.empty()) return std::nullopt;
    return line_;
}

// Where there is no memory for the line, what was read of it is freed for the next one.
void LineReader::keep(std::string_view piece) {
    try {
        if (!isTooLong_) line_ += piece;
    } catch (const std::exception&) {
        isTooLong_ = true;
        std::string().swap(line_);
    }
}

std::string_view LineReader::lineEndingWith(std::string_view piece) {
    if (!line_.empty()) {
        keep(piece);
        piece = line_;
    }
    if (piece.ends_with('\r')) piece.remove_suffix(1);
    return piece;
}

bool LineReader::readMore() {
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, read_.data(), read_.size());
    } while (count < 0 && mayGoOn(descriptor_, POLLIN));
    begin_ = 0;
    end_ = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count > 0;
}

std::error_code writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && !mayGoOn(descriptor, POLLOUT)) return {errno, std::generic_category()};
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
}

}  // namespace tovra
