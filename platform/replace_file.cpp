#include "platform/replace_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <random>
#include <string>
#include <system_error>
#include <thread>

namespace tovra {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(int reason) { throw std::system_error(reason, std::generic_category()); }

void check(int result) {
    if (result < 0) fail(errno);
}

std::string randomLetters(std::size_t count) {
    std::random_device random;
    std::uniform_int_distribution<int> letter('a', 'z');
    std::string letters;
    while (letters.size() < count) letters += static_cast<char>(letter(random));
    return letters;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isSameFile(const fs::path& path, const struct stat& file) {
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0 && isSameFile(found, file);
}

// Whether the path still leads to the file that was read, and nobody has written to it since, as
// far as a look from outside tells.
bool isUnchanged(const fs::path& path, const FileVersion& version) {
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0 && isSameFile(found, version.file.status) &&
           found.st_size == version.file.status.st_size &&
           found.st_mtime == version.file.status.st_mtime;
}

// The new bytes in a hidden file beside the target, gone when this is destroyed.
class TemporaryFile {
  public:
    TemporaryFile(FileSystem& system, const fs::path& target) : system_(system) {
        for (int tries = 0; !file_.isOpen(); ++tries) {
            path_ = target.parent_path() / (temporaryNameStart(target) + randomLetters(10));
            file_ = Descriptor(system_.createExclusively(path_, S_IRUSR | S_IWUSR));
            if (!file_.isOpen() && (errno != EEXIST || tries == 10)) fail(errno);
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path_.empty()) system_.remove(path_);
    }

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = system_.write(file_.get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) fail(errno);
            if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    void takeModeAndOwner(const struct stat& original) {
        check(::fstat(file_.get(), &status_));
        if (status_.st_uid != original.st_uid || status_.st_gid != original.st_gid) {
            check(system_.changeOwner(file_.get(), original.st_uid, original.st_gid));
        }
        check(system_.changeMode(file_.get(), original.st_mode & 07777));
    }

    void finish() {
        check(::fstat(file_.get(), &status_));
        check(system_.synchronise(file_.get()));
        check(system_.close(file_.release()));
    }

    // The temporary name is no longer ours to remove.
    void forget() { path_.clear(); }

    [[nodiscard]] const fs::path& path() const { return path_; }
    [[nodiscard]] const struct stat& status() const { return status_; }

  private:
    FileSystem& system_;
    fs::path path_;
    Descriptor file_;
    struct stat status_ {};
};

void synchroniseDirectory(FileSystem& system, const DirectoryLock& lock) {
    if (system.synchronise(lock.directory().get()) == 0) return;
    // Some file systems have nothing to synchronise for a directory.
    if (errno != EINVAL && errno != ENOTSUP) fail(errno);
}

bool isUnsupported(int reason) { return reason == EINVAL || reason == ENOSYS || reason == ENOTSUP; }

Replacement createFile(FileSystem& system, const fs::path& target, const DirectoryLock& lock,
                       TemporaryFile& fresh) {
    int result = system.renameExclusively(fresh.path(), target);
    struct stat found {};
    // Where that is not possible, a last look has to do.
    if (result < 0 && (isUnsupported(errno) || errno == EPERM)) {
        if (::lstat(target.c_str(), &found) == 0) return Replacement::changed;
        result = system.rename(fresh.path(), target);
    }
    if (result < 0) {
        if (errno == EEXIST) return Replacement::changed;
        fail(errno);
    }
    fresh.forget();
    try {
        synchroniseDirectory(system, lock);
    } catch (const std::system_error&) {
        if (isSameFile(target, fresh.status())) system.remove(target);
        throw;
    }
    return Replacement::done;
}

// For file systems that cannot exchange two files: the last look at the target comes before the
// renaming, and what happens in between is not seen. There is no way back either, so a directory
// that cannot be synchronised is no failure.
Replacement renameOver(FileSystem& system, const fs::path& target, const DirectoryLock& lock,
                       const FileVersion& before, TemporaryFile& fresh) {
    if (!isSameFile(target, before.file.status) || !isAsRead(before)) {
        return Replacement::changed;
    }
    check(system.rename(fresh.path(), target));
    fresh.forget();
    system.synchronise(lock.directory().get());
    return Replacement::done;
}

// Puts back what an exchange brought out, a version newer than the one that was read. Should yet
// another version come out in place of what the exchange before put in, that one is newer still.
void putBack(FileSystem& system, const fs::path& target, TemporaryFile& fresh) {
    struct stat putIn = fresh.status();
    struct stat out {};
    while (::lstat(fresh.path().c_str(), &out) == 0) {
        if (system.exchange(fresh.path(), target) < 0) {
            const int reason = errno;
            // Somebody removed what was put in: what came out is all there is, and goes back.
            if (reason == ENOENT && system.renameExclusively(fresh.path(), target) == 0) {
                return fresh.forget();
            }
            if (reason == ENOENT && errno == EEXIST) continue;
            fresh.forget();  // what it names is not ours: better left behind than lost
            fail(reason);
        }
        if (isSameFile(fresh.path(), putIn)) return;
        putIn = out;
    }
}

// Exchanges the two files in one step and only then looks at what was replaced: no other writer can
// slip in unseen.
Replacement exchangeFiles(FileSystem& system, const fs::path& target, const DirectoryLock& lock,
                          const FileVersion& before, TemporaryFile& fresh) {
    if (!isUnchanged(target, before)) return Replacement::changed;
    if (system.exchange(fresh.path(), target) < 0) {
        if (errno == ENOENT) return Replacement::changed;
        if (!isUnsupported(errno)) fail(errno);
        return renameOver(system, target, lock, before, fresh);
    }
    if (!isSameFile(fresh.path(), before.file.status) || !isAsRead(before)) {
        putBack(system, target, fresh);
        return Replacement::changed;
    }
    try {
        synchroniseDirectory(system, lock);
    } catch (const std::system_error&) {
        putBack(system, target, fresh);
        throw;
    }
    return Replacement::done;
}

}  // namespace

std::string temporaryNameStart(const fs::path& target) {
    return "." + target.filename().string() + ".tmp.";
}

DirectoryLock::DirectoryLock(const fs::path& directory, const std::function<bool()>& mayWait)
    : directory_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!directory_.isOpen()) fail(errno);
    while (::flock(directory_.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return;  // no locks here
        if (!mayWait()) fail(ETIMEDOUT);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Replacement replaceFile(FileSystem& system, const fs::path& target, const DirectoryLock& lock,
                        const FileVersion* before, const WriteBytes& writeBytes) {
    TemporaryFile fresh(system, target);
    writeBytes([&](std::string_view bytes) { fresh.write(bytes); });
    if (before != nullptr) fresh.takeModeAndOwner(before->file.status);
    fresh.finish();
    if (before == nullptr) return createFile(system, target, lock, fresh);
    return exchangeFiles(system, target, lock, *before, fresh);
}

}  // namespace tovra
