// Reading a file, and telling one version of it from another. May be called from several
// threads.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/json.h"
#include "platform/memory.h"

namespace tovra {

// Owns an open file descriptor, or none.
class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor();

    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    // Gives the descriptor away without closing it.
    int release() { return std::exchange(descriptor_, -1); }

  private:
    int descriptor_;
};

// A file as it was read once. The file stays open: as long as it does, no other file can take its
// inode, so the inode tells whether a path still leads to it.
struct FileVersion {
    Descriptor descriptor;
    struct stat status {};
    Block<char> bytes;
    std::size_t size = 0;

    [[nodiscard]] std::string_view text() const { return {bytes.get(), size}; }
};

// Reads the regular file at `path` as it is at this moment. Nothing comes back, with the reason in
// errno, when it does not exist, cannot be read, is something else than a regular file (EISDIR,
// EINVAL), or is longer than json::kMaxSize (EFBIG).
[[nodiscard]] std::optional<FileVersion> readFileVersion(const std::filesystem::path& path);

// The JSON text in the file, parsed while it is read, so that its bytes need no memory. Nothing
// comes back in the same cases and where the file holds no JSON.
[[nodiscard]] std::optional<json::Document> parseFile(const std::filesystem::path& path);

// Whether the open file holds at this moment exactly what was read.
[[nodiscard]] bool isAsRead(const FileVersion& version);

}  // namespace tovra
