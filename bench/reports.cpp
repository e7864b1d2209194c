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

void printReport(const std::string& what, std::size_t transactions, const Comparison& compared) {
    const std::string name = what + ", " + grouped(transactions);
    if (transactions > kSmall) {
        printRow(name, compared.ratio, "x floor", atMost(2.0), timeText(compared));
        return;
    }
    const double allowed = kCallAllowance / compared.second;
    printRow(name, compared.ratio - allowed, "x floor + 50 us", atMost(3.0), timeText(compared));
}

}  // namespace

void compareReports(const Workplace& workplace) {
    for (const std::size_t transactions :
         {kSmall, 10'000UL, 15'000UL, 25'000UL, 100'000UL, 200'000UL}) {
        const auto file = workplace.dataFile({transactions});
        Session session(workplace, file);
        Floor floor(file);
        for (const Call& report : kReports) {
            const Comparison compared =
                compare([&] { session.call(report.tool, report.arguments); },
                        [&] { floor.readAndParse(); });
            printReport(report.name, transactions, compared);
        }
    }
}

void compareRecordings(const Workplace& workplace) {
    constexpr Rounds kRounds{Seconds(3), 7, 100};
    struct Row {
        std::size_t transactions;
        std::optional<Aim> aim;
    };
    for (const Row& row : {Row{kSmall, {}}, Row{10'000, atMost(2.5)}, Row{100'000, atMost(2.0)}}) {
        const auto file = workplace.copyOfDataFile({row.transactions}, "recordings.json");
        Session session(workplace, file);
        Floor floor(workplace.copyOfDataFile({row.transactions}, "floor.json"));
        for (const Call& recording : kRecordings) {
            const Comparison compared =
                compare([&] { session.call(recording.tool, recording.arguments); },
                        [&] { floor.readAndReplace(); }, kRounds);
            printRow(recording.name + (", " + grouped(row.transactions)), compared.ratio, "x floor",
                     row.aim, timeText(compared));
        }
    }
}

}  // namespace tovra::bench
