#include "samples/application_layout.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "json/write.h"

namespace tovra::support {
namespace {

// The hash of Fowler, Noll and Vo, 32 bits: the same on every system.
std::uint32_t hashOf(std::string_view name) {
    std::uint32_t hash = 2166136261;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
    return hash;
}

void appendString(std::string& out, std::string_view text) {
    std::string quoted;
    json::appendString(quoted, text);
    for (const char c : quoted) {
        if (c == '/') out += '\\';
        out += c;
    }
}

void appendChildren(std::string& out, const std::vector<json::Value>& children, bool areMembers,
                    const std::string& lineBreak);

void append(std::string& out, json::Value value, const std::string& lineBreak) {
    if (const auto text = value.string()) return appendString(out, *text);
    const json::Children children = value.children();
    std::vector<json::Value> ordered(children.begin(), children.end());
    if (value.is(json::Kind::object)) {
        std::sort(ordered.begin(), ordered.end(),
                  [](json::Value a, json::Value b) { return hashOf(a.name()) < hashOf(b.name()); });
        out += '{';
        appendChildren(out, ordered, true, lineBreak);
        out += '}';
    } else if (value.is(json::Kind::array)) {
        out += '[';
        appendChildren(out, ordered, false, lineBreak);
        out += ']';
    } else {
        json::appendCompact(out, value);
    }
}

void appendChildren(std::string& out, const std::vector<json::Value>& children, bool areMembers,
                    const std::string& lineBreak) {
    const std::string inside = lineBreak + "  ";
    for (const json::Value child : children) {
        out += inside;
        if (areMembers) {
            appendString(out, child.name());
            out += " : ";
        }
        append(out, child, inside);
        out += ',';
    }
    if (children.empty()) return;
    out.pop_back();
    out += lineBreak;
}

}  // namespace

std::string inApplicationLayout(json::Value value) {
    std::string text;
    append(text, value, "\n");
    return text;
}

}  // namespace tovra::support
