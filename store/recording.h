// Recording: the one way in which the data file is changed.
//
// Other servers and the finance application may write the file at any moment. Where a recording is
// confirmed, it is on the disk, and everything else in the file is as it was. No other writer's
// change is undone. One that fails says what it has left. May be called from several threads.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "files/file_system.h"
#include "files/replace_file.h"
#include "json/json.h"
#include "json/write.h"

namespace tovra {

// What is said of a recording where nobody knows whether it is on the disk.
inline constexpr std::string_view kPerhapsRecorded =
    "It may have been recorded all the same: look before you try again.";

// Why nothing could be recorded. The text says what is wrong and where. It ends with "Nothing was
// changed." where that is certain.
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
    // What is wrong with a file that exists: a sentence without its full stop.
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
// Without an edit nothing is written, not even a directory. `change` may throw RecordingError to
// refuse. Where another writer was quicker, it is called again with the newer file. Calls have
// their turn in the order in which they come.
//
// Waits for the folder's lock at most until two seconds after the call, then goes on without it.
// Three things are looked at again for a quarter of a second: a file with a problem, one that is
// missing from a folder that exists, and preferences that cannot be read.
//
// Throws RecordingError when the preferences stay unreadable, when the file cannot be saved, or
// when other writers were quicker sixteen times in a row.
[[nodiscard]] std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                                         FileSystem& system = FileSystem::system());

// From now on a recording is saved only if `canAnswer` says that somebody can still be told. It is
// asked while a recording waits, and again just before the file is replaced. To be called before
// the first recording; `canAnswer` may be called from several threads.
void recordOnlyWhile(std::function<bool()> canAnswer);

// For a process that is about to end: waits for the recording that is under way, and lets none
// begin any more.
void finishRecordings();

}  // namespace tovra
