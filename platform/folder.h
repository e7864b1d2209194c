// The folder of a file that is to be replaced: locked, and made where it is missing. May be used by
// several threads, each with an object of its own.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/file.h"
#include "platform/file_system.h"

namespace tovra {

// A folder that exists, with an exclusive lock among the programs that ask for it, until it is
// destroyed. The folder carries the lock because one on the file itself ends when the file is
// replaced, and because this way nothing is left behind.
//
// The lock spares work and is no need: there is none where the file system has no locks, where the
// folder may not be read, and where somebody else keeps it.
class Folder {
  public:
    // Waits while another program has the lock and `mayWait` allows it. Nothing comes back where
    // the folder does not exist or cannot be opened for another reason than its mode.
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

// Folders that are made for a file, and go again with this unless they are kept.
class NewFolders {
  public:
    explicit NewFolders(FileSystem& system) : system_(system) {}
    NewFolders(const NewFolders&) = delete;
    NewFolders& operator=(const NewFolders&) = delete;
    ~NewFolders() { (void)remove(); }

    // Makes the folder and all above it that are missing, each on the disk when this returns.
    [[nodiscard]] std::error_code make(const std::filesystem::path& folder);
    // Removes those that were made. False where one of them stays.
    [[nodiscard]] bool remove();
    void keep() { made_.clear(); }

  private:
    FileSystem& system_;
    std::vector<std::filesystem::path> made_;
};

// The folder that holds the file.
[[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& file);

// The file that a path leads to, so that a link stays a link when that file is replaced. Where it
// leads nowhere, the path of the file that is missing.
[[nodiscard]] std::filesystem::path resolved(FileSystem& system, std::filesystem::path path);

}  // namespace tovra
