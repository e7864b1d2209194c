// The table of figures, printed row by row while they are measured.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "bench/measure.h"

namespace tovra::bench {

// What a figure should be.
struct Aim {
    enum class Kind { atMost, atLeast };
    Kind kind;
    double value;
};
[[nodiscard]] constexpr Aim atMost(double value) { return {Aim::Kind::atMost, value}; }
[[nodiscard]] constexpr Aim atLeast(double value) { return {Aim::Kind::atLeast, value}; }

void printHeading();
// `unit` stands behind the figure; `detail` says what the figure was made from. A figure that
// misses its aim is marked.
void printRow(const std::string& what, double figure, const std::string& unit,
              std::optional<Aim> aim, const std::string& detail);

// A row that is only there to stand beside the one before.
void printNote(const std::string& what, const std::string& detail);

// "12,000"
[[nodiscard]] std::string grouped(std::size_t number);
// Two decimals.
[[nodiscard]] std::string decimals(double value);
// "31.20 ms" or "88.10 us"
[[nodiscard]] std::string timeText(Seconds time);
// "31.20 ms / 21.90 ms"
[[nodiscard]] std::string timeText(const Comparison& compared);

}  // namespace tovra::bench
