// Carries over who may do what with a file to the file that takes its place.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "files/file.h"

namespace tovra {

// What kept a file's access from being carried over.
struct AccessProblem {
    std::error_code error;
    std::string sentence;  // for people, without a full stop; empty where `error` says it all
};

// Gives the new file, which is its owner's alone, what the original at `path` has: extended
// attributes, owner, group, access control list and mode. What fits already is not set. May be
// called from several threads.
//
// Where the owner or the group cannot be kept, an entry of the access control list gives them what
// they had. It is left out where the mode does so anyway. Nobody gains a right, and nobody loses
// one. Where that is impossible, the problem names the owner or group.
[[nodiscard]] AccessProblem keepAccess(const std::filesystem::path& path, const OpenFile& original,
                                       const Descriptor& fresh);

}  // namespace tovra
