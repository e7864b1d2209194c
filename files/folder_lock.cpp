#include "files/folder_lock.h"

#include <chrono>

namespace tovra {
namespace {

namespace fs = std::filesystem;

std::error_code synchroniseFolder(FileSystem& system, const Descriptor& folder) {
    const std::error_code error = system.synchronise(folder.get());
    // Some file systems have nothing to synchronise for a folder.
    if (error == std::errc::invalid_argument || error == std::errc::not_supported) return {};
    return error;
}

}  // namespace

fs::path folderOf(const fs::path& file) {
    fs::path folder = file.parent_path();
    return folder.empty() ? "." : folder;
}

fs::path resolved(FileSystem& system, fs::path path) {
    constexpr int kMostLinks = 40;
    for (int i = 0; i < kMostLinks; ++i) {
        std::error_code error;
        const fs::path link = system.linkTarget(path, error);
        if (error) break;
        path = path.parent_path() / link;
    }
    return path;
}

std::optional<Folder> Folder::open(FileSystem& system, const fs::path& path,
                                   const std::function<bool()>& mayWait, std::error_code& error) {
    constexpr std::chrono::milliseconds kPause(1);
    Folder folder(path);
    folder.descriptor_ = Descriptor(system, system.openFolder(path, error));
    if (error == std::errc::permission_denied) error.clear();
    if (error) return std::nullopt;
    if (!folder.descriptor_.isOpen()) return folder;
    std::error_code locked = system.lock(folder.descriptor_.get());
    while (locked == std::errc::operation_would_block && mayWait()) {
        system.pause(kPause);
        locked = system.lock(folder.descriptor_.get());
    }
    folder.isLocked_ = !locked;
    return folder;
}

std::error_code Folder::synchronise(const Descriptor& file) const {
    if (descriptor_.isOpen()) return synchroniseFolder(descriptor_.system(), descriptor_);
    return file.system().synchroniseAll(file.get());
}

std::error_code NewFolders::make(const fs::path& folder) {
    struct stat found {};
    const fs::path above = folderOf(folder);
    if (above != folder && system_.look(above, found) == std::errc::no_such_file_or_directory) {
        if (const std::error_code error = make(above)) return error;
    }
    made_.push_back(folder);
    std::error_code error = system_.makeFolder(folder);
    if (error) {
        made_.pop_back();
        // Somebody was quicker, or the call was done and yet reports a failure. It is not removed:
        // another program may be about to use it.
        const std::error_code unseen = system_.look(folder, found);
        const bool isInTheWay = !unseen && !S_ISDIR(found.st_mode);
        if (isInTheWay || unseen == std::errc::no_such_file_or_directory) return error;
        isCertain_ = false;
        if (unseen) return error;
    }
    const Descriptor opened(system_, system_.openFolder(above, error));
    if (!error) return synchroniseFolder(system_, opened);
    if (error != std::errc::permission_denied) return error;
    const Descriptor made(system_, system_.openFolder(folder, error));
    return error ? error : system_.synchroniseAll(made.get());
}

bool NewFolders::remove() {
    bool isGone = isCertain_;
    for (; !made_.empty(); made_.pop_back()) {
        struct stat found {};
        const bool isRemoved =
            !system_.removeFolder(made_.back()) ||
            system_.look(made_.back(), found) == std::errc::no_such_file_or_directory;
        isGone = isGone && isRemoved;
    }
    return isGone;
}

}  // namespace tovra
