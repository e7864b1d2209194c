// What Linux and macOS have in common.
#include "files/file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>
#include <thread>

namespace tovra {
namespace {

std::size_t size(ssize_t count) { return count < 0 ? 0 : static_cast<std::size_t>(count); }

}  // namespace

std::error_code errorOf(std::intmax_t result) {
    if (result >= 0) return {};
    return {errno, std::generic_category()};
}

FileSystem& FileSystem::system() {
    static FileSystem system;
    return system;
}

int FileSystem::openFile(Path path, Error& error) {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    return uninterrupted([&] { return ::open(path.c_str(), kFlags); }, error);
}

int FileSystem::openFolder(Path path, Error& error) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    return uninterrupted([&] { return ::open(path.c_str(), kFlags); }, error);
}

int FileSystem::createExclusively(Path path, Error& error) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    return uninterrupted([&] { return ::open(path.c_str(), kFlags, S_IRUSR | S_IWUSR); }, error);
}

// Not repeated where a signal interrupts it: the number may be another descriptor's by then.
std::error_code FileSystem::close(int file) { return errorOf(::close(file)); }

std::error_code FileSystem::status(int file, struct stat& status) {
    return errorOf(uninterrupted([&] { return ::fstat(file, &status); }));
}

std::error_code FileSystem::look(Path path, struct stat& status) {
    return errorOf(uninterrupted([&] { return ::lstat(path.c_str(), &status); }));
}

std::filesystem::path FileSystem::linkTarget(Path path, Error& error) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    error = errorOf(length);
    return std::string(target.data(), size(length));
}

std::vector<std::string> FileSystem::namesIn(Path folder, Error& error) {
    const auto close = [](DIR* opened) { ::closedir(opened); };
    const std::unique_ptr<DIR, decltype(close)> opened(::opendir(folder.c_str()), close);
    error = errorOf(opened ? 0 : -1);
    std::vector<std::string> names;
    if (!opened) return names;
    while (const dirent* entry = ::readdir(opened.get())) names.emplace_back(entry->d_name);
    return names;
}

std::error_code FileSystem::mayWrite(Path path) {
    return errorOf(::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS));
}

std::error_code FileSystem::lock(int folder) {
    return errorOf(uninterrupted([&] { return ::flock(folder, LOCK_EX | LOCK_NB); }));
}

std::size_t FileSystem::read(int file, char* into, std::size_t room, std::size_t offset,
                             Error& error) {
    const auto at = static_cast<off_t>(offset);
    return size(uninterrupted([&] { return ::pread(file, into, room, at); }, error));
}

std::size_t FileSystem::write(int file, std::string_view bytes, Error& error) {
    return size(uninterrupted([&] { return ::write(file, bytes.data(), bytes.size()); }, error));
}

std::error_code FileSystem::changeOwner(int file, uid_t owner, gid_t group) {
    return errorOf(uninterrupted([&] { return ::fchown(file, owner, group); }));
}

std::error_code FileSystem::changeMode(int file, mode_t mode) {
    return errorOf(uninterrupted([&] { return ::fchmod(file, mode); }));
}

std::error_code FileSystem::rename(Path from, Path to) {
    return errorOf(::rename(from.c_str(), to.c_str()));
}

std::error_code FileSystem::remove(Path path) { return errorOf(::unlink(path.c_str())); }

std::error_code FileSystem::makeFolder(Path path) {
    return errorOf(::mkdir(path.c_str(), S_IRWXU | S_IRWXG | S_IRWXO));
}

std::error_code FileSystem::removeFolder(Path path) { return errorOf(::rmdir(path.c_str())); }

void FileSystem::pause(std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }

}  // namespace tovra
