// tovra-mcp-check: what the server sees, and what is wrong with it.
#include <array>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "check/examination.h"
#include "check/hosts.h"
#include "check/layout.h"
#include "platform/environment.h"
#include "platform/local_clock.h"
#include "platform/output.h"
#include "samples/sample_data.h"
#include "server/catalogue.h"
#include "server/stdio.h"

namespace {

using tovra::DataFileLocation;

constexpr int kStandardOutput = 1;
constexpr int kWrongUse = 64;  // as sysexits.h has it

constexpr std::string_view kUse =
    "use: tovra-mcp-check [--json] [FILE]\n"
    "     tovra-mcp-check --sample >NEW-FILE\n"
    "     tovra-mcp-check --hosts | --mcp | --version | --help\n"
    "\n"
    "Says which data file tovra-mcp uses and why, what it sees in it, and what keeps reports from\n"
    "being right. With FILE, as if TOVRA_DATA_FILE were FILE. Never writes.\n"
    "\n"
    "  --json         one JSON object, for programs\n"
    "  --hosts        looks at what the hosts on this machine are configured to start\n"
    "  --mcp          answers an assistant over standard input, with one tool, check_data_file\n"
    "  --sample       a data file of made-up records that end today, for a first try\n"
    "  --version      the version\n"
    "  -h, --help     this text\n"
    "\n"
    "Exit status: 0 all is well, 1 the server cannot work on the file, 2 it can, with warnings,\n"
    "64 wrong use.\n";

struct Arguments {
    std::string option;
    std::optional<std::string> file;
};

// Nothing comes back where they make no sense: at most one option, and a file only where the data
// file is looked at.
std::optional<Arguments> readArguments(int argc, char** argv) {
    Arguments read;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool isOption = argument.starts_with('-');
        if (argument.empty() || (isOption ? !read.option.empty() : read.file.has_value())) {
            return std::nullopt;
        }
        if (isOption) {
            read.option = argument;
        } else {
            read.file = argument;
        }
    }
    const bool isAboutFile = read.option.empty() || read.option == "--json";
    return isAboutFile || !read.file ? std::optional(read) : std::nullopt;
}

bool mayColour() {
    return tovra::isTerminal(kStandardOutput) &&
           !tovra::environmentVariable("NO_COLOR").has_value();
}

int examine(const std::optional<std::string>& file, bool asJson) {
    const DataFileLocation location =
        file ? DataFileLocation{*file, DataFileLocation::Source::named} : tovra::locateDataFile();
    const auto found = tovra::check::examine(location, tovra::currentInstant());
    std::cout << (asJson ? tovra::check::asJson(found) : tovra::check::asText(found, mayColour()));
    return tovra::check::exitStatus(found.findings);
}

// What the hosts start, then each data file that they lead to.
int examineHosts() {
    const bool inColour = mayColour();
    const auto entries = tovra::check::lookAtHosts();
    std::cout << asText(entries, inColour);
    tovra::check::Findings all;
    if (entries.empty()) all.warn("no-host", "");
    std::set<std::filesystem::path> seen;
    for (const auto& entry : entries) {
        all.found.insert(all.found.end(), entry.findings.begin(), entry.findings.end());
        if (!entry.dataFile || !seen.insert(entry.dataFile->path).second) continue;
        const auto file = tovra::check::examine(*entry.dataFile, tovra::currentInstant());
        std::cout << '\n' << asText(file, inColour);
        all.found.insert(all.found.end(), file.findings.begin(), file.findings.end());
    }
    return tovra::check::exitStatus(all.found);
}

// The tools of the check as a server, for an assistant that sees no data.
constexpr std::array<tovra::ToolDefinition, 1> kTools = {{
    {"check_data_file",
     "Says which data file Tovra's server reads, what it sees there, and what makes reports empty "
     "or wrong. For when a report shows zeros, or a figure looks wrong. Never writes.",
     R"json({"type":"object","properties":{},"additionalProperties":false})json",
     tovra::Access::reads,
     [](tovra::json::Value) {
         return tovra::check::asText(
             tovra::check::examine(tovra::locateDataFile(), tovra::currentInstant()), false);
     }},
}};

int run(const Arguments& arguments) {
    const std::string& option = arguments.option;
    if (option.empty() || option == "--json") return examine(arguments.file, !option.empty());
    if (option == "--hosts") return examineHosts();
    if (option == "--mcp") return tovra::runStdio(true, {"tovra-check", kTools});
    if (option == "--sample") {
        std::cout << tovra::support::sampleData({.today = tovra::support::today()}) << std::flush;
        return std::cout ? 0 : 1;
    }
    if (option == "--version") {
        std::cout << "tovra-mcp-check " TOVRA_VERSION "\n";
        return 0;
    }
    if (option == "--help" || option == "-h") {
        std::cout << kUse;
        return 0;
    }
    std::cerr << kUse;
    return kWrongUse;
}

}  // namespace

int main(int argc, char** argv) try {
    std::signal(SIGPIPE, SIG_IGN);
    tovra::readTimeZone();
    const auto arguments = readArguments(argc, argv);
    if (arguments) return run(*arguments);
    std::cerr << kUse;
    return kWrongUse;
} catch (const std::bad_alloc&) {
    std::cerr << "tovra-mcp-check: There is not enough memory for the file.\n";
    return 1;
}
