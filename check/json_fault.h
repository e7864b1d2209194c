// Where a file stops being JSON, for a person who has to mend it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tovra::check {

struct JsonFault {
    std::size_t line;       // counted from 1
    std::size_t column;     // counted from 1, in bytes
    std::string reason;     // a clause: "a comma is missing"
    std::string near;       // what stands there, to the end of the line at most
    std::string_view kind;  // what it looks like where it is no JSON at all: "a ZIP archive"
};

// The place in the file where the parser stops; nothing where it does not, or the file cannot be
// read. Takes little memory, and time linear in the size. May be called from several threads.
[[nodiscard]] std::optional<JsonFault> jsonFaultIn(const std::filesystem::path& path);

}  // namespace tovra::check
