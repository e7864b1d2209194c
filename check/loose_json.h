// The forms in which hosts keep their configuration, as JSON.
#pragma once

#include <string>
#include <string_view>

namespace tovra::check {

// As it stands; with comments, and commas before closing brackets; or TOML.
enum class Form { json, loose, toml };

// The text as JSON. The tables of a TOML file become members of one object, under their whole
// names, and bare values texts. Texts over several lines, dotted names of values and other rarities
// are not understood. Pure.
[[nodiscard]] std::string jsonOf(std::string_view text, Form form);

}  // namespace tovra::check
