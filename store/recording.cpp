#include "store/recording.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "files/file.h"
#include "files/folder_lock.h"
#include "files/json_file.h"
#include "files/look_again.h"
#include "files/replace_file.h"
#include "store/data_file.h"
#include "store/fields.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;

// What the recordings of the process have in common: one at a time, and none that nobody is told
// of.
struct Shared {
    std::mutex turn;
    std::atomic<bool (*)()> canAnswer{[] { return true; }};
};

Shared& shared() {
    static Shared shared;
    return shared;
}

// Whether a recording may still be saved.
bool mayRecord() { return shared().canAnswer.load()(); }

// The file as it was read, and what a recording makes of it.
struct Loaded {
    std::optional<FileVersion> version;
    DataSnapshot data;
};

// Reads the file once. A file that is missing is no problem.
Loaded loadOnce(FileSystem& system, const fs::path& path) {
    Loaded loaded{{}, {path, std::move(*json::parse("{}")), {}}};
    const auto unreadable = [](const std::error_code& error) {
        return "The data file could not be read: " + error.message();
    };
    std::error_code error;
    auto file = openFile(path, json::kMaxSize, error, system);
    if (error == std::errc::no_such_file_or_directory) return loaded;
    if (!file) {
        loaded.data.problem = unreadable(error);
        return loaded;
    }
    auto document = parseFile(loaded.version.emplace(std::move(*file)), error, allFields());
    if (error) {
        loaded.data.problem = unreadable(error);
    } else if (document && document->root().is(json::Kind::object)) {
        loaded.data.document = std::move(*document);
    } else {
        loaded.data.problem = "The data file does not hold a JSON object";
    }
    return loaded;
}

// Looks again where the file has a problem: somebody may be writing it. Also where it is missing
// from a folder that exists: some programs remove the old file before they name the new one.
Loaded load(FileSystem& system, const fs::path& path, bool folderExists) {
    const auto isWhole = [&](const Loaded& loaded) {
        return !loaded.data.problem && (loaded.version || !folderExists);
    };
    return lookUntil(system, isWhole, [&] { return loadOnce(system, path); });
}

// One call of changeDataFile.
class Recording {
  public:
    Recording(const std::function<Change(const DataSnapshot&)>& change, FileSystem& system)
        : change_(change), system_(system), newFolders_(system) {}

    std::string make() {
        const std::lock_guard turn(shared().turn);
        try {
            if (!mayRecord()) throw SaveError("The server is about to end");
            constexpr int kMostTries = 16;
            for (int i = 0; i < kMostTries; ++i) {
                auto text = attempt();
                if (!text) continue;
                newFolders_.keep();
                return std::move(*text);  // what is saved needs no more memory
            }
            throw notSaved(SaveError("other programs keep changing it"));
        } catch (const SaveError& error) {
            if (newFolders_.remove() || error.after() != After::unchanged) throw;
            throw SaveError(error.problem(), After::leftovers);
        }
    }

  private:
    // Nothing comes back where it has to be tried again: another writer was quicker, or the folder
    // had to be made.
    std::optional<std::string> attempt() {
        const DataFileLocation location = locateDataFile();
        if (location.preferencesProblem) throw SaveError(*location.preferencesProblem);
        path_ = resolved(system_, location.path);

        std::error_code folderError;  // of interest only when there is something to save
        const auto mayWait = [&] {
            return std::chrono::steady_clock::now() < deadline_ && mayRecord();
        };
        const auto folder = Folder::open(system_, folderOf(path_), mayWait, folderError);
        const Loaded loaded = load(system_, path_, folder.has_value());
        Change made = change_(loaded.data);
        if (!made.edit) return std::move(made.text);
        if (loaded.data.problem) loaded.data.refuse(*loaded.data.problem);
        if (folder) {
            if (!save(*folder, loaded, *made.edit)) return std::nullopt;
            return std::move(made.text);
        }
        if (folderError == std::errc::no_such_file_or_directory) {
            folderError = newFolders_.make(folderOf(path_));
        }
        if (folderError) throw notSaved(SaveError(folderError));
        return std::nullopt;
    }

    // False where another writer was quicker.
    bool save(const Folder& folder, const Loaded& loaded, const json::Edit& edit) {
        NewFile file(system_, folder, path_, loaded.version ? &*loaded.version : nullptr);
        try {
            file.create();
            std::size_t size = 0;
            json::writePretty(loaded.data.document, edit, [&](std::string_view bytes) {
                size += bytes.size();
                if (size > json::kMaxSize) throw SaveError("it would be too large");
                file.write(bytes);
            });
            file.synchronise();
            if (!mayRecord()) throw SaveError("the server is about to end");
            return file.replaceTarget();
        } catch (const SaveError& error) {
            const bool isClean = file.remove() || error.after() != After::unchanged;
            throw notSaved(SaveError(error.problem(), isClean ? error.after() : After::leftovers));
        }
    }

    [[nodiscard]] SaveError notSaved(const SaveError& error) const {
        return SaveError("The data file could not be saved: " + error.problem() + " (" +
                             readablePath(path_) + ")",
                         error.after());
    }

    static constexpr std::chrono::seconds kLongestWait{2};

    const std::function<Change(const DataSnapshot&)>& change_;
    FileSystem& system_;
    NewFolders newFolders_;
    fs::path path_;
    // Counted from the call, the wait in line included. Otherwise each in the line would wait anew
    // for a lock that stays taken.
    const std::chrono::steady_clock::time_point deadline_ =
        std::chrono::steady_clock::now() + kLongestWait;
};

}  // namespace

std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                           FileSystem& system) {
    return Recording(change, system).make();
}

void recordOnlyWhile(bool (*canAnswer)()) { shared().canAnswer = canAnswer; }

void finishRecordings() {
    recordOnlyWhile([] { return false; });
    const std::lock_guard turn(shared().turn);
}

}  // namespace tovra
