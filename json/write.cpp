#include "json/write.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <numeric>
#include <vector>

#include "json/utf8.h"

namespace tovra::json {
namespace {

// Gives `put` the inside of a JSON string that says `text`, piece by piece.
template <typename Put>
void putEscaped(std::string_view text, Slash slash, const Put& put) {
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    static constexpr std::string_view kNames = "\"\\/bfnrt";
    static constexpr std::string_view kHex = "0123456789abcdef";
    const auto needsEscape = [&](char c) {
        return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20 ||
               (c == '/' && slash == Slash::escaped);
    };
    while (!text.empty()) {
        const auto stop = std::find_if(text.begin(), text.end(), needsEscape);
        const auto run = static_cast<std::size_t>(stop - text.begin());
        put(text.substr(0, run));
        text.remove_prefix(run);
        if (text.empty()) return;
        const std::size_t which = kMeanings.find(text.front());
        if (which != std::string_view::npos) {
            put("\\");
            put(kNames.substr(which, 1));
        } else {
            const auto code = static_cast<unsigned char>(text.front());
            put("\\u00");
            put(kHex.substr(code >> 4, 1));
            put(kHex.substr(code & 0xF, 1));
        }
        text.remove_prefix(1);
    }
}

// Whether the text of a document may hold a slash, of which kTextPadding bytes may be read. Most
// are not longer, and are searched without a loop or a branch.
bool mayHoldSlash(std::string_view text) {
    if (text.size() > kTextPadding) return text.find('/') != std::string_view::npos;
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < kTextPadding; i += sizeof found) {
        constexpr std::uint64_t kOnes = 0x0101010101010101;
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + i, sizeof word);
        word ^= kOnes * '/';  // a slash becomes a byte of zero, which alone borrows a high bit
        found |= (word - kOnes) & ~word & kOnes << 7;
    }
    return found != 0;
}

// Gathers what is written, and gives it to the sink a buffer at a time.
class Output {
  public:
    Output(std::size_t size, const Sink& sink)
        : sink_(sink),
          buffer_(std::make_unique_for_overwrite<char[]>(size + kTextPadding)),
          end_(buffer_.get() + size),
          cursor_(buffer_.get()) {}

    void put(std::string_view bytes) {
        if (bytes.size() > room()) return putBeyond(bytes);
        std::memcpy(cursor_, bytes.data(), bytes.size());
        cursor_ += bytes.size();
    }
    // The same for a text of a document.
    void putText(std::string_view text) {
        if (text.size() > room()) return putBeyond(text);
        copyText(cursor_, text);
        cursor_ += text.size();
    }
    void flush() {
        sink_({buffer_.get(), cursor_});
        cursor_ = buffer_.get();
    }

  private:
    // Only full buffers go out, so that the system copies whole pages.
    void putBeyond(std::string_view bytes) {
        for (std::size_t fits = room(); fits < bytes.size(); fits = room()) {
            put(bytes.substr(0, fits));
            flush();
            bytes.remove_prefix(fits);
        }
        put(bytes);
    }
    [[nodiscard]] std::size_t room() const { return static_cast<std::size_t>(end_ - cursor_); }

    const Sink& sink_;
    std::unique_ptr<char[]> buffer_;
    char* end_;
    char* cursor_;
};

// The places of the members by name; of those with the same name only the last.
std::vector<std::uint32_t> sorted(const Children& members) {
    std::vector<std::uint32_t> places(members.size());
    std::iota(places.begin(), places.end(), 0);
    const auto name = [&](std::uint32_t place) { return members[place].name(); };
    std::stable_sort(places.begin(), places.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return name(a) < name(b); });
    const auto isAgain = [&](std::uint32_t later, std::uint32_t earlier) {
        return name(later) == name(earlier);
    };
    places.erase(places.begin(), std::unique(places.rbegin(), places.rend(), isAgain).base());
    return places;
}

// In which order the members of objects with these names are written.
struct Order {
    std::vector<const char*> names;  // where they stand; most names are kept once
    std::vector<std::uint32_t> places;
};

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
                return out_.putText(value.numberText());
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
        constexpr std::size_t kMostAlike = 64;  // objects with more members are not much alike
        const Children members = object.children();
        std::vector<std::uint32_t> own;
        if (members.size() > kMostAlike) own = sorted(members);
        const auto& places = own.empty() ? orderOf(members) : own;
        open("{");
        auto next = places.begin();
        if (object.isSame(edited_)) {
            const auto name = [&] { return members[*next].name(); };
            for (; next != places.end() && name() < name_; ++next) writeMember(members[*next]);
            writeMember(name_, true, added_);
            if (next != places.end() && name() == name_) ++next;
        }
        for (; next != places.end(); ++next) writeMember(members[*next]);
        close("}");
    }

    // The same order is found once for many objects. It stays while deeper objects are written.
    const std::vector<std::uint32_t>& orderOf(const Children& members) {
        std::size_t slot = 0;
        for (const Value member : members) {
            slot = slot * 31 +
                   reinterpret_cast<std::uintptr_t>(member.name().data()) / Node::kNameStep;
        }
        while (orders_.size() <= depth_) orders_.emplace_back();
        auto& [names, places] = orders_[depth_][slot % orders_[depth_].size()];
        const auto isSame = [](const char* name, Value other) {
            return name == other.name().data();
        };
        if (!std::equal(names.begin(), names.end(), members.begin(), members.end(), isSame)) {
            names.clear();
            for (const Value member : members) names.push_back(member.name().data());
            places = sorted(members);
        }
        return places;
    }

    void writeMember(Value member) { writeMember(member.name(), member.nameWasEscaped(), member); }

    void writeMember(std::string_view name, bool escaped, Value value) {
        separate();
        writeString(name, escaped);
        out_.put(pretty_ ? " : " : ":");
        write(value);
    }

    void writeString(std::string_view text, bool escaped) {
        out_.put("\"");
        if (escaped || (pretty_ && mayHoldSlash(text))) {
            putEscaped(text, pretty_ ? Slash::escaped : Slash::plain,
                       [&](std::string_view piece) { out_.put(piece); });
        } else {
            out_.putText(text);
        }
        out_.put("\"");
    }

    void open(std::string_view bracket) {
        out_.put(bracket);
        isEmpty_ = true;
        ++depth_;
        if (pretty_) lineBreak_ += "  ";
    }

    void separate() {
        out_.put(std::string_view(lineBreak_).substr(isEmpty_ ? 1 : 0));
        isEmpty_ = false;
    }

    void close(std::string_view bracket) {
        --depth_;
        if (pretty_) lineBreak_.resize(lineBreak_.size() - 2);
        if (pretty_ && isEmpty_) out_.put("\n");
        out_.put(std::string_view(lineBreak_).substr(1));
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
    std::size_t depth_ = 0;
    std::deque<std::array<Order, 32>> orders_;  // by depth, those that came last
    bool isEmpty_ = true;  // nothing has been written yet since the last opening bracket
};

}  // namespace

void appendString(std::string& out, std::string_view text, Slash slash) {
    assert(isValidUtf8(text));
    out += '"';
    putEscaped(text, slash, [&](std::string_view piece) { out += piece; });
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
    // Small enough for the processor's cache, and large enough for few calls to the system.
    constexpr std::size_t kSize = std::size_t{128} << 10;
    Output output(kSize, sink);
    Writer(output, true, &edit).write(document.root());
    output.flush();
}

}  // namespace tovra::json
