// Cases that are kept as JSON files in the golden folders beside the tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "json/write.h"
#include "tests/support/scopes.h"

namespace tovra::test {

// Compact JSON text with the members in a fixed order.
inline std::string compact(json::Value value) {
    std::string text;
    json::appendCompact(text, value);
    return text;
}

class Golden {
  public:
    // The file of that path below the tests' folder.
    explicit Golden(const std::string& name)
        : path_(TOVRA_TESTS "/" + name), document_(json::parse(fileBytes(path_)).value()) {}

    [[nodiscard]] json::Value root() const { return document_.root(); }

    // What fails while the trace exists is told with the file and how the value begins.
    [[nodiscard]] testing::ScopedTrace trace(json::Value value, std::string_view what = {}) const {
        return {path_.c_str(), -1, std::string(what) + " " + beginOf(value)};
    }

    // The elements of a member that has to have some.
    [[nodiscard]] json::Children each(json::Value object, std::string_view name) const {
        const json::Children elements = object.member(name).children();
        return elements.empty() ? throw wrong(object, "has no", name) : elements;
    }

    // Throws where the object has another member, lest a misspelt one checks nothing.
    void allowOnly(json::Value object, std::initializer_list<std::string_view> names) const {
        for (const json::Value member : object.children()) {
            if (std::find(names.begin(), names.end(), member.name()) != names.end()) continue;
            throw wrong(object, "may not have", member.name());
        }
    }

  private:
    static std::string beginOf(json::Value value) { return compact(value).substr(0, 300); }

    [[nodiscard]] std::runtime_error wrong(json::Value at, const char* verb,
                                           std::string_view name) const {
        return std::runtime_error(path_ + ": " + beginOf(at) + " " + verb + " \"" +
                                  std::string(name) + "\"");
    }

    std::string path_;
    json::Document document_;
};

}  // namespace tovra::test
