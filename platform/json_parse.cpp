// Parsing: the builder below walks over the tokens of a text, checks the grammar and lays out the
// tree. It copies no text: only strings with escapes are decoded, into the room behind the text.
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/json.h"
#include "platform/json_tokens.h"

namespace tovra::json {
namespace {

constexpr std::size_t kPadding = Tokens::kPadding;
constexpr std::size_t kMaxNameLength = (1U << (32 - Node::kLengthShift)) - 1;

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isClosingBracket(char c) { return c == '}' || c == ']'; }

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

enum class Outcome { built, noJson, noRoom };

// Builds the tree over one text. Finished children of the containers that are still open wait on a
// stack at the far end of the node array, growing downwards; when a container closes, its children
// move together to the near end.
class Builder {
  public:
    // `room` is the number of nodes that there shall be room for, those that move counted twice.
    Builder(const Storage& storage, std::size_t size, std::size_t room)
        : text_(storage.bytes.get()),
          tokens_(std::string_view(text_, size)),
          end_(text_ + size),
          backslash_(nextBackslash(text_)),
          decoded_(storage.bytes.get() + size + kPadding),
          nodes_(makeBlock<Node>(room)),
          closed_(1),
          stack_(room) {}

    // The root is the first node.
    Outcome build(Storage& storage) {
        if (!walk() || !tokens_.isAtEnd() || tokens_.failed()) {
            return isFull_ ? Outcome::noRoom : Outcome::noJson;
        }
        storage.nodes = std::move(nodes_);
        return Outcome::built;
    }

  private:
    // A member's name, in the form in which its node holds it.
    struct Name {
        std::uint32_t key = 0;
        std::uint32_t bits = 0;
    };

    // A container that is not closed yet.
    struct Open {
        Name name;
        Kind kind;
        bool objectsOnly;        // it holds nothing else so far
        std::size_t stackBelow;  // where the stack was when it opened
    };

    // The text of a token.
    struct Span {
        const char* begin;
        const char* end;
        bool escaped;
    };

    bool walk() {
        if (!open(Name())) return false;
        while (depth_ > 0) {
            if (!(justOpened_ && isClosingBracket(*tokens_))) {
                if (!value()) return false;
                if (justOpened_) continue;
            }
            justOpened_ = false;
            while (depth_ > 0 && *tokens_ != ',') {
                if (!close()) return false;
            }
            if (depth_ > 0) ++tokens_;
        }
        return true;
    }

    const char* nextBackslash(const char* from) const {
        const void* found = std::memchr(from, '\\', static_cast<std::size_t>(end_ - from));
        return found == nullptr ? end_ : static_cast<const char*>(found);
    }

    std::uint32_t offset(const char* place) const {
        return static_cast<std::uint32_t>(place - text_);
    }

    // Reads a value, with its name where the innermost container is an object; of a container
    // only the opening bracket.
    bool value() {
        justOpened_ = false;
        Open& parent = open_[depth_ - 1];
        Name name;
        if (parent.kind == Kind::object && !readName(name)) return false;
        const char first = *tokens_;
        if (first == '{' || first == '[') return open(name);
        parent.objectsOnly = false;
        if (first != '"') return scalar(name);
        Span text;
        return string(text) && push(name, Kind::string, text.escaped, offset(text.begin),
                                    static_cast<std::size_t>(text.end - text.begin));
    }

    bool readName(Name& name) {
        Span text;
        if (*tokens_ != '"' || !string(text) || *tokens_ != ':') return false;
        ++tokens_;
        const auto length = static_cast<std::size_t>(text.end - text.begin);
        if (length > kMaxNameLength) return false;
        name.key = offset(text.begin);
        name.bits = static_cast<std::uint32_t>(length) << Node::kLengthShift |
                    (text.escaped ? Node::kNameEscaped : 0);
        return true;
    }

    bool open(const Name& name) {
        const char bracket = *tokens_;
        if ((bracket != '{' && bracket != '[') || depth_ == kMaxDepth) return false;
        ++tokens_;
        open_[depth_++] = {name, bracket == '{' ? Kind::object : Kind::array, true, stack_};
        justOpened_ = true;
        return true;
    }

