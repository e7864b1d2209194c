#include "platform/line_io.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tovra {
namespace {

constexpr std::size_t kReadSize = 16 * 1024;
// A buffer that a long line has left larger than this is given back.
constexpr std::size_t kKeptSize = 1024 * 1024;

// Waits until a descriptor that was set not to block (a host may have done so) can go on.
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
    for (std::size_t searched = begin_;;) {
        const std::size_t feed = buffer_.find('\n', searched);
        if (feed != std::string::npos) {
            std::string_view line = std::string_view(buffer_).substr(begin_, feed - begin_);
            if (line.ends_with('\r')) line.remove_suffix(1);
            begin_ = feed + 1;
            return line;
        }
        dropLinesBefore();
        searched = buffer_.size();
        if (!readMore()) {
            begin_ = buffer_.size();
            if (buffer_.empty()) return std::nullopt;
            return buffer_;
        }
    }
}

void LineReader::dropLinesBefore() {
    buffer_.erase(0, begin_);
    begin_ = 0;
    if (buffer_.capacity() > kKeptSize && buffer_.size() < kReadSize) buffer_.shrink_to_fit();
}

bool LineReader::readMore() {
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kReadSize);
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, buffer_.data() + size, kReadSize);
    } while (count < 0 && mayGoOn(descriptor_, POLLIN));
    buffer_.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && !mayGoOn(descriptor, POLLOUT)) return false;
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace tovra
