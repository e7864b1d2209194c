// The parser. The builder below walks over the tokens of a text and checks the grammar. On the way
// it lays out the tree and gathers the bytes of strings, numbers and names.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "json/document_bytes.h"
#include "json/json.h"
#include "json/literals.h"
#include "json/spare.h"
#include "json/tokens.h"
#include "json/utf8.h"

namespace tovra::json {
namespace {

Source sourceOf(std::string_view text) {
    const auto read = [rest = text](char* into, std::size_t room) mutable {
        const std::size_t count = rest.copy(into, room);
        rest.remove_prefix(count);
        return static_cast<std::ptrdiff_t>(count);
    };
    return {text.size(), read};
}

// A text as far as it is UTF-8. What is not has no tokens, and a fault there or before.
class ValidUtf8 {
  public:
    explicit ValidUtf8(const Source& source)
        : source_(source), valid_{source.size, [this](char* into, std::size_t room) {
                                      return read(into, room);
                                  }} {}
    ValidUtf8(const ValidUtf8&) = delete;
    ValidUtf8& operator=(const ValidUtf8&) = delete;

    [[nodiscard]] const Source& source() const { return valid_; }
    // How much was given, and whether something follows that is not UTF-8.
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool isCut() const { return !rest_.empty(); }

  private:
    std::ptrdiff_t read(char* into, std::size_t room) {
        if (piece_.size() == 0 && !fill()) return 0;
        const std::size_t count = piece_.copy(into, room);
        piece_.remove_prefix(count);
        size_ += count;
        return static_cast<std::ptrdiff_t>(count);
    }

    // Takes the next piece. A character that the one before broke off in comes first.
    bool fill() {
        constexpr std::size_t kLongest = 4;
        if (rest_.size() >= kLongest) return false;
        std::size_t filled = rest_.size();
        std::copy(rest_.begin(), rest_.end(), bytes_.begin());
        while (piece_.empty()) {
            const std::ptrdiff_t more = source_.read(&bytes_[filled], bytes_.size() - filled);
            if (more <= 0) return false;
            filled += static_cast<std::size_t>(more);
            const std::string_view text(bytes_.data(), filled);
            piece_ = text.substr(0, validUtf8Size(text));
            rest_ = text.substr(piece_.size());
            if (piece_.empty() && filled >= kLongest) return false;
        }
        return true;
    }

    const Source& source_;
    Source valid_;
    std::string bytes_ = std::string(Tokens::kUsualSize, '\0');
    std::string_view piece_;  // of bytes_: what can be given
    std::string_view rest_;   // of bytes_: what follows that is not UTF-8, at least so far
    std::size_t size_ = 0;
};

static_assert(Tokens::kPadding >= kTextPadding);

// Few texts outgrow this room. They have at most one value in sixteen bytes, and five eighths of
// their bytes are strings, numbers and names. Few values wait at once for their container to close.
constexpr std::size_t kTextPerValue = 16;
constexpr std::size_t kTextPerWaiting = 32;
constexpr std::size_t bytesIn(std::size_t text) { return text / 8 * 5; }
// Room beside that. It is enough for most messages of a few lines.
constexpr std::size_t kFewNodes = 64;
constexpr std::size_t kFewBytes = 256;

// Builds the tree of one text. Values wait until their container closes. Then its children move to
// their place together.
//
// Between any two steps below, the current token is one of the current window, or the text has
// ended. So a step that leaves the last token of a window takes the next window.
class Builder {
  public:
    Builder(const Source& source, const Names& names, DocumentArrays memory)
        : names_(names),
          tokens_(source),
          texts_(std::move(memory.bytes),
                 bytesIn(source.size) + std::min(source.size, Tokens::kUsualSize) + kFewBytes,
                 names),
          nodes_(std::move(memory.nodes)),
          waiting_(std::move(memory.waiting)) {
        nodes_.shrink(0);
        waiting_.shrink(0);
        nodes_.reserve(source.size / kTextPerValue + kFewNodes);
        waiting_.reserve(source.size / kTextPerWaiting + kFewNodes);
        nodes_.push({});  // the root's place
        open_[0] = {0, false, keeps_, true, 0};
    }

    std::optional<Document> build() {
        if (!walk() || tokens_.failed()) return std::nullopt;
        *nodes_.begin() = *waiting_.begin();
        return Document(std::make_unique<Storage>(
            DocumentArrays{texts_.release(), std::move(nodes_), std::move(waiting_)}, names_));
    }

    // Where the text is no JSON. REQUIRES: build() gave nothing.
    [[nodiscard]] std::size_t whereInvalid() const { return invalidAt_; }

  private:
    using Window = Tokens::Window;

    static constexpr std::uint32_t kDropped = TextStore::kDropped;

