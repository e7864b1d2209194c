// Who may do what with a file, carried over to the file that takes its place.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/file.h"

namespace tovra {

// What kept a file's access from being carried over.
struct AccessProblem {
    std::error_code error;
    std::string sentence;  // says more where it is not empty: without a full stop
};

// Gives the new file, which nobody but its owner has access to, what the original at `path` has:
// extended attributes, owner, group, access control list and mode. What fits already is not set.
//
// Where the owner or the group cannot be the same, they get what they had as an entry of the access
// control list, unless the mode gives it to them anyway. Nobody gains a right, and nobody who had
// one loses it; where that is impossible, a problem names the owner or group. May be called from
// several threads.
[[nodiscard]] AccessProblem keepAccess(const std::filesystem::path& path, const OpenFile& original,
                                       const Descriptor& fresh);

}  // namespace tovra
