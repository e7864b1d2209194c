#include <copyfile.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/acl.h>
#include <unistd.h>

#include <cerrno>

#include "files/file_system.h"

namespace tovra {
namespace {

// On macOS these are two different numbers.
bool isUnsupported(const std::error_code& error) {
    return error == std::errc::not_supported || error == std::errc::operation_not_supported;
}

}  // namespace

std::error_code FileSystem::synchronise(int file) {
    // fsync leaves the bytes in the drive's own cache. It is used only where the file system does
    // not know the full form.
    if (uninterrupted([&] { return ::fcntl(file, F_FULLFSYNC); }) == 0) return {};
    if (errno != ENOTSUP && errno != EOPNOTSUPP && errno != ENOTTY) return errorOf(-1);
    return errorOf(uninterrupted([&] { return ::fsync(file); }));
}

// On macOS the full form writes out the changes of the whole volume.
std::error_code FileSystem::synchroniseAll(int file) { return synchronise(file); }

std::error_code FileSystem::copyAttributes(int from, int to) {
    const Error error = errorOf(::fcopyfile(from, to, nullptr, COPYFILE_XATTR));
    return isUnsupported(error) ? Error() : error;
}

std::error_code FileSystem::copyAccessList(int from, int to, bool& isThere) {
    acl_t list = ::acl_get_fd_np(from, ACL_TYPE_EXTENDED);
    Error error = errorOf(list == nullptr ? -1 : 0);
    isThere = !error;
    if (error == std::errc::no_such_file_or_directory) list = ::acl_init(1);
    if (list != nullptr) {
        error = errorOf(::acl_set_fd_np(to, list, ACL_TYPE_EXTENDED));
        ::acl_free(list);
    }
    return isUnsupported(error) ? Error() : error;
}

std::error_code FileSystem::exchange(Path a, Path b) {
    return errorOf(::renamex_np(a.c_str(), b.c_str(), RENAME_SWAP));
}

std::error_code FileSystem::renameExclusively(Path from, Path to) {
    return errorOf(::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL));
}

std::array<timespec, 2> changeTimes(const struct stat& status) {
    return {status.st_mtimespec, status.st_ctimespec};
}

}  // namespace tovra
