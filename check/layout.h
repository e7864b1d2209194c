// What a check has found, laid out for a person or for a program.
#pragma once

#include <string>

#include "check/check.h"

namespace tovra::check {

// Lines of text for a person.
[[nodiscard]] std::string asText(const Check& check, bool inColour);

// One JSON object and a line feed, for a program.
[[nodiscard]] std::string asJson(const Check& check);

}  // namespace tovra::check
