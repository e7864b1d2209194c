// What Linux and macOS have in common.
#include "platform/user_directories.h"

#include "files/accounts.h"
#include "platform/environment.h"

namespace tovra {

std::filesystem::path homeDirectory() {
    if (const auto home = environmentVariable("HOME"); home && !home->empty()) return *home;
    const std::string home = accountHome();
    return home.empty() ? "/" : home;
}

}  // namespace tovra
