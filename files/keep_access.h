// Carries over who may do what with a file to the file that takes its place.
#pragma once

#include <filesystem>

#include "files/file.h"

namespace tovra {

// Gives the new file, which is its owner's alone, what the original at `path` has: owner, group,
// extended attributes, access control list and mode. What fits already is not set. May be called
// from several threads.
//
// Nobody gains a right, and nobody loses one. Where the group cannot be kept, that holds only if
// the others have the same rights. Where the owner cannot be kept, it holds only if the old one has
// the same rights as a member of the group, or as one of the others. Otherwise, and where something
// cannot be copied, throws SaveError, which names the owner or group.
void keepAccess(const std::filesystem::path& path, const OpenFile& original,
                const Descriptor& fresh);

}  // namespace tovra
