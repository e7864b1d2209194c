// What the check finds, and how it says so.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tovra::check {

// How bad something is. A note says what may be meant.
enum class Level : std::uint8_t { note, warning, error };

// "note", "warning", "error".
[[nodiscard]] std::string_view nameOf(Level level);

struct Finding {
    Level level;
    std::string_view about;  // a short name that does not change, for programs
    std::string text;        // a sentence or two, for a person
};

using Texts = std::vector<std::string>;

// Not for several threads.
struct Findings {
    std::vector<Finding> found;

    void note(std::string_view about, std::string text) {
        add(Level::note, about, std::move(text));
    }
    void warn(std::string_view about, std::string text) {
        add(Level::warning, about, std::move(text));
    }
    void fail(std::string_view about, std::string text) {
        add(Level::error, about, std::move(text));
    }
    void add(Level level, std::string_view about, std::string text) {
        found.push_back({level, about, std::move(text)});
    }
    // One sentence about all of the texts, which stand in quotes between these two parts of it.
    // None where there are no texts.
    void tell(Level level, std::string_view about, std::string_view before, const Texts& texts,
              std::string_view after);
};

// The text for a sentence, cut where it is long. Bytes that are not UTF-8 become question marks,
// and characters that nobody sees their escapes. Pure.
[[nodiscard]] std::string shortened(std::string_view text);

// The same in double quotes.
[[nodiscard]] std::string inQuotes(std::string_view text);

// The same for the first few of them, and how many more there are.
[[nodiscard]] std::string inQuotes(const Texts& texts);

// The text without blanks and without characters that nobody sees, in the form of names. Pure.
[[nodiscard]] std::string loosely(std::string_view text);

}  // namespace tovra::check
