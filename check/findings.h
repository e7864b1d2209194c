// What keeps the server from working on a data file, and what makes its reports wrong or empty.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/content.h"
#include "check/json_fault.h"
#include "check/surroundings.h"
#include "store/data_file.h"

namespace tovra::check {

enum class Level { warning, error };

struct Finding {
    Level level;
    std::string_view about;  // a short name that does not change, for programs
    std::string text;        // a sentence or two, for a person
};

// The findings, errors first. `fault` is there where the file could be read and is no JSON, and
// `content` where it holds an object. Pure.
[[nodiscard]] std::vector<Finding> findingsOf(const DataFileLocation& location, const Place& place,
                                              const std::optional<JsonFault>& fault,
                                              const std::optional<Content>& content);

}  // namespace tovra::check
