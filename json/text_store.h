// Gathers the bytes of a document's strings, numbers and names while it is parsed. Only for the
// parser in parse.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

#include "json/growable_array.h"
#include "json/tree.h"

namespace tovra::json {

// Returns the offset of each text. Names are interned: a name that comes again is mostly kept once.
// Not for several threads.
class TextStore {
    // Most texts are at most this long. They are copied as this many bytes, three registers of 16,
    // without a loop or a branch.
    static constexpr std::size_t kShort = 3 * 16;

  public:
    // So many bytes from the beginning of any text that is put may be read.
    static constexpr std::size_t kPadding = kShort;

    TextStore(std::size_t room, Reuse reuse) : bytes_(room, reuse) { addName({}, false); }

    // Makes room for strings and numbers of so many bytes together. Names make room themselves.
    void reserve(std::size_t size) {
        reserved_ = size + kPadding;
        bytes_.reserve(reserved_);
    }

    // REQUIRES: all texts since the last reserve() are together no longer than it said.
    std::uint32_t put(std::string_view text) {
        assert(text.size() + kPadding <= bytes_.room());
        const std::size_t offset = bytes_.size();
        std::memcpy(bytes_.end(), text.data(), kShort);
        if (text.size() > kShort) std::memcpy(bytes_.end(), text.data(), text.size());
        bytes_.extend(text.size());
        return static_cast<std::uint32_t>(offset);
    }

    // The offset of the name's head. Objects of one kind mostly have the same names in the same
    // order. So it first tries the name that followed the latest one last time.
    std::uint32_t intern(std::string_view name, bool escaped) {
        if (escaped) return addName(name, escaped);
        const std::uint32_t expected = interned_[latest_].next;
        if (!isInterned(expected, name)) return findName(name);
        latest_ = expected;
        return interned_[expected].offset;
    }

    // Gives the bytes away. REQUIRES: nothing is put any more.
    Block<char> release() { return bytes_.release(); }

  private:
    static constexpr std::size_t kSlots = 256;
    static constexpr int kProbes = 4;

    // A name that may come again. A free slot holds the empty name.
    struct Interned {
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
        std::uint32_t next = 0;  // the slot of the name that followed last time
    };

    bool isInterned(std::size_t slot, std::string_view name) const {
        const Interned& known = interned_[slot];
        if (known.size != name.size()) return false;
        const char* bytes = bytes_.begin() + known.offset + sizeof(NameHead);
        if (name.size() > 2 * sizeof(std::uint64_t)) {
            return std::memcmp(bytes, name.data(), name.size()) == 0;
        }
        if (name.size() >= sizeof(std::uint64_t)) return haveSameEnds<std::uint64_t>(bytes, name);
        if (name.size() >= sizeof(std::uint32_t)) return haveSameEnds<std::uint32_t>(bytes, name);
        return std::equal(name.begin(), name.end(), bytes);
    }

    // Whether the first word and the last word are the same. They may overlap.
    // REQUIRES: the name is at least one word long and at most two, so that no byte is left out.
    template <typename Word>
    static bool haveSameEnds(const char* bytes, std::string_view name) {
        assert(sizeof(Word) <= name.size() && name.size() <= 2 * sizeof(Word));
        const auto isSame = [&](std::size_t from) {
            return std::memcmp(bytes + from, name.data() + from, sizeof(Word)) == 0;
        };
        return isSame(0) && isSame(name.size() - sizeof(Word));
    }

    // Looks in a few slots only, so that no text can make it slow. A new name takes the last of
    // them.
    [[gnu::noinline]] std::uint32_t findName(std::string_view name) {
        std::size_t slot = std::hash<std::string_view>()(name) % kSlots;
        for (int i = 1; i < kProbes && interned_[slot].offset != 0 && !isInterned(slot, name);
             ++i) {
            slot = (slot + 1) % kSlots;
        }
        if (!isInterned(slot, name)) {
            interned_[slot] = {addName(name, false), static_cast<std::uint32_t>(name.size()), 0};
        }
        latest_ = interned_[latest_].next = static_cast<std::uint32_t>(slot);
        return interned_[slot].offset;
    }

    std::uint32_t addName(std::string_view name, bool escaped) {
        const NameHead head = static_cast<NameHead>(name.size()) << 1 | (escaped ? 1 : 0);
        constexpr std::size_t kStep = Node::kNameStep;
        const std::size_t gap = (kStep - bytes_.size() % kStep) % kStep;
        // A name takes no room from what reserve() has promised.
        bytes_.reserve(gap + sizeof head + name.size() + reserved_);
        bytes_.extend(gap);
        const std::size_t offset = bytes_.size();
        std::memcpy(bytes_.end(), &head, sizeof head);
        bytes_.extend(sizeof head);
        if (!name.empty()) put(name);
        return static_cast<std::uint32_t>(offset);
    }

    GrowableArray<char> bytes_;
    std::size_t reserved_ = kPadding;
    std::array<Interned, kSlots> interned_;
    std::uint32_t latest_ = 0;  // the slot of the latest name
};

}  // namespace tovra::json
