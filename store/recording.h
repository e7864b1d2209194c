// Recording: the one way in which the data file is changed.
//
// Other servers and the finance application may write the file at any moment. A recording that is
// confirmed is on the disk, everything else in the file is as it was, and no other writer's change
// has been undone; one that fails has changed nothing. May be called from several threads.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "json/json.h"
#include "json/write.h"
#include "platform/file_system.h"

namespace tovra {

// Why nothing could be recorded: a sentence that says what is wrong and where, and that nothing was
// changed.
class RecordingError : public std::runtime_error {
  public:
    RecordingError(const std::string& problem, const std::filesystem::path& file);
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
// newer file, when another writer was quicker; it may throw RecordingError to refuse.
//
// Throws RecordingError when the file cannot be saved, when another program locks its folder for
// ten seconds, or when other writers were quicker sixteen times in a row. While a save is under way
// SIGTERM, SIGINT and SIGHUP wait for it, where they would end the calling thread's process.
[[nodiscard]] std::string changeDataFile(const std::function<Change(const DataSnapshot&)>& change,
                                         FileSystem& system = FileSystem::system());

// Returns when no recording is under way in this process, and lets none begin any more: for a
// process that is about to end.
void finishRecordings();

}  // namespace tovra
