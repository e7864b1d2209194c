// Parsing: the builder below walks over the tokens of a text, checks the grammar, lays out the tree
// and gathers the bytes of strings, numbers and names.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "json/bytes.h"
#include "json/json.h"
#include "json/tokens.h"

namespace tovra::json {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The code unit of the four hexadecimal digits at `digits`; negative when they are none.
int codeUnit(const char* digits) {
    int unit = 0;
    for (int i = 0; i < 4; ++i) {
        const int value = hexValue(digits[i]);
        if (value < 0) return -1;
        unit = unit * 16 + value;
    }
    return unit;
}

char* appendUtf8(char* out, std::uint32_t c) {
    const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
    return out;
}

// Decodes the escape whose backslash is at `in` (the string's closing quote bounds what is looked
// at) to `out`, and moves both on. False when it is no escape of JSON.
bool decodeEscape(const char*& in, char*& out) {
    static constexpr std::string_view kNames = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char name = in[1];
    if (name != 'u') {
        const std::size_t which = kNames.find(name);
        if (which == std::string_view::npos) return false;
        *out++ = kMeanings[which];
        in += 2;
        return true;
    }
    const int unit = codeUnit(in + 2);
    if (unit < 0) return false;
    in += 6;
    auto code = static_cast<std::uint32_t>(unit);
    if (code >= 0xD800 && code < 0xE000) {
        if (code >= 0xDC00 || in[0] != '\\' || in[1] != 'u') return false;
        const int low = codeUnit(in + 2);
        if (low < 0xDC00 || low > 0xDFFF) return false;
        code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(low) - 0xDC00);
        in += 6;
    }
    out = appendUtf8(out, code);
    return true;
}

// The end of the number that begins at `p`, or null when none does.
const char* endOfNumber(const char* p) {
    if (*p == '-') ++p;
    if (!isDigit(*p)) return nullptr;
    if (*p == '0') {
        ++p;
    } else {
        while (isDigit(*p)) ++p;
    }
    if (*p == '.') {
        if (!isDigit(*++p)) return nullptr;
        while (isDigit(*p)) ++p;
    }
    if (*p == 'e' || *p == 'E') {
        ++p;
        if (*p == '+' || *p == '-') ++p;
        if (!isDigit(*p)) return nullptr;
        while (isDigit(*p)) ++p;
    }
    return p;
}

static_assert(Tokens::kPadding >= Bytes::kPadding);

// Builds the tree of one text. Finished children of the containers that are still open wait; when a
// container closes, its children move to their place together.
class Builder {
  public:
    // Rooms that few texts outgrow: a value in sixteen bytes, five eighths of the text in strings,
    // numbers and names. Mostly the nodes and the bytes take two fifths of the text's size each;
    // where not both can be kept it is the bytes.
    explicit Builder(const Source& source)
        : tokens_(source),
          bytes_(source.size / 8 * 5 + std::min(source.size, Tokens::kUsualSize) + 256,
                 keptUpTo(kMostKept / 4 * 9, source)),
          nodes_(source.size / 16 + 64, keptUpTo(kMostKept / 4 * 5, source)),
          waiting_(source.size / 128 + 64, keptUpTo(kMostKept / 4 * 5, source)) {
        nodes_.push({});  // the root's place
        open_.push_back({0, Kind::array, true, 0});
    }

    std::optional<Document> build() {
        if (!walk() || tokens_.failed() || badEscape_) return std::nullopt;
        *nodes_.begin() = *waiting_.begin();
        auto storage = std::make_unique<Storage>();
        storage->bytes = bytes_.release();
        storage->nodes = nodes_.release();
        return Document(std::move(storage));
    }

  private:
    using Window = Tokens::Window;

    static Fate keptUpTo(std::size_t size, const Source& source) {
        return source.size <= size ? Fate::kept : Fate::freed;
    }

    // A container that is not closed yet; the first one stands around the root.
    struct Open {
        std::uint32_t name;
        Kind kind;
        bool objectsOnly;          // it holds nothing else so far
        std::size_t waitingBelow;  // how many waited when it opened
    };

    // Whether the current token begins with that character.
    bool is(char wanted, Window& token) {
        if (*token.place() == wanted) return true;
        return token.isAtEnd() && !isAtEnd(token) && *token.place() == wanted;
    }

    // Whether there is no token any more.
    bool isAtEnd(Window& token) {
        if (token.isAtEnd()) {
            token = tokens_.next();
            bytes_.expect(tokens_.size());
        }
        return token.isAtEnd();
    }

    bool walk() {
        Window token;
        if (!is('{', token) && !is('[', token)) return false;
        for (;;) {
            if (!value(token)) return false;
            while (!is(',', token)) {
                if (!close(token)) return false;
                if (open_.size() == 1) return isAtEnd(token);
            }
            token.move();
        }
    }

