#include "check/json_fault.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "check/file_text.h"
#include "check/names.h"
#include "files/file.h"
#include "json/json.h"
#include "json/utf8.h"

namespace tovra::check {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kDigits = "0123456789";

bool isOneOf(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Follows a text that is JSON so far, and says what should come next.
struct Prefix {
    enum class Next { value, name, colon, comma, end };

    void take(char c) {
        ++column;
        if (c == '\n') {
            ++line;
            column = 1;
        }
        if (isInString) return takeInString(c);
        if (isOneOf(c, kBlanks)) return;
        if (c == '"') {
            isInString = true;
        } else if (isOneOf(c, "{[")) {
            open += c;
            next = c == '{' ? Next::name : Next::value;
        } else if (isOneOf(c, ",:")) {
            next = c == ',' && open.back() == '{' ? Next::name : Next::value;
        } else {
            if (isOneOf(c, "}]")) open.pop_back();
            endValue();
        }
    }
    void takeInString(char c) {
        if (isEscaped || c == '\\') {
            isEscaped = !isEscaped;
        } else if (c == '"') {
            isInString = false;
            if (next == Next::name) {
                next = Next::colon;
            } else {
                endValue();
            }
        }
    }
    void endValue() { next = open.empty() ? Next::end : Next::comma; }

    std::size_t line = 1;
    std::size_t column = 1;
    std::string open;  // the brackets that are open
    Next next = Next::value;
    bool isInString = false;
    bool isEscaped = false;   // a backslash came last
    std::string_view before;  // the last bytes, without those of the string that is open
};

// The letters, digits and signs that the text begins with.
std::string_view wordIn(std::string_view text) {
    const auto isPart = [](char c) {
        return isLetter(c) || (c & 0x80) != 0 || isOneOf(c, "0123456789._+-");
    };
    const auto* end = std::find_if_not(text.begin(), text.end(), isPart);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

bool beginsWithQuote(std::string_view text) {
    constexpr std::array<std::string_view, 7> kQuotes = {"\u201C", "\u201D", "\u201E", "\u2018",
                                                         "\u2019", "\u00AB", "\u00BB"};
    return std::any_of(kQuotes.begin(), kQuotes.end(),
                       [&](std::string_view quote) { return text.starts_with(quote); });
}

// Why no value or name begins with that.
std::string whyNoValue(std::string_view rest) {
    if (beginsWithQuote(rest)) return "a curly quote stands where \" is needed";
    if (rest.starts_with("//") || rest.starts_with("/*") || rest.starts_with('#')) {
        return "a comment stands there, which JSON does not have";
    }
    if (isOneOf(rest.front(), "+.")) return "a number may not begin with + or a point";
    const std::string_view word = wordIn(rest);
    if (rest.front() == '-' || !isLetter(rest.front())) return "";
    return std::string(word) + " is no value of JSON: texts stand in double quotes";
}

// What is wrong where a number or word is followed by something else than it may be.
std::string whyNoScalar(std::string_view before, std::string_view rest) {
    const std::size_t begin = before.find_last_of(" \t\r\n{}[],:\"") + 1;
    const std::string_view scalar = before.substr(std::min(begin, before.size()));
    if (scalar.empty() || isOneOf(rest.front(), kBlanks)) return "";
    const bool isNumber = scalar.front() == '-' || isOneOf(scalar.front(), kDigits);
    const bool isCutOff = isOneOf(scalar.back(), ".+-eE");
    if (isNumber &&
        (isCutOff || isOneOf(rest.front(), "0123456789.+-_'%") || isLetter(rest.front()))) {
        return "a number is written wrongly";
    }
    const std::string word = std::string(scalar) + std::string(wordIn(rest));
    return !isNumber && isLetter(rest.front()) ? word + " is no value of JSON" : "";
}

// What is wrong with a text that is JSON so far, and goes on with `rest`, which is not empty.
std::string reasonFor(const Prefix& prefix, std::string_view rest) {
    using Next = Prefix::Next;
    const char c = rest.front();
    if (c == '\0') return "zeros stand there: the file was not written to its end";
    if (prefix.isInString) {
        return static_cast<unsigned char>(c) < 0x20
                   ? "a line ends, or a control character stands, inside double quotes"
                   : "a backslash is used wrongly";
    }
    if (prefix.open.empty() && prefix.next == Next::value) {
        return "it begins with something else than a { or a [";
    }
    for (const std::string_view mark : {"<<<<<<<", "=======", ">>>>>>>"}) {
        if (rest.starts_with(mark)) return "a mark of a merge stands there that was not resolved";
    }
    if (auto why = whyNoScalar(prefix.before, rest); !why.empty()) return why;
    if (prefix.next == Next::end) return "something follows the end of the object";
    const bool isObject = prefix.open.back() == '{';
    if (prefix.next == Next::comma) {
        if (prefix.before.ends_with('"') && isLetter(c)) {
            return "a quotation mark in a text needs a backslash before it";
        }
        return isObject ? "a comma or a } is missing" : "a comma or a ] is missing";
    }
    if (prefix.next == Next::colon) return "a colon is missing after the name";
    const std::size_t last = prefix.before.find_last_not_of(kBlanks);
    const bool isBehindComma = last < prefix.before.size() && prefix.before[last] == ',';
    if (isBehindComma && last > 0 && last + 1 == prefix.before.size() && isOneOf(c, kDigits) &&
        isOneOf(prefix.before[last - 1], kDigits)) {
        return "a comma stands in a number, where a point is needed";
    }
    if (isBehindComma && c == (isObject ? '}' : ']')) {
        return "a comma stands before the closing bracket";
    }
    if (isOneOf(c, "{[") && prefix.open.size() == json::kMaxDepth) {
        return "brackets are nested too deeply";
    }
    const std::string why = whyNoValue(rest);
    if (prefix.next == Next::value) return why.empty() ? "a value is missing" : why;
    const bool isBare = isLetter(c) || why.empty();
    return isBare ? "a name in double quotes is missing" : why;
}

// What a text that is no JSON at all looks like.
std::string_view kindOf(std::string_view text) {
    struct Beginning {
        std::string_view bytes;
        std::string_view kind;
    };
    constexpr std::array<Beginning, 9> kKinds = {{
        {"PK\3\4", "a ZIP archive"},
        {"\x1F\x8B", "a file that gzip has compressed"},
        {"SQLite format 3", "a database of SQLite"},
        {"bplist", "a property list of macOS"},
        {"%PDF", "a PDF document"},
        {"<", "a page of HTML, or XML"},
        {"-----BEGIN", "an encrypted file, or a key"},
        {"age-encryption", "an encrypted file"},
        {std::string_view("\0\0\0\0", 4), "a file whose content was lost: it begins with zeros"},
    }};
    for (const auto& [bytes, kind] : kKinds) {
        if (text.starts_with(bytes)) return kind;
    }
    const std::string_view line = text.substr(0, text.find('\n'));
    const auto commas =
        std::count_if(line.begin(), line.end(), [](char c) { return isOneOf(c, ",;\t"); });
    const bool isCode = line.find_first_of("{=") != std::string_view::npos;
    return commas > 1 && isLetter(line.front()) && !isCode ? "a table of values (CSV)" : "";
}

constexpr std::size_t kPiece = std::size_t{64} << 10;
constexpr std::size_t kNear = 30;

// Reads what the parser has accepted once more.
Prefix prefixOf(FileText& text, std::size_t size) {
    Prefix prefix;
    for (std::size_t done = 0; done < size;) {
        const std::string_view piece = text.at(done, std::min(kPiece, size - done));
        if (piece.empty()) break;
        for (const char c : piece) prefix.take(c);
        done += piece.size();
    }
    return prefix;
}

JsonFault faultAt(FileText& text, std::size_t at) {
    Prefix prefix = prefixOf(text, at);
    std::string rest(text.at(at, kPiece));
    if (rest.empty()) {
        if (text.begin() == at) return {1, 1, "the file is empty, or blank", {}, {}};
        return {prefix.line, prefix.column, "the text ends too early", {}, {}};
    }
    const std::string first(text.at(0, kNear));
    const std::size_t behind = std::min(at, kPiece);
    const std::string before(text.at(at - behind, behind));
    prefix.before = before;
    JsonFault fault{prefix.line, prefix.column, "", rest.substr(0, kNear), {}};
    fault.near.resize(std::min(fault.near.find_first_of("\r\n"), fault.near.size()));
    const auto isControl = [](unsigned char c) { return c < 0x20 && c != '\t'; };
    if (std::any_of(fault.near.begin(), fault.near.end(), isControl)) fault.near.clear();
    if (at == 0) fault.kind = kindOf(rest);
    if (first.starts_with("\xFF\xFE") || first.starts_with("\xFE\xFF")) {
        fault.reason = "it is UTF-16 and not UTF-8";
    } else if (json::validUtf8Size(rest) == 0) {
        fault.reason = "it is not UTF-8 from here on";
    } else {
        fault.reason = reasonFor(prefix, rest);
    }
    // The rest of a number belongs to it.
    if (fault.reason == "a number is written wrongly") {
        fault.column += std::min(rest.find_first_not_of(kDigits), rest.size());
    }
    return fault;
}

}  // namespace

std::optional<JsonFault> jsonFaultIn(const std::filesystem::path& path) {
    std::error_code error;
    const auto file = openFile(path, json::kMaxSize, error);
    if (!file) return std::nullopt;
    FileText text(*file);
    // What begins with neither is no JSON, however long it is.
    const std::size_t begin = text.begin();
    const std::string_view first = text.at(begin, 1);
    if (first != "{" && first != "[") return faultAt(text, begin);
    const auto at = json::whereInvalid(text.source(), surveyedNames());
    if (!at) return std::nullopt;
    return faultAt(text, *at);
}

}  // namespace tovra::check
