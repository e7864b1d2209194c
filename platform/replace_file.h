// Replacing a file without ever losing a byte: neither of the file that is replaced, nor of a
// version that another program puts in its place at the same moment.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/file_system.h"

namespace tovra {

// An exclusive lock on a directory, held until it is destroyed, among the programs that ask for it.
// The directory carries it because a lock on the file itself ends when the file is replaced, and
// because this way nothing is left behind. Where the file system has no locks, none is held.
class DirectoryLock {
  public:
    // Waits while another program has the lock and `mayWait` allows it. Throws std::system_error
    // when the directory cannot be opened (ENOENT where it does not exist) or the wait is over
    // (ETIMEDOUT).
    DirectoryLock(const std::filesystem::path& directory, const std::function<bool()>& mayWait);

    [[nodiscard]] const Descriptor& directory() const { return directory_; }

  private:
    Descriptor directory_;
};

// What the name of every temporary file begins with that a save makes beside `target`. Such a file
// is left behind only where the process or the machine stops in the middle of a save.
[[nodiscard]] std::string temporaryNameStart(const std::filesystem::path& target);

enum class Replacement {
    done,     // the new bytes are in place, and on the disk
    changed,  // the file is not (or no longer) the one that was read: nothing was replaced
};

// Writes the bytes of a new file to the sink, piece by piece.
using WriteBytes = std::function<void(const std::function<void(std::string_view)>& sink)>;

// Puts what `writeBytes` writes in the place of the file at `target`, which is no symbolic link.
// `before` is the version that was read, or null where there was no file; the new file gets its
// mode and owner (0600 for a new file). The bytes are on the disk before they take the name, and
// whatever another program has put there meanwhile keeps it.
//
// Throws std::system_error with the system's reason when that fails, and whatever `writeBytes`
// throws; then and after `changed` the target is as it was and no temporary file is left.
[[nodiscard]] Replacement replaceFile(FileSystem& system, const std::filesystem::path& target,
                                      const DirectoryLock& lock, const FileVersion* before,
                                      const WriteBytes& writeBytes);

}  // namespace tovra
