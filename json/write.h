// JSON text from values: compact for the wire, indented for the data file.
//
// All functions may be called from several threads.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "json/json.h"

namespace tovra::json {

// How a slash is written: as it is, or with a backslash in front of it.
enum class Slash : bool { plain, escaped };

// Appends `text` as a JSON string, quoted, with the escapes that JSON demands. There are no others
// but for the slash. REQUIRES: text is valid UTF-8.
void appendString(std::string& out, std::string_view text, Slash slash = Slash::plain);

// The JSON number that reads back as the same double. Integers below 10^15 have no exponent, others
// the shortest form. REQUIRES: value is finite.
[[nodiscard]] std::string numberText(double value);

// Appends `value` without blanks. Numbers keep their text. Members are written in ascending order
// of their names' bytes; of members with the same name only the last is written.
//
// REQUIRES: value.exists().
void appendCompact(std::string& out, Value value);

// One change to a document, made while it is written.
struct Edit {
    // An array gets `value` appended. In an object `value` becomes the member `name`, in place of
    // any that it had.
    Value target;
    std::string name;   // has no meaning for an array
    std::string value;  // JSON text of any kind of value
};

// Is given a text piece by piece.
using Sink = std::function<void(std::string_view)>;

// Writes the whole document with `edit` made, in the layout of the finance application, so that as
// few lines as can be change. It has one element or member a line, two blanks for each level, a
// blank on both sides of a colon, and Slash::escaped. An empty array or object has an empty line
// between its brackets. No line feed ends the text. Otherwise like appendCompact. The sink may
// throw.
void writePretty(const Document& document, const Edit& edit, const Sink& sink);

}  // namespace tovra::json
