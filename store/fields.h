// The lookups: the only way in which a member of the data document or of a tool's arguments is
// read. None of them fails; a member that is missing or holds another JSON type gives the default.
// Pure functions; may be called from several threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "json/json.h"

namespace tovra {

// The text of a JSON string; empty by default. A view into the document.
[[nodiscard]] std::string_view stringField(json::Value object, std::string_view name);

// A JSON number as a double, true as 1 and false as 0; 0 by default. A number beyond the largest
// double is infinite.
[[nodiscard]] double numberField(json::Value object, std::string_view name);

// A JSON boolean; nothing by default, also for the numbers 0 and 1.
[[nodiscard]] std::optional<bool> boolField(json::Value object, std::string_view name);

// A JSON object; by default an absent value, which reads like an empty object.
[[nodiscard]] json::Value objectField(json::Value object, std::string_view name);

// The elements of a JSON array whose elements are all objects; none by default, also when a single
// element is no object.
[[nodiscard]] json::Children objectArrayField(json::Value object, std::string_view name);

// The same for a value that is already at hand.
[[nodiscard]] inline std::string_view asString(json::Value value) {
    return value.string().value_or(std::string_view());
}
[[nodiscard]] double asNumber(json::Value value);
[[nodiscard]] json::Children asObjectArray(json::Value value);

// A number, read like numberField and truncated toward zero. Nothing where that gives less than 1,
// or does not fit a signed 64-bit integer.
[[nodiscard]] std::optional<std::int64_t> positiveWholeNumberField(json::Value object,
                                                                   std::string_view name);

// The value truncated toward zero; nothing where that does not fit a signed 64-bit integer.
[[nodiscard]] std::optional<std::int64_t> truncated(double value);

}  // namespace tovra
