// The system calls of a save, one method each, so that a test can make each of them fail.
//
// Every method answers as its system call does: a negative number means failure, with the reason
// in errno. May be called from several threads.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <filesystem>

namespace tovra {

class FileSystem {
  public:
    FileSystem() = default;
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;
    virtual ~FileSystem() = default;

    // The system itself.
    [[nodiscard]] static FileSystem& system();

    // Creates a file that must not exist yet, for writing.
    virtual int createExclusively(const std::filesystem::path& path, mode_t mode);
    virtual ssize_t write(int descriptor, const void* bytes, std::size_t count);
    virtual int changeOwner(int descriptor, uid_t owner, gid_t group);
    virtual int changeMode(int descriptor, mode_t mode);
    // Brings a file's bytes, or a directory's entries, to the disk itself.
    virtual int synchronise(int descriptor);
    virtual int close(int descriptor);
    virtual int rename(const std::filesystem::path& from, const std::filesystem::path& to);
    // Renames unless `to` exists (EEXIST).
    virtual int renameExclusively(const std::filesystem::path& from,
                                  const std::filesystem::path& to);
    // Exchanges two files in one step; EINVAL, ENOSYS or ENOTSUP where that is not possible.
    virtual int exchange(const std::filesystem::path& a, const std::filesystem::path& b);
    virtual int remove(const std::filesystem::path& path);
};

}  // namespace tovra
