#include "files/replace_file.h"

#include <cassert>
#include <string>
#include <utility>

#include "files/keep_access.h"
#include "files/look_again.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;

bool isMissing(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory;
}

bool isMissing(FileSystem& system, const fs::path& path) {
    struct stat found {};
    return isMissing(system.look(path, found));
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isSameFile(FileSystem& system, const fs::path& path, const struct stat& file) {
    struct stat found {};
    return !system.look(path, found) && isSameFile(found, file);
}

bool isSame(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The same file, into which nobody has written.
bool isSameVersion(const struct stat& a, const struct stat& b) {
    return isSameFile(a, b) && a.st_size == b.st_size &&
           isSame(changeTimes(a)[0], changeTimes(b)[0]);
}

// Whether the path still leads to the version that was read, with the same name, owner and mode.
bool isUnchanged(FileSystem& system, const fs::path& path, const FileVersion& version) {
    struct stat found {};
    const struct stat& then = version.file().status;
    return !system.look(path, found) && isSameVersion(found, then) &&
           isSame(changeTimes(found)[1], changeTimes(then)[1]);
}

// A sandbox may forbid a call that the system has (EPERM).
bool isUnsupported(const std::error_code& error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::not_supported || error == std::errc::operation_not_supported ||
           error == std::errc::operation_not_permitted;
}

}  // namespace

void NewFile::create() {
    removeLeftovers(system_, folder_);
    std::error_code error;
    path_ = folder_.path() / unfinishedName();
    file_ = Descriptor(system_, system_.createExclusively(path_, error));
    throwIf(error);
    // Before anything is written: what the file has inherited may let others read it.
    if (before_ != nullptr) keepAccess(target_, before_->file(), file_);
}

void NewFile::write(std::string_view bytes) {
    hash_.add(bytes);
    while (!bytes.empty()) {
        std::error_code error;
        const std::size_t count = system_.write(file_.get(), bytes, error);
        throwIf(error);
        bytes.remove_prefix(count);
    }
}

void NewFile::synchronise() {
    throwIf(system_.synchronise(file_.get()));
    throwIf(system_.status(file_.get(), status_));
}

bool NewFile::replaceTarget() {
    assert(status_.st_ino != 0);
    const bool isDone = before_ == nullptr ? takeFreeName() : exchange();
    if (isDone || remove()) return isDone;
    throw SaveError("a temporary file could not be removed", After::leftovers);
}

// One that another program has removed is gone as well.
bool NewFile::remove() {
    if (path_.empty()) return true;
    const fs::path path = forget();
    return !system_.remove(path) || isMissing(system_, path);
}

// What a call came to that gives the new file the name `to`: network file systems report failures
// of calls that they have done.
std::error_code NewFile::settled(std::error_code reported, const fs::path& to) {
    if (!reported || isSameFile(system_, to, status_)) return {};
    if (isUnsupported(reported) || isSameFile(system_, path_, status_)) return reported;
    if (isMissing(reported) && isMissing(system_, path_)) return reported;
    forget();  // perhaps another program's by now
    throw SaveError(reported, After::unknown);
}

bool NewFile::takeFreeName() {
    std::error_code error = settled(system_.renameExclusively(path_, target_), target_);
    if (isUnsupported(error)) {
        struct stat found {};
        error = system_.look(target_, found);
        if (!error) return false;
        if (isMissing(error)) error = settled(system_.rename(path_, target_), target_);
    }
    if (error == std::errc::file_exists || isMissing(error)) return false;
    throwIf(error);
    forget();
    synchroniseFolder();
    return true;
}

// Exchanges the two files in one step, and only then looks at what came out. So no other writer can
// slip in unseen.
bool NewFile::exchange() {
    if (!isUnchanged(system_, target_, *before_)) return false;
    fs::path kept =
        folder_.path() / keptName(path_.filename().native(), before_->hash(), hash_.value());
    std::error_code error = settled(system_.rename(path_, kept), kept);
    if (!error) {
        path_ = std::move(kept);  // needs no memory
        error = settled(system_.exchange(path_, target_), target_);
    }
    if (isUnsupported(error)) return renameOver();
    if (isMissing(error)) return false;
    throwIf(error);
    if (!isOldVersion()) {
        putBack();
        return false;
    }
    error = folder_.synchronise(file_);
    if (error) {
        putBack();
        throw SaveError(error);
    }
    (void)remove();  // where it stays, the next save removes it
    return true;
}

// Whether what came out is what was read. Where it stays away, another process had the lock, and
// has found that nobody can miss it.
bool NewFile::isOldVersion() const {
    struct stat out {};
    const auto isSettled = [](const std::error_code& seen) { return !isMissing(seen); };
    const auto look = [&] { return system_.look(path_, out); };
    const std::error_code error = lookUntil(system_, isSettled, look);
    if (error) return isMissing(error);
    return isSameFile(out, before_->file().status) && before_->isAsRead();
}

// For file systems that cannot exchange two files. There is no way back, so the look comes last:
// reading takes a while, and somebody may save meanwhile. What is saved between the look and the
// renaming is lost.
bool NewFile::renameOver() {
    if (!before_->isAsRead() || !isUnchanged(system_, target_, *before_)) return false;
    const std::error_code error = settled(system_.rename(path_, target_), target_);
    if (isMissing(error)) return false;
    throwIf(error);
    forget();
    synchroniseFolder();
    return true;
}

// Undoes the exchange, on the disk too, by exchanging again. If something else comes out than was
// put in, a newer version lies there now: that goes back in turn, and so on.
void NewFile::putBack() {
    constexpr int kMostTries = 16;
    struct stat putIn = status_;
    Descriptor held;  // so that no other file gets the inode of what was put in
    for (int i = 0; i < kMostTries; ++i) {
        struct stat out {};
        std::error_code error = system_.look(path_, out);
        if (error) leaveBehind(error);
        Descriptor opened(system_, system_.openFile(path_, error));
        const std::error_code exchanged = system_.exchange(path_, target_);
        struct stat back {};
        error = system_.look(path_, back);
        if (error) leaveBehind(error);  // perhaps another program's
        if (isSameVersion(back, putIn)) return synchroniseFolder();
        if (!exchanged) {
            putIn = out;
            held = std::move(opened);
            continue;
        }
        if (!isMissing(exchanged)) leaveBehind(exchanged);
        // Somebody has removed what was put in. What came out goes back to the free name.
        const std::error_code again = system_.renameExclusively(path_, target_);
        if (!again || isMissing(system_.look(path_, out))) {
            forget();
            return synchroniseFolder();
        }
        if (again != std::errc::file_exists) leaveBehind(again);
    }
    leaveBehind({});
}

void NewFile::synchroniseFolder() const {
    if (const auto error = folder_.synchronise(file_)) throw SaveError(error, After::unknown);
}

// The file at that path is another program's: better left behind than lost, also where there is no
// memory to say so.
void NewFile::leaveBehind(const std::error_code& error) {
    const fs::path kept = forget();
    const std::string reason = error ? error.message() : "other programs keep changing it";
    if (isMissing(system_, kept)) throw SaveError(reason, After::unknown);
    throw SaveError(reason + "; another version of the file is kept in " + readablePath(kept),
                    After::unknown);
}

}  // namespace tovra
