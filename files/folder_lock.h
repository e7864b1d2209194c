// The folder of a file that is to be replaced: locked, and made where it is missing. Several
// threads may each use an object of their own.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>
#include <vector>

#include "files/file.h"
#include "files/file_system.h"

namespace tovra {

// A folder that exists. Until this is destroyed it is locked against other programs that ask for
// the same lock. A lock on the file itself would end when the file is replaced, and a lock file
// would be left behind.
//
// The lock spares work; it is not needed for safety. There is none where the file system has no
// locks, the folder may not be read, or somebody else keeps it.
class Folder {
  public:
    // Waits while another program has the lock and `mayWait` allows it. Nothing comes back where
    // the folder does not exist or cannot be opened. A folder that may not be read is no failure.
    static std::optional<Folder> open(FileSystem& system, const std::filesystem::path& path,
                                      const std::function<bool()>& mayWait, std::error_code& error);

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] bool isLocked() const { return isLocked_; }
    // Brings the folder's entries to the disk itself. `file` is an open one in it.
    [[nodiscard]] std::error_code synchronise(const Descriptor& file) const;

  private:
    explicit Folder(const std::filesystem::path& path) : path_(path) {}

    std::filesystem::path path_;
    Descriptor descriptor_;
    bool isLocked_ = false;
};

// Folders that are made for a file. They are removed with this object unless they are kept.
class NewFolders {
  public:
    explicit NewFolders(FileSystem& system) : system_(system) {}
    NewFolders(const NewFolders&) = delete;
    NewFolders& operator=(const NewFolders&) = delete;
    ~NewFolders() { (void)remove(); }

    // Makes the folder and all above it that are missing, each on the disk when this returns.
    [[nodiscard]] std::error_code make(const std::filesystem::path& folder);
    // Removes those that were made. False where one of them stays, or may be one that stays.
    [[nodiscard]] bool remove();
    void keep() { made_.clear(); }

  private:
    FileSystem& system_;
    std::vector<std::filesystem::path> made_;
    bool isCertain_ = true;  // that all others were made by somebody else
};

// The folder that holds the file.
[[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& file);

// The file that a path leads to, so that a link stays a link when that file is replaced. Where it
// leads nowhere, the path of the file that is missing.
[[nodiscard]] std::filesystem::path resolved(FileSystem& system, std::filesystem::path path);

}  // namespace tovra
