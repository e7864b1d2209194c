// A look at the data file with the store's own eyes, for a person whose assistant sees no data.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "check/findings.h"
#include "json/json.h"
#include "store/data_file.h"

namespace tovra::check {

struct Check {
    DataFileLocation location;
    bool isNamed;  // on the command line; the location's source is then without meaning
    Place place;
    json::Document document;         // what `content` points into
    std::optional<Content> content;  // nothing where the server sees an empty document
    std::vector<Finding> findings;   // errors first

    // 0: nothing was found; 1: the server cannot work on this file; 2: it can, with warnings.
    [[nodiscard]] int exitStatus() const;
};

// Looks at the data file as the reports do at that instant: at `named`, or else where the server
// looks for it. Never writes. May be called from several threads.
[[nodiscard]] Check check(const std::optional<std::filesystem::path>& named, Instant now);

}  // namespace tovra::check
