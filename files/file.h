// Reading a file, and telling one version of it from another. May be called from several threads.
//
// Where a function takes an error code, it clears the code on success and gives the system's reason
// on failure.
#pragma once

#include <sys/stat.h>

#include <cassert>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "files/byte_hash.h"
#include "files/file_system.h"

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
    [[nodiscard]] FileSystem& system() const {
        assert(isOpen());
        return *system_;
    }

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

// Opens the regular file at `path`. Nothing comes back where it cannot be opened, or is no regular
// file (EISDIR for a folder). Nor where it is longer than `longest` bytes (EFBIG).
[[nodiscard]] std::optional<OpenFile> openFile(const std::filesystem::path& path,
                                               std::size_t longest, std::error_code& error,
                                               FileSystem& system = FileSystem::system());

// Whether a file with that status belongs to the user under whom this process acts.
[[nodiscard]] bool isOwn(const struct stat& status);

// Reads from that offset on until the room is full or the file ends. Returns the number of bytes, 0
// where reading fails. REQUIRES: file.isOpen().
[[nodiscard]] std::size_t readAt(const Descriptor& file, char* into, std::size_t room,
                                 std::size_t offset, std::error_code& error);

// A file as it is read once, from its beginning to its end. It stays open, so that no other file
// can take its inode. The inode therefore tells whether a path still leads to this file. A hash
// stands for the bytes, which need no memory. Not for several threads.
class FileVersion {
  public:
    explicit FileVersion(OpenFile file) : file_(std::move(file)) {}

    // Reads the next bytes, at most `room`, and returns their number: 0 where there are no more,
    // and where reading fails. What the file has gained since it was opened is not read.
    [[nodiscard]] std::size_t read(char* into, std::size_t room, std::error_code& error);

    // Whether the file holds at this moment what was read, and nothing behind it. For other bytes
    // it is almost never true (ByteHash). Allocates nothing.
    [[nodiscard]] bool isAsRead() const;

    [[nodiscard]] const OpenFile& file() const { return file_; }
    // Of what was read.
    [[nodiscard]] std::uint64_t hash() const { return hash_.value(); }

  private:
    OpenFile file_;
    ByteHash hash_;
    std::size_t done_ = 0;  // how much has been read
};

// The path for people to read, in valid UTF-8. A path that is not loses its bytes beyond ASCII to
// question marks.
[[nodiscard]] std::string readablePath(const std::filesystem::path& path);

}  // namespace tovra
