#include "http/head.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <system_error>

#include "json/utf8.h"

namespace tovra::http {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// The tab and the space separators of Unicode. A carriage return that ends no line is none of them
// and stays in its value.
constexpr std::array<std::string_view, 18> kBlanks = {
    "\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
    "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};

// How many bytes the blank at the start or end of a text has, 0 where there is none. In valid UTF-8
// the bytes of a blank never belong to another character.
std::size_t leadingBlank(std::string_view text) {
    for (const std::string_view blank : kBlanks) {
        if (text.starts_with(blank)) return blank.size();
    }
    return 0;
}

std::size_t trailingBlank(std::string_view text) {
    for (const std::string_view blank : kBlanks) {
        if (text.ends_with(blank)) return blank.size();
    }
    return 0;
}

std::string_view trimmed(std::string_view text) {
    while (const std::size_t size = leadingBlank(text)) text.remove_prefix(size);
    while (const std::size_t size = trailingBlank(text)) text.remove_suffix(size);
    return text;
}

// ASCII is enough for the names compared here. No other letter has one of theirs as its lower case.
bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [&](char a, char b) { return lower(a) == b; });
}

std::string_view firstWord(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    return line.substr(0, line.find(' '));
}

std::int64_t parseLength(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return 0;
    }
    std::int64_t length = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, length);
    return error == std::errc() && end == last ? length : 0;
}

void readField(std::string_view line, Head& head) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string_view name = trimmed(line.substr(0, colon));
    const std::string_view value = line.substr(colon + 1);
    if (equalsIgnoringCase(name, "content-length")) {
        head.contentLength = parseLength(trimmed(value));
    } else if (equalsIgnoringCase(name, "authorization")) {
        head.authorization = trimmed(value);
    } else if (equalsIgnoringCase(name, "origin")) {
        head.origin = trimmed(value);
    }
}

}  // namespace

std::optional<Head> parseHead(std::string_view block) {
    if (!json::isValidUtf8(block)) return std::nullopt;
    Head head;
    std::size_t end = block.find(kLineEnd);
    head.method = firstWord(block.substr(0, end));
    while (end != std::string_view::npos) {
        const std::size_t start = end + kLineEnd.size();
        end = block.find(kLineEnd, start);
        // substr cuts what reaches beyond the block, as the last line's "npos" does.
        readField(block.substr(start, end - start), head);
    }
    return head;
}

bool isOwnOrigin(std::string_view origin, std::uint16_t port) {
    constexpr std::string_view kScheme = "http://";
    if (!equalsIgnoringCase(origin.substr(0, kScheme.size()), kScheme)) return false;
    origin.remove_prefix(kScheme.size());
    for (const std::string_view host : {"localhost", "127.0.0.1", "[::1]"}) {
        if (!equalsIgnoringCase(origin.substr(0, host.size()), host)) continue;
        const std::string_view rest = origin.substr(host.size());
        return rest.empty() ? port == 80 : rest == ":" + std::to_string(port);
    }
    return false;
}

}  // namespace tovra::http
