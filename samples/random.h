// Random choices that come out the same on every system for the same seed.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace tovra::support {

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    // A number from 0 to limit - 1. The distributions of the standard library would differ from
    // one system to the next. REQUIRES: limit > 0.
    std::size_t below(std::size_t limit) {
        assert(limit > 0);
        return engine_() % limit;
    }
    std::size_t between(std::size_t lowest, std::size_t highest) {
        return lowest + below(highest - lowest + 1);
    }
    bool chance(std::size_t percent) { return below(100) < percent; }

    template <typename Element>
    const Element& oneOf(std::span<const Element> elements) {
        return elements[below(elements.size())];
    }

    // In the upper-case form 8-4-4-4-12.
    std::string uuid() {
        static constexpr std::string_view kDigits = "0123456789ABCDEF";
        std::string text = "00000000-0000-4000-8000-000000000000";
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (i % 16 == 0) bits = engine_();
            if (text[i] == '0') text[i] = kDigits[bits & 15U];
            bits >>= 4;
        }
        return text;
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace tovra::support
