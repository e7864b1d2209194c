// The place of the data file, seen from outside: the file and its folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tovra::check {

struct Place {
    std::filesystem::path path;     // as the server takes it
    std::filesystem::path target;   // the file behind symbolic links; `path` where there are none
    std::filesystem::path missing;  // the first part of the path that does not exist, or empty
    std::error_code notReadable;    // why the file cannot be read, if so
    std::error_code notWritable;    // why its folder takes no new file, if so
    std::uintmax_t size = 0;        // in bytes; 0 where there is no file
    bool isOwn = true;              // not another user's file
    std::vector<std::string> unfinished;  // names of the files that broken-off saves left beside it
    std::vector<std::string> kept;  // the same, for those that may be the only copy of something
    bool isInCloud = false;         // only a placeholder is on this machine
};

// Looks at the file at `path` and its folder. Never writes. May be called from several threads.
[[nodiscard]] Place lookAt(const std::filesystem::path& path);

}  // namespace tovra::check
