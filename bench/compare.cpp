// compare FOLDER SERVER PORTABLE_SERVER CONSTANT_SERVER [PART...]
//
// Prints the table of what the server costs beside the least that its work can cost. FOLDER holds
// the data files, and is empty at first.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <string_view>
#include <vector>

#include "bench/parts.h"
#include "bench/table.h"

namespace {

using tovra::bench::Workplace;

constexpr unsigned kSecondsForAll = 1200;

struct Part {
    std::string_view name;
    void (*run)(const Workplace&);
};

constexpr std::array kParts = {
    Part{"start", tovra::bench::compareStart},          Part{"memory", tovra::bench::measureMemory},
    Part{"reports", tovra::bench::compareReports},      Part{"scaling", tovra::bench::compareSizes},
    Part{"recording", tovra::bench::compareRecordings}, Part{"http", tovra::bench::compareHttp},
};

int usage() {
    std::cerr << "use: compare FOLDER SERVER PORTABLE_SERVER CONSTANT_SERVER [PART...], where a "
                 "part is one of";
    for (const Part& part : kParts) std::cerr << ' ' << part.name;
    std::cerr << '\n';
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv, argv + argc);
    if (arguments.size() < 5) return usage();
    const std::vector<std::string_view> wanted(arguments.begin() + 5, arguments.end());
    for (const std::string_view name : wanted) {
        const auto isNamed = [&](const Part& part) { return part.name == name; };
        if (std::none_of(kParts.begin(), kParts.end(), isNamed)) return usage();
    }

    ::signal(SIGPIPE, SIG_IGN);
    ::alarm(kSecondsForAll);  // whatever hangs, this ends
    try {
        const Workplace workplace({argv[2], argv[3], argv[4]}, argv[1]);
        tovra::bench::printHeading();
        for (const Part& part : kParts) {
            const bool isWanted =
                std::find(wanted.begin(), wanted.end(), part.name) != wanted.end();
            if (wanted.empty() || isWanted) part.run(workplace);
        }
    } catch (const std::exception& error) {
        std::cerr << "compare: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
