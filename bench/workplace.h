// What every part of the comparison works with: the server's program and files of any size.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

#include "samples/sample_data.h"
#include "support/child_process.h"

namespace tovra::bench {

using Layout = support::SampleLayout;

// What a data file is like.
struct Size {
    std::size_t transactions;
    std::size_t accounts = 50;
    std::size_t budgets = 50;
    Layout layout = Layout::sorted;
};
// The layouts that rows are measured with, each with what a row's name says of it.
struct NamedLayout {
    Layout layout;
    const char* suffix;
};
inline constexpr std::array kLayouts = {NamedLayout{Layout::sorted, ""},
                                        NamedLayout{Layout::application, ", application layout"}};

class Workplace {
  public:
    struct Programs {
        std::string server;
        std::string portableServer;  // without shared libraries; empty where there is none
        std::string constantServer;
    };

    // `folder` exists, is empty, and holds the data files from now on.
    Workplace(Programs programs, std::filesystem::path folder);

    [[nodiscard]] const std::string& server() const { return programs_.server; }
    [[nodiscard]] const std::string& portableServer() const { return programs_.portableServer; }
    [[nodiscard]] const std::string& constantServer() const { return programs_.constantServer; }
    // The path of a data file of this size; it is made on the first call. Not to be changed.
    [[nodiscard]] std::filesystem::path dataFile(const Size& size) const;
    // A copy of that file that may be changed.
    [[nodiscard]] std::filesystem::path copyOfDataFile(const Size& size,
                                                       std::string_view name) const;

  private:
    Programs programs_;
    std::filesystem::path folder_;
};

// A server on its standard input, told which data file is its own, and greeted.
class Session {
  public:
    // Throws std::runtime_error when the server does not answer, as all of these functions do.
    Session(const Workplace& workplace, const std::filesystem::path& dataFile);

    // Calls a tool and waits for its answer. A tool that fails is an error, too.
    void call(std::string_view tool, std::string_view arguments = "{}");

    // The memory of the process in bytes: now, and the most it ever had.
    [[nodiscard]] double residentBytes() const { return statusValue("VmRSS:"); }
    [[nodiscard]] double peakBytes() const { return statusValue("VmHWM:"); }

  private:
    [[nodiscard]] double statusValue(std::string_view name) const;

    support::ChildProcess server_;
};

// The message that opens every session, and the message that calls a tool.
inline constexpr std::string_view kInitialize =
    R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})";
[[nodiscard]] std::string callMessage(std::string_view tool, std::string_view arguments);

}  // namespace tovra::bench
