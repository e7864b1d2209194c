#include "platform/json_write.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>
#include <vector>

#include "platform/memory.h"

namespace tovra::json {
namespace {

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

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

// Puts the members of objects in the order in which they are written. Objects that follow each
// other in a list mostly have the same names in the same order, so the order of the last one is
// tried first.
class MemberOrder {
  public:
    // Appends the members to `sorted`, by name; of members with the same name only the last.
    void append(const Children& members, std::vector<Value>& sorted) {
        const std::size_t begin = sorted.size();
        if (members.size() == last_.size()) {
            for (const std::uint32_t place : last_) sorted.push_back(members[place]);
            if (isAscending(sorted, begin)) return;
            sorted.resize(begin);
        }
        sortPlaces(members);
        for (const std::uint32_t place : last_) sorted.push_back(members[place]);
        dropRepeated(sorted, begin);
    }

  private:
    // Whether every name is smaller than the next.
    static bool isAscending(const std::vector<Value>& sorted, std::size_t begin) {
        for (std::size_t i = begin + 1; i < sorted.size(); ++i) {
            if (!(sorted[i - 1].name() < sorted[i].name())) return false;
        }
        return true;
    }

    void sortPlaces(const Children& members) {
        last_.resize(members.size());
        for (std::uint32_t i = 0; i < last_.size(); ++i) last_[i] = i;
        std::sort(last_.begin(), last_.end(), [&](std::uint32_t a, std::uint32_t b) {
            const int order = members[a].name().compare(members[b].name());
            return order != 0 ? order < 0 : a < b;
        });
    }

    // Of a run of equal names the last one stays.
    static void dropRepeated(std::vector<Value>& sorted, std::size_t begin) {
        std::size_t kept = begin;
        for (std::size_t i = begin; i < sorted.size(); ++i) {
            const bool again = i + 1 < sorted.size() && sorted[i].name() == sorted[i + 1].name();
            if (!again) sorted[kept++] = sorted[i];
        }
        sorted.resize(kept);
    }

    std::vector<std::uint32_t> last_;  // the places of the last object's members, by name
};

// Writes a value and all that it holds; the recursion is bounded by kMaxDepth.
class Writer {
  public:
    Writer(std::string& out, bool pretty, const Edit* edit = nullptr)
        : out_(out), pretty_(pretty), lineBreak_(pretty ? ",\n" : ",") {
        if (edit == nullptr) return;
        edited_ = edit->target.node();
        name_ = edit->name;
        holder_ = parse("[" + edit->value + "]").value_or(Document());
        added_ = holder_.root().children()[0];
    }

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
                writeString(*value.string(), node.flag());
                break;
            case Kind::array:
                writeArray(value);
                break;
            case Kind::object:
                writeObject(value);
                break;
        }
    }

  private:
    void writeArray(Value array) {
        open('[');
        for (const Value element : array.children()) {
            separate();
            write(element);
        }
        if (array.node() == edited_) {
            separate();
            write(added_);
        }
        close(']');
    }

    void writeObject(Value object) {
        const std::size_t begin = members_.size();
        order_.append(object.children(), members_);
        const std::size_t end = members_.size();
        bool pending = object.node() == edited_;
        open('{');
        for (std::size_t i = begin; i < end; ++i) {
            const Value member = members_[i];
            if (pending && name_ <= member.name()) {
                pending = false;
                writeMember(name_, true, added_);
                if (name_ == member.name()) continue;
            }
            writeMember(member.name(), member.node()->nameEscaped(), member);
        }
        if (pending) writeMember(name_, true, added_);
        close('}');
        members_.resize(begin);
    }

    void writeMember(std::string_view name, bool escaped, Value value) {
        separate();
        writeString(name, escaped);
        out_ += pretty_ ? ": " : ":";
        write(value);
    }

    // What needs no escapes stands between its quotes in the document's own text.
    void writeString(std::string_view text, bool escaped) {
        if (escaped) return appendString(out_, text);
        out_.append(text.data() - 1, text.size() + 2);
    }

    void open(char bracket) {
        out_ += bracket;
        isEmpty_ = true;
        if (pretty_) lineBreak_ += "  ";
    }

    void separate() {
        // One append in place of two: there is one of these for every value.
        out_.append(lineBreak_, isEmpty_ ? 1 : 0);
        isEmpty_ = false;
    }

    void close(char bracket) {
        if (pretty_) lineBreak_.resize(lineBreak_.size() - 2);
        if (!isEmpty_) out_.append(lineBreak_, 1);
        isEmpty_ = false;
        out_ += bracket;
    }

    std::string& out_;
    const bool pretty_;
    const Node* edited_ = nullptr;  // the array or object that gets something added
    std::string name_;              // of the member that is added to an object
    Document holder_;               // of the value that is added
    Value added_;
    MemberOrder order_;
    std::vector<Value> members_;  // of the objects that are being written, outermost first
    std::string lineBreak_;  // a comma and, in pretty text, the break and indentation behind it
    bool isEmpty_ = true;    // nothing has been written yet since the last opening bracket
};

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

std::string numberText(double value) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.begin(), text.end(), value).ptr};
}

void appendCompact(std::string& out, Value value) { Writer(out, false).write(value); }

std::string prettyText(const Document& document, const Edit& edit) {
    std::string text;
    text.reserve(document.text().size() + document.text().size() / 8 + edit.value.size() + 256);
    preferLargePages(text.data(), text.capacity());
    Writer(text, true, &edit).write(document.root());
    text += '\n';
    return text;
}

}  // namespace tovra::json
