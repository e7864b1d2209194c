#include "check/findings.h"

#include <algorithm>
#include <array>

#include "files/file.h"
#include "json/utf8.h"
#include "platform/unicode.h"

namespace tovra::check {
namespace {

// Characters that look like a blank, or like nothing, and how JSON escapes them.
struct Unseen {
    std::string_view bytes;
    std::string_view escape;
};
constexpr std::array<Unseen, 6> kUnseen = {{{"\u00A0", "\\u00a0"},
                                            {"\u200B", "\\u200b"},
                                            {"\u200E", "\\u200e"},
                                            {"\u202E", "\\u202e"},
                                            {"\u202F", "\\u202f"},
                                            {"\uFEFF", "\\ufeff"}}};

// The text with each of those replaced by its escape, or left out.
std::string seen(std::string text, bool isEscaped) {
    for (const auto& [bytes, escape] : kUnseen) {
        for (std::size_t at = 0; (at = text.find(bytes, at)) != std::string::npos;) {
            text.replace(at, bytes.size(), isEscaped ? escape : "");
        }
    }
    return text;
}

}  // namespace

std::string_view nameOf(Level level) {
    constexpr std::array<std::string_view, 3> kLevels = {"note", "warning", "error"};
    return kLevels[static_cast<std::size_t>(level)];
}

void Findings::tell(Level level, std::string_view about, std::string_view before,
                    const Texts& texts, std::string_view after) {
    if (texts.empty()) return;
    add(level, about, std::string(before) + inQuotes(texts) + std::string(after));
}

std::string shortened(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    std::size_t size = std::min(kLongest, text.size());
    // No letter is cut in two.
    while (text.size() > kLongest && size > kLongest - 4 &&
           !json::isValidUtf8(text.substr(0, size))) {
        --size;
    }
    return seen(readablePath(text.substr(0, size)), true) + (size < text.size() ? "..." : "");
}

std::string inQuotes(std::string_view text) { return "\"" + shortened(text) + "\""; }

std::string inQuotes(const Texts& texts) {
    constexpr std::size_t kShown = 5;
    std::string list;
    for (std::size_t i = 0; i < std::min(texts.size(), kShown); ++i) {
        list += (i == 0 ? "" : ", ") + inQuotes(texts[i]);
    }
    if (texts.size() > kShown) list += " and " + std::to_string(texts.size() - kShown) + " more";
    return list;
}

std::string loosely(std::string_view text) {
    std::string letters = seen(std::string(text), false);
    std::erase_if(letters, [](char c) { return c == ' ' || c == '\t'; });
    return nameForm(letters);
}

}  // namespace tovra::check
