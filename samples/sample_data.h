// A data file as a person could have it after some years: accounts in several currencies, everyday
// expenses, salaries, transfers and splits, budgets and goals, and members that only the finance
// application knows. Its dates end today, and the current month is well filled.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tovra::support {

// How the file is laid out, and in which order its transactions stand.
enum class SampleLayout {
    sorted,  // the members of every object by name; most transactions in the order of their dates
    application,  // the members as by inHashOrder(); dates of ten years, in no order
};

struct SampleOptions {
    std::size_t transactions = 1000;
    std::size_t accounts = 8;
    std::size_t budgets = 12;
    std::chrono::sys_days today;
    std::uint64_t seed = 1;
    SampleLayout layout = SampleLayout::sorted;
};

// The day that the local clock shows now.
[[nodiscard]] std::chrono::sys_days today();

// The bytes of the file, about 460 for each transaction: JSON, indented. Equal options give equal
// bytes.
[[nodiscard]] std::string sampleData(const SampleOptions& options);

}  // namespace tovra::support
