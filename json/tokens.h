// The tokens of a JSON text, found by simdjson: it tells where each begins, and checks the text's
// UTF-8 and the control characters in its strings. Only for the parser in json_parse.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "json/json.h"

namespace simdjson::internal {
class dom_parser_implementation;
}

namespace tovra::json {

// Gives the tokens one after another.
//
// The text is read and taken in windows, so that what is found is still in the processor's cache
// when the parser comes by, and neither the text nor the list of places takes memory of its size.
// The bytes of a window are gone once its last token has been left and the next one is looked at.
class Tokens {
  public:
    // So many bytes behind any token may be read.
    static constexpr std::size_t kPadding = 64;

    // Windows are not longer, unless so many bytes have no place to end one, as within a long
    // string. Small enough for the cache, with its tokens.
    static constexpr std::size_t kUsualSize = std::size_t{64} << 10;

    explicit Tokens(const Source& source);
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;
    ~Tokens();

    // The tokens of one window. A small value: while its holder goes through it, it stays in the
    // processor's registers.
    class Window {
      public:
        Window() = default;
        Window(const char* text, const std::uint32_t* token, std::size_t count)
            : text_(text), token_(token), end_(token + count), place_(text + *token) {}

        // Where the current token begins; between it and the one before there are only that one's
        // characters and blanks. Behind the last token it is the window's end, where a U+0000
        // stands.
        [[nodiscard]] const char* place() const { return place_; }
        [[nodiscard]] bool isAtEnd() const { return token_ == end_; }
        // REQUIRES: not at the end.
        void move() { place_ = text_ + *++token_; }

      private:
        const char* text_ = nullptr;
        const std::uint32_t* token_ = nullptr;  // offset in the text; behind the last, its size
        const std::uint32_t* end_ = nullptr;
        const char* place_ = "";
    };

    // The next window that has a token; one without, when there is none or the text is not even a
    // sequence of tokens.
    Window next();
    [[nodiscard]] bool failed() const { return failed_; }

    // The first backslash of the window from some place on, which has to be none before the last
    // one that was asked for; the window's end where there is none.
    const char* backslash(const char* place) {
        if (backslash_ < place) findBackslash(place);
        return backslash_;
    }
    // The same, or an earlier one.
    [[nodiscard]] const char* backslash() const { return backslash_; }

    // The length of the window in bytes.
    [[nodiscard]] std::size_t size() const { return size_; }

  private:
    enum class Scan { done, endsInside, failed };  // endsInside: a string

    void drop();
    bool fill();
    void makeRoom(std::size_t room);
    [[nodiscard]] std::size_t usableSize() const;
    Scan scan();
    void findBackslash(const char* from);

    const Source& source_;
    bool isLast_ = false;  // the source has given everything
    bool failed_ = false;
    std::unique_ptr<char[]> text_;  // the window and, behind it, what has been read of the next one
    std::size_t room_ = 0;
    std::size_t size_ = 0;    // of the window
    std::size_t filled_ = 0;  // how much has been read, from the window's beginning
    char behind_ = 0;         // what stands behind the window when it is not in use
    std::unique_ptr<simdjson::internal::dom_parser_implementation> scanner_;
    const char* backslash_ = nullptr;
};

}  // namespace tovra::json
