#include <optional>
#include <string>

#include "bench/calls.h"
#include "bench/floor.h"
#include "bench/parts.h"
#include "bench/table.h"

namespace tovra::bench {
namespace {

constexpr std::size_t kSmall = 1'000;
// What a call may cost on a small file besides its share of the floor: the way to the server and
// back again.
constexpr Seconds kCallAllowance{50e-6};

void printReport(const std::string& what, std::size_t transactions, const std::string& suffix,
                 const Comparison& compared) {
    const std::string name = what + ", " + grouped(transactions) + suffix;
    if (transactions > kSmall) {
        printRow(name, compared.ratio, "x floor", atMost(1.5), timeText(compared));
        return;
    }
    const double allowed = kCallAllowance / compared.second;
    printRow(name, compared.ratio - allowed, "x floor + 50 us", atMost(2.0), timeText(compared));
}

}  // namespace

void compareReports(const Workplace& workplace) {
    for (const auto& [layout, suffix] : kLayouts) {
        for (const std::size_t transactions :
             {kSmall, 10'000UL, 15'000UL, 25'000UL, 100'000UL, 200'000UL}) {
            const auto file = workplace.dataFile({transactions, 50, 50, layout});
            Session session(workplace, file);
            Floor floor(file);
            for (const Call& report : kReports) {
                const Comparison compared =
                    compare([&] { session.call(report.tool, report.arguments); },
                            [&] { floor.readAndParse(); });
                printReport(report.name, transactions, suffix, compared);
            }
        }
    }
}

void compareRecordings(const Workplace& workplace) {
    constexpr Rounds kRounds{Seconds(3), 7, 100};
    for (const auto& [layout, suffix] : kLayouts) {
        for (const std::size_t transactions : {kSmall, 10'000UL, 100'000UL}) {
            const auto aim = transactions > kSmall ? std::optional(atMost(1.7)) : std::nullopt;
            const Size size{transactions, 50, 50, layout};
            const auto original = workplace.dataFile(size);
            const auto file = workplace.copyOfDataFile(size, "recordings.json");
            Session session(workplace, file);
            Floor floor(workplace.copyOfDataFile(size, "floor.json"));
            // Every recording finds the original, as the layout of a recorded file is our own.
            const auto restore = [&] {
                std::filesystem::remove(file);
                std::filesystem::create_hard_link(original, file);
            };
            for (const Call& recording : kRecordings) {
                const Comparison compared =
                    compare([&] { session.call(recording.tool, recording.arguments); },
                            [&] { floor.readAndReplace(); }, kRounds, restore);
                printRow(recording.name + (", " + grouped(transactions)) + suffix, compared.ratio,
                         "x floor", aim, timeText(compared));
            }
        }
    }
}

}  // namespace tovra::bench
