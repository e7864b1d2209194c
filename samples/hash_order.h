// A data file as a program writes it that keeps the members of an object in a hash table.
#pragma once

#include <string>

#include "json/json.h"

namespace tovra::support {

// The same values and layout as a PrettyText's. The members of an object stand in no order that one
// could tell, though objects with the same names have the same one. REQUIRES: no value is null.
[[nodiscard]] std::string inHashOrder(json::Value value);

}  // namespace tovra::support
