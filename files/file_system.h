// Calls to the file system, one method each. A test can stand in for all that a save makes.
//
// An error code that a method returns or sets is empty on success, and the system's reason on
// failure. Network file systems may report a failure of what they have done. A call that a signal
// interrupts is made again, where that does no harm. May be called from several threads.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tovra {

class FileSystem {
  public:
    using Path = const std::filesystem::path&;
    using Error = std::error_code;

    FileSystem() = default;
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;
    virtual ~FileSystem() = default;

    // The system itself.
    [[nodiscard]] static FileSystem& system();

    // Each of the three gives a descriptor, negative on failure. The new file has mode 0600.
    virtual int openFile(Path path, Error& error);
    virtual int openFolder(Path path, Error& error);
    virtual int createExclusively(Path path, Error& error);
    virtual Error close(int file);

    virtual Error status(int file, struct stat& status);
    // The status of what the path itself names; a link is not followed.
    virtual Error look(Path path, struct stat& status);
    virtual std::filesystem::path linkTarget(Path path, Error& error);
    virtual std::vector<std::string> namesIn(Path folder, Error& error);
    // Whether this process may write to the file.
    virtual Error mayWrite(Path path);

    // Locks an open folder, without waiting; EWOULDBLOCK where somebody else has it locked.
    virtual Error lock(int folder);
    virtual std::size_t read(int file, char* into, std::size_t room, std::size_t offset,
                             Error& error);
    // Gives how many bytes were written, perhaps less than all.
    virtual std::size_t write(int file, std::string_view bytes, Error& error);
    // Brings a file's bytes, or a folder's entries, to the disk itself.
    virtual Error synchronise(int file);
    // The same for everything on the file system of that file.
    virtual Error synchroniseAll(int file);

    virtual Error changeOwner(int file, uid_t owner, gid_t group);
    virtual Error changeMode(int file, mode_t mode);
    // Copies extended attributes. What the system keeps for itself is left out, and what the other
    // file cannot carry.
    virtual Error copyAttributes(int from, int to);
    // Copies the access control list, and says whether there is one. Where there is none, the other
    // file loses what it has inherited.
    virtual Error copyAccessList(int from, int to, bool& isThere);

    virtual Error rename(Path from, Path to);
    // Renames unless `to` exists (EEXIST); EINVAL, ENOSYS or ENOTSUP where that is not possible.
    virtual Error renameExclusively(Path from, Path to);
    // Exchanges two files in one step; the same errors where that is not possible.
    virtual Error exchange(Path a, Path b);
    virtual Error remove(Path path);
    virtual Error makeFolder(Path path);
    virtual Error removeFolder(Path path);

    // Lets time pass.
    virtual void pause(std::chrono::milliseconds time);
};

// When the file's bytes and when its name, owner or mode last changed.
[[nodiscard]] std::array<timespec, 2> changeTimes(const struct stat& status);

// The reason in errno, or none where the result of a call tells of success.
[[nodiscard]] std::error_code errorOf(std::intmax_t result);

// The result of a call, made again as long as a signal interrupts it. Not for calls that may have
// been done nevertheless and would come to something else the second time.
template <typename Call>
auto uninterrupted(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

// The same with its error.
template <typename Call>
auto uninterrupted(const Call& call, std::error_code& error) {
    const auto result = uninterrupted(call);
    error = errorOf(result);
    return result;
}

}  // namespace tovra
