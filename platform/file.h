// Reading a file, and telling one version of it from another. May be called from several threads.
//
// Where a function takes an error code, it clears the code on success and gives the system's reason
// on failure.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "json/memory.h"
#include "platform/file_system.h"

namespace tovra {

// Owns an open file descriptor, or none.
class Descriptor {
  public:
    Descriptor() = default;
    // A negative number is none.
    Descriptor(FileSystem& system, int descriptor) : system_(&system), descriptor_(descriptor) {}
    explicit Descriptor(int descriptor) : Descriptor(FileSystem::system(), descriptor) {}
    Descriptor(Descriptor&& other) noexcept { *this = std::move(other); }
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(system_, other.system_);
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() {
        if (isOpen()) (void)system_->close(descriptor_);
    }

    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    // REQUIRES: isOpen().
    [[nodiscard]] FileSystem& system() const { return *system_; }

  private:
    FileSystem* system_ = nullptr;
    int descriptor_ = -1;
};

// A regular file that is open for reading.
struct OpenFile {
    Descriptor descriptor;
    struct stat status {};

    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(status.st_size); }
};

// Opens the regular file at `path`. Nothing comes back when it does not exist, cannot be opened, is
// a folder (EISDIR) or something else than a regular file, or is longer than `longest` bytes
// (EFBIG).
[[nodiscard]] std::optional<OpenFile> openFile(const std::filesystem::path& path,
                                               std::size_t longest, std::error_code& error,
                                               FileSystem& system = FileSystem::system());

// Reads at most `room` bytes from that offset on and returns their number: 0 at the file's end and
// where reading fails. REQUIRES: file.isOpen().
[[nodiscard]] std::size_t readAt(const Descriptor& file, char* into, std::size_t room,
                                 std::size_t offset, std::error_code& error);

// A file as it was read once. The file stays open: as long as it does, no other file can take its
// inode, so the inode tells whether a path still leads to it.
struct FileVersion {
    OpenFile file;
    json::Block<char> bytes;
    std::size_t size = 0;

    [[nodiscard]] std::string_view text() const { return {bytes.get(), size}; }
};

// Reads the regular file at `path` as it is at this moment. Nothing comes back where it cannot be
// opened, as by openFile, or read.
[[nodiscard]] std::optional<FileVersion> readFileVersion(FileSystem& system,
                                                         const std::filesystem::path& path,
                                                         std::size_t longest,
                                                         std::error_code& error);

// Whether the open file holds at this moment exactly what was read. Takes no memory, and so does
// not throw.
[[nodiscard]] bool isAsRead(const FileVersion& version);

// The path for people to read. A message has to be valid UTF-8, a path need not be.
[[nodiscard]] std::string readablePath(const std::filesystem::path& path);

}  // namespace tovra
