// Recording: the one way in which the data file is changed.
//
// Other servers and the finance application may write the file at any moment. Where a recording is
// confirmed, it is on the disk, and everything else in the file is as it was. No other writer's
// change is undone. One that fails says what it has left. May be called from several threads.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "files/file.h"
#include "files/file_system.h"
#include "files/save_error.h"
#include "json/json.h"
#include "json/write.h"

namespace tovra {

// Why nothing could be recorded, and what that has left: says what is wrong and where.
using RecordingError = SaveError;

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
        throw RecordingError(reason + " (" + readablePath(path) + ")");
    }
};

// What a recording tool makes of the file: the edit, if any, and the text that confirms it.
struct Change {
    std::optional<json::Edit> edit;
    std::string text;
};

// Loads the data file, lets `change` decide, saves the edit that it gives and returns its text.
// Without an edit nothing is written, not even a directory. `change` may throw RecordingError to
// refuse. Where another writer was quicker, it is called again with the newer file. One call is
// made at a time; the others wait.
//
// Waits for the folder's lock at most until two seconds after the call, then goes on without it.
// Three things are looked at again for a quarter of a second: a file with a problem, one that is
// missing from a folder that exists, and preferences that cannot be read.
//
// Throws RecordingError when the preferences stay unreadable, when the file cannot be saved, or
// when other writers were quicker sixteen times in a row.
[[nodiscard]] std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                                         FileSystem& system = FileSystem::system());

// From now on a recording of this process is saved only if `canAnswer` says that somebody can still
// be told. It is asked before a recording begins, while it waits, and again just before the file is
// replaced. It is called from the threads that record.
void recordOnlyWhile(bool (*canAnswer)());

// For a process that is about to end and will answer no more: waits for the recording that is under
// way, and lets none be saved any more.
void finishRecordings();

}  // namespace tovra
