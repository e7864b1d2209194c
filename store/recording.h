// Recording: the one way in which the data file is changed.
//
// Other servers and the finance application may write the file at any moment. A recording that is
// confirmed is on the disk, everything else in the file is as it was, and no other writer's change
// has been undone; one that fails says what it has left. May be called from several threads.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "json/json.h"
#include "json/write.h"
#include "platform/file_system.h"
#include "platform/replace_file.h"

namespace tovra {

// Why nothing could be recorded: a sentence that says what is wrong and where, and that nothing was
// changed where that is certain.
class RecordingError : public std::runtime_error {
  public:
    using Left = ReplaceError::Left;
    // `problem` is without its full stop.
    explicit RecordingError(const std::string& problem, Left left = Left::nothing);
    RecordingError(const std::string& problem, const std::filesystem::path& file,
                   Left left = Left::nothing);
};

// The data file as a recording finds it.
struct DataSnapshot {
    std::filesystem::path path;
    // An object, empty where there is no file or the file is unusable.
    json::Document document;
    // What is wrong with a file that exists and cannot be read, or holds no JSON object.
    std::optional<std::string> problem;

    [[nodiscard]] json::Value root() const { return document.root(); }
    // Throws RecordingError.
    [[noreturn]] void refuse(const std::string& reason) const {
        throw RecordingError(reason, path);
    }
};

// What a recording tool makes of the file: the edit, if any, and the text that confirms it.
struct Change {
    std::optional<json::Edit> edit;
    std::string text;
};

// Loads the data file, lets `change` decide, saves the edit that it gives and returns its text.
// Without an edit nothing is written, not even a directory. `change` is called again, with the
// newer file, when another writer was quicker; it may throw RecordingError to refuse. Calls have
// their turn in the order in which they come.
//
// The folder's lock is waited for at most two seconds from the call on; then the recording goes on
// without it. A file that is missing from a folder that exists, one that holds no JSON object, and
// unreadable preferences are looked at again for a quarter of a second.
//
// Throws RecordingError when the preferences stay unreadable, when the file cannot be saved, or
// when other writers were quicker sixteen times in a row.
[[nodiscard]] std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                                         FileSystem& system = FileSystem::system());

// From now on a recording is saved only if `canAnswer`, asked at the last moment before the file is
// replaced and while it waits, says that somebody can still be told; without this it always is. To
// be called before the first recording; `canAnswer` must be callable from several threads.
void recordOnlyWhile(std::function<bool()> canAnswer);

// Returns when no recording is under way in this process, and lets none begin any more: for a
// process that is about to end.
void finishRecordings();

}  // namespace tovra
