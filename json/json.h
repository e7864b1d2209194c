// JSON values: parsed strictly, kept exactly, read without copying.
//
// A Document owns a compact tree and, in one place, the bytes of its strings, numbers and names. A
// Value is a light handle (two pointers) to one node of that tree; it stays usable for as long as
// its Document lives, also after the Document has been moved. Strings are views into the document's
// bytes, and numbers keep the very text in which they were written.
//
// A Document never changes after it was parsed, so any number of threads may read it at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "json/memory.h"

namespace tovra::json {

class Document;

// The deepest nesting of arrays and objects that is accepted; what is deeper is no JSON to us.
inline constexpr std::size_t kMaxDepth = 512;

// The longest text in bytes; its positions and lengths fit into 31 bits.
inline constexpr std::size_t kMaxSize = (std::size_t{1} << 31) - 4096;

// A text that is to be parsed, given piece by piece.
struct Source {
    std::size_t size;  // how much it gives at most, in bytes; at most kMaxSize
    // Copies the next bytes, at most `room`, and tells how many: 0 behind the last one or where the
    // text ends early, negative where it cannot be read.
    std::function<std::ptrdiff_t(char* into, std::size_t room)> read;
};

enum class Kind : std::uint8_t { null, falseValue, trueValue, number, string, array, object };

// One value of the tree, 12 bytes. The children of an array or object stand side by side, in the
// order of the text.
struct Node {
    std::uint32_t start;  // string, number: offset of its bytes; array, object: first child's index
    std::uint32_t extent;  // string, number: length in bytes; array, object: number of children
    // From the lowest: three bits of kind, a flag (string: may need escapes when it is written;
    // array: holds objects only), the offset of the member's name, a multiple of 16.
    std::uint32_t bits;

    static constexpr std::uint32_t kFlag = 1U << 3;
    static constexpr std::uint32_t kNameStep = 16;

    [[nodiscard]] Kind kind() const { return static_cast<Kind>(bits & 7U); }
    [[nodiscard]] bool flag() const { return (bits & kFlag) != 0; }
    [[nodiscard]] std::uint32_t name() const { return bits & ~(kNameStep - 1); }
};
static_assert(sizeof(Node) == 12);

// What stands before the bytes of a member's name: its length in bytes and, in the lowest bit,
// whether it may need escapes when it is written. Members mostly share their names; at offset 0
// stands the empty name of everything that is no member.
using NameHead = std::uint32_t;

// Where the offsets and indices of a document's nodes point to.
struct Storage {
    Block<char> bytes;
    Block<Node> nodes;
};

class Children;

// A handle to one value, or to nothing ("absent": a member that does not exist). Every question
// may be asked of an absent value; it is of no kind and has no children.
class Value {
  public:
    Value() = default;
    Value(const Node& node, const Storage& storage) : node_(&node), storage_(&storage) {}

    [[nodiscard]] bool exists() const { return node_ != nullptr; }
    [[nodiscard]] bool is(Kind kind) const { return exists() && node_->kind() == kind; }
    [[nodiscard]] bool isArrayOfObjects() const { return is(Kind::array) && node_->flag(); }

    // The value's text where it is a string: valid UTF-8, escapes resolved, U+0000 possible.
    [[nodiscard]] std::optional<std::string_view> string() const {
        if (!is(Kind::string)) return std::nullopt;
        return std::string_view(storage_->bytes.get() + node_->start, node_->extent);
    }
    // The value where it is a number, rounded to the nearest double; beyond the largest double
    // it is infinite.
    [[nodiscard]] std::optional<double> number() const;
    [[nodiscard]] std::optional<bool> boolean() const;
    // The text of a number as it was written. REQUIRES: is(Kind::number).
    [[nodiscard]] std::string_view numberText() const {
        return {storage_->bytes.get() + node_->start, node_->extent};
    }

    // The member of that name; absent where there is none or this is no object. Where a name
    // occurs more than once the last one wins.
    [[nodiscard]] Value member(std::string_view name) const;
    // The elements of an array or the members of an object, in the order of the text; none for
    // anything else. Members with the same name all appear.
    [[nodiscard]] Children children() const;
    // The name of this member. REQUIRES: the value was reached as a member of an object.
    [[nodiscard]] std::string_view name() const {
        const char* head = storage_->bytes.get() + node_->name();
        return {head + sizeof(NameHead), nameHead() >> 1};
    }
    [[nodiscard]] bool nameEscaped() const { return (nameHead() & 1U) != 0; }

    [[nodiscard]] const Node* node() const { return node_; }

  private:
    [[nodiscard]] NameHead nameHead() const {
        NameHead head = 0;
        std::memcpy(&head, storage_->bytes.get() + node_->name(), sizeof head);
        return head;
    }

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

        Iterator(const Node* node, const Storage* storage) : node_(node), storage_(storage) {}
        Value operator*() const { return {*node_, *storage_}; }
        Iterator& operator++() {
            ++node_;
            return *this;
        }
        Iterator operator++(int) { return {node_++, storage_}; }
        bool operator==(const Iterator& other) const { return node_ == other.node_; }

      private:
        const Node* node_;
        const Storage* storage_;
    };

    Children() = default;
    Children(const Node* first, std::size_t count, const Storage* storage)
        : first_(first), count_(count), storage_(storage) {}

    [[nodiscard]] Iterator begin() const { return {first_, storage_}; }
    [[nodiscard]] Iterator end() const { return {first_ + count_, storage_}; }
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    // REQUIRES: index < size().
    [[nodiscard]] Value operator[](std::size_t index) const { return {first_[index], *storage_}; }

  private:
    const Node* first_ = nullptr;
    std::size_t count_ = 0;
    const Storage* storage_ = nullptr;
};

// A parsed text. Movable, not copyable; an empty Document has an absent root.
class Document {
  public:
    Document() = default;
    explicit Document(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}

    // The top-level array or object; absent in an empty Document.
    [[nodiscard]] Value root() const;

  private:
    std::unique_ptr<Storage> storage_;
};

// Parses a JSON text (RFC 8259) whose top level is an array or an object. Nothing comes back for
// anything else, nor where the source cannot be read: other text around it, invalid UTF-8, a byte
// order mark, a lone surrogate, nesting beyond kMaxDepth, more than kMaxSize bytes or more than
// 4 GiB of names. The time is linear in the size and no input drives a recursion.
[[nodiscard]] std::optional<Document> parse(const Source& source);
[[nodiscard]] std::optional<Document> parse(std::string_view text);

}  // namespace tovra::json
