// Parsing: simdjson finds where the tokens of a text begin and checks its UTF-8 and the control
// characters in its strings; the builder below walks over those places, checks the grammar and
// lays out the tree. It copies no text: only strings with escapes are decoded, into the room behind
// the text.
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/json.h"
#include "platform/memory.h"

namespace tovra::json {
namespace {

constexpr std::size_t kPadding = simdjson::SIMDJSON_PADDING;
constexpr std::uint32_t kMaxKeyLength = (1U << 27) - 1;

bool isBlank(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isClosingBracket(char c) {
    return c == '}' || c == ']';
}

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

// Builds the tree over one text. Finished children of the containers that are still open wait on a
// stack at the far end of the node array, growing downwards; when a container closes, its children
// move together to the near end. A node has a token of its own and a bracket or separator beside
// it, so there are at most half as many nodes as tokens, and a node for every token is room enough
// for the children that move, too. What is never used of it costs no memory.
class Builder {
  public:
    Builder(Storage& storage, std::size_t size, const std::uint32_t* tokens, std::size_t tokenCount)
        : text_(storage.bytes.get()),
          tokens_(tokens),
          endOfTokens_(tokens + tokenCount),
          end_(text_ + size),
          backslash_(nextBackslash(text_)),
          decoded_(storage.bytes.get() + size + kPadding),
          room_(tokenCount + 2),
          nodes_(std::make_unique_for_overwrite<Node[]>(room_)),
          closed_(1),
          stack_(room_) {
        preferLargePages(nodes_.get(), room_ * sizeof(Node) / 2);
    }

    // False when the text is no JSON. The root is the first node.
    bool build(Storage& storage) {
        if (!open(Node{})) return false;
        while (depth_ > 0) {
            if (!(justOpened_ && isClosingBracket(text_[*tokens_]))) {
                if (!value()) return false;
                if (justOpened_) continue;
            }
            justOpened_ = false;
            while (depth_ > 0 && text_[*tokens_] != ',') {
                if (!close()) return false;
            }
            if (depth_ > 0) ++tokens_;
        }
        if (tokens_ != endOfTokens_) return false;
        storage.nodes = std::move(nodes_);
        return true;
    }

  private:
    // A container that is not closed yet.
    struct Open {
        Node node;               // its name and kind; the rest comes when it closes
        std::size_t stackBelow;  // where the stack was when it opened
    };

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
        Node node{};
        Node& parent = open_[depth_ - 1].node;
        if (parent.kind() == Kind::object && !name(node)) return false;
        const char first = text_[*tokens_];
        if (first == '{' || first == '[') return open(node);
        if (!(first == '"' ? string(node) : scalar(node))) return false;
        parent.flag = 0;
        nodes_[--stack_] = node;
        return true;
    }

    bool name(Node& node) {
        if (text_[*tokens_] != '"') return false;
        Node text{};
        if (!string(text) || text.extent > kMaxKeyLength || text_[*tokens_] != ':') return false;
        ++tokens_;
        node.key = text.start;
        node.keyLength = text.extent & kMaxKeyLength;
        node.keyEscaped = text.flag;
        return true;
    }

    bool open(const Node& named) {
        const char bracket = text_[*tokens_];
        if ((bracket != '{' && bracket != '[') || depth_ == kMaxDepth) return false;
        ++tokens_;
        Open& opened = open_[depth_++];
        opened.node = named;
        opened.node.setKind(bracket == '{' ? Kind::object : Kind::array);
        opened.node.flag = 1;
        opened.stackBelow = stack_;
        justOpened_ = true;
        return true;
    }

    bool close() {
        Open& closing = open_[depth_ - 1];
        const bool isObject = closing.node.kind() == Kind::object;
        if (text_[*tokens_] != (isObject ? '}' : ']')) return false;
        ++tokens_;
        const std::size_t count = closing.stackBelow - stack_;
        closing.node.start = static_cast<std::uint32_t>(closed_);
        closing.node.extent = static_cast<std::uint32_t>(count);
        const Node* children = nodes_.get() + stack_;
        std::reverse_copy(children, children + count, nodes_.get() + closed_);
        closed_ += count;
        stack_ = closing.stackBelow;
        if (--depth_ == 0) {
            nodes_[0] = closing.node;
        } else {
            if (!isObject) open_[depth_ - 1].node.flag = 0;
            nodes_[--stack_] = closing.node;
        }
        return true;
    }

    // Between a string's opening quote and the next token there is its text, its closing quote and
    // blanks, nothing else.
    bool string(Node& node) {
        const char* begin = text_ + *tokens_ + 1;
        ++tokens_;
        const char* quote = text_ + *tokens_ - 1;
        while (isBlank(*quote)) --quote;
        if (backslash_ < quote) return escapedString(node, begin, quote);
        setText(node, Kind::string, begin, quote);
        return true;
    }

    bool escapedString(Node& node, const char* in, const char* quote) {
        char* out = decoded_;
        while (backslash_ < quote) {
            out = std::copy(in, backslash_, out);
            in = backslash_;
            if (!decodeEscape(in, out)) return false;
            backslash_ = nextBackslash(in);
        }
        out = std::copy(in, quote, out);
        setText(node, Kind::string, decoded_, out);
        node.flag = 1;
        decoded_ = out;
        return true;
    }

    void setText(Node& node, Kind kind, const char* begin, const char* end) const {
        node.start = offset(begin);
        node.extent = static_cast<std::uint32_t>(end - begin);
        node.setKind(kind);
    }

    // A number, true, false or null. It has to reach to the next token or to a blank: what comes
    // after a blank is a token of its own.
    bool scalar(Node& node) {
        const char* begin = text_ + *tokens_;
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
        if (end == nullptr || (end != text_ + *tokens_ && !isBlank(*end))) return false;
        setText(node, kind, begin, end);
        return true;
    }

    const char* text_;
    const std::uint32_t* tokens_;  // offsets of the tokens; behind the last one that of the end
    const std::uint32_t* endOfTokens_;
    const char* end_;
    const char* backslash_;  // the first one that no string before has taken
    char* decoded_;          // where the next decoded string goes
    std::size_t room_;
    std::unique_ptr<Node[]> nodes_;
    std::size_t closed_;  // nodes below are in their final place
    std::size_t stack_;   // nodes from here on wait for their container to close
    std::array<Open, kMaxDepth> open_;
    std::size_t depth_ = 0;
    bool justOpened_ = false;  // the last token opened the innermost container
};

}  // namespace

Text::Text(std::size_t size)
    : bytes_(std::make_unique_for_overwrite<char[]>(2 * size + kPadding)), size_(size) {
    preferLargePages(bytes_.get(), size);
}

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

    std::unique_ptr<simdjson::internal::dom_parser_implementation> scanner;
    const auto* implementation = &*simdjson::get_active_implementation();
    if (implementation->create_dom_parser_implementation(size, 1, scanner) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    preferLargePages(scanner->structural_indexes.get(), size * sizeof(std::uint32_t));
    if (scanner->stage1(reinterpret_cast<const std::uint8_t*>(bytes), size,
                        simdjson::stage1_mode::regular) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    const std::size_t tokenCount = scanner->n_structural_indexes;
    std::uint32_t* tokens = scanner->structural_indexes.get();
    tokens[tokenCount] = static_cast<std::uint32_t>(size);
    if (!Builder(*storage, size, tokens, tokenCount).build(*storage)) return std::nullopt;
    return Document(std::move(storage), size);
}

std::optional<Document> parse(std::string_view text) {
    if (text.size() > Text::kMaxSize) return std::nullopt;
    return parse(Text(text));
}

}  // namespace tovra::json
