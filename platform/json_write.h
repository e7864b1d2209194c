// JSON text from values: compact for the wire, indented for the data file.
//
// All functions append to a string of the caller's and may be called from several threads.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/json.h"

namespace tovra::json {

// Appends `text` as a JSON string, quoted, with the escapes that JSON demands and no others.
// REQUIRES: text is valid UTF-8.
void appendString(std::string& out, std::string_view text);

// The members of an object as they are written: in ascending order of their names' bytes, and of
// members with the same name only the last.
[[nodiscard]] std::vector<Value> membersByName(const Children& members);

// Appends `value` without blanks. Numbers keep their text; of members with the same name only the
// last is written; the members of an object are in ascending order of their names' bytes.
// REQUIRES: value.exists().
void appendCompact(std::string& out, Value value);

}  // namespace tovra::json
