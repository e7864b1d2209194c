#include "store/recording.h"

#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

#include "files/file.h"
#include "files/folder_lock.h"
#include "files/json_file.h"
#include "files/look_again.h"
#include "store/data_file.h"
#include "store/fields.h"
#include "store/turnstile.h"

namespace tovra {
namespace {

namespace fs = std::filesystem;
using Left = RecordingError::Left;

// One recording at a time, and none once the process is about to end.
Turnstile& turnstile() {
    static Turnstile turnstile;
    return turnstile;
}

std::function<bool()>& canAnswer() {
    static std::function<bool()> canAnswer;
    return canAnswer;
}

// Whether a recording may still be saved.
bool mayRecord() { return !turnstile().isClosed() && (!canAnswer() || canAnswer()()); }

// The file as it was read, and what a recording makes of it.
struct Loaded {
    std::optional<FileVersion> version;
    DataSnapshot data;
};

// Reads the file once. A file that is missing is no problem.
Loaded loadOnce(FileSystem& system, const fs::path& path) {
    Loaded loaded{{}, {path, std::move(*json::parse("{}")), {}}};
    std::error_code error;
    auto file = openFile(path, json::kMaxSize, error, system);
    if (error == std::errc::no_such_file_or_directory) return loaded;
    std::optional<json::Document> document;
    if (file) document = parseFile(loaded.version.emplace(std::move(*file)), error, allFields());
    if (error) {
        loaded.data.problem = "The data file could not be read: " + error.message();
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
        const Turn turn(turnstile());
        try {
            if (!turn.isInside()) throw RecordingError("The server is about to end");
            constexpr int kMostTries = 16;
            for (int i = 0; i < kMostTries; ++i) {
                auto text = attempt();
                if (!text) continue;
                newFolders_.keep();
                return std::move(*text);  // what is saved needs no more memory
            }
            throw ReplaceError("other programs keep changing it");
        } catch (const ReplaceError& error) {
            const bool isClean = newFolders_.remove() || error.left() != Left::nothing;
            throw RecordingError(std::string("The data file could not be saved: ") + error.what(),
                                 path_, isClean ? error.left() : Left::remains);
        }
    }

  private:
    // Nothing comes back when another writer was quicker.
    std::optional<std::string> attempt() {
        const DataFileLocation location = locateDataFile();
        if (location.preferencesProblem) throw RecordingError(*location.preferencesProblem);
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
        if (folder) return save(*folder, loaded, made);
        if (folderError == std::errc::no_such_file_or_directory) {
            folderError = newFolders_.make(folderOf(path_));
        }
        if (folderError) throw ReplaceError(folderError);
        return std::nullopt;
    }

    std::optional<std::string> save(const Folder& folder, const Loaded& loaded, Change& made) {
        const WriteBytes writeBytes = [&](const json::Sink& sink) {
            std::size_t size = 0;
            json::writePretty(loaded.data.document, *made.edit, [&](std::string_view bytes) {
                size += bytes.size();
                if (size > json::kMaxSize) throw ReplaceError("it would be too large");
                sink(bytes);
            });
        };
        const auto beforeReplacing = [] {
            if (!mayRecord()) throw ReplaceError("the server is about to end");
        };
        const FileVersion* before = loaded.version ? &*loaded.version : nullptr;
        const auto replacement =
            replaceFile(system_, folder, {path_, before, writeBytes, beforeReplacing});
        if (replacement == Replacement::changed) return std::nullopt;
        return std::move(made.text);
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

std::string ending(Left left) {
    switch (left) {
        case Left::nothing:
            return ". Nothing was changed.";
        case Left::remains:
            return ".";
        case Left::unknown:
            return std::string(". ").append(kPerhapsRecorded);
    }
    return ".";
}

}  // namespace

RecordingError::RecordingError(const std::string& problem, Left left)
    : std::runtime_error(problem + ending(left)) {}

RecordingError::RecordingError(const std::string& problem, const fs::path& file, Left left)
    : RecordingError(problem + " (" + readablePath(file) + ")", left) {}

std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                           FileSystem& system) {
    return Recording(change, system).make();
}

void recordOnlyWhile(std::function<bool()> check) { canAnswer() = std::move(check); }

void finishRecordings() { turnstile().close(); }

}  // namespace tovra