    // What is kept of a container: the members whose names say so, or nothing, or all.
    enum class Keeps : std::uint8_t { usual, none, all };

    // A container that is not closed yet. The first one is made up, to hold the root.
    struct Open {
        std::uint32_t name;
        bool isObject;  // and no array
        Keeps keeps;
        bool objectsOnly;          // it holds nothing else so far
        std::size_t waitingBelow;  // how many waited when it opened
    };

    // Takes the next window and makes room for its texts. The bytes of the current one are gone.
    [[gnu::noinline]] Window takeWindow() {
        const Window window = tokens_.next();
        texts_.reserve(tokens_.size());
        return window;
    }
    // The same, but only where the current window has no token left. If the current token begins
    // with `likely`, it exists, and the window's end need not be looked at.
    void takeWindowAtEnd(Window& token, char likely) {
        if (!token.is(likely) && token.isAtEnd()) token = takeWindow();
    }
    // Goes to the next token. The bytes of the current one may be gone then.
    void moveOn(Window& token, char likely) {
        token.move();
        takeWindowAtEnd(token, likely);
    }

    bool walk() {
        Window token = takeWindow();
        if (readAll(token)) return true;
        if (wrong_ == nullptr && !token.isAtEnd()) wrong_ = token.place();
        invalidAt_ = wrong_ == nullptr ? tokens_.end() : tokens_.offsetOf(wrong_);
        return false;
    }

    bool readAll(Window& token) {
        if (!token.is('{') && !token.is('[')) return false;
        for (;;) {
            if (!value(token)) return false;
            while (!token.is(',')) {
                if (!close(token)) return false;
                if (depth_ == 0) return token.isAtEnd();
            }
            moveOn(token, '"');
        }
    }

    // What a string says, with its escapes resolved.
    struct Text {
        std::string_view bytes;  // until the next window is taken or the next text is read
        bool escaped = false;    // it was written with escapes
    };

    // Reads a value, with its name where the innermost container is an object. A value that is a
    // container is only opened; then the first value in it is read, if there is one.
    bool value(Window& token) {
        for (;;) {
            std::uint32_t name = 0;
            if (inObject_) {
                if (!readName(token, name)) return false;
            } else {
                if (keeps_ == Keeps::none) name = kDropped;
                if (!token.is('{')) open_[depth_].objectsOnly = false;
            }
            if (token.is('"')) return string(token, name);
            if (!token.is('{') && !token.is('[')) return scalar(token, name);
            if (!open(token, name)) return false;
            if (token.is('}') || token.is(']')) return true;
        }
    }

    bool readName(Window& token, std::uint32_t& name) {
        if (!token.is('"')) return false;
        if (keeps_ != Keeps::none && texts_.goToExpectedName(token.place() + 1)) {
            token.move();
            name = texts_.latestName(keeps_ == Keeps::all);
        } else {
            Text text;
            name = keeps_ == Keeps::none ? kDropped : 0;
            if (!readText(token, text, name)) return false;
            const bool isKept = keeps_ == Keeps::all;
            if (name != kDropped) name = texts_.intern(text.bytes, text.escaped, isKept);
        }
        takeWindowAtEnd(token, ':');
        if (!token.is(':')) return false;
        moveOn(token, '"');
        return true;
    }

    bool string(Window& token, std::uint32_t name) {
        Text text;
        if (!readText(token, text, name)) return false;
        if (name != kDropped) {
            push(name, Kind::string, text.escaped, texts_.put(text.bytes), text.bytes.size());
        }
        takeWindowAtEnd(token, ',');
        return true;
    }

    bool open(Window& token, std::uint32_t name) {
        if (depth_ == kMaxDepth) return false;
        inObject_ = token.is('{');
        moveOn(token, '"');
        if (name == kDropped) keeps_ = Keeps::none;
        if (keeps_ == Keeps::usual && texts_.isWhole(name)) keeps_ = Keeps::all;
        Open& opened = open_[++depth_];
        opened.name = name;
        opened.isObject = inObject_;
        opened.keeps = keeps_;
        opened.objectsOnly = true;
        opened.waitingBelow = waiting_.size();
        return true;
    }

    bool close(Window& token) {
        if (!token.is(inObject_ ? '}' : ']')) return false;
        moveOn(token, ',');
        const Open& closing = open_[depth_];
        const Open& outer = open_[--depth_];
        inObject_ = outer.isObject;
        keeps_ = outer.keeps;
        if (closing.name == kDropped) return true;
        const std::size_t count = waiting_.size() - closing.waitingBelow;
        const auto firstChild = static_cast<std::uint32_t>(nodes_.size());
        nodes_.append(waiting_.begin() + closing.waitingBelow, count);
        waiting_.shrink(closing.waitingBelow);
        push(closing.name, closing.isObject ? Kind::object : Kind::array, closing.objectsOnly,
             firstChild, count);
        return true;
    }

