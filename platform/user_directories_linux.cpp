// Linux and other systems that follow the XDG base directory rules: a variable counts only when it
// holds an absolute path.
#include "files/accounts.h"
#include "files/file.h"
#include "files/json_file.h"
#include "files/look_again.h"
#include "platform/environment.h"
#include "platform/unicode.h"
#include "platform/user_directories.h"

namespace tovra {
namespace {

std::filesystem::path baseDirectory(const char* variable, const char* belowHome) {
    const auto absolute = [](const char* name) {
        const auto value = environmentVariable(name);
        return value && value->starts_with('/') ? *value : std::string();
    };
    if (const std::string directory = absolute(variable); !directory.empty()) return directory;
    const std::string home = absolute("HOME");
    return std::filesystem::path(home.empty() ? accountHome() : home) / belowHome;
}

bool isMissing(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

// What stands where a member that is a string is read; nothing where nothing does.
std::optional<std::string> remarkOn(json::Value preferences, const std::string& key) {
    if (!preferences.is(json::Kind::object)) return "The preferences hold a list, and no object";
    if (preferences.member(key).exists()) return "The preference " + key + " is no text";
    for (const json::Value member : preferences.children()) {
        if (nameForm(member.name()) != nameForm(key)) continue;
        return "The preferences have \"" + std::string(member.name()) + "\" where " + key +
               " is read, and letter case counts";
    }
    return std::nullopt;
}

Preference readPreference(const std::filesystem::path& path, const std::string& key) {
    std::error_code error;
    const auto preferences = parseFile(path, error);
    if (isMissing(error)) return {};
    if (!preferences) {
        const std::string reason = error ? error.message() : "they hold no JSON";
        return {{},
                "The preferences could not be read: " + reason + " (" + readablePath(path) + ")"};
    }
    const auto value = preferences->root().member(key).string();
    if (value) return {std::string(*value), {}};
    auto remark = remarkOn(preferences->root(), key);
    if (remark) *remark += " (" + readablePath(path) + ")";
    return {{}, {}, remark};
}

}  // namespace

std::filesystem::path applicationSupportDirectory() {
    return baseDirectory("XDG_DATA_HOME", ".local/share");
}

Preference preference(const std::string& domain, const std::string& key) {
    const auto path = baseDirectory("XDG_CONFIG_HOME", ".config") / domain / "preferences.json";
    if (path.is_relative()) return {};
    const auto hasNoProblem = [](const Preference& read) { return !read.problem; };
    const auto look = [&] { return readPreference(path, key); };
    return lookUntil(FileSystem::system(), hasNoProblem, look);
}

}  // namespace tovra
