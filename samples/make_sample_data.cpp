// make_sample_data [--transactions N] [--accounts N] [--budgets N] [--seed N] [--today yyyy-mm-dd]
//                  [--layout sorted|application]
//
// Writes a sample data file to the standard output.
#include <charconv>
#include <chrono>
#include <iostream>
#include <optional>
#include <span>
#include <string_view>

#include "samples/sample_data.h"

namespace {

using tovra::support::SampleLayout;
using tovra::support::SampleOptions;

template <typename Number>
bool read(std::string_view text, Number& number) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

std::optional<std::chrono::sys_days> readDay(std::string_view text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    if (text.size() != 10 || !read(text.substr(0, 4), year) || !read(text.substr(5, 2), month) ||
        !read(text.substr(8, 2), day)) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{month},
                                           std::chrono::day{day}};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days{date};
}

bool readOption(std::string_view name, std::string_view value, SampleOptions& options) {
    if (name == "--transactions") return read(value, options.transactions);
    if (name == "--accounts") return read(value, options.accounts);
    if (name == "--budgets") return read(value, options.budgets);
    if (name == "--seed") return read(value, options.seed);
    if (name == "--layout") {
        if (value == "application") options.layout = SampleLayout::application;
        return value == "application" || value == "sorted";
    }
    if (name != "--today") return false;
    const auto day = readDay(value);
    if (day) options.today = *day;
    return day.has_value();
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    SampleOptions options;
    options.today = tovra::support::today();
    for (std::size_t i = 1; i < arguments.size(); i += 2) {
        if (i + 1 == arguments.size() || !readOption(arguments[i], arguments[i + 1], options)) {
            std::cerr << "make_sample_data: cannot use " << arguments[i] << '\n';
            return 2;
        }
    }
    std::cout << tovra::support::sampleData(options) << '\n' << std::flush;
    return std::cout ? 0 : 1;
}
