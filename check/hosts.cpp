#include "check/hosts.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

#include "check/json_fault.h"
#include "check/loose_json.h"
#include "files/accounts.h"
#include "files/file.h"
#include "json/json.h"
#include "platform/environment.h"
#include "platform/unicode.h"
#include "server/settings.h"
#include "store/fields.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

struct HostFile {
    std::string_view host;
    // "~" is the home directory, "@" each of the folders in which systems keep configurations.
    std::string_view path;
    Form form;
};

constexpr auto kHostFiles = std::to_array<HostFile>({
    {"Claude Desktop", "@/Claude/claude_desktop_config.json", Form::json},
    {"LM Studio", "~/.lmstudio/mcp.json", Form::json},
    {"Claude Code", "~/.claude.json", Form::json},
    {"Claude Code", ".mcp.json", Form::json},
    {"Codex", "~/.codex/config.toml", Form::toml},
    {"Gemini CLI", "~/.gemini/settings.json", Form::loose},
    {"opencode", "@/opencode/opencode.json", Form::loose},
    {"opencode", "@/opencode/opencode.jsonc", Form::loose},
    {"VS Code", "@/Code/User/mcp.json", Form::loose},
    {"VS Code", ".vscode/mcp.json", Form::loose},
    {"Cursor", "~/.cursor/mcp.json", Form::json},
    {"Zed", "@/zed/settings.json", Form::loose},
    {"Cline", "@/Code/User/globalStorage/saoudrizwan.claude-dev/settings/cline_mcp_settings.json",
     Form::json},
});

