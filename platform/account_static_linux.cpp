// For a program without shared libraries. The C library's own search loads one for each source that
// the system names; this one reads the file alone, and knows no accounts of a network.
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>

#include "platform/account.h"

namespace tovra {

std::string accountHome() {
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Close> file(std::fopen("/etc/passwd", "re"));
    if (!file) return {};
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> texts{};
    while (fgetpwent_r(file.get(), &entry, texts.data(), texts.size(), &found) == 0) {
        if (entry.pw_uid == getuid()) return entry.pw_dir;
    }
    return {};
}

}  // namespace tovra
