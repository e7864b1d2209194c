// What a test or a fuzz target changes for the length of a scope: the environment, files in a
// folder.
#pragma once

#include <stdlib.h>
#include <time.h>
#include <unistd.h>  // mkdtemp on macOS

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "platform/environment.h"

namespace tovra::support {

// Sets an environment variable, or removes it, and puts it back. TZ takes effect at once.
class EnvironmentScope {
  public:
    EnvironmentScope(const char* name, const std::optional<std::string>& value)
        : name_(name), before_(environmentVariable(name)) {
        set(value);
    }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;
    ~EnvironmentScope() { set(before_); }

  private:
    void set(const std::optional<std::string>& value) const {
        value ? ::setenv(name_, value->c_str(), 1) : ::unsetenv(name_);
        ::tzset();
    }

    const char* name_;
    std::optional<std::string> before_;
};

// An empty folder, removed with all that is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "tovra-test-XXXXXX").string();
        path_ = ::mkdtemp(path.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
        return path_ / name;
    }

  private:
    std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string fileBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The text with `to` in place of each `from`.
inline std::string replaced(std::string_view text, std::string_view from, std::string_view to) {
    std::string result(text);
    for (std::size_t at = 0; (at = result.find(from, at)) != std::string::npos; at += to.size()) {
        result.replace(at, from.size(), to);
    }
    return result;
}

// A data file with that content, which TOVRA_DATA_FILE names meanwhile.
class DataFileScope {
  public:
    explicit DataFileScope(std::string_view content) { writeFile(path(), content); }
    [[nodiscard]] std::filesystem::path path() const { return folder_ / "data.json"; }

  private:
    TemporaryFolder folder_;
    EnvironmentScope variable_{"TOVRA_DATA_FILE", path().string()};
};

}  // namespace tovra::support