    bool close() {
        const Open& closing = open_[depth_ - 1];
        if (*tokens_ != (closing.kind == Kind::object ? '}' : ']')) return false;
        ++tokens_;
        const std::size_t count = closing.stackBelow - stack_;
        if (stack_ - closed_ < count) {
            isFull_ = true;
            return false;
        }
        const Node* children = nodes_.get() + stack_;
        std::reverse_copy(children, children + count, nodes_.get() + closed_);
        const auto first = static_cast<std::uint32_t>(closed_);
        closed_ += count;
        stack_ = closing.stackBelow;
        if (--depth_ == 0) {
            nodes_[0] = makeNode(closing.name, closing.kind, closing.objectsOnly, first, count);
            return true;
        }
        if (closing.kind == Kind::array) open_[depth_ - 1].objectsOnly = false;
        return push(closing.name, closing.kind, closing.objectsOnly, first, count);
    }

    static Node makeNode(const Name& name, Kind kind, bool flag, std::uint32_t start,
                         std::size_t extent) {
        return {start, static_cast<std::uint32_t>(extent), name.key,
                name.bits | static_cast<std::uint32_t>(kind) | (flag ? Node::kFlag : 0)};
    }

    bool push(const Name& name, Kind kind, bool flag, std::uint32_t start, std::size_t extent) {
        if (stack_ == closed_) {
            isFull_ = true;
            return false;
        }
        nodes_[--stack_] = makeNode(name, kind, flag, start, extent);
        return true;
    }

    // Between a string's opening quote and the next token there is its text, its closing quote and
    // blanks, nothing else.
    bool string(Span& text) {
        const char* begin = tokens_.place() + 1;
        ++tokens_;
        const char* quote = tokens_.place() - 1;
        while (isBlank(*quote)) --quote;
        text = {begin, quote, false};
        return backslash_ >= quote || decode(text);
    }

    // Puts the text with its escapes resolved in place of the text as it was written.
    bool decode(Span& text) {
        const char* in = text.begin;
        char* out = decoded_;
        while (backslash_ < text.end) {
            out = std::copy(in, backslash_, out);
            in = backslash_;
            if (!decodeEscape(in, out)) return false;
            backslash_ = nextBackslash(in);
        }
        out = std::copy(in, text.end, out);
        text = {decoded_, out, true};
        decoded_ = out;
        return true;
    }

    // A number, true, false or null. It has to reach to the next token or to a blank: what comes
    // after a blank is a token of its own.
    bool scalar(const Name& name) {
        if (tokens_.isAtEnd()) return false;
        const char* begin = tokens_.place();
        ++tokens_;
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
        if (end == nullptr || (end != tokens_.place() && !isBlank(*end))) return false;
        return push(name, kind, false, offset(begin), static_cast<std::size_t>(end - begin));
    }

    const char* text_;
    Tokens tokens_;
    const char* end_;
    const char* backslash_;  // the first one that no string before has taken
    char* decoded_;          // where the next decoded string goes
    Block<Node> nodes_;
    std::size_t closed_;  // nodes below are in their final place
    std::size_t stack_;   // nodes from here on wait for their container to close
    std::array<Open, kMaxDepth> open_;
    std::size_t depth_ = 0;
    bool isFull_ = false;      // there is no room for another node
    bool justOpened_ = false;  // the last token opened the innermost container
};

}  // namespace

Text::Text(std::size_t size) : bytes_(makeBlock<char>(2 * size + kPadding)), size_(size) {}

Text::Text(std::string_view bytes) : Text(bytes.size()) {
    std::copy(bytes.begin(), bytes.end(), bytes_.get());
}

std::optional<Document> parse(Text text) {
    const std::size_t size = text.size();
    if (size == 0) return std::nullopt;
    auto storage = std::make_unique<Storage>();
    storage->bytes = std::move(text.bytes_);
    char* bytes = storage->bytes.get();
    std::fill_n(bytes + size, kPadding, '\0');

    // Few texts have a value in sixteen bytes, none has one in less than two (with a comma), and at
    // most all of them move at once. What is never used of the room costs no memory.
    for (const std::size_t room : {size / 16 + 64, size + 64}) {
        const Outcome outcome = Builder(*storage, size, room).build(*storage);
        if (outcome == Outcome::built) return Document(std::move(storage), size);
        if (outcome == Outcome::noJson) break;
    }
    return std::nullopt;
}

std::optional<Document> parse(std::string_view text) {
    if (text.size() > Text::kMaxSize) return std::nullopt;
    return parse(Text(text));
}

}  // namespace tovra::json
