// What a check has found, laid out for a person or for a program.
#pragma once

#include <string>

#include "check/check.h"

namespace tovra::check {

// Plain lines, with colours where somebody looks at a terminal.
[[nodiscard]] std::string asText(const Check& check, bool inColour);

// One JSON object, and a line feed.
[[nodiscard]] std::string asJson(const Check& check);

}  // namespace tovra::check
