#include "platform/account.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace tovra {

std::string accountHome() {
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> texts{};
    if (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) != 0) return {};
    return found == nullptr ? std::string() : found->pw_dir;
}

}  // namespace tovra
