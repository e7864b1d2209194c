// What Linux and macOS have in common.
#include "platform/user_directories.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

#include "platform/environment.h"

namespace tovra {

std::filesystem::path homeDirectory() {
    if (const auto home = environmentVariable("HOME"); home && !home->empty()) return *home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> texts{};
    if (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) != 0 || found == nullptr) {
        return "/";
    }
    return found->pw_dir;
}

}  // namespace tovra
