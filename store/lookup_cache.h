// A small cache of lookups by text: account identifiers and categories come again and again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tovra {

// Remembers what was found for the latest texts. Keeps views of them. Not for several threads.
template <typename Found>
class LookupCache {
  public:
    // What `lookUp` finds for the text. It has to be the same each time.
    template <typename LookUp>
    const Found& find(std::string_view text, const LookUp& lookUp) {
        Entry& entry = entries_[placeOf(text)];
        if (entry.text.data() == nullptr || entry.text != text) entry = {text, lookUp(text)};
        return entry.found;
    }

  private:
    static constexpr int kLogPlaces = 7;

    struct Entry {
        std::string_view text;  // without bytes where nothing was looked up
        Found found;
    };

    // The length and four bytes tell most texts apart.
    static std::size_t placeOf(std::string_view text) {
        if (text.empty()) return 0;
        auto hash = static_cast<std::uint32_t>(text.size());
        for (std::size_t part = 0; part <= 3; ++part) {
            const char c = text[(text.size() - 1) * part / 3];
            hash = (hash + static_cast<unsigned char>(c)) * 0x9E3779B9U;
        }
        return hash >> (32 - kLogPlaces);
    }

    std::array<Entry, std::size_t{1} << kLogPlaces> entries_;
};

}  // namespace tovra
