// The files that a save puts beside its target for a while, and what killed processes leave of
// them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "files/file_system.h"
#include "files/folder_lock.h"

namespace tovra {

// What a save takes a file of that name for.
enum class Leftover {
    none,
    unfinished,  // ".tovra-<letters>.tmp": a new file that is being written, of no use to others
    kept,        // ".tovra-<letters>-<hash>-<hash>.kept": may be the only copy of something
};
[[nodiscard]] Leftover leftoverOf(std::string_view name);

// A name that no other file has.
[[nodiscard]] std::string unfinishedName();

// The name for the exchange of two files, made of the unfinished one's. It has the hashes
// (ByteHash) of the old bytes and of the new ones. Whatever else lies under it after the exchange
// is another program's.
[[nodiscard]] std::string keptName(std::string_view unfinished, std::uint64_t oldBytes,
                                   std::uint64_t newBytes);

// Removes what killed processes have left and nobody can miss: unfinished files, and kept ones
// whose bytes have one of the hashes in their name. Does nothing without the folder's lock, since
// such a file may then be in use.
void removeLeftovers(FileSystem& system, const Folder& folder);

}  // namespace tovra
