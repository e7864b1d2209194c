// What keeps the server from working on a data file, and what makes its reports wrong or empty.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/content.h"
#include "check/json_fault.h"
#include "check/surroundings.h"
#include "check/time_zone.h"
#include "store/data_file.h"

namespace tovra::check {

struct Finding {
    Level level;
    std::string_view about;  // a short name that does not change, for programs
    std::string text;        // a sentence or two, for a person
};

// "note", "warning", "error".
[[nodiscard]] std::string_view nameOf(Level level);

// The findings, the worst first. `fault` is there where the file could be read and is no JSON, and
// `content` where it holds an object. Pure.
[[nodiscard]] std::vector<Finding> findingsOf(const DataFileLocation& location,
                                              const Surroundings& file, const TimeZone& zone,
                                              const std::optional<JsonFault>& fault,
                                              const std::optional<Content>& content);

// The text in double quotes, shortened where it is long. Bytes that are not UTF-8 become question
// marks. Pure.
[[nodiscard]] std::string inQuotes(std::string_view text);

// The same for the first few of them, and how many more there are.
[[nodiscard]] std::string inQuotes(const std::vector<std::string_view>& texts);

// What is wrong with what is in the document. Pure.
[[nodiscard]] std::vector<Finding> contentFindings(const Content& content);

}  // namespace tovra::check
