// Where the data file is, and loading it. Nothing is remembered between calls: the environment, the
// preferences and the file are looked at afresh each time. May be called from several threads.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>

#include "json/json.h"
#include "platform/environment.h"
#include "store/fields.h"

namespace tovra {

// Which file is the data file, and why.
struct DataFileLocation {
    enum class Source { variable, preference, fallback, named };  // named: by a person

    std::filesystem::path path;
    Source source = Source::fallback;
    // Why the application's preferences, which exist, could not be read, or why nobody knows where
    // they are: a sentence without its full stop. `path` is then the fallback, and perhaps not the
    // file that the application uses: no recording may go there.
    std::optional<std::string> preferencesProblem = {};
    // What keeps preferences that could be read from naming a directory, in the same form.
    std::optional<std::string> preferencesRemark = {};
};

// Looks for the data file, in this order: the environment variable TOVRA_DATA_FILE; data.json in
// the directory that the finance application's preference "tovra.syncDir" names;
// Pennyloft/data.json in the user's directory for application data. An empty value does not count,
// any other is taken as it stands. The file need not exist. `variable` is the value of
// that variable.
[[nodiscard]] DataFileLocation locateDataFile(
    const std::optional<std::string>& variable = environmentVariable("TOVRA_DATA_FILE"));

// The path alone.
[[nodiscard]] std::filesystem::path dataFileURL();

// The data document as the file holds it now, with the members of transactions that a report reads.
// Its root is absent where the file is missing, cannot be read or holds no JSON object. Throws
// std::bad_alloc where memory or descriptors are short, and where the file is longer than
// json::kMaxSize: an empty document would say something false about it.
[[nodiscard]] json::Document loadData(std::initializer_list<TransactionField> fields = {});

}  // namespace tovra
