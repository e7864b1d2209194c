#include "store/recording.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/replace_file.h"
#include "platform/signals.h"
#include "store/data_file.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;

// One recording at a time, and none once the process is about to end.
struct Turnstile {
    std::mutex mutex;
    std::atomic<bool> closed = false;
};

Turnstile& turnstile() {
    static Turnstile turnstile;
    return turnstile;
}

// The file that a path leads to, so that a link stays a link when that file is replaced. Where it
// leads nowhere, the path of the file that is missing.
fs::path resolved(fs::path path) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i) {
        const fs::path link = fs::read_symlink(path, error);
        if (error) break;
        path = path.parent_path() / link;
    }
    return path;
}

fs::path directoryOf(const fs::path& file) {
    const fs::path directory = file.parent_path();
    return directory.empty() ? "." : directory;
}

// The file as it was read, and what a recording makes of it.
struct Loaded {
    std::optional<FileVersion> version;
    DataSnapshot data;
};

json::Document emptyObject() { return std::move(*json::parse("{}")); }

// Reads the file once. A file that is missing is no problem.
Loaded loadOnce(const fs::path& path) {
    std::error_code error;
    auto version = readFileVersion(path, json::kMaxSize, error);
    Loaded loaded{std::move(version), {path, emptyObject(), {}}};
    if (!loaded.version) {
        if (error != std::errc::no_such_file_or_directory) {
            loaded.data.problem = "The data file could not be read: " + error.message();
        }
        return loaded;
    }
    auto document = json::parse(loaded.version->text());
    if (document && document->root().is(json::Kind::object)) {
        loaded.data.document = std::move(*document);
    } else {
        loaded.data.problem = "The data file does not hold a JSON object";
    }
    return loaded;
}

// A file with a problem may have been caught in the middle of somebody's write: it is read again a
// few times within a quarter of a second.
Loaded load(const fs::path& path) {
    constexpr int kTries = 5;
    constexpr std::chrono::milliseconds kPause(50);
    for (int i = 1; i < kTries; ++i) {
        Loaded loaded = loadOnce(path);
        if (!loaded.data.problem) return loaded;
        std::this_thread::sleep_for(kPause);
    }
    return loadOnce(path);
}

// The lock of the directory; none where the directory does not exist.
std::optional<DirectoryLock> lockDirectory(const fs::path& directory,
                                           const std::function<bool()>& mayWait) {
    std::error_code error;
    if (!fs::exists(directory, error)) return std::nullopt;
    return DirectoryLock(directory, mayWait);
}

// One attempt, under the lock: nothing comes back when another writer was quicker.
std::optional<std::string> attempt(const std::function<Change(const DataSnapshot&)>& change,
                                   const fs::path& path, const std::function<bool()>& mayWait,
                                   FileSystem& system) {
    std::optional<DirectoryLock> lock;
    std::exception_ptr noLock;  // of interest only when there is something to save
    try {
        lock = lockDirectory(directoryOf(path), mayWait);
    } catch (const std::system_error&) {
        noLock = std::current_exception();
    }
    const Loaded loaded = load(path);
    const Change made = change(loaded.data);
    if (!made.edit) return made.text;
    if (noLock) std::rethrow_exception(noLock);
    if (!lock) {
        fs::create_directories(directoryOf(path));
        return std::nullopt;
    }
    const FileVersion* before = loaded.version ? &*loaded.version : nullptr;
    const auto writeBytes = [&](const json::Sink& sink) {
        std::size_t size = 0;
        json::writePretty(loaded.data.document, *made.edit, [&](std::string_view bytes) {
            size += bytes.size();
            if (size > json::kMaxSize) loaded.data.refuse("The data file would be too large");
            sink(bytes);
        });
    };
    const SignalHold hold;
    const auto replacement = replaceFile(system, path, *lock, before, writeBytes);
    if (replacement == Replacement::changed) return std::nullopt;
    return made.text;
}

}  // namespace

RecordingError::RecordingError(const std::string& problem, const fs::path& file)
    : std::runtime_error(problem + " (" + readablePath(file) + "). Nothing was changed.") {}

std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                           FileSystem& system) {
    constexpr int kMostTries = 16;
    constexpr std::chrono::seconds kLongestWait(10);
    // Counted from here, so that those in line behind one that waits in vain do not each wait as
    // long again.
    const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
    const auto mayWait = [&] {
        return !turnstile().closed && std::chrono::steady_clock::now() < deadline;
    };
    const std::scoped_lock guard(turnstile().mutex);
    fs::path path = resolved(dataFileURL());
    if (turnstile().closed) throw RecordingError("The server is about to end", path);
    try {
        for (int i = 0; i < kMostTries; ++i) {
            if (auto text = attempt(change, path, mayWait, system)) return *text;
            path = resolved(dataFileURL());
        }
    } catch (const std::system_error& error) {
        throw RecordingError("The data file could not be saved: " + error.code().message(), path);
    }
    throw RecordingError("The data file could not be saved: other programs keep changing it", path);
}

void finishRecordings() {
    turnstile().closed = true;
    turnstile().mutex.lock();
}

}  // namespace tovra
