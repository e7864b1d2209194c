#include "platform/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
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
    if (static_cast<std::uintmax_t>(status.st_size) > json::kMaxSize) {
        errno = EFBIG;
        return false;
    }
    return true;
}

// Without bytes.
std::optional<FileVersion> openFile(const std::filesystem::path& path) {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !isReadable(status)) {
        return std::nullopt;
    }
    return FileVersion{std::move(file), status, {}, static_cast<std::size_t>(status.st_size)};
}

}  // namespace

Descriptor::~Descriptor() {
    if (isOpen()) ::close(descriptor_);
}

// A file that shrinks meanwhile is taken as long as it still is, one that grows as long as it was:
// either is somebody's half-done write, which does not parse or is read anew.
std::optional<FileVersion> readFileVersion(const std::filesystem::path& path) {
    auto file = openFile(path);
    if (!file) return std::nullopt;
    file->bytes = makeBlock<char>(file->size, Fate::freed);
    std::size_t done = 0;
    while (done < file->size) {
        const ssize_t count =
            readAt(file->descriptor.get(), file->bytes.get() + done, file->size - done, done);
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    file->size = done;
    return file;
}

std::optional<json::Document> parseFile(const std::filesystem::path& path) {
    const auto file = openFile(path);
    if (!file) return std::nullopt;
    std::size_t done = 0;
    const auto read = [&](char* into, std::size_t room) {
        const std::size_t size = std::min(room, file->size - done);
        const ssize_t count = readAt(file->descriptor.get(), into, size, done);
        if (count > 0) done += static_cast<std::size_t>(count);
        return count;
    };
    return json::parse(json::Source{file->size, read});
}

bool isAsRead(const FileVersion& version) {
    constexpr std::size_t kChunk = 64 * 1024;
    const auto chunk = std::make_unique_for_overwrite<char[]>(kChunk);
    std::string_view rest = version.text();
    for (std::size_t done = 0;;) {
        const ssize_t count = readAt(version.descriptor.get(), chunk.get(), kChunk, done);
        if (count < 0) return false;
        if (count == 0) return rest.empty();
        const std::string_view read(chunk.get(), static_cast<std::size_t>(count));
        if (!rest.starts_with(read)) return false;
        rest.remove_prefix(read.size());
        done += read.size();
    }
}

}  // namespace tovra
