// JSON: what is accepted reads as another parser reads it, and whatever way it is written it reads
// as the same value again. A text that begins with a blank is checked a second time as the elements
// of an array that is longer than one window of the parser; with line feeds, or in a single line.
#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "fuzz/support.h"

namespace {

namespace dom = simdjson::dom;
namespace json = tovra::json;
using tovra::fuzz::parsed;
using tovra::fuzz::require;
using tovra::fuzz::same;

template <class Library, class Same>
bool haveSame(const json::Children& ours, const Library& theirs, const Same& areSame) {
    std::size_t count = 0;
    for (const auto other : theirs) {
        if (count == ours.size() || !areSame(ours[count++], other)) return false;
    }
    return count == ours.size();
}

bool sameAsLibrary(json::Value ours, const dom::element& theirs) {
    switch (theirs.type()) {
        case dom::element_type::NULL_VALUE:
            return ours.is(json::Kind::null);
        case dom::element_type::BOOL:
            return ours.boolean() == theirs.get_bool().value();
        case dom::element_type::STRING:
            return ours.string() == theirs.get_string().value();
        case dom::element_type::ARRAY:
            return ours.is(json::Kind::array) &&
                   haveSame(ours.children(), theirs.get_array().value(), sameAsLibrary);
        case dom::element_type::OBJECT:
            return ours.is(json::Kind::object) &&
                   haveSame(ours.children(), theirs.get_object().value(),
                            [](json::Value member, const dom::key_value_pair& other) {
                                return member.name() == other.key &&
                                       sameAsLibrary(member, other.value);
                            });
        default:
            return ours.number() == theirs.get_double().value();
    }
}

// Whether some number is one that the library refuses: too large for a double, or written as a
// whole number and too large for 64 bits. Every other one has to be written exactly.
bool holdsLargeNumber(json::Value value) {
    bool found = false;
    for (const json::Value child : value.children()) found = holdsLargeNumber(child) || found;
    const std::optional<double> number = value.number();
    if (!number) return found;
    const bool isWhole = value.numberText().find_first_of(".eE") == std::string_view::npos;
    if (std::isinf(*number)) return true;
    require(std::strtod(json::numberText(*number).c_str(), nullptr) == *number,
            "a number is written exactly");
    return isWhole && std::abs(*number) >= 0x1p63;
}

// Parses the text, which is nested no deeper than `depth`, and compares with what the library makes
// of it.
std::optional<json::Document> parsedTwice(std::string_view text, std::ptrdiff_t depth) {
    static dom::parser library;
    if (library.capacity() < text.size()) {
        require(library.allocate(text.size(), json::kMaxDepth + 1) == simdjson::SUCCESS, "memory");
    }
    // Newer versions of the library have a code of its own for a whole number beyond 64 bits.
    static const auto tooLarge = library.parse(std::string("[100000000000000000000]")).error();
    auto ours = json::parse(text);
    dom::element theirs;
    const auto error = library.parse(text.data(), text.size()).get(theirs);
    if (ours) {
        const bool isOfNumber = error == simdjson::NUMBER_ERROR || error == tooLarge;
        require(error == simdjson::SUCCESS ? sameAsLibrary(ours->root(), theirs)
                                           : isOfNumber && holdsLargeNumber(ours->root()),
                "what is accepted is what the library reads");
    } else if (error == simdjson::SUCCESS && (theirs.is_array() || theirs.is_object())) {
        // The library does not count the innermost container where it is empty, and newer versions
        // of it skip a byte-order mark.
        require(depth > std::ptrdiff_t{json::kMaxDepth} || text.starts_with("\xEF\xBB\xBF"),
                "what is refused is no JSON");
    }
    return ours;
}

// Whether the value is the other one without the members of which the names say that they are
// dropped. `isWhole` where all are kept.
bool isKeptOf(json::Value whole, json::Value kept, const json::Names& names, bool isWhole) {
    if (!whole.is(kept.kind())) return false;
    if (whole.children().empty()) return same(whole, kept);
    const json::Children children = kept.children();
    std::size_t count = 0;
    for (const json::Value child : whole.children()) {
        const std::uint32_t index = names.indexOf(child.name());
        const bool isMember = whole.is(json::Kind::object);
        if (isMember && !isWhole && !names.keep(index)) continue;
        if (count == children.size() || children[count].name() != child.name()) return false;
        const bool isWholeInside =
            isWhole || (isMember && index >= names.firstWhole && index != json::Names::kNone);
        if (!isKeptOf(child, children[count++], names, isWholeInside)) return false;
    }
    return count == children.size();
}

// Parses the text again with every other name of its first objects dropped, and some kept whole.
void checkDropped(std::string_view text, json::Value root) {
    std::vector<std::string_view> known = {"a"};
    const auto add = [&](json::Value member, std::size_t most) {
        if (known.size() < most && !member.name().empty()) known.push_back(member.name());
    };
    for (const json::Value child : root.children()) {
        add(child, 20);
        for (const json::Value inside : child.children()) add(inside, 40);
    }
    const auto count = static_cast<std::uint32_t>(known.size());
    const json::Names names{known, 0x5555555555, count - count / 4};
    const auto document = json::parse(text, names);
    require(document && isKeptOf(root, document->root(), names, false),
            "what is kept is the whole without what is dropped");
}

void checkWritten(const json::Document& document) {
    const json::Value root = document.root();
    std::string compact;
    json::appendCompact(compact, root);
    require(same(root, parsed(compact, "the compact text").root()), "compact, it is the same");

    // A new member, and one in the place of another.
    const std::string value = R"({"a":[1,"\n"],"":null})";
    const json::Children children = root.children();
    const bool isArray = root.is(json::Kind::array);
    const std::string_view taken = isArray || children.empty() ? "" : children[0].name();
    for (const std::string& name : {std::string("m\"\n"), std::string(taken)}) {
        std::string text;
        json::writePretty(document, {root, name, value},
                          [&](std::string_view piece) { text += piece; });
        const auto pretty = parsed(text, "the pretty text");
        const json::Value changed = pretty.root();
        const json::Value added =
            isArray ? changed.children()[children.size()] : changed.member(name);
        require(isArray ? tovra::fuzz::isAppended(root, changed)
                        : tovra::fuzz::sameExcept(root, changed, name),
                "pretty, it is the same but for the edit");
        require(same(added, parsed(value, "the value").root()), "the edit has been made");
    }
}

// What is refused stops being JSON somewhere. What stands in front of that place does not.
void checkWhereInvalid(std::string_view text) {
    const auto at = json::whereInvalid(text);
    require(at.has_value() != json::parse(text).has_value(), "what is refused has a place");
    if (at) require(json::whereInvalid(text.substr(0, *at)).value_or(*at) == *at, "the first one");
}

std::string repeated(std::string_view text) {
    constexpr std::size_t kSize = 140 * 1024;
    std::string result = "[";
    while (result.size() < kSize) result.append(text).append(",");
    return result.append(text).append("]");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = tovra::fuzz::textOf(data, size);
    const auto isOpening = [](char c) { return c == '[' || c == '{'; };
    checkWhereInvalid(text);
    const auto depth = std::count_if(text.begin(), text.end(), isOpening);
    if (const auto document = parsedTwice(text, depth)) {
        checkWritten(*document);
        checkDropped(text, document->root());
    }
    if (text.starts_with('\n') || text.starts_with(' ')) {
        (void)parsedTwice(repeated(text), depth + 1);
        checkWhereInvalid(repeated(text));
    }
    return 0;
}