    // Reads a value, with its name where the innermost container is an object. A container is only
    // opened, and then the first value in it is read, if there is one.
    bool value(Window& token) {
        for (;;) {
            std::uint32_t name = 0;
            if (inObject_) {
                if (!readName(token, name)) return false;
            } else if (!is('{', token)) {
                open_.back().objectsOnly = false;
            }
            if (is('"', token)) {
                string(token, name);
                return true;
            }
            if (!is('{', token) && !is('[', token)) return scalar(token, name);
            if (!open(token, name)) return false;
            if (is('}', token) || is(']', token)) return true;
        }
    }

    bool readName(Window& token, std::uint32_t& name) {
        if (!is('"', token)) return false;
        const Quoted text = quoted(token);
        name = bytes_.putName(text.text, text.escaped);
        if (!is(':', token)) return false;
        token.move();
        return true;
    }

    void string(Window& token, std::uint32_t name) {
        const Quoted text = quoted(token);
        push(name, Kind::string, text.escaped, bytes_.put(text.text), text.text.size());
    }

    bool open(Window& token, std::uint32_t name) {
        if (open_.size() > kMaxDepth) return false;
        inObject_ = is('{', token);
        token.move();
        open_.push_back({name, inObject_ ? Kind::object : Kind::array, true, waiting_.size()});
        return true;
    }

    bool close(Window& token) {
        if (!is(inObject_ ? '}' : ']', token)) return false;
        token.move();
        const Open closing = open_.back();
        const std::size_t count = waiting_.size() - closing.waitingBelow;
        const auto firstChild = static_cast<std::uint32_t>(nodes_.size());
        nodes_.append(waiting_.begin() + closing.waitingBelow, count);
        waiting_.shrink(closing.waitingBelow);
        open_.pop_back();
        inObject_ = open_.back().kind == Kind::object;
        push(closing.name, closing.kind, closing.objectsOnly, firstChild, count);
        return true;
    }

    void push(std::uint32_t name, Kind kind, bool flag, std::uint32_t start, std::size_t extent) {
        waiting_.push({start, static_cast<std::uint32_t>(extent),
                       name | static_cast<std::uint32_t>(kind) | (flag ? Node::kFlag : 0)});
    }

    // The text of a string, which stays there until the next window.
    struct Quoted {
        std::string_view text;
        bool escaped = false;  // it came with escapes, which are resolved
    };

    // Between a string's opening quote and the next token there is the text, the closing quote and
    // blanks, nothing else.
    [[gnu::always_inline]] Quoted quoted(Window& token) {
        const char* begin = token.place() + 1;
        token.move();
        const char* quote = token.place() - 1;
        while (*quote != '"') --quote;
        const std::string_view text(begin, static_cast<std::size_t>(quote - begin));
        return tokens_.backslash() < quote ? decoded(text) : Quoted{text};
    }

    [[gnu::noinline]] Quoted decoded(std::string_view text) {
        const char* in = text.data();
        const char* end = in + text.size();
        const char* escape = tokens_.backslash(in);
        if (escape >= end) return {text};
        if (decoded_.size() < text.size() + Bytes::kPadding) {
            decoded_.resize(text.size() + Bytes::kPadding);
        }
        char* out = decoded_.data();
        for (; escape < end; escape = tokens_.backslash(in)) {
            out = std::copy(in, escape, out);
            in = escape;
            if (!decodeEscape(in, out)) {
                badEscape_ = true;
                break;
            }
        }
        out = std::copy(in, end, out);
        return {{decoded_.data(), static_cast<std::size_t>(out - decoded_.data())}, true};
    }

    // A number, true, false or null. It has to reach to the next token or to a blank: what comes
    // after a blank is a token of its own.
    bool scalar(Window& token, std::uint32_t name) {
        const char* begin = token.place();
        const char* end = nullptr;
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
        if (end == nullptr) return false;
        token.move();
        if (end != token.place() && !isBlank(*end)) return false;
        const std::string_view text(begin, static_cast<std::size_t>(end - begin));
        push(name, kind, false, kind == Kind::number ? bytes_.put(text) : 0, text.size());
        return true;
    }

    Tokens tokens_;
    Bytes bytes_;
    Growing<Node> nodes_;
    Growing<Node> waiting_;
    std::vector<Open> open_;
    bool inObject_ = false;      // the innermost container is one
    std::vector<char> decoded_;  // the last string with escapes
    bool badEscape_ = false;
};

}  // namespace

std::optional<Document> parse(const Source& source) {
    try {
        return Builder(source).build();
    } catch (const std::length_error&) {
        return std::nullopt;
    }
}

std::optional<Document> parse(std::string_view text) {
    if (text.size() > kMaxSize) return std::nullopt;
    const auto read = [&](char* into, std::size_t room) {
        const std::size_t count = text.copy(into, room);
        text.remove_prefix(count);
        return static_cast<std::ptrdiff_t>(count);
    };
    return parse(Source{text.size(), read});
}

}  // namespace tovra::json
