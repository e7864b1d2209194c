// conversation SERVER DATA_FILE reports|recordings
//
// Starts the server on the data file, talks to it like an assistant host does, and shows every
// request and answer. Ends with the status 1 where an answer stays away.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/write.h"
#include "platform/json_file.h"
#include "support/child_process.h"

namespace {

using tovra::support::ChildProcess;
namespace json = tovra::json;

constexpr unsigned kSecondsForAll = 120;

// Text in colour, where somebody is looking at a terminal.
std::string coloured(std::string_view text, std::string_view colour) {
    if (::isatty(STDOUT_FILENO) == 0 || std::getenv("NO_COLOR") != nullptr) {
        return std::string(text);
    }
    return "\033[" + std::string(colour) + "m" + std::string(text) + "\033[0m";
}

std::string jsonString(std::string_view text) {
    std::string result;
    json::appendString(result, text);
    return result;
}

void showIndented(std::string_view text) {
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::cout << "    " << text.substr(begin, end - begin) << '\n';
        begin = end + 1;
    }
}

// The text of a tool's answer, the tools of a list of tools, the JSON text of anything else.
void showResult(json::Value result) {
    const json::Value content = result.member("content");
    const json::Value tools = result.member("tools");
    for (const json::Value item : content.children()) {
        showIndented(item.member("text").string().value_or(""));
    }
    for (const json::Value tool : tools.children()) {
        std::string name(tool.member("name").string().value_or(""));
        name.resize(std::max<std::size_t>(name.size(), 22), ' ');
        showIndented(name + std::string(tool.member("description").string().value_or("")));
    }
    if (content.exists() || tools.exists()) return;
    std::string text;
    json::appendCompact(text, result);
    showIndented(text);
}

class Conversation {
  public:
    Conversation(const std::string& server, const std::string& dataFile)
        : server_({server}, {"TOVRA_DATA_FILE=" + dataFile}) {}

    void open() {
        ask("initialize", R"({"protocolVersion":"2025-06-18","capabilities":{},)"
                          R"("clientInfo":{"name":"demo","version":"1.0.0"}})");
        show(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
        std::cout << coloured("    (a notification: there is no answer)", "2") << "\n\n";
    }

    void ask(std::string_view method, std::string_view params) {
        show(R"({"jsonrpc":"2.0","id":)" + std::to_string(nextId_++) + R"(,"method":)" +
             jsonString(method) + R"(,"params":)" + std::string(params) + "}");
        const auto line = server_.receive();
        const auto answer = line ? json::parse(*line) : std::nullopt;
        if (!answer) throw std::runtime_error("the server gave no answer");
        const json::Value result = answer->root().member("result");
        showResult(result.exists() ? result : answer->root());
        std::cout << '\n' << std::flush;
    }

    void call(std::string_view tool, std::string_view arguments = "{}") {
        ask("tools/call",
            R"({"name":)" + jsonString(tool) + R"(,"arguments":)" + std::string(arguments) + "}");
    }

    void close() {
        if (server_.finish() != 0) throw std::runtime_error("the server did not end well");
    }

  private:
    void show(const std::string& request) {
        std::cout << coloured("> " + request, "36") << '\n';
        if (!server_.send(request)) throw std::runtime_error("the server does not read");
    }

    ChildProcess server_;
    int nextId_ = 1;
};

void askForReports(Conversation& conversation) {
    conversation.ask("tools/list", "{}");
    conversation.call("get_overview");
    conversation.call("list_transactions", R"({"limit":8})");
    conversation.call("list_transactions", R"({"search":"café","type":"Expense","limit":4})");
    conversation.call("spending_by_category", R"({"days":30})");
    conversation.call("list_budgets");
    conversation.call("list_goals");
}

// The name of the last goal in the data file, or one that it does not have.
std::string goalName(const std::string& dataFile) {
    std::error_code error;
    const auto document = tovra::parseFile(dataFile, error);
    std::string name = "New Bicycle";
    if (!document) return name;
    for (const json::Value goal : document->root().member("goals").children()) {
        name = goal.member("name").string().value_or(name);
    }
    return name;
}

void record(Conversation& conversation, const std::string& goal) {
    conversation.call("add_transaction",
                      R"({"amount":4.8,"payee":"Café Müller","category":"Dining",)"
                      R"("account":"wallet","note":"two espressos"})");
    conversation.call("add_to_goal", R"({"goal":)" + jsonString(goal) + R"(,"amount":25})");
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() != 4) {
        std::cerr << "use: conversation SERVER DATA_FILE reports|recordings\n";
        return 2;
    }
    ::signal(SIGPIPE, SIG_IGN);
    ::alarm(kSecondsForAll);  // a server that hangs must not hang its caller
    try {
        Conversation conversation(arguments[1], arguments[2]);
        conversation.open();
        if (arguments[3] == std::string_view("recordings")) {
            record(conversation, goalName(arguments[2]));
        } else {
            askForReports(conversation);
        }
        conversation.close();
    } catch (const std::exception& error) {
        std::cerr << "conversation: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
