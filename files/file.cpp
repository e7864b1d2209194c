#include "files/file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <functional>
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

constexpr std::size_t kLongestPiece = std::size_t{64} << 10;

// Hashes of short runs first: the processor works on several at a time.
std::size_t hashOf(std::string_view piece) {
    constexpr std::size_t kRun = 128;
    constexpr std::hash<std::string_view> hash;
    std::array<std::size_t, kLongestPiece / kRun> runs;
    std::size_t count = 0;
    for (; !piece.empty(); piece.remove_prefix(std::min(kRun, piece.size()))) {
        runs[count++] = hash(piece.substr(0, kRun));
    }
    return hash({reinterpret_cast<const char*>(runs.data()), count * sizeof runs[0]});
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

// A file may shrink or grow while it is read: somebody is writing it. Then there are fewer bytes,
// or as many as there were at first. Such a text does not parse, or the save finds that it has
// changed.
std::size_t FileVersion::read(char* into, std::size_t room, std::error_code& error) {
    const std::size_t most = std::min({room, kLongestPiece, file_.size() - done_});
    const std::size_t count = readAt(file_.descriptor, into, most, done_, error);
    if (count > 0) pieces_.push_back({count, hashOf({into, count})});
    done_ += count;
    return count;
}

bool FileVersion::isAsRead() const {
    std::array<char, kLongestPiece> bytes;
    std::error_code error;
    std::size_t done = 0;
    for (const Piece& piece : pieces_) {
        const std::size_t count = readAt(file_.descriptor, bytes.data(), piece.size, done, error);
        if (count != piece.size || hashOf({bytes.data(), count}) != piece.hash) return false;
        done += count;
    }
    return readAt(file_.descriptor, bytes.data(), 1, done, error) == 0 && !error;
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
