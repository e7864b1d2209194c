#include "platform/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>

#include "json/utf8.h"

namespace tovra {
namespace {

std::error_code systemError(int reason) { return {reason, std::generic_category()}; }

// Why the file is not one to be read; no error where it is.
std::error_code problemWith(const struct stat& status, std::size_t longest) {
    if (S_ISDIR(status.st_mode)) return systemError(EISDIR);
    if (!S_ISREG(status.st_mode)) return systemError(EINVAL);
    if (static_cast<std::uintmax_t>(status.st_size) > longest) return systemError(EFBIG);
    return {};
}

}  // namespace

Descriptor::~Descriptor() {
    if (isOpen()) ::close(descriptor_);
}

std::optional<OpenFile> openFile(const std::filesystem::path& path, std::size_t longest,
                                 std::error_code& error) {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    OpenFile file{Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))};
    if (!file.descriptor.isOpen() || ::fstat(file.descriptor.get(), &file.status) != 0) {
        error = systemError(errno);
        return std::nullopt;
    }
    error = problemWith(file.status, longest);
    if (error) return std::nullopt;
    return file;
}

std::size_t readAt(const Descriptor& file, char* into, std::size_t room, std::size_t offset,
                   std::error_code& error) {
    ssize_t count = 0;
    do {
        count = ::pread(file.get(), into, room, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    error = count < 0 ? systemError(errno) : std::error_code();
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

// A file that shrinks meanwhile is taken as long as it still is, one that grows as long as it was:
// either is somebody's half-done write, which does not parse or is read anew.
std::optional<FileVersion> readFileVersion(const std::filesystem::path& path, std::size_t longest,
                                           std::error_code& error) {
    auto file = openFile(path, longest, error);
    if (!file) return std::nullopt;
    const std::size_t size = file->size();
    FileVersion version{std::move(*file), json::makeBlock<char>(size, json::Reuse::never)};
    while (version.size < size) {
        const std::size_t count =
            readAt(version.file.descriptor, version.bytes.get() + version.size, size - version.size,
                   version.size, error);
        if (error) return std::nullopt;
        if (count == 0) break;
        version.size += count;
    }
    return version;
}

bool isAsRead(const FileVersion& version) {
    constexpr std::size_t kChunk = 64 * 1024;
    const auto chunk = std::make_unique_for_overwrite<char[]>(kChunk);
    std::string_view rest = version.text();
    for (std::size_t done = 0;;) {
        std::error_code error;
        const std::size_t count = readAt(version.file.descriptor, chunk.get(), kChunk, done, error);
        if (error) return false;
        if (count == 0) return rest.empty();
        if (!rest.starts_with(std::string_view(chunk.get(), count))) return false;
        rest.remove_prefix(count);
        done += count;
    }
}

std::string readablePath(const std::filesystem::path& path) {
    std::string text = path.string();
    if (!json::isValidUtf8(text)) {
        std::replace_if(
            text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; }, '?');
    }
    return text;
}

}  // namespace tovra
