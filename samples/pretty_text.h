// JSON text built member by member, in the layout in which the data file is saved. The order of the
// members is the caller's.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tovra::support {

// `key` is the member's name inside an object, and left out inside an array and at the top.
class PrettyText {
  public:
    // An object ("{") or an array ("["), up to the matching close().
    void open(std::string_view bracket, std::string_view key = {});
    void close();

    void string(std::string_view value, std::string_view key = {});
    // In the shortest form without an exponent that reads back as the same double.
    void number(double value, std::string_view key = {});
    void boolean(bool value, std::string_view key = {});

    // The text so far; whole once everything that was opened is closed.
    [[nodiscard]] std::string take() { return std::move(text_); }

  private:
    void beginValue(std::string_view key);
    void newLine();

    std::string text_;
    std::string closers_;
    bool isEmpty_ = true;  // the innermost object or array
};

}  // namespace tovra::support
