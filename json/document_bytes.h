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
#include <memory>
#include <string_view>
#include <utility>

#include "json/growable_array.h"
#include "json/node.h"

namespace tovra::json {

// A text is told by its offset. Names are interned: a name that comes again is mostly kept once.
// Not for several threads.
class TextStore {
  public:
    // Takes the memory of the array, and nothing that is in it.
    TextStore(GrowableArray<char> memory, std::size_t room, const Names& names)
        : bytes_(std::move(memory)), names_(names) {
        bytes_.shrink(0);
        bytes_.reserve(room);
        assert(names.known.size() <= Names::kMost && names.indexOf({}) == Names::kNone);
        addName({}, false);
        interned_[0].matchNothing();
    }

    // Makes room for strings and numbers of so many bytes together. Names make room themselves.
    void reserve(std::size_t size) {
        reserved_ = size + kTextPadding;
        bytes_.reserve(reserved_);
    }

    // REQUIRES: all texts since the last reserve() are together no longer than it said, and
    // kTextPadding bytes may be read from the beginning of this one.
    std::uint32_t put(std::string_view text) {
        assert(text.size() + kTextPadding <= bytes_.room());
        const std::size_t offset = bytes_.size();
        copyText(bytes_.end(), text);
        bytes_.extend(text.size());
        return static_cast<std::uint32_t>(offset);
    }

    // Stands for the offset of a name whose members are dropped.
    static constexpr std::uint32_t kDropped = std::numeric_limits<std::uint32_t>::max();

    // Objects of one kind mostly have the same names in the same order. So this compares the text
    // behind an opening quote with the name that followed the latest one last time, and with the
    // quote that closes it. True where they are the same; the name is then latestName().
    bool goToExpectedName(const char* text) {
        std::uint64_t difference = 0;
        for (std::size_t i = 0; i < expected_->mask.size(); ++i) {
            std::uint64_t word = 0;
            std::memcpy(&word, text + i * sizeof word, sizeof word);
            difference |= (word & expected_->mask[i]) ^ expected_->quoted[i];
        }
        if (difference != 0) return false;
        goTo(expected_);
        return true;
    }

    // The offset of the head of the name that was gone to last; kDropped where its members are
    // dropped, unless all are kept.
    [[nodiscard]] std::uint32_t latestName(bool allAreKept) const {
        return allAreKept ? latest_->begin : latest_->ifKept;
    }

    // The same for any name.
    [[gnu::noinline]] std::uint32_t intern(std::string_view name, bool escaped, bool allAreKept) {
        if (escaped) {
            const std::uint32_t begin = addName(name, true);
            return allAreKept ? begin : ifKept(begin);
        }
        const std::size_t slot = slotOf(name);
        Interned& interned = interned_[slot];
        if (!isUsed_[slot] || !isInterned(slot, name)) {
            isUsed_[slot] = true;
            interned = {};
            interned.begin = addName(name, false);
            interned.ifKept = ifKept(interned.begin);
            interned.size = static_cast<std::uint32_t>(name.size());
            interned.expect(name);
        }
        latest_->next = static_cast<std::uint32_t>(slot);
        goTo(&interned);
        return latestName(allAreKept);
    }

    // Whether the members of that name are kept whole.
    [[nodiscard]] bool isWhole(std::uint32_t name) const {
        const std::uint32_t index = indexOf(name);
        return index != Names::kNone && index >= names_.firstWhole;
    }

    // Gives the bytes away. REQUIRES: nothing is put any more.
    GrowableArray<char> release() { return std::move(bytes_); }

  private:
    [[nodiscard]] std::uint32_t indexOf(std::uint32_t name) const {
        NameHead head;
        std::memcpy(&head, bytes_.begin() + name, sizeof head);
        return head.index;
    }
    [[nodiscard]] std::uint32_t ifKept(std::uint32_t name) const {
        return names_.keep(indexOf(name)) ? name : kDropped;
    }

    std::uint32_t addName(std::string_view name, bool escaped) {
        const NameHead head{static_cast<std::uint32_t>(name.size()) << 1 | (escaped ? 1U : 0U),
                            names_.indexOf(name)};
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

    static constexpr std::size_t kSlots = 256;
    static constexpr int kProbes = 4;

    // A name that may come again.
    struct Interned {
        using Words = std::array<std::uint64_t, 3>;

        std::uint32_t begin;   // the offset of its head
        std::uint32_t ifKept;  // the same, or kDropped
        std::uint32_t size;
        std::uint32_t next;  // the slot of the name that followed last time
        Words quoted;        // the name and the quote behind it
        Words mask;          // ones for the bytes of `quoted` that count

        void matchNothing() { *this = {begin, ifKept, size, 0, {1}, {}}; }

        void expect(std::string_view text) {
            if (text.size() >= sizeof(Words)) return matchNothing();  // a long name is looked up
            auto* bytes = reinterpret_cast<char*>(quoted.data());
            std::copy(text.begin(), text.end(), bytes);
            bytes[text.size()] = '"';
            std::memset(mask.data(), -1, text.size() + 1);
        }
    };

    bool isInterned(std::size_t slot, std::string_view name) const {
        const Interned& known = interned_[slot];
        const char* bytes = bytes_.begin() + known.begin + sizeof(NameHead);
        return std::string_view(bytes, known.size) == name;
    }

    // The slot of the name, or else the one that it takes. Looks in a few slots only, so that no
    // text can make it slow.
    [[nodiscard]] std::size_t slotOf(std::string_view name) const {
        std::size_t slot = std::hash<std::string_view>()(name) % kSlots;
        for (int i = 1; i < kProbes && isUsed_[slot] && !isInterned(slot, name); ++i) {
            slot = (slot + 1) % kSlots;
        }
        return slot;
    }

    void goTo(Interned* name) {
        latest_ = name;
        expected_ = &interned_[name->next];
    }

    GrowableArray<char> bytes_;
    const Names names_;
    std::size_t reserved_ = kTextPadding;
    std::array<bool, kSlots> isUsed_{};
    std::unique_ptr<Interned[]> interned_ = std::make_unique_for_overwrite<Interned[]>(kSlots);
    Interned* latest_ = &interned_[0];
    Interned* expected_ = &interned_[0];  // interned_[latest_->next]
};

}  // namespace tovra::json
