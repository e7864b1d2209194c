// The tokens of a JSON text, found by simdjson: it tells where each begins, and checks the text's
// UTF-8 and the control characters in its strings. Only for the parser in json_parse.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace simdjson::internal {
class dom_parser_implementation;
}

namespace tovra::json {

// Gives the tokens one after another.
//
// The text is taken in windows that end at line feeds, so that what is found is still in the
// processor's cache when the parser comes by, and the list of places stays small. No string holds a
// line feed as it stands, so a line feed is never inside a token.
class Tokens {
  public:
    // So many bytes behind a text have to be readable.
    static constexpr std::size_t kPadding = 64;

    explicit Tokens(std::string_view text);
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;
    ~Tokens();

    // The first character of the current token; U+0000 behind the last one.
    char operator*() { return isAtEnd() ? '\0' : window_[*token_]; }
    // Behind the last token, or where the text is not even a sequence of tokens.
    bool isAtEnd() { return token_ == endOfTokens_ && !nextWindow(); }
    [[nodiscard]] bool failed() const { return failed_; }

    // Where the current token begins; between it and the one before there are only that one's
    // characters and blanks. Behind the last token of a window it is the window's end.
    [[nodiscard]] const char* place() const { return window_ + *token_; }
    // REQUIRES: not at the end.
    Tokens& operator++() {
        ++token_;
        return *this;
    }

  private:
    // Moves on to the next window that has a token; false when there is none.
    bool nextWindow();
    [[nodiscard]] std::size_t windowSize() const;
    bool scan(std::size_t size);
    bool makeRoom(std::size_t size);

    std::unique_ptr<simdjson::internal::dom_parser_implementation> scanner_;
    const char* window_ = nullptr;
    const char* next_;  // where the next window begins
    const char* end_;
    const std::uint32_t* token_ = nullptr;  // offset in the window; behind the last, its size
    const std::uint32_t* endOfTokens_ = nullptr;
    bool failed_ = false;
};

}  // namespace tovra::json
