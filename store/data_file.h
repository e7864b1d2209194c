// Where the data file is, and loading it. Nothing is remembered between calls: the environment, the
// preferences and the file are looked at afresh each time. May be called from several threads.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "json/json.h"

namespace tovra {

// Which file is the data file, and why.
struct DataFileLocation {
    enum class Source { variable, preference, fallback };

    std::filesystem::path path;
    Source source = Source::fallback;
    // Why the application's preferences, which exist, could not be read: a sentence without its
    // full stop. `path` is then the fallback, and not what the application uses.
    std::optional<std::string> preferencesProblem;
};

// The path of the data file: the environment variable TOVRA_DATA_FILE; else data.json in the
// directory that the finance application's preference "tovra.syncDir" names; else
// Pennyloft/data.json in the user's directory for application data. A value counts unless it is
// empty, and is taken as it stands. The file need not exist. Preferences that cannot be read are
// looked at again for a quarter of a second.
[[nodiscard]] DataFileLocation locateDataFile();

// The path alone.
[[nodiscard]] std::filesystem::path dataFileURL();

// The data document as the file holds it now. A file that is missing, cannot be read or does not
// hold a JSON object gives the empty document, whose root is absent. Throws std::bad_alloc where
// there is too little memory for the file: an empty document would be a false statement about it.
[[nodiscard]] json::Document loadData();

}  // namespace tovra
