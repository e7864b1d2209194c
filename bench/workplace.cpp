#include "bench/workplace.h"

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "bench/table.h"

namespace tovra::bench {
namespace fs = std::filesystem;

Workplace::Workplace(Programs programs, fs::path folder)
    : programs_(std::move(programs)), folder_(std::move(folder)) {}

fs::path Workplace::dataFile(const Size& size) const {
    fs::path file = folder_ / (std::to_string(size.transactions) + "-" +
                               std::to_string(size.accounts) + "-" + std::to_string(size.budgets) +
                               (size.layout == Layout::sorted ? ".json" : "-application.json"));
    if (fs::exists(file)) return file;
    std::cerr << "(making a file of " << grouped(size.transactions) << " transactions)\n";
    support::SampleOptions options;
    options.transactions = size.transactions;
    options.accounts = size.accounts;
    options.budgets = size.budgets;
    options.layout = size.layout;
    options.today = support::today();
    std::ofstream out(file, std::ios::binary);
    out << support::sampleData(options) << '\n' << std::flush;
    if (!out) throw std::runtime_error("cannot write " + file.string());
    return file;
}

fs::path Workplace::copyOfDataFile(const Size& size, std::string_view name) const {
    fs::path copy = folder_ / name;
    fs::copy_file(dataFile(size), copy, fs::copy_options::overwrite_existing);
    return copy;
}

Session::Session(const Workplace& workplace, const fs::path& dataFile)
    : server_({workplace.server()}, {"TOVRA_DATA_FILE=" + dataFile.string()}) {
    if (!server_.send(kInitialize) || !server_.receive()) {
        throw std::runtime_error("the server does not start");
    }
}

void Session::call(std::string_view tool, std::string_view arguments) {
    const bool sent = server_.send(callMessage(tool, arguments));
    const auto answer = sent ? server_.receive() : std::nullopt;
    if (!answer || answer->find(R"("isError":false)") == std::string_view::npos) {
        throw std::runtime_error(std::string(tool) + " fails: " + std::string(answer.value_or("")));
    }
}

double Session::statusValue(std::string_view name) const {
    std::ifstream status("/proc/" + std::to_string(server_.id()) + "/status");
    for (std::string word; status >> word;) {
        double kibibytes = 0;
        if (word == name && status >> kibibytes) return kibibytes * 1024;
    }
    throw std::runtime_error("no memory of the server in /proc");
}

std::string callMessage(std::string_view tool, std::string_view arguments) {
    return R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":")" +
           std::string(tool) + R"(","arguments":)" + std::string(arguments) + "}}";
}

}  // namespace tovra::bench
