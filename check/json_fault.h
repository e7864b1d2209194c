// Where a text stops being JSON, for a person who has to mend it.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tovra::check {

struct JsonFault {
    std::size_t line;         // counted from 1
    std::size_t column;       // counted from 1, in bytes
    std::string_view reason;  // a clause: "a comma is missing"
};

// The first place at which json::parse refuses the text; nothing where it accepts it. Pure. The
// time is linear in the size, and no input drives a recursion.
[[nodiscard]] std::optional<JsonFault> findJsonFault(std::string_view text);

}  // namespace tovra::check
