// Looks at the data file as the server does, for a person whose assistant sees no data.
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
    bool isNamed;  // by the command line; location.source then has no meaning
    Place place;
    json::Document document;         // what `content` points into
    std::optional<Content> content;  // nothing where the server sees an empty document
    std::vector<Finding> findings;   // errors first

    // 0: nothing was found; 1: the server cannot work on this file; 2: it can, with warnings.
    [[nodiscard]] int exitStatus() const;
};

// Looks at the data file as the reports would at the instant `now`. That is `named`, or else the
// file that the server finds. Never writes. May be called from several threads.
[[nodiscard]] Check check(const std::optional<std::filesystem::path>& named, Instant now);

}  // namespace tovra::check
