#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_system.h"

namespace tovra {

int FileSystem::synchronise(int descriptor) {
    // fsync leaves the bytes in the drive's own cache. It is the next best where a file system does
    // not know the full form; any other failure is one. The first two are different numbers here.
    if (::fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
    if (errno != ENOTSUP && errno != EOPNOTSUPP && errno != ENOTTY) return -1;
    return ::fsync(descriptor);
}

int FileSystem::exchange(const std::filesystem::path& a, const std::filesystem::path& b) {
    return ::renamex_np(a.c_str(), b.c_str(), RENAME_SWAP);
}

int FileSystem::renameExclusively(const std::filesystem::path& from,
                                  const std::filesystem::path& to) {
    return ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL);
}

}  // namespace tovra
