// What Linux and macOS have in common.
#include "platform/file_system.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace tovra {

FileSystem& FileSystem::system() {
    static FileSystem system;
    return system;
}

int FileSystem::createExclusively(const std::filesystem::path& path, mode_t mode) {
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
}

ssize_t FileSystem::write(int descriptor, const void* bytes, std::size_t count) {
    return ::write(descriptor, bytes, count);
}

int FileSystem::changeOwner(int descriptor, uid_t owner, gid_t group) {
    return ::fchown(descriptor, owner, group);
}

int FileSystem::changeMode(int descriptor, mode_t mode) { return ::fchmod(descriptor, mode); }

int FileSystem::close(int descriptor) { return ::close(descriptor); }

int FileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    return ::rename(from.c_str(), to.c_str());
}

int FileSystem::remove(const std::filesystem::path& path) { return ::unlink(path.c_str()); }

}  // namespace tovra
