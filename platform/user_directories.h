// Where the operating system keeps a user's application data and another application's
// preferences. Both are looked up afresh at each call. Several threads may call these functions, as
// long as none of them changes the environment.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tovra {

// The user's directory for the data of applications: ~/Library/Application Support on macOS,
// $XDG_DATA_HOME or ~/.local/share elsewhere. It need not exist. The home directory is what HOME
// and the user's account say: macOS asks the account first, as it does for preferences, others ask
// HOME. A path that is not absolute counts for nothing. Where no home directory is known, the
// result is a relative path.
[[nodiscard]] std::filesystem::path applicationSupportDirectory();

// What the preferences of another application say.
struct Preference {
    std::optional<std::string> value;    // nothing where there is no such string
    std::optional<std::string> problem;  // why the preferences, which exist, could not be read
    // Why there is no value although something like it is there. Both are sentences without their
    // full stop.
    std::optional<std::string> remark = {};
};

// The string that the user's preferences hold under `key` in the domain of another application. On
// macOS the system keeps them. Elsewhere they are the JSON object in
// $XDG_CONFIG_HOME/<domain>/preferences.json, or below ~/.config without the variable. That file
// may be half-written: where it is unusable, lookUntil() reads it again. Throws std::bad_alloc
// where memory or descriptors are short.
[[nodiscard]] Preference preference(const std::string& domain, const std::string& key);

}  // namespace tovra
