// Cases that are kept as JSON files in the golden folders beside the tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "json/write.h"
#include "support/test_environment.h"

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
    explicit Golden(const std::string& name) : path_(TOVRA_TESTS "/" + name) {
        const std::string text = support::fileBytes(path_);
        document_ = json::parse(text).value();
        int line = 1;
        for (std::size_t at = 0, end = 0; at < text.size(); at = end) {
            if (text[at] == '\n') ++line;
            end = endOfToken(text, at);
            const bool isName = text[at] == '"' && text[text.find_first_not_of(" \n", end)] == ':';
            const bool isBetween = kBetween.find(text[at]) < std::string_view::npos;
            if (!isBetween && !isName) lines_.push_back(line);
        }
    }

    [[nodiscard]] json::Value root() const { return document_.root(); }

    // What fails while the trace exists is told with the file and line of the value.
    [[nodiscard]] testing::ScopedTrace trace(json::Value value, std::string_view what = {}) const {
        return {path_.c_str(), lineOf(value), std::string(what)};
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
    static constexpr std::string_view kBetween = " \n,:]}";  // what begins no value

    static std::size_t endOfToken(const std::string& text, std::size_t at) {
        std::size_t end = at + 1;
        if (text[at] == '"') {
            while (text[end] != '"') end += text[end] == '\\' ? 2 : 1;
            return end + 1;
        }
        const bool isSign = std::string_view("[{ \n,:]}").find(text[at]) < std::string_view::npos;
        return isSign ? end : text.find_first_of(kBetween, at);
    }

    [[nodiscard]] int lineOf(json::Value value) const {
        std::size_t before = 0;
        return findIn(root(), value, before) ? lines_.at(before) : -1;
    }

    // Whether the wanted value is this one or in it; counts the values in front of it.
    static bool findIn(json::Value value, json::Value wanted, std::size_t& before) {
        if (value.isSame(wanted)) return true;
        ++before;
        const json::Children parts = value.children();
        return std::any_of(parts.begin(), parts.end(),
                           [&](json::Value part) { return findIn(part, wanted, before); });
    }

    [[nodiscard]] std::runtime_error wrong(json::Value at, const char* verb,
                                           std::string_view name) const {
        return std::runtime_error(path_ + ":" + std::to_string(lineOf(at)) + " " + verb + " \"" +
                                  std::string(name) + "\"");
    }

    std::string path_;
    json::Document document_;
    std::vector<int> lines_;  // of all values, in their order
};

}  // namespace tovra::test
