// Cases that are kept as JSON files in the golden folders beside the tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/write.h"
#include "tests/support/scopes.h"

namespace tovra::test {

// A golden file, and the line on which each of its values begins.
class Golden {
  public:
    // The file of that path below the tests' folder.
    explicit Golden(const std::string& name)
        : path_(TOVRA_TESTS "/" + name),
          text_(fileBytes(path_)),
          document_(json::parse(text_).value()) {
        locate(root());
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
            throw wrong(member, "may not have", member.name());
        }
    }

  private:
    using Place = std::pair<json::Value, int>;

    [[nodiscard]] int lineOf(json::Value value) const {
        const auto same = [&](const Place& it) { return it.first.isSame(value); };
        return std::find_if(places_.begin(), places_.end(), same)->second;
    }

    [[nodiscard]] std::runtime_error wrong(json::Value at, const char* verb,
                                           std::string_view name) const {
        return std::runtime_error(path_ + ":" + std::to_string(lineOf(at)) + " " + verb + " \"" +
                                  std::string(name) + "\"");
    }

    // Notes where the value that comes next begins, and all that it holds; goes on behind it.
    void locate(json::Value value) {
        skip(text_.find_first_not_of(" \n,:]}", at_));
        places_.emplace_back(value, line_);
        if (value.children().empty()) return skipToken();
        skip(at_ + 1);
        for (const json::Value child : value.children()) {
            if (value.is(json::Kind::object)) {
                skip(text_.find_first_not_of(" \n,]}", at_));
                skipToken();
            }
            locate(child);
        }
    }

    // Behind a string, a word, a number or an empty container.
    void skipToken() {
        std::size_t end = at_ + 1;
        if (text_[at_] != '"') return skip(text_.find_first_of(",:]}", at_));
        while (text_[end] != '"') end += text_[end] == '\\' ? 2 : 1;
        skip(end + 1);
    }

    void skip(std::size_t to) {
        for (to = std::min(to, text_.size()); at_ < to; ++at_) line_ += text_[at_] == '\n' ? 1 : 0;
    }

    std::string path_, text_;
    json::Document document_;
    std::size_t at_ = 0;
    int line_ = 1;
    std::vector<Place> places_;
};

// Compact JSON text with the members in a fixed order.
inline std::string compact(json::Value value) {
    std::string text;
    json::appendCompact(text, value);
    return text;
}

}  // namespace tovra::test
