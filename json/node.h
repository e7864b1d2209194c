// How a document lies in memory. Reports ask some questions about it a million times, so the
// answers are inline. This belongs to json/json.h, and only json/ may use it directly.
#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "json/growable_array.h"
#include "json/json.h"

namespace tovra::json {

// One value of the tree, 12 bytes. The children of an array or object stand side by side, in the
// order of the text.
struct Node {
    std::uint32_t start;  // string, number: offset of its bytes; array, object: first child's index
    std::uint32_t extent;  // string, number: length in bytes; array, object: number of children
    // From the lowest bit: the kind, a flag, and the offset of the member's name, a multiple of
    // kNameStep. The flag of a string: it was written with escapes. Of an array: all elements are
    // objects.
    std::uint32_t bits;

    static constexpr std::uint32_t kKindBits = 3;
    static constexpr std::uint32_t kKindMask = (1U << kKindBits) - 1;
    static constexpr std::uint32_t kFlag = 1U << kKindBits;
    static constexpr std::uint32_t kNameStep = 2 * kFlag;

    [[nodiscard]] Kind kind() const { return static_cast<Kind>(bits & kKindMask); }
    [[nodiscard]] bool flag() const { return (bits & kFlag) != 0; }
    [[nodiscard]] std::uint32_t name() const { return bits & ~(kNameStep - 1); }
};
static_assert(sizeof(Node) == 12);
static_assert(static_cast<std::uint32_t>(Kind::object) <= Node::kKindMask);

// What stands before the bytes of a member's name. At offset 0 stands the name of values that are
// no members, which is empty.
struct NameHead {
    // The lowest bit says whether the name was written with escapes, the others are its length.
    std::uint32_t sizeAndFlag;
    std::uint32_t index;  // its place among the names that are known, or Names::kNone
};
static_assert(kMaxSize <= std::numeric_limits<std::uint32_t>::max() >> 1);

// So many bytes from the beginning of any text or name of a document may be read.
inline constexpr std::size_t kTextPadding = std::size_t{3} * 16;

// Copies a text, of which kTextPadding bytes may be read and written. Most are not longer, and are
// copied in three registers of 16, without a loop or a branch.
inline void copyText(char* into, std::string_view text) {
    std::memcpy(into, text.data(), kTextPadding);
    if (text.size() > kTextPadding) std::memcpy(into, text.data(), text.size());
}

// The memory of a document.
struct DocumentArrays {
    GrowableArray<char> bytes;
    GrowableArray<Node> nodes;
    GrowableArray<Node> waiting;  // used while it is parsed
};

// Where the offsets and indices of a document's nodes point to.
struct Storage {
    Storage(DocumentArrays memory, const Names& kept) : arrays(std::move(memory)), names(kept) {}
    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;
    ~Storage();

    DocumentArrays arrays;
    Names names;

    [[nodiscard]] const char* nameAt(const Node& node) const {
        return arrays.bytes.begin() + node.name();
    }
    [[nodiscard]] NameHead nameHead(const Node& node) const {
        NameHead head;
        std::memcpy(&head, nameAt(node), sizeof head);
        return head;
    }
};

inline bool Value::is(Kind kind) const { return exists() && node_->kind() == kind; }

inline Kind Value::kind() const {
    assert(exists());
    return node_->kind();
}

inline bool Value::isArrayOfObjects() const { return is(Kind::array) && node_->flag(); }

inline std::string_view Value::text() const {
    return {storage_->arrays.bytes.begin() + node_->start, node_->extent};
}

inline std::optional<std::string_view> Value::string() const {
    if (!is(Kind::string)) return std::nullopt;
    return text();
}

inline std::optional<double> Value::number() const {
    if (!is(Kind::number)) return std::nullopt;
    return numberOf(text());
}

inline std::optional<bool> Value::boolean() const {
    if (is(Kind::trueValue)) return true;
    if (is(Kind::falseValue)) return false;
    return std::nullopt;
}

inline std::string_view Value::numberText() const {
    assert(is(Kind::number));
    return text();
}

inline std::string_view Value::name() const {
    assert(exists());
    return {storage_->nameAt(*node_) + sizeof(NameHead),
            storage_->nameHead(*node_).sizeAndFlag >> 1};
}

inline std::uint32_t Value::nameIndex() const {
    assert(exists());
    return storage_->nameHead(*node_).index;
}

inline bool Value::wasEscaped() const {
    assert(is(Kind::string));
    return node_->flag();
}

inline bool Value::nameWasEscaped() const {
    assert(exists());
    return (storage_->nameHead(*node_).sizeAndFlag & 1U) != 0;
}

inline Children Value::children() const {
    if (!is(Kind::array) && !is(Kind::object)) return {};
    return {storage_->arrays.nodes.begin() + node_->start, node_->extent, storage_};
}

inline Children::Iterator& Children::Iterator::operator++() {
    ++node_;
    return *this;
}

inline Children::Iterator Children::Iterator::operator++(int) { return {node_++, storage_}; }

inline Children::Iterator Children::end() const { return {first_ + count_, storage_}; }

inline Value Children::operator[](std::size_t index) const {
    assert(index < count_);
    return {first_ + index, storage_};
}

inline const Names& Children::names() const {
    assert(!empty());
    return storage_->names;
}

}  // namespace tovra::json