    void push(std::uint32_t name, Kind kind, bool flag, std::uint32_t start, std::size_t extent) {
        assert(name % Node::kNameStep == 0);
        waiting_.push({start, static_cast<std::uint32_t>(extent),
                       name | static_cast<std::uint32_t>(kind) | (flag ? Node::kFlag : 0)});
    }

    // Reads the string that begins at the current token, and leaves that token. False where it has
    // a wrong escape. Between its opening quote and the next token there are the text, the closing
    // quote and blanks. What is dropped need not be read where it has no escape.
    [[gnu::always_inline]] bool readText(Window& token, Text& text, std::uint32_t name) {
        const char* begin = token.place() + 1;
        token.move();
        if (name == kDropped && tokens_.foundBackslash() >= token.place()) return true;
        const char* quote = token.place() - 1;
        while (*quote != '"') --quote;
        text.bytes = {begin, static_cast<std::size_t>(quote - begin)};
        if (tokens_.foundBackslash() >= quote) return true;
        const std::optional<Text> resolved = resolveEscapes(text.bytes);
        if (resolved) text = *resolved;
        return resolved.has_value();
    }

    [[gnu::noinline]] std::optional<Text> resolveEscapes(std::string_view text) {
        const char* in = text.data();
        const char* end = in + text.size();
        const char* escape = tokens_.backslash(in);
        if (escape >= end) return Text{text};
        // Resolving escapes makes no text longer.
        if (resolved_.size() < text.size() + kTextPadding) {
            resolved_.resize(text.size() + kTextPadding);
        }
        char* out = resolved_.data();
        for (; escape < end; escape = tokens_.backslash(in)) {
            out = std::copy(in, escape, out);
            in = escape;
            if (!decodeEscape(in, out)) {
                wrong_ = in;
                return std::nullopt;
            }
        }
        out = std::copy(in, end, out);
        return Text{{resolved_.data(), static_cast<std::size_t>(out - resolved_.data())}, true};
    }

    // Reads a number, true, false or null. It has to end at the next token or at a blank, since
    // anything after a blank is a token of its own.
    bool scalar(Window& token, std::uint32_t name) {
        const char* begin = token.place();
        const char* end = begin;
        Kind kind = Kind::number;
        const auto word = [&](std::string_view letters, Kind meaning) {
            if (std::memcmp(begin, letters.data(), letters.size()) != 0) return;
            end = begin + letters.size();
            kind = meaning;
        };
        switch (*begin) {
            case 't':
                word("true", Kind::trueValue);
                break;
            case 'f':
                word("false", Kind::falseValue);
                break;
            case 'n':
                word("null", Kind::null);
                break;
            default:
                end = endOfNumber(begin);
        }
        if (end == begin) return false;
        token.move();
        const bool isWhole = kind != Kind::number || isDigit(end[-1]);
        if (!isWhole || (end != token.place() && !isBlank(*end))) {
            wrong_ = end;
            return false;
        }
        const std::string_view text(begin, static_cast<std::size_t>(end - begin));
        if (name != kDropped) {
            push(name, kind, false, kind == Kind::number ? texts_.put(text) : 0, text.size());
        }
        takeWindowAtEnd(token, ',');
        return true;
    }

    const Names names_;
    Tokens tokens_;
    TextStore texts_;
    GrowableArray<Node> nodes_;
    GrowableArray<Node> waiting_;
    std::unique_ptr<Open[]> open_ = std::make_unique_for_overwrite<Open[]>(kMaxDepth + 1);
    std::size_t depth_ = 0;        // of the innermost container, in open_
    bool inObject_ = false;        // the innermost container is one
    Keeps keeps_ = Keeps::usual;   // the innermost container does
    std::vector<char> resolved_;   // the last text with escapes
    const char* wrong_ = nullptr;  // what is wrong inside a token
    std::size_t invalidAt_ = 0;
};

}  // namespace

std::optional<Document> parse(const Source& source, const Names& names) {
    assert(source.size <= kMaxSize);
    try {
        return Builder(source, names, takeSpare(source.size)).build();
    } catch (const std::length_error&) {
        return std::nullopt;
    }
}

std::optional<Document> parse(std::string_view text, const Names& names) {
    if (text.size() > kMaxSize) return std::nullopt;
    return parse(sourceOf(text), names);
}

std::optional<std::size_t> whereInvalid(const Source& source, const Names& names) {
    ValidUtf8 valid(source);
    Builder builder(valid.source(), names, {});
    if (!builder.build()) return builder.whereInvalid();
    return valid.isCut() ? std::optional(valid.size()) : std::nullopt;
}

std::optional<std::size_t> whereInvalid(std::string_view text) {
    return whereInvalid(sourceOf(text.substr(0, kMaxSize)), {});
}

}  // namespace tovra::json
