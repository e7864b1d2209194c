// Looks at the data file as the server does, for a person whose assistant sees no data.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "check/content.h"
#include "check/findings.h"
#include "check/json_fault.h"
#include "check/surroundings.h"
#include "check/time_zone.h"
#include "json/json.h"
#include "store/data_file.h"

namespace tovra::check {

struct Examination {
    DataFileLocation location;
    Surroundings file;
    TimeZone zone;
    Instant now;
    json::Document document;         // what `content` points into
    std::optional<Content> content;  // nothing where the server sees an empty document
    std::vector<Finding> findings;   // the worst first
};

// Looks at that data file as the reports would at the instant `now`. Never writes. May be called
// from several threads.
[[nodiscard]] Examination examine(const DataFileLocation& location, Instant now);

// The findings about a file, the worst first. `fault` is there where the file could be read and is
// no JSON, and `content` where it holds an object. Pure.
[[nodiscard]] std::vector<Finding> findingsOf(const DataFileLocation& location,
                                              const Surroundings& file, const TimeZone& zone,
                                              const std::optional<JsonFault>& fault,
                                              const std::optional<Content>& content);

// 0: there are notes at most; 1: the server cannot work on this file; 2: it can, with warnings.
[[nodiscard]] int exitStatus(const std::vector<Finding>& findings);

}  // namespace tovra::check
