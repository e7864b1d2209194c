// What the check has found, laid out for a person or for a program.
#pragma once

#include <string>
#include <vector>

#include "check/examination.h"
#include "check/hosts.h"

namespace tovra::check {

// Lines of text for a person.
[[nodiscard]] std::string asText(const Examination& found, bool inColour);

[[nodiscard]] std::string asText(const std::vector<HostEntry>& entries, bool inColour);

// One JSON object and a line feed, for a program.
[[nodiscard]] std::string asJson(const Examination& found);

}  // namespace tovra::check
