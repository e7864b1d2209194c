#include "check/json_fault.h"

#include <algorithm>
#include <string>

#include "json/json.h"
#include "json/utf8.h"

namespace tovra::check {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kNoComma[] = {"a comma or a } is missing", "a comma or a ] is missing"};

// Reads a text from its beginning. Where a method finds a fault, `at` is left at that place.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    // What is wrong, empty where nothing is.
    std::string_view read() {
        if (text_.find_first_not_of(kBlanks) == std::string_view::npos) return "the file is empty";
        do {
            skip(kBlanks);
            if (const auto reason = open_.empty() ? top() : inside(); !reason.empty()) {
                return at == text_.size() ? "the text ends too early" : reason;
            }
        } while (!open_.empty());
        skip(kBlanks);
        return at == text_.size() ? "" : "something follows the end of the object";
    }

    std::size_t at = 0;

  private:
    [[nodiscard]] char next() const { return at < text_.size() ? text_[at] : '\0'; }

    bool take(char wanted) {
        if (next() != wanted || at == text_.size()) return false;
        ++at;
        return true;
    }

    std::size_t skip(std::string_view characters) {
        const std::size_t from = at;
        at = std::min(text_.find_first_not_of(characters, at), text_.size());
        return at - from;
    }

    std::string_view top() {
        if (next() == '{' || next() == '[') return value();
        return "it begins with something else than a { or a [";
    }

    // One step inside the innermost object or array: its end, or a member or element.
    std::string_view inside() {
        const char closer = open_.back();
        if (take(closer)) {
            open_.pop_back();
            isFirst_ = false;
            return "";
        }
        if (!isFirst_) {
            if (!take(',')) return closer == '}' ? kNoComma[0] : kNoComma[1];
            skip(kBlanks);
            if (next() == closer) return "a comma stands before the closing bracket";
        }
        isFirst_ = false;
        return closer == '}' ? member() : value();
    }

    std::string_view member() {
        if (next() != '"') return "a name in double quotes is missing";
        if (const auto reason = string(); !reason.empty()) return reason;
        skip(kBlanks);
        if (!take(':')) return "a colon is missing after the name";
        skip(kBlanks);
        return value();
    }

    std::string_view value() {
        if (next() == '"') return string();
        if (next() == '-' || kDigits.find(next()) != std::string_view::npos) return number();
        for (const std::string_view word : {"true", "false", "null"}) {
            if (text_.substr(at, word.size()) != word) continue;
            at += word.size();
            return "";
        }
        if (next() != '{' && next() != '[') return "a value is missing";
        if (open_.size() == json::kMaxDepth) return "brackets are nested too deeply";
        open_ += next() == '{' ? '}' : ']';
        ++at;
        isFirst_ = true;
        return "";
    }

    std::string_view number() {
        take('-');
        const bool startsWithZero = next() == '0';
        const std::size_t digits = skip(kDigits);
        if (digits == 0 || (startsWithZero && digits > 1)) return "a number is written wrongly";
        if (take('.') && skip(kDigits) == 0) return "a number is written wrongly";
        if (take('e') || take('E')) {
            if (!take('+')) take('-');
            if (skip(kDigits) == 0) return "a number is written wrongly";
        }
        return "";
    }

    std::string_view string() {
        ++at;
        while (!take('"')) {
            if (at == text_.size()) return "a double quote is missing";
            if (static_cast<unsigned char>(next()) < 0x20) {
                return "a line ends, or a control character stands, inside double quotes";
            }
            const bool isEscape = take('\\');
            if (!isEscape) ++at;
            if (isEscape && !escape()) return "a backslash is used wrongly";
        }
        return "";
    }

    // What follows a backslash.
    bool escape() {
        if (take('u')) {
            const int unit = hexadecimal();
            if (unit < 0xD800 || unit > 0xDFFF) return unit >= 0;
            if (unit >= 0xDC00 || !take('\\') || !take('u')) return false;
            const int low = hexadecimal();
            return low >= 0xDC00 && low <= 0xDFFF;
        }
        if (std::string_view("\"\\/bfnrt").find(next()) == std::string_view::npos) return false;
        ++at;
        return true;
    }

    // The value of four hexadecimal digits; negative where they are none.
    int hexadecimal() {
        int unit = 0;
        for (int i = 0; i < 4; ++i, ++at) {
            const std::size_t digit = std::string_view("0123456789abcdefABCDEF").find(next());
            if (at == text_.size() || digit == std::string_view::npos) return -1;
            unit = unit * 16 + static_cast<int>(digit < 16 ? digit : digit - 6);
        }
        return unit;
    }

    std::string_view text_;
    std::string open_;  // what closes each of the objects and arrays that are open
    bool isFirst_ = false;
};

// Where the text stops being UTF-8; its size where it does not.
std::size_t endOfUtf8(std::string_view text) {
    std::size_t at = json::isValidUtf8(text) ? text.size() : 0;
    while (at < text.size()) {
        std::size_t length = 1;
        while (length <= 4 && !json::isValidUtf8(text.substr(at, length))) ++length;
        if (length > 4) break;
        at += length;
    }
    return at;
}

}  // namespace

std::optional<JsonFault> findJsonFault(std::string_view text) {
    const auto faultAt = [&](std::size_t at, std::string_view reason) {
        const std::string_view before = text.substr(0, at);
        const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
        return JsonFault{lines + 1, at - (before.rfind('\n') + 1) + 1, reason};
    };
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        return faultAt(0, "it is UTF-16 and not UTF-8");
    }
    if (const std::size_t end = endOfUtf8(text); end < text.size()) {
        return faultAt(end, "it is not UTF-8 from here on");
    }
    Reader reader(text);
    const std::string_view reason = reader.read();
    if (reason.empty()) return std::nullopt;
    return faultAt(reader.at, reason);
}

}  // namespace tovra::check
