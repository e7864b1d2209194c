// Replacing a file without ever losing a byte. A version that another program puts in its place at
// the same moment is not lost either. docs/safe-save.md has the steps, and what a crash leaves.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string_view>
#include <system_error>

#include "files/byte_hash.h"
#include "files/file.h"
#include "files/file_system.h"
#include "files/folder_lock.h"
#include "files/leftovers.h"
#include "files/save_error.h"

namespace tovra {

// A new file that is to take the place of the one at the target: create(), write() as often as
// needed, synchronise(), replaceTarget(). Each throws SaveError. Then, and without
// replaceTarget(), the target is as it was unless after() says otherwise. What lies beside it goes
// with remove(), or with this object. Not for several threads.
class NewFile {
  public:
    // `target` is in `folder` and no symbolic link. `before` is the version that was read; null
    // where there was no file. Keeps the references.
    NewFile(FileSystem& system, const Folder& folder, const std::filesystem::path& target,
            const FileVersion* before)
        : system_(system), folder_(folder), target_(target), before_(before) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { (void)remove(); }

    // Makes the file. It gets what keepAccess() gives it, or mode 0600 where there was no file.
    void create();
    void write(std::string_view bytes);
    // Brings the bytes to the disk.
    void synchronise();
    // Gives the file the target's name, on the disk too. False where the target is not (or no
    // longer) the version that was read; it is then as it was.
    [[nodiscard]] bool replaceTarget();

    // Removes what lies beside the target by now. False where it stays.
    [[nodiscard]] bool remove();

  private:
    [[nodiscard]] bool takeFreeName();
    [[nodiscard]] bool exchange();
    [[nodiscard]] bool renameOver();
    [[nodiscard]] bool isOldVersion() const;
    void putBack();
    void synchroniseFolder() const;
    [[nodiscard]] std::error_code settled(std::error_code reported,
                                          const std::filesystem::path& to);
    [[noreturn]] void leaveBehind(const std::error_code& error);
    // Gives the name away: what has it now is not this object's to remove.
    std::filesystem::path forget() { return std::exchange(path_, {}); }

    FileSystem& system_;
    const Folder& folder_;
    const std::filesystem::path& target_;
    const FileVersion* before_;
    std::filesystem::path path_;  // of what lies beside the target; empty where nothing does
    Descriptor file_;             // open, so that no other file can take its inode
    struct stat status_ {};
    ByteHash hash_;
};

}  // namespace tovra
