// The forms in which hosts keep their configuration, as JSON.
#pragma once

#include <string>
#include <string_view>

namespace tovra::check {

// JSON with comments and commas before closing brackets, without both. Pure.
[[nodiscard]] std::string withoutComments(std::string_view text);

// The tables of a TOML file as members of one object, under their whole names. Bare values become
// texts. Texts over several lines, dotted names of values and other rarities are not understood.
// Pure.
[[nodiscard]] std::string jsonOfToml(std::string_view text);

}  // namespace tovra::check
