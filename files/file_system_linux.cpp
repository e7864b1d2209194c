#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/file_system.h"

namespace tovra {
namespace {

constexpr const char* kAccessListName = "system.posix_acl_access";
// The number that stands before the entries of an access control list and tells their form.
constexpr std::uint32_t kAccessListForm = 2;

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
        return ::fgetxattr(file, name, into, room);
    };
    return readSized(read, error);
}

std::vector<std::string> attributeNames(int file, std::error_code& error) {
    const auto read = [&](char* into, std::size_t room) { return ::flistxattr(file, into, room); };
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

int FileSystem::createUnnamed(Path folder, Error& error) {
    const int file = ::open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, S_IRUSR | S_IWUSR);
    error = errorOf(file);
    return file;
}

std::error_code FileSystem::beginSynchronising(int file) {
    return errorOf(::sync_file_range(file, 0, 0, SYNC_FILE_RANGE_WRITE));
}

std::error_code FileSystem::synchronise(int file) { return errorOf(::fsync(file)); }

std::error_code FileSystem::synchroniseAll(int file) { return errorOf(::syncfs(file)); }

std::error_code FileSystem::copyAttributes(int from, int to) {
    Error error;
    const auto names = attributeNames(from, error);
    if (error) return error == std::errc::not_supported ? Error() : error;
    for (const std::string& name : names) {
        if (isNotForCopying(name)) continue;
        const std::string value = attribute(from, name.c_str(), error);
        if (!error) error = errorOf(::fsetxattr(to, name.c_str(), value.data(), value.size(), 0));
        if (error && !mayStayBehind(name, error)) return error;
    }
    return {};
}

AccessList FileSystem::accessList(int file, Error& error) {
    const std::string bytes = attribute(file, kAccessListName, error);
    if (error == std::errc::no_message_available) error.clear();
    if (bytes.size() <= sizeof kAccessListForm) return {};
    AccessList list((bytes.size() - sizeof kAccessListForm) / sizeof(AccessEntry));
    std::memcpy(list.data(), bytes.data() + sizeof kAccessListForm,
                list.size() * sizeof(AccessEntry));
    return list;
}

std::error_code FileSystem::setAccessList(int file, const AccessList& list) {
    if (list.empty()) {
        const Error error = errorOf(::fremovexattr(file, kAccessListName));
        return isAbsent(error) ? Error() : error;
    }
    std::string bytes(sizeof kAccessListForm + list.size() * sizeof(AccessEntry), '\0');
    std::memcpy(bytes.data(), &kAccessListForm, sizeof kAccessListForm);
    std::memcpy(bytes.data() + sizeof kAccessListForm, list.data(),
                list.size() * sizeof(AccessEntry));
    return errorOf(::fsetxattr(file, kAccessListName, bytes.data(), bytes.size(), 0));
}

std::error_code FileSystem::link(int file, Path path) {
    const std::string unnamed = "/proc/self/fd/" + std::to_string(file);
    return errorOf(::linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW));
}

std::error_code FileSystem::exchange(Path a, Path b) {
    return errorOf(rename2(a, b, RENAME_EXCHANGE));
}

std::error_code FileSystem::renameExclusively(Path from, Path to) {
    const Error error = errorOf(rename2(from, to, RENAME_NOREPLACE));
    if (error != std::errc::invalid_argument && error != std::errc::function_not_supported) {
        return error;
    }
    if (::link(from.c_str(), to.c_str()) != 0) return errorOf(-1);
    ::unlink(from.c_str());  // a second name does no harm
    return {};
}

std::array<timespec, 2> changeTimes(const struct stat& status) {
    return {status.st_mtim, status.st_ctim};
}

}  // namespace tovra
