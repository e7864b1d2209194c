// Cases that are kept as JSON files in the golden folders beside the tests.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "json/write.h"
#include "tests/support/scopes.h"

namespace tovra::test {

// The file of that path below the tests' folder.
inline json::Document golden(const std::string& path) {
    return json::parse(fileBytes(TOVRA_TESTS "/" + path)).value();
}

// The elements of a member that has to have some, lest a misspelt name checks nothing.
inline json::Children each(json::Value object, std::string_view name) {
    const json::Children elements = object.member(name).children();
    return elements.empty() ? throw std::runtime_error("No " + std::string(name)) : elements;
}

// Compact JSON text with the members in a fixed order.
inline std::string compact(json::Value value) {
    std::string text;
    json::appendCompact(text, value);
    return text;
}

}  // namespace tovra::test
