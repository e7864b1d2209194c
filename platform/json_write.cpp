#include "platform/json_write.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace tovra::json {
namespace {

bool needsEscape(char c) {
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

void appendEscape(std::string& out, char c) {
    static constexpr std::string_view kMeanings = "\"\\\b\f\n\r\t";
    static constexpr std::string_view kNames = "\"\\bfnrt";
    static constexpr std::string_view kHex = "0123456789abcdef";
    out += '\\';
    const std::size_t which = kMeanings.find(c);
    if (which != std::string_view::npos) {
        out += kNames[which];
    } else {
        const auto code = static_cast<unsigned char>(c);
        out += "u00";
        out += kHex[code >> 4];
        out += kHex[code & 0xF];
    }
}

}  // namespace

void appendString(std::string& out, std::string_view text) {
    out += '"';
    for (auto rest = text.begin(); rest != text.end();) {
        const auto stop = std::find_if(rest, text.end(), needsEscape);
        out.append(rest, stop);
        rest = stop;
        if (rest != text.end()) appendEscape(out, *rest++);
    }
    out += '"';
}

namespace {

// Writes one value and what it holds; recursion is bounded by kMaxDepth.
class CompactWriter {
  public:
    explicit CompactWriter(std::string& out) : out_(out) {}

    void write(Value value) {
        const Node& node = *value.node();
        switch (node.kind()) {
            case Kind::null:
                out_ += "null";
                break;
            case Kind::falseValue:
                out_ += "false";
                break;
            case Kind::trueValue:
                out_ += "true";
                break;
            case Kind::number:
                out_ += value.numberText();
                break;
            case Kind::string:
                appendString(out_, *value.string());
                break;
            case Kind::array:
                writeArray(value.children());
                break;
            case Kind::object:
                writeObject(value.children());
                break;
        }
    }

  private:
    void writeArray(const Children& elements) {
        char before = '[';
        for (const Value element : elements) {
            out_ += before;
            before = ',';
            write(element);
        }
        out_ += elements.empty() ? "[]" : "]";
    }

    void writeObject(const Children& members) {
        char before = '{';
        for (const Value member : membersByName(members)) {
            out_ += before;
            before = ',';
            appendString(out_, member.name());
            out_ += ':';
            write(member);
        }
        out_ += members.empty() ? "{}" : "}";
    }

    std::string& out_;
};

}  // namespace

std::vector<Value> membersByName(const Children& members) {
    std::vector<Value> sorted(members.begin(), members.end());
    const auto byName = [](Value a, Value b) { return a.name() < b.name(); };
    std::stable_sort(sorted.begin(), sorted.end(), byName);
    // Of a run of equal names the last one stays.
    auto kept = sorted.begin();
    for (auto it = sorted.begin(); it != sorted.end(); ++it) {
        if (std::next(it) == sorted.end() || it->name() != std::next(it)->name()) *kept++ = *it;
    }
    sorted.erase(kept, sorted.end());
    return sorted;
}

void appendCompact(std::string& out, Value value) {
    CompactWriter(out).write(value);
}

}  // namespace tovra::json
