#include "files/replace_file.h"

#include <optional>
#include <random>
#include <string>

#include "files/keep_access.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;
using Left = ReplaceError::Left;

constexpr std::string_view kPrefix = ".tovra-";
constexpr std::string_view kUnfinished = ".tmp";
constexpr std::string_view kExchanged = ".kept";

void check(const std::error_code& error) {
    if (error) throw ReplaceError(error);
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

bool isSameFile(FileSystem& system, const fs::path& path, const struct stat& file) {
    struct stat found {};
    return !system.look(path, found) && isSameFile(found, file);
}

// Whether the path still leads to the file that was read, with the same size and times.
bool isUnchanged(FileSystem& system, const fs::path& path, const FileVersion& version) {
    struct stat found {};
    if (system.look(path, found) || !isSameFile(found, version.file().status)) return false;
    const auto isSame = [](const timespec& a, const timespec& b) {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    };
    const auto now = changeTimes(found);
    const auto then = changeTimes(version.file().status);
    return found.st_size == version.file().status.st_size && isSame(now[0], then[0]) &&
           isSame(now[1], then[1]);
}

bool isUnsupported(const std::error_code& error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::not_supported || error == std::errc::operation_not_supported;
}

// A sandbox may forbid a call that the system has.
bool mayDoWithout(const std::error_code& error) {
    return isUnsupported(error) || error == std::errc::operation_not_permitted;
}

// Only the lock makes sure that nobody is writing one of them.
void removeUnfinished(FileSystem& system, const Folder& folder) {
    if (!folder.isLocked()) return;
    std::error_code error;
    for (const std::string& name : system.namesIn(folder.path(), error)) {
        if (leftoverOf(name) == Leftover::unfinished) (void)system.remove(folder.path() / name);
    }
}

enum class Naming { atLast, atOnce };

// The new file. A name that it still has is removed with this object.
class NewFile {
  public:
    NewFile(FileSystem& system, const Folder& folder, Naming naming)
        : system_(system), folder_(folder) {
        std::error_code error;
        if (naming == Naming::atLast) {
            file_ = Descriptor(system_, system_.createUnnamed(folder.path(), error));
            if (file_.isOpen()) return;
        }
        removeUnfinished(system, folder);
        constexpr int kMostTries = 10;
        for (int i = 0; i < kMostTries && !file_.isOpen(); ++i) {
            path_ = freshPath(kUnfinished);
            file_ = Descriptor(system_, system_.createExclusively(path_, error));
            if (error && error != std::errc::file_exists) break;
        }
        if (error) path_.clear();
        check(error);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { (void)remove(); }

    // The disk works while more is written: less is left for finish().
    void write(std::string_view bytes) {
        constexpr std::size_t kMostWaiting = std::size_t{2} << 20;
        while (!bytes.empty()) {
            std::error_code error;
            const std::size_t count = system_.write(file_.get(), bytes, error);
            check(error);
            bytes.remove_prefix(count);
            waiting_ += count;
            if (waiting_ < kMostWaiting) continue;
            // What this tells of lost bytes, finish() might not tell again.
            error = system_.beginSynchronising(file_.get());
            if (!mayDoWithout(error)) check(error);
            waiting_ = 0;
        }
    }

    void finish() {
        check(system_.synchronise(file_.get()));
        check(system_.status(file_.get(), status_));
    }

    // Takes the name `target`, unless that is taken (EEXIST).
    std::error_code takeName(const fs::path& target) {
        if (path_.empty()) return system_.link(file_.get(), target);
        const std::error_code error = system_.renameExclusively(path_, target);
        if (!error) forget();
        return error;
    }

    // Takes a name that ends in ".kept", before an exchange.
    std::error_code takeKeptName() {
        fs::path kept = freshPath(kExchanged);
        const std::error_code error =
            path_.empty() ? system_.link(file_.get(), kept) : system_.rename(path_, kept);
        if (!error) path_ = std::move(kept);
        return error;
    }

    // False where the file stays. One that another program has removed is gone as well.
    bool remove() {
        if (path_.empty()) return true;
        const std::error_code error = system_.remove(std::exchange(path_, {}));
        return !error || error == std::errc::no_such_file_or_directory;
    }

    // Gives the name away: what has it now is not this object's to remove.
    fs::path forget() { return std::exchange(path_, {}); }

    [[nodiscard]] bool isNamed() const { return !path_.empty(); }
    [[nodiscard]] const fs::path& path() const { return path_; }
    [[nodiscard]] const Descriptor& descriptor() const { return file_; }
    [[nodiscard]] const struct stat& status() const { return status_; }
    [[nodiscard]] std::error_code synchroniseFolder() const { return folder_.synchronise(file_); }

  private:
    [[nodiscard]] fs::path freshPath(std::string_view ending) const {
        std::string name(kPrefix);
        name += randomLetters(10);
        return folder_.path() / name.append(ending);
    }

    FileSystem& system_;
    const Folder& folder_;
    fs::path path_;
    Descriptor file_;
    std::size_t waiting_ = 0;  // bytes that the disk has not been told of
    struct stat status_ {};
};

// One replacement with one new file.
class Attempt {
  public:
    Attempt(FileSystem& system, const Folder& folder, const NewContent& content, Naming naming)
        : system_(system),
          target_(content.target),
          content_(content),
          fresh_(system, folder, naming) {}

    // Nothing comes back where the system cannot name a file that was made without a name.
    std::optional<Replacement> make() try {
        if (content_.before != nullptr) {
            const auto problem = keepAccess(target_, content_.before->file(), fresh_.descriptor());
            if (!problem.sentence.empty()) throw ReplaceError(problem.sentence);
            check(problem.error);
        }
        // Not before: what the file has inherited from its folder may let others read it.
        content_.writeBytes([&](std::string_view bytes) { fresh_.write(bytes); });
        fresh_.finish();
        content_.beforeReplacing();
        const auto result = content_.before == nullptr ? create() : replace();
        if (result == Replacement::changed && !fresh_.remove()) {
            throw ReplaceError("a temporary file could not be removed", Left::remains);
        }
        return result;
    } catch (const ReplaceError& error) {
        if (error.left() != Left::nothing || fresh_.remove()) throw;
        throw ReplaceError(error.what(), Left::remains);
    }

  private:
    std::optional<Replacement> create() {
        const bool isNamed = fresh_.isNamed();
        std::error_code error = fresh_.takeName(target_);
        if (error == std::errc::file_exists) return Replacement::changed;
        if (error && !isNamed) return std::nullopt;
        // A file system without exclusive renaming: a last look has to do.
        if (mayDoWithout(error)) {
            struct stat found {};
            error = system_.look(target_, found);
            if (!error) return Replacement::changed;
            if (error != std::errc::no_such_file_or_directory) throw ReplaceError(error);
            error = system_.rename(fresh_.path(), target_);
            if (!error) fresh_.forget();
        }
        check(error);
        error = fresh_.synchroniseFolder();
        if (!error) return Replacement::done;
        throw ReplaceError(error, takeBack() ? Left::nothing : Left::unknown);
    }

    // Removes the file that was created, unless another program has put its own in its place.
    bool takeBack() {
        struct stat found {};
        std::error_code error = system_.look(target_, found);
        if (!error && !isSameFile(found, fresh_.status())) return true;
        if (!error) error = system_.remove(target_);
        return !error || error == std::errc::no_such_file_or_directory;
    }

    // Exchanges the two files in one step, and only then looks at what came out. So no other writer
    // can slip in unseen.
    std::optional<Replacement> replace() {
        const FileVersion& before = *content_.before;
        if (!isUnchanged(system_, target_, before)) return Replacement::changed;
        const bool isNamed = fresh_.isNamed();
        std::error_code error = fresh_.takeKeptName();
        if (error && !isNamed) return std::nullopt;
        if (!error) error = system_.exchange(fresh_.path(), target_);
        if (isUnsupported(error)) return renameOver(before);
        if (error == std::errc::no_such_file_or_directory) return Replacement::changed;
        check(error);
        if (!isSameFile(system_, fresh_.path(), before.file().status) || !before.isAsRead()) {
            putBack();
            return Replacement::changed;
        }
        error = fresh_.synchroniseFolder();
        if (!error) return Replacement::done;
        putBack();
        throw ReplaceError(error);
    }

    // For file systems that cannot exchange two files. What happens between the last look and the
    // renaming is not seen, and there is no way back.
    Replacement renameOver(const FileVersion& before) {
        if (!isSameFile(system_, target_, before.file().status) || !before.isAsRead()) {
            return Replacement::changed;
        }
        check(system_.rename(fresh_.path(), target_));
        fresh_.forget();
        const std::error_code error = fresh_.synchroniseFolder();
        if (error) throw ReplaceError(error, Left::unknown);
        return Replacement::done;
    }

    // Puts back what the exchange brought out: another program's version, newer than the one that
    // was read. That is an exchange too. It may bring out something else than the one before put
    // in: a version newer still, which goes back in turn.
    void putBack() {
        constexpr int kMostTries = 16;
        struct stat putIn = fresh_.status();
        Descriptor held;  // so that no other file gets the inode of what was put in
        for (int i = 0; i < kMostTries; ++i) {
            struct stat out {};
            std::error_code error = system_.look(fresh_.path(), out);
            if (error) leaveBehind(error);
            Descriptor opened(system_, system_.openFile(fresh_.path(), error));
            error = system_.exchange(fresh_.path(), target_);
            if (!error) {
                struct stat back {};
                error = system_.look(fresh_.path(), back);
                if (error) leaveBehind(error);  // perhaps another program's
                if (isSameFile(back, putIn)) return;
                putIn = out;
                held = std::move(opened);
                continue;
            }
            if (error != std::errc::no_such_file_or_directory) leaveBehind(error);
            // Somebody has removed what was put in. What came out goes back to the free name.
            const std::error_code again = system_.renameExclusively(fresh_.path(), target_);
            if (!again) {
                fresh_.forget();
                return;
            }
            if (again != std::errc::file_exists) leaveBehind(again);
        }
        leaveBehind({});
    }

    // The file at that path is another program's: better left behind than lost, also where there is
    // no memory to say so.
    [[noreturn]] void leaveBehind(const std::error_code& error) {
        const fs::path kept = fresh_.forget();
        const std::string reason = error ? error.message() : "other programs keep changing it";
        throw ReplaceError(
            reason + "; another version of the file is kept in " + readablePath(kept),
            Left::unknown);
    }

    FileSystem& system_;
    const fs::path& target_;
    const NewContent& content_;
    NewFile fresh_;
};

}  // namespace

Replacement replaceFile(FileSystem& system, const Folder& folder, const NewContent& content) {
    const auto result = Attempt(system, folder, content, Naming::atLast).make();
    if (result) return *result;
    return Attempt(system, folder, content, Naming::atOnce).make().value();
}

Leftover leftoverOf(std::string_view name) {
    if (!name.starts_with(kPrefix)) return Leftover::none;
    if (name.ends_with(kUnfinished)) return Leftover::unfinished;
    return name.ends_with(kExchanged) ? Leftover::kept : Leftover::none;
}

}  // namespace tovra
