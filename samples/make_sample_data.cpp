// make_sample_data [--transactions N] [--accounts N] [--budgets N] [--seed N] [--today yyyy-mm-dd]
//                  [--layout sorted|application]
//
// Writes a sample data file to the standard output.
#include <charconv>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "samples/sample_data.h"
#include "store/dates.h"

namespace {

using tovra::support::SampleLayout;
using tovra::support::SampleOptions;

template <typename Number>
bool read(std::string_view text, Number& number) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

std::optional<std::chrono::sys_days> readDay(const std::string& text) {
    const auto midnight = tovra::isoFormatter.parse(text + "T00:00:00Z");
    if (!midnight) return std::nullopt;
    const std::chrono::seconds seconds(static_cast<std::int64_t>(*midnight));
    return std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(seconds));
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
    const auto day = readDay(std::string(value));
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
