#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "files/file_system.h"

namespace tovra {
namespace {

constexpr const char* kAccessListName = "system.posix_acl_access";

// Called by its number, since not every C library has a function for it.
int rename2(const std::filesystem::path& from, const std::filesystem::path& to, unsigned flags) {
    return static_cast<int>(
        ::syscall(SYS_renameat2, AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags));
}

// Calls `read` without room, to learn the size, then with room for that size.
template <typename Read>
std::string readSized(const Read& read, std::error_code& error) {
    std::string bytes;
    ssize_t size = read(nullptr, 0);
    if (size > 0) {
        bytes.resize(static_cast<std::size_t>(size));
        size = read(bytes.data(), bytes.size());
    }
    error = errorOf(size);
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
}

std::string attribute(int file, const char* name, std::error_code& error) {
    const auto read = [&](char* into, std::size_t room) {
        return uninterrupted([&] { return ::fgetxattr(file, name, into, room); });
    };
    return readSized(read, error);
}

std::error_code setAttribute(int file, const char* name, const std::string& value) {
    return errorOf(
        uninterrupted([&] { return ::fsetxattr(file, name, value.data(), value.size(), 0); }));
}

std::vector<std::string> attributeNames(int file, std::error_code& error) {
    const auto read = [&](char* into, std::size_t room) {
        return uninterrupted([&] { return ::flistxattr(file, into, room); });
    };
    const std::string list = readSized(read, error);
    std::vector<std::string> names;
    for (std::size_t at = 0; at < list.size(); at += names.back().size() + 1) {
        names.emplace_back(list.c_str() + at);
    }
    return names;
}

// Whether the attribute belongs to the bytes, or is set in another way.
bool isNotForCopying(std::string_view name) {
    return name == kAccessListName || name == "security.ima" || name == "security.evm";
}

// Whether an attribute that could not be set for that reason may be left out. Those of the system
// may not: they say who has access.
bool mayStayBehind(std::string_view name, const std::error_code& error) {
    return !name.starts_with("system.") &&
           (error == std::errc::not_supported || error == std::errc::operation_not_permitted ||
            error == std::errc::permission_denied || error == std::errc::no_message_available);
}

bool isAbsent(const std::error_code& error) {
    return error == std::errc::no_message_available || error == std::errc::not_supported;
}

}  // namespace

std::error_code FileSystem::synchronise(int file) {
    return errorOf(uninterrupted([&] { return ::fsync(file); }));
}

std::error_code FileSystem::synchroniseAll(int file) {
    return errorOf(uninterrupted([&] { return ::syncfs(file); }));
}

std::error_code FileSystem::copyAttributes(int from, int to) {
    Error error;
    const auto names = attributeNames(from, error);
    if (error) return error == std::errc::not_supported ? Error() : error;
    for (const std::string& name : names) {
        if (isNotForCopying(name)) continue;
        const std::string value = attribute(from, name.c_str(), error);
        if (!error) error = setAttribute(to, name.c_str(), value);
        if (error && !mayStayBehind(name, error)) return error;
    }
    return {};
}

std::error_code FileSystem::copyAccessList(int from, int to, bool& isThere) {
    Error error;
    const std::string list = attribute(from, kAccessListName, error);
    isThere = !error && !list.empty();
    if (isThere) return setAttribute(to, kAccessListName, list);
    if (error && !isAbsent(error)) return error;
    error = errorOf(uninterrupted([&] { return ::fremovexattr(to, kAccessListName); }));
    return isAbsent(error) ? Error() : error;
}

std::error_code FileSystem::exchange(Path a, Path b) {
    return errorOf(rename2(a, b, RENAME_EXCHANGE));
}

std::error_code FileSystem::renameExclusively(Path from, Path to) {
    return errorOf(rename2(from, to, RENAME_NOREPLACE));
}

std::array<timespec, 2> changeTimes(const struct stat& status) {
    return {status.st_mtim, status.st_ctim};
}

}  // namespace tovra
