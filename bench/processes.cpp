#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "bench/calls.h"
#include "bench/parts.h"
#include "bench/table.h"

namespace tovra::bench {
namespace {

constexpr double kMegabyte = 1024.0 * 1024.0;
constexpr double kPeakAllowance = 8 * kMegabyte;

std::string megabytes(double bytes) { return decimals(bytes / kMegabyte) + " MB"; }

void printPeak(const std::string& what, double peak, double fileSize, Aim aim) {
    printRow(what, (peak - kPeakAllowance) / fileSize, "x file + 8 MB", aim,
             megabytes(peak) + " / " + megabytes(fileSize));
}

void printKept(const std::string& what, double kept) {
    printRow(what, kept / kMegabyte, "MB", atMost(12), {});
}

void measureMemoryOf(const Workplace& workplace, std::size_t transactions,
                     const NamedLayout& layout) {
    const std::string size = ", " + grouped(transactions) + layout.suffix;
    const auto file =
        workplace.copyOfDataFile({transactions, 50, 50, layout.layout}, "memory.json");
    const auto fileSize = static_cast<double>(std::filesystem::file_size(file));

    double peak = 0;
    double kept = 0;
    for (const Call& report : kReports) {
        Session session(workplace, file);
        session.call(report.tool, report.arguments);
        peak = std::max(peak, session.peakBytes());
        kept = std::max(kept, session.residentBytes());
    }
    printPeak("peak of a report" + size, peak, fileSize, atMost(0.6));
    printKept("kept after a report" + size, kept);

    Session session(workplace, file);
    for (const Call& recording : kRecordings) session.call(recording.tool, recording.arguments);
    printPeak("peak of a recording" + size, session.peakBytes(), fileSize, atMost(1.8));
    printKept("kept after a recording" + size, session.residentBytes());
}

void compareStartOf(const Workplace& workplace, const char* what, const std::string& program,
                    double aim) {
    const std::string file = "TOVRA_DATA_FILE=" + workplace.dataFile({1'000}).string();
    // Both to the end of the process.
    std::vector<Seconds> starts;
    std::vector<Seconds> trues;
    for (int i = 0; i < 300; ++i) {
        starts.push_back(timed([&] {
            support::ChildProcess server({program}, {file});
            if (!server.send(kInitialize) || !server.receive()) {
                throw std::runtime_error("the server does not start");
            }
            server.finish();
        }));
        trues.push_back(timed([] { support::ChildProcess({"/bin/true"}, {}).finish(); }));
    }
    const Comparison compared = compareTimes(starts, trues);
    printRow(what, compared.ratio, "x /bin/true", atMost(aim), timeText(compared));
}

}  // namespace

void measureMemory(const Workplace& workplace) {
    if (!std::filesystem::exists("/proc/self/status")) {
        return printNote("memory", "this system does not tell it in /proc");
    }
    const Session session(workplace, workplace.dataFile({1'000}));
    printRow("memory at rest", session.residentBytes() / kMegabyte, "MB", atMost(6), {});
    for (const NamedLayout& layout : kLayouts) {
        measureMemoryOf(workplace, 10'000, layout);
        measureMemoryOf(workplace, 100'000, layout);
    }
}

void compareStart(const Workplace& workplace) {
    compareStartOf(workplace, "start, an answer, end", workplace.server(), 3.0);
    if (workplace.portableServer().empty()) return printNote("the portable file", "there is none");
    compareStartOf(workplace, "the same, portable file", workplace.portableServer(), 1.25);
}

void compareSizes(const Workplace& workplace) {
    struct Row {
        const char* what;
        Size larger;
        double aim;
    };
    const Size base{100'000};
    const auto compareWith = [&](const Row& row) {
        Session larger(workplace, workplace.dataFile(row.larger));
        Session smaller(workplace, workplace.dataFile(base));
        for (const Call& report : kReports) {
            const Comparison compared =
                compare([&] { larger.call(report.tool, report.arguments); },
                        [&] { smaller.call(report.tool, report.arguments); });
            printRow(report.name + std::string(", ") + row.what, compared.ratio, "x",
                     atMost(row.aim), timeText(compared));
        }
    };
    compareWith({"2 x transactions", {200'000}, 2.1});
    compareWith({"8 x accounts", {100'000, 400, 50}, 1.1});
    compareWith({"8 x budgets", {100'000, 50, 400}, 1.1});
}

}  // namespace tovra::bench
