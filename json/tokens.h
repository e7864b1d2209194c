// The tokens of a JSON text, found by simdjson: it tells where each begins, and checks the text's
// UTF-8 and the control characters in its strings. Only for the parser in parse.cpp.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "json/json.h"

namespace simdjson::internal {
class dom_parser_implementation;
}

namespace tovra::json {

// Gives the tokens, a window of the text at a time. A window and its tokens are then still in the
// processor's cache when the parser reads them. Nothing here takes memory of the whole text's size.
// Not for several threads.
class Tokens {
  public:
    // So many bytes from the beginning of any token on may be read.
    static constexpr std::size_t kPadding = 64;

    // The longest window, unless a longer string needs a longer one. With its tokens it fits into
    // the processor's second cache.
    static constexpr std::size_t kUsualSize = std::size_t{64} << 10;

    explicit Tokens(const Source& source);
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;
    ~Tokens();

    // The tokens of one window, and which of them is the current one. It is small, so that it stays
    // in the processor's registers.
    class Window {
      public:
        Window() = default;
        Window(const char* text, const std::uint32_t* token, std::size_t count)
            : text_(text), token_(token), end_(token + count), place_(text + *token) {}

        // Where the current token begins. Between it and the token before there are only blanks.
        // Behind the last token it is the window's end, where a U+0000 stands.
        [[nodiscard]] const char* place() const { return place_; }
        // Whether the current token begins with that character, which is not U+0000.
        [[nodiscard]] bool is(char first) const { return *place_ == first; }
        [[nodiscard]] bool isAtEnd() const { return token_ == end_; }
        // Goes to the next token. REQUIRES: !isAtEnd().
        void move() {
            assert(!isAtEnd());
            place_ = text_ + *++token_;
        }

      private:
        const char* text_ = nullptr;
        const std::uint32_t* token_ = nullptr;  // offset in the text; behind the last, its size
        const std::uint32_t* end_ = nullptr;
        const char* place_ = "";
    };

    // The next window that has a token; the bytes of the one before are gone. The window has no
    // token where the text has ended or cannot be read on. Where failed() is true, a window may
    // still have the tokens in front of what is wrong. Throws std::bad_alloc.
    Window next();
    // Whether the text is no sequence of tokens, or cannot be read.
    [[nodiscard]] bool failed() const { return failed_; }
    // Where in the whole text a place of the window stands. A string that is wrong is cut in front
    // of what is wrong, which may be one byte behind an escape's backslash.
    [[nodiscard]] std::size_t offsetOf(const char* place) const {
        const auto offset = static_cast<std::size_t>(place - text_.get());
        return failed_ && offset + 1 >= size_ ? wrongAt_ : dropped_ + offset;
    }
    // Where in the whole text the tokens end. REQUIRES: the last window has no token.
    [[nodiscard]] std::size_t end() const { return failed_ ? wrongAt_ : dropped_; }

    // The window's first backslash at `place` or behind it; the window's end where there is none.
    // REQUIRES: `place` lies in the window, at or behind the place of the call before.
    const char* backslash(const char* place) {
        assert(place >= searchedFrom_);
        if (foundBackslash_ < place) findBackslash(place);
        return foundBackslash_;
    }
    // The backslash that was found last. No backslash stands between the place that was asked for
    // then and this one.
    [[nodiscard]] const char* foundBackslash() const { return foundBackslash_; }

    // The length of the window in bytes.
    [[nodiscard]] std::size_t size() const { return size_; }

  private:
    enum class Scan { done, endsInString, failed };

    void drop();
    bool fill();
    void makeRoom(std::size_t room);
    [[nodiscard]] std::size_t usableSize() const;
    Scan scan();
    void cutAtWrongString();
    void findBackslash(const char* from);

    const Source& source_;
    bool isLast_ = false;  // the source has given everything
    bool failed_ = false;
    std::unique_ptr<char[]> text_;  // the window and, behind it, what has been read of the next one
    std::size_t room_ = 0;
    std::size_t size_ = 0;     // of the window
    std::size_t dropped_ = 0;  // how much of the whole text stands before the window
    std::size_t wrongAt_ = 0;  // where in the whole text there is no token, once failed_
    std::size_t filled_ = 0;   // how much has been read, from the window's beginning
    char behind_ = 0;          // what stands behind the window when it is not in use
    std::unique_ptr<simdjson::internal::dom_parser_implementation> scanner_;
    const char* searchedFrom_ = nullptr;  // where the last search for a backslash began
    const char* foundBackslash_ = nullptr;
};

}  // namespace tovra::json
