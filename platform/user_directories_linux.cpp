// Linux and other systems that follow the XDG base directory rules: a variable counts only when it
// holds an absolute path.
#include "platform/environment.h"
#include "platform/json_file.h"
#include "platform/user_directories.h"

namespace tovra {
namespace {

std::filesystem::path baseDirectory(const char* variable, const char* belowHome) {
    const auto value = environmentVariable(variable);
    if (value && value->starts_with('/')) return *value;
    return homeDirectory() / belowHome;
}

}  // namespace

std::filesystem::path applicationSupportDirectory() {
    return baseDirectory("XDG_DATA_HOME", ".local/share");
}

std::optional<std::string> preference(const std::string& domain, const std::string& key) {
    const auto preferences =
        parseFile(baseDirectory("XDG_CONFIG_HOME", ".config") / domain / "preferences.json");
    if (!preferences) return std::nullopt;
    const auto value = preferences->root().member(key).string();
    if (!value) return std::nullopt;
    return std::string(*value);
}

}  // namespace tovra
