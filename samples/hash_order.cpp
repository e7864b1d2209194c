#include "samples/hash_order.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "samples/pretty_text.h"

namespace tovra::support {
namespace {

// The hash of Fowler, Noll and Vo, 32 bits: the same on every system.
std::uint32_t hashOf(std::string_view name) {
    std::uint32_t hash = 2166136261;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
    return hash;
}

void append(PrettyText& out, json::Value value) {
    const std::string_view name = value.name();
    if (const auto text = value.string()) return out.string(*text, name);
    if (const auto number = value.number()) return out.number(*number, name);
    if (const auto truth = value.boolean()) return out.boolean(*truth, name);
    const json::Children children = value.children();
    std::vector<json::Value> ordered(children.begin(), children.end());
    const bool isObject = value.is(json::Kind::object);
    if (isObject) {
        std::sort(ordered.begin(), ordered.end(),
                  [](json::Value a, json::Value b) { return hashOf(a.name()) < hashOf(b.name()); });
    }
    out.open(isObject ? "{" : "[", name);
    for (const json::Value child : ordered) append(out, child);
    out.close();
}

}  // namespace

std::string inHashOrder(json::Value value) {
    PrettyText text;
    append(text, value);
    return text.take();
}

}  // namespace tovra::support
