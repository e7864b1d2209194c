// conversation SERVER DATA_FILE questions|recordings|protocol
//
// Starts the server on the data file, asks it what a person would ask an assistant, and prints the
// answer under each question. "questions" are the reports, "recordings" two recordings. "protocol"
// shows the reports with every line of the protocol. Ends with the status 1 where an answer does
// not come.
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
#include <vector>

#include "files/json_file.h"
#include "json/json.h"
#include "json/object_text.h"
#include "support/child_process.h"

namespace {

using tovra::support::ChildProcess;
namespace json = tovra::json;

constexpr unsigned kSecondsForAll = 120;

// What a person asks, and the call that an assistant makes of it.
struct Question {
    std::string text;
    std::string tool;
    std::string arguments;  // JSON text
};

// The text in that colour on a terminal, else without colour.
std::string coloured(std::string_view text, std::string_view colour) {
    if (::isatty(STDOUT_FILENO) == 0 || std::getenv("NO_COLOR") != nullptr) {
        return std::string(text);
    }
    return "\033[" + std::string(colour) + "m" + std::string(text) + "\033[0m";
}

class Conversation {
  public:
    Conversation(const std::string& server, const std::string& dataFile, bool showsProtocol)
        : server_({server}, {"TOVRA_DATA_FILE=" + dataFile}), showsProtocol_(showsProtocol) {
        request("initialize", R"({"protocolVersion":"2025-06-18","capabilities":{},)"
                              R"("clientInfo":{"name":"demo","version":"1.0.0"}})");
        send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
        if (showsProtocol) request("tools/list", "{}");
    }

    std::string answerTo(const Question& question) {
        const json::Document response =
            request("tools/call", json::ObjectText()
                                      .addString("name", question.tool)
                                      .add("arguments", question.arguments)
                                      .close());
        std::string answer;
        for (const json::Value item :
             response.root().member("result").member("content").children()) {
            answer += item.member("text").string().value_or("");
        }
        return answer;
    }

    void close() {
        if (server_.finish() != 0) throw std::runtime_error("the server did not end well");
    }

  private:
    json::Document request(std::string_view method, std::string_view params) {
        send(json::ObjectText()
                 .addString("jsonrpc", "2.0")
                 .add("id", std::to_string(nextId_++))
                 .addString("method", method)
                 .add("params", params)
                 .close());
        const auto line = server_.receive();
        if (!line) throw std::runtime_error("the server gave no answer");
        if (showsProtocol_) std::cout << coloured("< " + std::string(*line), "2") << '\n';
        auto answer = json::parse(*line);
        if (!answer) throw std::runtime_error("the server's answer is no JSON");
        return std::move(*answer);
    }

    void send(const std::string& line) {
        if (showsProtocol_) std::cout << coloured("> " + line, "36") << '\n';
        if (!server_.send(line)) throw std::runtime_error("the server does not read");
    }

    ChildProcess server_;
    bool showsProtocol_;
    int nextId_ = 1;
};

void show(std::string_view answer) {
    std::string_view rest = answer;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        std::cout << "    " << line << '\n';
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    std::cout << '\n' << std::flush;
}

std::vector<Question> reports() {
    return {
        {"How am I doing this month?", "get_overview", "{}"},
        {"What did I spend money on lately?", "list_transactions", R"({"limit":8})"},
        {"And at cafés?", "list_transactions", R"({"search":"café","type":"Expense","limit":4})"},
        {"Where did my money go in the last month?", "spending_by_category", R"({"days":30})"},
        {"Which budgets are running out?", "list_budgets", "{}"},
        {"How far are my savings goals?", "list_goals", "{}"}};
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

std::vector<Question> recordings(const std::string& goal) {
    return {{"Add 4.80 for two espressos at Café Müller, from my wallet.", "add_transaction",
             R"({"amount":4.8,"payee":"Café Müller","category":"Dining","account":"wallet"})"},
            {"Put 25 towards " + goal + ".", "add_to_goal",
             json::ObjectText().addString("goal", goal).add("amount", "25").close()}};
}

void run(const std::string& server, const std::string& dataFile, std::string_view what) {
    Conversation conversation(server, dataFile, what == "protocol");
    for (const Question& question :
         what == "recordings" ? recordings(goalName(dataFile)) : reports()) {
        std::cout << coloured(question.text, "1") << '\n';
        show(conversation.answerTo(question));
    }
    conversation.close();
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() != 4) {
        std::cerr << "use: conversation SERVER DATA_FILE questions|recordings|protocol\n";
        return 2;
    }
    ::signal(SIGPIPE, SIG_IGN);
    ::alarm(kSecondsForAll);  // a server that hangs must not hang its caller
    try {
        run(arguments[1], arguments[2], arguments[3]);
    } catch (const std::exception& error) {
        std::cerr << "conversation: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
