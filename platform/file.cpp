#include "platform/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace tovra {
namespace {

ssize_t readAt(int descriptor, char* into, std::size_t count, std::size_t offset) {
    ssize_t result = 0;
    do {
        result = ::pread(descriptor, into, count, static_cast<off_t>(offset));
    } while (result < 0 && errno == EINTR);
    return result;
}

bool isReadable(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    if (static_cast<std::uintmax_t>(status.st_size) > json::Text::kMaxSize) {
        errno = EFBIG;
        return false;
    }
    return true;
}

}  // namespace

Descriptor::~Descriptor() {
    if (isOpen()) ::close(descriptor_);
}

std::optional<FileVersion> readFileVersion(const std::filesystem::path& path) {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !isReadable(status)) {
        return std::nullopt;
    }
    // A file that shrinks meanwhile is taken as long as it still is, one that grows as long as it
    // was: either is somebody's half-done write, which does not parse or is read anew.
    json::Text text(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = readAt(file.get(), text.data() + done, text.size() - done, done);
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    text.shorten(done);
    return FileVersion{std::move(file), status, std::move(text)};
}

std::optional<json::Text> readFile(const std::filesystem::path& path) {
    auto version = readFileVersion(path);
    if (!version) return std::nullopt;
    return std::move(version->text);
}

bool holdsBytes(const Descriptor& file, std::string_view bytes) {
    constexpr std::size_t kChunk = 64 * 1024;
    const auto chunk = std::make_unique_for_overwrite<char[]>(kChunk);
    std::size_t done = 0;
    for (;;) {
        const ssize_t count = readAt(file.get(), chunk.get(), kChunk, done);
        if (count < 0) return false;
        if (count == 0) return done == bytes.size();
        const std::string_view read(chunk.get(), static_cast<std::size_t>(count));
        if (bytes.substr(done, read.size()) != read) return false;
        done += read.size();
    }
}

}  // namespace tovra
