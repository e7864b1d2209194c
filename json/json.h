// JSON values: parsed strictly, kept exactly, read without copying.
//
// A Document owns a compact tree and the bytes of its strings, numbers and names. A Value is a
// light handle (two pointers) to one node of that tree. It stays valid as long as its Document
// lives, also after the Document has been moved. Strings are views into the document's bytes.
// Numbers keep the text in which they were written.
//
// A Document never changes after it was parsed, so any number of threads may read it at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace tovra::json {

class Children;
struct Node;
struct Storage;

// The deepest nesting of arrays and objects that is accepted.
inline constexpr std::size_t kMaxDepth = 512;

// The longest text in bytes. Positions and lengths then fit into 31 bits, as ICU wants them.
inline constexpr std::size_t kMaxSize = std::numeric_limits<std::int32_t>::max();

// A text that is to be parsed, given piece by piece.
struct Source {
    std::size_t size;  // how much it gives at most, in bytes; at most kMaxSize
    // Copies the next bytes, at most `room`, and returns how many. 0 stands for the end of the
    // text, which may come early. A negative number stands for a text that cannot be read.
    std::function<std::ptrdiff_t(char* into, std::size_t room)> read;
};

// The names of members that a reader of a document knows. A member that is dropped is checked like
// any other, and the document reads as if it were not there.
struct Names {
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t kMost = 63;

    std::span<const std::string_view> known;  // at most kMost, none empty; outlives the document
    // A bit for each known name whose members are kept; bit kMost stands for all other names.
    std::uint64_t kept = ~std::uint64_t{0};
    // From this known name on, members are kept whole, with all that is in them.
    std::uint32_t firstWhole = kNone;

    // The place of a name among those that are known; kNone for another one.
    [[nodiscard]] std::uint32_t indexOf(std::string_view name) const;
    // Whether members are kept whose name stands at that place, or kNone.
    [[nodiscard]] bool keep(std::uint32_t index) const {
        return (kept >> (index < kMost ? index : kMost) & 1U) != 0;
    }
};

enum class Kind : std::uint8_t { null, falseValue, trueValue, number, string, array, object };

// A handle to one value, or to nothing: a member that does not exist is "absent". An absent value
// is of no kind and has no children. Functions that REQUIRE more may not be called on it.
class Value {
  public:
    Value() = default;

    [[nodiscard]] bool exists() const { return node_ != nullptr; }
    [[nodiscard]] bool is(Kind kind) const;
    // REQUIRES: exists().
    [[nodiscard]] Kind kind() const;
    [[nodiscard]] bool isArrayOfObjects() const;

    // The value's text where it is a string: valid UTF-8, escapes resolved, U+0000 possible.
    [[nodiscard]] std::optional<std::string_view> string() const;
    // The value where it is a number, rounded to the nearest double; beyond the largest double
    // it is infinite.
    [[nodiscard]] std::optional<double> number() const;
    [[nodiscard]] std::optional<bool> boolean() const;
    // The text of a number as it was written. REQUIRES: is(Kind::number).
    [[nodiscard]] std::string_view numberText() const;

    // The member of that name; absent where there is none or this is no object. Where a name
    // occurs more than once the last one wins. REQUIRES: members of that name are not
    // dropped from the document.
    [[nodiscard]] Value member(std::string_view name) const;
    // The elements of an array or the members of an object, in the order of the text; none for
    // anything else. Members with the same name all appear.
    [[nodiscard]] Children children() const;
    // The name of a member; empty for what is no member. REQUIRES: exists().
    [[nodiscard]] std::string_view name() const;
    // The place of the member's name among the names that the document was parsed with;
    // Names::kNone for another name and for what is no member. REQUIRES: exists().
    [[nodiscard]] std::uint32_t nameIndex() const;

    // Whether the string was written with escapes. REQUIRES: is(Kind::string).
    [[nodiscard]] bool wasEscaped() const;
    // Whether the member's name was written with escapes. REQUIRES: exists().
    [[nodiscard]] bool nameWasEscaped() const;

    // Whether both are the same place of the same document.
    [[nodiscard]] bool isSame(Value other) const { return node_ == other.node_; }
    // Whether this element stands before the other one in the array that holds both.
    [[nodiscard]] bool precedes(Value other) const { return node_ < other.node_; }

  private:
    friend class Children;
    friend class Document;
    Value(const Node* node, const Storage* storage) : node_(node), storage_(storage) {}

    [[nodiscard]] std::string_view text() const;
    static double numberOf(std::string_view text);

    const Node* node_ = nullptr;
    const Storage* storage_ = nullptr;
};

// A range over the children of one value.
class Children {
  public:
    class Iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Value;
        using difference_type = std::ptrdiff_t;
        using pointer = const Value*;
        using reference = Value;

        Value operator*() const { return {node_, storage_}; }
        Iterator& operator++();
        Iterator operator++(int);
        bool operator==(const Iterator& other) const { return node_ == other.node_; }

      private:
        friend class Children;
        Iterator(const Node* node, const Storage* storage) : node_(node), storage_(storage) {}

        const Node* node_;
        const Storage* storage_;
    };

    Children() = default;

    [[nodiscard]] Iterator begin() const { return {first_, storage_}; }
    [[nodiscard]] Iterator end() const;
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    // REQUIRES: index < size().
    [[nodiscard]] Value operator[](std::size_t index) const;
    // The names that the document was parsed with. REQUIRES: !empty().
    [[nodiscard]] const Names& names() const;

  private:
    friend class Value;
    Children(const Node* first, std::size_t count, const Storage* storage)
        : first_(first), count_(count), storage_(storage) {}

    const Node* first_ = nullptr;
    std::size_t count_ = 0;
    const Storage* storage_ = nullptr;
};

// A parsed text. Movable, not copyable; an empty Document has an absent root.
class Document {
  public:
    Document();
    explicit Document(std::unique_ptr<Storage> storage);
    Document(Document&&) noexcept;
    Document& operator=(Document&&) noexcept;
    ~Document();

    // The top-level array or object; absent in an empty Document.
    [[nodiscard]] Value root() const;

  private:
    std::unique_ptr<Storage> storage_;
};

// Parses a JSON text (RFC 8259) whose top level is an array or an object. Nothing comes back for
// anything else, nor where the source cannot be read. It refuses other text around the value,
// invalid UTF-8, a byte-order mark and a lone surrogate. It also refuses nesting beyond kMaxDepth
// and more than 4 GiB of names. The time is linear in the size, and no input drives a recursion.
// Throws std::bad_alloc. A longer text than kMaxSize is refused; for a Source, REQUIRES:
// source.size <= kMaxSize.
[[nodiscard]] std::optional<Document> parse(const Source& source, const Names& names = {});
[[nodiscard]] std::optional<Document> parse(std::string_view text, const Names& names = {});

// Where the text stops being JSON: the offset of its first byte that parse() refuses, whatever
// follows; the text's size where it ends too early. Of a wrong word and of bytes that are not UTF-8
// it is the beginning. Nothing where parse() accepts the text. Otherwise like parse().
[[nodiscard]] std::optional<std::size_t> whereInvalid(std::string_view text);
[[nodiscard]] std::optional<std::size_t> whereInvalid(const Source& source, const Names& names);

}  // namespace tovra::json

#include "json/node.h"  // what is short enough to be inline
