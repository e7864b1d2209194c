#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_system.h"

namespace tovra {
namespace {

// By number, since not every C library has the call.
int rename2(const std::filesystem::path& from, const std::filesystem::path& to, unsigned flags) {
    return static_cast<int>(
        ::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags));
}

}  // namespace

int FileSystem::synchronise(int descriptor) { return ::fsync(descriptor); }

int FileSystem::exchange(const std::filesystem::path& a, const std::filesystem::path& b) {
    return rename2(a, b, RENAME_EXCHANGE);
}

int FileSystem::renameExclusively(const std::filesystem::path& from,
                                  const std::filesystem::path& to) {
    if (rename2(from, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    return ::link(from.c_str(), to.c_str()) == 0 ? ::unlink(from.c_str()) : -1;
}

}  // namespace tovra
