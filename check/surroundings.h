// The data file seen from outside: the file, its folder, and what lies beside it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tovra::check {

struct Surroundings {
    std::filesystem::path path;      // as the server takes it
    std::filesystem::path target;    // the file behind symbolic links; `path` where there are none
    std::filesystem::path missing;   // the first part of the path that does not exist, or empty
    std::filesystem::path drives;    // where the drive of a missing file is mounted, see below
    std::error_code notReadable;     // why the file cannot be read, if so
    std::error_code notWritable;     // why its folder takes no new file, if so
    std::error_code notReplaceable;  // why the file cannot be replaced although it could, if so
    std::uintmax_t size = 0;         // in bytes; 0 where there is no file
    bool isOwn = true;               // not another user's file
    bool isInCloud = false;          // only a placeholder is on this machine
    // Names of other files in the folder: what broken-off saves left, what of that may be the only
    // copy of something, and other versions of the file, or what it may be where it is missing.
    std::vector<std::string> unfinished;
    std::vector<std::string> kept;
    std::vector<std::string> copies;

    [[nodiscard]] bool isMissing() const {
        return notReadable == std::errc::no_such_file_or_directory;
    }
};

// Looks at the file at `path` and its folder. Never writes. May be called from several threads.
[[nodiscard]] Surroundings lookAt(const std::filesystem::path& path);

// The folder, of those in which drives are mounted, that the path lies below without crossing into
// another file system; empty where there is none. A drive may be part of the same file system, so
// this is no proof that one is missing. May be called from several threads.
[[nodiscard]] std::filesystem::path unmounted(const std::filesystem::path& path,
                                              const std::vector<std::filesystem::path>& folders = {
                                                  "/Volumes", "/media", "/run/media", "/mnt"});

}  // namespace tovra::check