// Where that file may be.
std::vector<fs::path> pathsOf(const HostFile& file) {
    const std::string path(file.path);
    const std::string variableHome = environmentVariable("HOME").value_or("");
    const fs::path home = variableHome.empty() ? accountHome() : variableHome;
    if (path[0] == '~') return {home / path.substr(2)};
    if (path[0] != '@') return {path};
    const std::string variable = environmentVariable("XDG_CONFIG_HOME").value_or("");
    const fs::path onLinux = variable.starts_with('/') ? fs::path(variable) : home / ".config";
    return {home / "Library/Application Support" / path.substr(2), onLinux / path.substr(2)};
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// What an entry says, in whatever words its host has for it.
struct Said {
    std::string name;
    std::vector<std::string> command;  // the program and its arguments
    std::string address;
    json::Value environment;
    json::Value headers;
    std::string tokenVariable;

    // An argument of a bridge may be the address, or carry the token.
    [[nodiscard]] std::string argumentWith(std::string_view part) const {
        for (const std::string& argument : command) {
            if (contains(argument, part)) return argument;
        }
        return "";
    }
    // As it is shown, without the token.
    [[nodiscard]] std::string commandLine() const {
        std::string line;
        for (std::size_t i = 0; i < command.size(); ++i) {
            const bool isToken = i > 0 && command[i - 1] == "--token";
            const std::size_t bearer = command[i].find("Bearer ");
            line += (i == 0 ? "" : " ") + (isToken ? "..." : command[i].substr(0, bearer));
            if (bearer != std::string::npos) line += "Bearer ...";
        }
        return line;
    }
    [[nodiscard]] bool isOurs() const {
        return contains(nameForm(name), "tovra") || !argumentWith("tovra-mcp").empty();
    }
};

Said readEntry(json::Value entry, std::string_view name, json::Value parent) {
    Said said;
    said.name = name;
    const json::Value command = entry.member("command");
    if (command.string()) said.command.emplace_back(asString(command));
    for (const json::Value list : {command, entry.member("args")}) {
        if (!list.is(json::Kind::array)) continue;
        for (const json::Value part : list.children()) said.command.emplace_back(asString(part));
    }
    for (const char* member : {"url", "httpUrl", "serverUrl"}) {
        if (said.address.empty()) said.address = stringField(entry, member);
    }
    said.environment =
        objectField(entry, entry.member("environment").exists() ? "environment" : "env");
    if (!said.environment.exists()) said.environment = objectField(parent, said.name + ".env");
    said.headers = objectField(entry, "headers");
    said.tokenVariable = stringField(entry, "bearer_token_env_var");
    return said;
}

// Wherever they stand: hosts keep some of them by project.
void findEntries(json::Value object, std::vector<Said>& found) {
    for (const json::Value member : object.children()) {
        if (!member.is(json::Kind::object)) continue;
        Said said = readEntry(member, member.name(), object);
        if ((!said.command.empty() || !said.address.empty()) && said.isOurs()) {
            found.push_back(std::move(said));
        } else {
            findEntries(member, found);
        }
    }
}

// Where a command of that name is found, as a shell finds it.
std::vector<fs::path> programsCalled(const std::string& name) {
    std::vector<fs::path> found;
    std::istringstream folders(environmentVariable("PATH").value_or("") +
                               ":/usr/bin:/usr/local/bin:/opt/homebrew/bin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::error_code error;
        if (fs::is_regular_file(fs::path(folder) / name, error)) {
            found.push_back(fs::path(folder) / name);
        }
    }
    return found;
}

class EntryCheck : public Findings {
  public:
    EntryCheck(const Said& said, HostEntry& entry) : said_(said), entry_(entry) {}

    void run() {
        if (said_.command.empty()) {
            entry_.starts = said_.address;
            addAddress(said_.address);
            return addToken();
        }
        entry_.starts = said_.commandLine();
        const std::string name = fs::path(said_.command.front()).filename().string();
        if (name == "tovra-mcp" || name == "tovra-mcp-check") {
            addProgram(said_.command.front(), name);
            addOptions(name);
            addDataFile();
        } else if (const std::string address = said_.argumentWith("://"); !address.empty()) {
            addAddress(address);
            addToken();
        } else {
            warn("other-command",
                 "The command is neither tovra-mcp nor tovra-mcp-check: what it "
                 "starts is not looked at.");
            addDataFile();
        }
    }

  private:
    void addProgram(const std::string& command, const std::string& name) {
        std::error_code error;
        const auto programs = programsCalled(name);
        if (command.starts_with('~') || command.starts_with('$')) {
            return fail("no-command",
                        "Hosts do not expand ~ or variables in a command. Write the "
                        "whole path.");
        }
        fs::path program = command;
        if (!contains(command, "/")) {
            if (programs.empty()) {
                return fail("no-command", "There is no program " + inQuotes(command) + " in PATH.");
            }
            program = programs.front();
            warn("bare-command",
                 "A host that is started from a desktop may have another PATH. "
                 "Write the whole path: " +
                     readablePath(program) + ".");
        } else if (!fs::is_regular_file(program, error)) {
            return fail(
                "no-command",
                "There is no program at that path." +
                    (programs.empty() ? "" : " There is " + readablePath(programs.front()) + "."));
        }
        const auto mode = fs::status(program, error).permissions();
        if ((mode & (fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec)) ==
            fs::perms::none) {
            return fail("no-command", "The file at that path may not be run: chmod +x.");
        }
        const auto time = fs::last_write_time(program, error);
        for (const fs::path& other : programs) {
            if (fs::equivalent(other, program, error)) continue;
            if (fs::last_write_time(other, error) <= time) continue;
            return warn("older-command", "There is a newer one: " + readablePath(other) + ".");
        }
    }

    void addOptions(const std::string& name) {
        const std::vector<std::string_view> arguments(said_.command.begin() + 1,
                                                      said_.command.end());
        if (name == "tovra-mcp-check") {
            if (arguments == std::vector<std::string_view>{"--mcp"}) return;
            return fail("option", "A host starts tovra-mcp-check with --mcp and nothing else.");
        }
        const Settings settings = readSettings(arguments, {});
        for (const std::string_view argument : settings.ignored) {
            warn("option", "The argument " + inQuotes(argument) +
                               " is ignored. There are --read-only, --http and --token, each an "
                               "argument of its own.");
        }
        if (settings.httpPort) {
            fail("option",
                 "With --http the server answers over HTTP, and not to the host that "
                 "starts it.");
        }
    }

    // Reads what the server would read that gets this environment.
    void addDataFile() {
        const json::Value named = said_.environment.member("TOVRA_DATA_FILE");
        if (named.exists() && !named.string()) {
            warn("variable", "TOVRA_DATA_FILE is no text in this configuration.");
        }
        for (const json::Value variable : said_.environment.children()) {
            const std::string_view name = variable.name();
            const bool isRead = name == "TOVRA_DATA_FILE" || name == "TOVRA_MCP_TOKEN";
            if (isRead || !contains(nameForm(name), "tovra")) continue;
            warn("variable", "The server does not read the variable " + inQuotes(name) +
                                 ". TOVRA_DATA_FILE names the data file.");
        }
        entry_.dataFile = locateDataFile(std::string(asString(named)));
    }

    void addAddress(std::string_view address) {
        const bool isLocal =
            address.starts_with("http://127.0.0.1") || address.starts_with("http://localhost");
        if (isLocal) return;
        fail("address", "The server answers at http://127.0.0.1 alone, and the address is " +
                            inQuotes(address) + ".");
    }

    void addToken() {
        constexpr std::string_view kBearer = "Bearer ";
        if (!said_.tokenVariable.empty()) return addVariable(said_.tokenVariable);
        std::string token;
        for (const json::Value header : said_.headers.children()) {
            if (nameForm(header.name()) == nameForm("Authorization")) token = asString(header);
        }
        const std::string argument = said_.argumentWith("Authorization:");
        if (!argument.empty()) token = expanded(argument.substr(argument.find(':') + 1));
        while (token.starts_with(' ')) token.erase(0, 1);
        if (token.empty()) {
            return warn("no-token",
                        "No token is sent. That is right only where the server runs "
                        "without one; else it answers 401.");
        }
        if (!token.starts_with(kBearer)) {
            return fail("no-token",
                        "The header Authorization has to be \"Bearer \" and the token.");
        }
        token.erase(0, kBearer.size());
        if (token == "choose-a-long-random-token") {
            return warn("example-token",
                        "The token is the one of the example. Put your own there.");
        }
        if (token.empty()) return fail("no-token", "There is no token behind \"Bearer \".");
        // ${NAME}, ${env:NAME}, {env:NAME}, $NAME; what a host asks for is ${input:...}.
        if (!token.starts_with('$') && !token.starts_with("{env:")) return;
        if (contains(token, "input:")) return;
        token.erase(0, token.find_last_of("${:") + 1);
        addVariable(token.substr(0, token.find('}')));
    }

    void addVariable(const std::string& name) {
        if (!environmentVariable(name.c_str()).value_or("").empty()) return;
        note("token-variable",
             "The token comes from the variable " + inQuotes(name) +
                 ", which is not set here. It has to be where the host is started.");
    }

    // The text with the entry's own variable in place of ${NAME}.
    [[nodiscard]] std::string expanded(const std::string& text) const {
        const std::size_t begin = text.find("${");
        const std::size_t end = text.find('}');
        if (begin == std::string::npos || end == std::string::npos || end < begin) return text;
        const std::string name = text.substr(begin + 2, end - begin - 2);
        return text.substr(0, begin) + std::string(stringField(said_.environment, name)) +
               text.substr(end + 1);
    }

    const Said& said_;
    HostEntry& entry_;
};

std::string whyNotUnderstood(const fs::path& path, Form form) {
    const auto fault = form == Form::json ? jsonFaultIn(path) : std::nullopt;
    if (!fault) {
        return "The file cannot be understood: a bracket or a quotation mark may be missing.";
    }
    return "The file is not JSON. Line " + std::to_string(fault->line) + ", column " +
           std::to_string(fault->column) + ": " + fault->reason + ".";
}

void lookAt(const HostFile& host, const fs::path& path, std::vector<HostEntry>& entries) {
    constexpr std::size_t kLargest = std::size_t{64} << 20;
    std::error_code error;
    const auto file = openFile(path, kLargest, error);
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
        return;
    }
    std::string text(file ? file->size() : 0, '\0');
    if (file) text.resize(readAt(file->descriptor, text.data(), text.size(), 0, error));
    const HostEntry empty{std::string(host.host), path, "", "", {}, {}};
    const auto document = json::parse(jsonOf(text, host.form));
    if (!document) {
        const std::string why = error ? "The file cannot be read: " + error.message() + "."
                                      : whyNotUnderstood(path, host.form);
        entries.push_back(empty);
        entries.back().findings = {{Level::error, "configuration", why}};
        return;
    }
    std::vector<Said> found;
    findEntries(document->root(), found);
    for (const Said& said : found) {
        HostEntry& entry = entries.emplace_back(empty);
        entry.name = said.name;
        EntryCheck check(said, entry);
        check.run();
        entry.findings = std::move(check.found);
    }
}

}  // namespace

std::vector<HostEntry> lookAtHosts() {
    std::vector<HostEntry> entries;
    for (const HostFile& host : kHostFiles) {
        for (const fs::path& path : pathsOf(host)) lookAt(host, path, entries);
    }
    return entries;
}

}  // namespace tovra::check
