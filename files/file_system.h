// Every call that a save makes to the system, one method each. A test can stand in for all of them.
//
// An error code that a method returns or sets is empty on success, and the system's reason on
// failure. A call that a signal interrupts is made again, except close. May be called from several
// threads.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tovra {

// One entry of a POSIX access control list: who may do what with a file, beyond its mode. The kinds
// have the numbers that Linux stores.
struct AccessEntry {
    enum Kind : std::uint16_t {
        owner = 1,
        user = 2,
        group = 4,
        otherGroup = 8,
        mask = 16,
        others = 32
    };

    std::uint16_t kind;
    std::uint16_t rights;  // as in one digit of a mode: 4 read, 2 write, 1 execute
    std::uint32_t id;      // of the user or other group

    bool operator==(const AccessEntry&) const = default;
};
using AccessList = std::vector<AccessEntry>;

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

    // Each of the four gives a descriptor, negative on failure. The new files have mode 0600.
    virtual int openFile(Path path, Error& error);
    virtual int openFolder(Path path, Error& error);
    // A file without a name in that folder; an error where the system knows no such files.
    virtual int createUnnamed(Path folder, Error& error);
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
    // Lets the system begin to bring a file's bytes to the disk. It need not.
    virtual Error beginSynchronising(int file);
    // Brings a file's bytes, or a folder's entries, to the disk itself.
    virtual Error synchronise(int file);
    // The same for everything on the file system of that file.
    virtual Error synchroniseAll(int file);

    virtual Error changeOwner(int file, uid_t owner, gid_t group);
    virtual Error changeMode(int file, mode_t mode);
    // Copies extended attributes, on macOS the access control list too. What the system keeps for
    // itself is left out, and what the other file cannot carry.
    virtual Error copyAttributes(int from, int to);
    // Empty where the mode says everything; ENOTSUP where there are no such lists.
    virtual AccessList accessList(int file, Error& error);
    virtual Error setAccessList(int file, const AccessList& list);

    // Gives the name to a file without one, unless the name is taken (EEXIST).
    virtual Error link(int file, Path path);
    virtual Error rename(Path from, Path to);
    // Renames unless `to` exists (EEXIST).
    virtual Error renameExclusively(Path from, Path to);
    // Exchanges two files in one step; EINVAL, ENOSYS or ENOTSUP where that is not possible.
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

}  // namespace tovra
