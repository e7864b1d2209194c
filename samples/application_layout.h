// A data file as a program writes it that keeps the members of an object in a hash table.
#pragma once

#include <string>

#include "json/json.h"

namespace tovra::support {

// The same values, laid out otherwise: the members of an object in no order that one could tell,
// though objects with the same names have the same one; a blank before each colon, and each slash
// with a backslash.
[[nodiscard]] std::string inApplicationLayout(json::Value value);

}  // namespace tovra::support
