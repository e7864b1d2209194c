#include "files/file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <string_view>

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
    // open() of a socket gives ENXIO.
    if (error == std::errc::no_such_device_or_address) error = notRegular();
    if (!error) error = system.status(file.descriptor.get(), file.status);
    if (!error) error = problemWith(file.status, longest);
    if (error) return std::nullopt;
    return file;
}

bool isOwn(const struct stat& status) { return status.st_uid == ::geteuid(); }

std::size_t readAt(const Descriptor& file, char* into, std::size_t room, std::size_t offset,
                   std::error_code& error) {
    assert(file.isOpen());
    error.clear();
    for (std::size_t done = 0;;) {
        if (done == room) return done;
        const std::size_t count =
            file.system().read(file.get(), into + done, room - done, offset + done, error);
        if (error) return 0;
        if (count == 0) return done;
        done += count;
    }
}

// Whoever writes the file meanwhile is noticed later: by the parser, or by isAsRead().
std::size_t FileVersion::read(char* into, std::size_t room, std::error_code& error) {
    const std::size_t most = std::min(room, file_.size() - done_);
    const std::size_t count = readAt(file_.descriptor, into, most, done_, error);
    hash_.add({into, count});
    done_ += count;
    return count;
}

bool FileVersion::isAsRead() const {
    std::array<char, std::size_t{64} << 10> bytes;
    std::error_code error;
    ByteHash now;
    std::size_t done = 0;
    // One that grows all the time has an end here too.
    for (std::size_t count = bytes.size(); count == bytes.size() && done <= done_; done += count) {
        count = readAt(file_.descriptor, bytes.data(), bytes.size(), done, error);
        now.add({bytes.data(), count});
    }
    return !error && done == done_ && now.value() == hash();
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
