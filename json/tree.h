// How a document lies in memory. Reports ask some questions about it a million times, so the
// answers are inline. This belongs to json/json.h, and only json/ may use it directly.
#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "json/json.h"
#include "json/memory.h"

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

// What stands before the bytes of a member's name. The lowest bit says whether the name was written
// with escapes, the others are its length in bytes. At offset 0 stands the empty name, which is
// also the name of values that are no members.
using NameHead = std::uint32_t;
static_assert(kMaxSize <= std::numeric_limits<NameHead>::max() >> 1);

// Where the offsets and indices of a document's nodes point to.
struct Storage {
    Block<char> bytes;
    Block<Node> nodes;

    [[nodiscard]] const char* nameAt(const Node& node) const { return bytes.get() + node.name(); }
    [[nodiscard]] NameHead nameHead(const Node& node) const {
        NameHead head = 0;
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
    return {storage_->bytes.get() + node_->start, node_->extent};
}

inline std::optional<std::string_view> Value::string() const {
    if (!is(Kind::string)) return std::nullopt;
    return text();
}

inline std::string_view Value::numberText() const {
    assert(is(Kind::number));
    return text();
}

inline std::string_view Value::name() const {
    assert(exists());
    return {storage_->nameAt(*node_) + sizeof(NameHead), storage_->nameHead(*node_) >> 1};
}

inline bool Value::wasEscaped() const {
    assert(is(Kind::string));
    return node_->flag();
}

inline bool Value::nameWasEscaped() const {
    assert(exists());
    return (storage_->nameHead(*node_) & 1U) != 0;
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

}  // namespace tovra::json
