#include "json/write.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "json/utf8.h"

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

// Gathers what is written, and gives it to the sink a buffer at a time.
class Output {
  public:
    Output(std::size_t size, const Sink& sink)
        : sink_(sink),
          buffer_(std::make_unique_for_overwrite<char[]>(size)),
          end_(buffer_.get() + size),
          cursor_(buffer_.get()) {}

    void put(std::string_view bytes) {
        if (bytes.size() > room()) return putBeyond(bytes);
        std::memcpy(cursor_, bytes.data(), bytes.size());
        cursor_ += bytes.size();
    }
    void putQuoted(std::string_view bytes) {
        put("\"");
        put(bytes);
        put("\"");
    }
    void flush() {
        sink_({buffer_.get(), cursor_});
        cursor_ = buffer_.get();
    }

  private:
    void putBeyond(std::string_view bytes) {
        flush();
        if (bytes.size() > room()) return sink_(bytes);
        put(bytes);
    }
    [[nodiscard]] std::size_t room() const { return static_cast<std::size_t>(end_ - cursor_); }

    const Sink& sink_;
    std::unique_ptr<char[]> buffer_;
    char* end_;
    char* cursor_;
};

// Whether the members stand in the order in which they are to be written, without repeated names.
bool isAscending(const Children& members) {
    for (std::size_t i = 1; i < members.size(); ++i) {
        if (members[i - 1].name() >= members[i].name()) return false;
    }
    return true;
}

// The members by name; of those with the same name only the last.
std::vector<Value> sorted(const Children& members) {
    std::vector<Value> result(members.begin(), members.end());
    std::stable_sort(result.begin(), result.end(),
                     [](Value a, Value b) { return a.name() < b.name(); });
    const auto isAgain = [](Value later, Value earlier) { return later.name() == earlier.name(); };
    result.erase(result.begin(), std::unique(result.rbegin(), result.rend(), isAgain).base());
    return result;
}

// Writes a value and all that it holds; the recursion is bounded by kMaxDepth.
class Writer {
  public:
    Writer(Output& out, bool pretty, const Edit* edit = nullptr)
        : out_(out), pretty_(pretty), lineBreak_(pretty ? ",\n" : ",") {
        if (edit == nullptr) return;
        edited_ = edit->target;
        name_ = edit->name;
        holder_ = parse("[" + edit->value + "]").value_or(Document());
        added_ = holder_.root().children()[0];
    }

    void write(Value value) {
        switch (value.kind()) {
            case Kind::null:
                return out_.put("null");
            case Kind::falseValue:
                return out_.put("false");
            case Kind::trueValue:
                return out_.put("true");
            case Kind::number:
                return out_.put(value.numberText());
            case Kind::string:
                return writeString(*value.string(), value.wasEscaped());
            case Kind::array:
                return writeArray(value);
            case Kind::object:
                return writeObject(value);
        }
    }

  private:
    void writeArray(Value array) {
        open("[");
        for (const Value element : array.children()) {
            separate();
            write(element);
        }
        if (array.isSame(edited_)) {
            separate();
            write(added_);
        }
        close("]");
    }

    void writeObject(Value object) {
        const Children members = object.children();
        open("{");
        if (object.isSame(edited_)) {
            writeEdited(sorted(members));
        } else if (isAscending(members)) {
            writeMembers(members);
        } else {
            writeMembers(sorted(members));
        }
        close("}");
    }

    template <typename Members>
    void writeMembers(const Members& members) {
        for (const Value member : members) writeMember(member);
    }

    // The members of the edited object, with the new one in its place among them.
    void writeEdited(const std::vector<Value>& members) {
        auto next = members.begin();
        for (; next != members.end() && next->name() < name_; ++next) writeMember(*next);
        writeMember(name_, true, added_);
        if (next != members.end() && next->name() == name_) ++next;
        for (; next != members.end(); ++next) writeMember(*next);
    }

    void writeMember(Value member) { writeMember(member.name(), member.nameWasEscaped(), member); }

    void writeMember(std::string_view name, bool escaped, Value value) {
        separate();
        writeString(name, escaped);
        out_.put(pretty_ ? ": " : ":");
        write(value);
    }

    void writeString(std::string_view text, bool escaped) {
        if (!escaped) return out_.putQuoted(text);
        std::string quoted;
        appendString(quoted, text);
        out_.put(quoted);
    }

    void open(std::string_view bracket) {
        out_.put(bracket);
        isEmpty_ = true;
        if (pretty_) lineBreak_ += "  ";
    }

    void separate() {
        out_.put(std::string_view(lineBreak_).substr(isEmpty_ ? 1 : 0));
        isEmpty_ = false;
    }

    void close(std::string_view bracket) {
        if (pretty_) lineBreak_.resize(lineBreak_.size() - 2);
        if (!isEmpty_) out_.put(std::string_view(lineBreak_).substr(1));
        isEmpty_ = false;
        out_.put(bracket);
    }

    Output& out_;
    const bool pretty_;
    Value edited_;      // the array or object that gets something added
    std::string name_;  // of the member that is added to an object
    Document holder_;   // of the value that is added
    Value added_;
    std::string lineBreak_;  // a comma and, in pretty text, the break and indentation behind it
    bool isEmpty_ = true;    // nothing has been written yet since the last opening bracket
};

}  // namespace

void appendString(std::string& out, std::string_view text) {
    assert(isValidUtf8(text));
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
    assert(std::isfinite(value));
    constexpr double kPlainBelow = 1e15;
    std::array<char, 32> text{};
    const bool isPlain = std::fabs(value) < kPlainBelow && std::trunc(value) == value;
    const auto written =
        isPlain ? std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed)
                : std::to_chars(text.begin(), text.end(), value);
    return {text.data(), written.ptr};
}

void appendCompact(std::string& out, Value value) {
    assert(value.exists());
    constexpr std::size_t kSize = 256;
    const Sink sink = [&](std::string_view bytes) { out += bytes; };
    Output output(kSize, sink);
    Writer(output, false).write(value);
    output.flush();
}

void writePretty(const Document& document, const Edit& edit, const Sink& sink) {
    // Small enough for the processor's cache, and large enough to go back to the system when freed.
    constexpr std::size_t kSize = std::size_t{1} << 20;
    Output output(kSize, sink);
    Writer(output, true, &edit).write(document.root());
    output.put("\n");
    output.flush();
}

}  // namespace tovra::json
