// tovra-mcp-check [--json] [FILE] | --sample
#include <unistd.h>

#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/check.h"
#include "check/layout.h"
#include "platform/environment.h"
#include "samples/sample_data.h"

namespace {

constexpr std::string_view kUse =
    "use: tovra-mcp-check [--json] [FILE]\n"
    "     tovra-mcp-check --sample >NEW-FILE\n"
    "\n"
    "Says which data file tovra-mcp uses and why, what it sees in it, and what keeps reports from\n"
    "being right. With FILE, as if TOVRA_DATA_FILE were FILE. Never writes.\n"
    "With --sample prints a data file of made-up records that end today, for a first try.\n"
    "Exit status: 0 all is well, 1 the server cannot work on the file, 2 it can, with warnings.\n";

int useWrongly() {
    std::cerr << kUse;
    return 1;
}

}  // namespace

int main(int argc, char** argv) try {
    bool wantsJson = false;
    std::optional<std::string> file;
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    for (const std::string_view argument : arguments) {
        if (argument == "--help") {
            std::cout << kUse;
            return 0;
        }
        if (argument == "--sample") {
            std::cout << tovra::support::sampleData({.today = tovra::support::today()}) << std::flush;
            return std::cout ? 0 : 1;
        }
        if (argument == "--json") {
            wantsJson = true;
        } else if (argument.empty() || argument.starts_with('-') || file) {
            return useWrongly();
        } else {
            file = argument;
        }
    }
    const tovra::check::Check found = tovra::check::check(file, tovra::currentInstant());
    const bool inColour =
        ::isatty(STDOUT_FILENO) == 1 && !tovra::environmentVariable("NO_COLOR").has_value();
    std::cout << (wantsJson ? asJson(found) : asText(found, inColour));
    return found.exitStatus();
} catch (const std::bad_alloc&) {
    std::cerr << "tovra-mcp-check: There is not enough memory for the file.\n";
    return 1;
}
