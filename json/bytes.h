// Where a document's bytes and nodes are put while it is parsed. Only for the parser in
// json_parse.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "json/json.h"
#include "json/memory.h"

namespace tovra::json {

// An array that grows. What is never used of its room costs no memory, but for the rest of a page.
template <typename T>
class Growing {
  public:
    Growing(std::size_t room, Fate fate)
        : items_(makeBlock<T>(room, fate)), end_(items_.get()), limit_(end_ + room) {}

    Growing(const Growing&) = delete;
    Growing& operator=(const Growing&) = delete;
    ~Growing() {
        if (items_) noteUse();
    }

    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end_ - begin()); }
    [[nodiscard]] T* begin() const { return items_.get(); }
    [[nodiscard]] T* end() const { return end_; }

    // Makes room behind the end. Throws std::length_error where there would be more than positions
    // of 32 bits tell apart.
    void reserve(std::size_t count) {
        if (static_cast<std::size_t>(limit_ - end_) < count) grow(count);
    }
    // Takes what stands in the room behind the end.
    void extend(std::size_t count) { end_ += count; }
    void shrink(std::size_t size) {
        noteUse();
        end_ = begin() + size;
    }

    void push(const T& item) {
        if (end_ == limit_) grow(1);
        *end_++ = item;
    }
    void append(const T* items, std::size_t count) {
        reserve(count);
        end_ = std::copy_n(items, count, end_);
    }

    // REQUIRES: nothing is asked of it any more.
    Block<T> release() {
        noteUse();
        return std::move(items_);
    }

  private:
    void noteUse() { items_.get_deleter().use(size() * sizeof(T)); }

    [[gnu::noinline]] void grow(std::size_t count) {
        constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
        if (kMost - size() < count) throw std::length_error("too much for one document");
        const std::size_t room = std::min(2 * size() + count, kMost);
        Block<T> larger = makeBlock<T>(room, items_.get_deleter().fate);
        end_ = std::copy(begin(), end(), larger.get());
        items_.get_deleter().used = 0;  // outgrown once, it would be outgrown again: it is freed
        items_ = std::move(larger);
        limit_ = begin() + room;
    }

    Block<T> items_;
    T* end_;
    T* limit_;
};

// Gathers the bytes of strings, numbers and names and tells at which offset they are.
class Bytes {
  public:
    // So many bytes behind whatever is put may be read.
    static constexpr std::size_t kPadding = 64;

    Bytes(std::size_t room, Fate fate) : bytes_(room, fate) { addName({}, false); }

    // Makes room for what is put next, names apart.
    void expect(std::size_t size) {
        expected_ = size + kPadding;
        bytes_.reserve(expected_);
    }

    // REQUIRES: no more than was expected is put.
    std::uint32_t put(std::string_view text) {
        const std::size_t offset = bytes_.size();
        // Most texts are short: so many bytes that need neither a loop nor a branch.
        constexpr std::size_t kShort = 48;
        static_assert(kShort <= kPadding);
        std::memcpy(bytes_.end(), text.data(), kShort);
        if (text.size() > kShort) std::memcpy(bytes_.end(), text.data(), text.size());
        bytes_.extend(text.size());
        return static_cast<std::uint32_t>(offset);
    }

    // A name that came before mostly stands there only once. Objects of one kind mostly have the
    // same names in the same order, so it is expected to follow the one that it followed before.
    std::uint32_t putName(std::string_view name, bool escaped) {
        if (escaped) return addName(name, escaped);
        const std::uint32_t expected = known_[latest_].next;
        if (!isKnown(expected, name)) return findName(name);
        latest_ = expected;
        return known_[expected].offset;
    }

    Block<char> release() { return bytes_.release(); }

  private:
    static constexpr std::size_t kKnown = 256;
    static constexpr int kPlaces = 4;

    // A name that may come again; as long as there is none, the empty one.
    struct Known {
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        std::uint32_t next = 0;  // which one followed last time
    };

    bool isKnown(std::size_t slot, std::string_view name) const {
        const Known& known = known_[slot];
        if (known.size != name.size()) return false;
        const char* bytes = bytes_.begin() + known.offset + sizeof(NameHead);
        if (known.size > 16) return std::memcmp(bytes, name.data(), known.size) == 0;
        if (known.size >= 8) return haveSameEnds<std::uint64_t>(bytes, name);
        if (known.size >= 4) return haveSameEnds<std::uint32_t>(bytes, name);
        return std::equal(name.begin(), name.end(), bytes);
    }

    // Whether the first and the last bytes are the same, as many as a word has.
    template <typename Word>
    static bool haveSameEnds(const char* bytes, std::string_view name) {
        const auto isSame = [&](std::size_t from) {
            return std::memcmp(bytes + from, name.data() + from, sizeof(Word)) == 0;
        };
        return isSame(0) && isSame(name.size() - sizeof(Word));
    }

    // Looks in a few places, so that no text can make it slow; a new name takes the last of them.
    [[gnu::noinline]] std::uint32_t findName(std::string_view name) {
        std::size_t slot = std::hash<std::string_view>()(name) % kKnown;
        for (int i = 1; i < kPlaces && known_[slot].offset != 0 && !isKnown(slot, name); ++i) {
            slot = (slot + 1) % kKnown;
        }
        if (!isKnown(slot, name)) {
            known_[slot] = {addName(name, false), static_cast<std::uint32_t>(name.size()), 0};
        }
        latest_ = known_[latest_].next = static_cast<std::uint32_t>(slot);
        return known_[slot].offset;
    }

    std::uint32_t addName(std::string_view name, bool escaped) {
        const NameHead head = static_cast<NameHead>(name.size()) << 1 | (escaped ? 1 : 0);
        constexpr std::size_t kStep = Node::kNameStep;
        const std::size_t gap = (kStep - bytes_.size() % kStep) % kStep;
        bytes_.reserve(gap + sizeof head + name.size() + expected_);
        bytes_.extend(gap);
        const std::size_t offset = bytes_.size();
        std::memcpy(bytes_.end(), &head, sizeof head);
        bytes_.extend(sizeof head);
        if (!name.empty()) put(name);
        return static_cast<std::uint32_t>(offset);
    }

    Growing<char> bytes_;
    std::size_t expected_ = kPadding;
    std::array<Known, kKnown> known_;
    std::uint32_t latest_ = 0;
};

}  // namespace tovra::json
