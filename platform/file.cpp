#include "platform/file.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>

#include "json/utf8.h"

namespace tovra {
namespace {

// The one error that the system has no number for.
class FileCategory : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "file"; }
    [[nodiscard]] std::string message(int /*value*/) const override { return "Not a regular file"; }
    [[nodiscard]] std::error_condition default_error_condition(
        int /*value*/) const noexcept override {
        return std::errc::invalid_argument;
    }
};

std::error_code notRegular() {
    static const FileCategory category;
    return {1, category};
}

// Why the file is not read; no error where it can be.
std::error_code problemWith(const struct stat& status, std::size_t longest) {
    if (S_ISDIR(status.st_mode)) return std::make_error_code(std::errc::is_a_directory);
    if (!S_ISREG(status.st_mode)) return notRegular();
    if (static_cast<std::uintmax_t>(status.st_size) > longest) {
        return std::make_error_code(std::errc::file_too_large);
    }
    return {};
}

}  // namespace

std::optional<OpenFile> openFile(const std::filesystem::path& path, std::size_t longest,
                                 std::error_code& error, FileSystem& system) {
    OpenFile file{Descriptor(system, system.openFile(path, error))};
    // This is the system's error for a socket.
    if (error == std::errc::no_such_device_or_address) error = notRegular();
    if (!error) error = system.status(file.descriptor.get(), file.status);
    if (!error) error = problemWith(file.status, longest);
    if (error) return std::nullopt;
    return file;
}

std::size_t readAt(const Descriptor& file, char* into, std::size_t room, std::size_t offset,
                   std::error_code& error) {
    assert(file.isOpen());
    return file.system().read(file.get(), into, room, offset, error);
}

// A file may shrink or grow while it is read: somebody is writing it. Then there are fewer bytes,
// or as many as there were at first. Such a text does not parse, or the save finds that it has
// changed.
std::optional<FileVersion> readFileVersion(FileSystem& system, const std::filesystem::path& path,
                                           std::size_t longest, std::error_code& error) {
    auto file = openFile(path, longest, error, system);
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
    std::array<char, 64 * std::size_t{1024}> chunk;
    std::string_view rest = version.text();
    for (std::size_t done = 0;;) {
        std::error_code error;
        const std::size_t count =
            readAt(version.file.descriptor, chunk.data(), chunk.size(), done, error);
        if (error) return false;
        if (count == 0) return rest.empty();
        if (!rest.starts_with(std::string_view(chunk.data(), count))) return false;
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
