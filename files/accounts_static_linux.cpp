// For a program without shared libraries. The C library's own search would load one for each source
// of accounts. This one reads /etc/passwd and /etc/group alone, and knows no accounts of a network.
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <functional>
#include <memory>

#include "files/accounts.h"

namespace tovra {
namespace {

// Shows the entries of a database one after another until one is the right one, and tells whether
// one was. `next` is fgetpwent_r or fgetgrent_r, and `Entry` what it reads.
template <typename Entry>
bool findEntry(const char* path, int (*next)(std::FILE*, Entry*, char*, std::size_t, Entry**),
               const std::function<bool(const Entry&)>& isRight) {
    struct Close {
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it is owned, by this class's holder
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path, "re"));
    if (!file) return false;
    Entry entry{};
    Entry* found = nullptr;
    std::array<char, 16384> texts{};
    while (next(file.get(), &entry, texts.data(), texts.size(), &found) == 0) {
        if (isRight(entry)) return true;
    }
    return false;
}

bool findUser(uid_t user, const std::function<void(const passwd&)>& take) {
    return findEntry<passwd>("/etc/passwd", ::fgetpwent_r, [&](const passwd& entry) {
        if (entry.pw_uid != user) return false;
        take(entry);
        return true;
    });
}

bool findGroup(gid_t group, const std::function<void(const struct group&)>& take) {
    return findEntry<struct group>("/etc/group", ::fgetgrent_r, [&](const struct group& entry) {
        if (entry.gr_gid != group) return false;
        take(entry);
        return true;
    });
}

}  // namespace

std::string userName(uid_t user) {
    std::string name = std::to_string(user);
    findUser(user, [&](const passwd& entry) { name = entry.pw_name; });
    return name;
}

std::string groupName(gid_t group) {
    std::string name = std::to_string(group);
    findGroup(group, [&](const struct group& entry) { name = entry.gr_name; });
    return name;
}

std::string accountHome() {
    std::string home;
    findUser(::getuid(), [&](const passwd& entry) { home = entry.pw_dir; });
    return home;
}

bool isInGroup(uid_t user, gid_t group) {
    std::string name;
    bool isIn = false;
    findUser(user, [&](const passwd& entry) {
        name = entry.pw_name;
        isIn = entry.pw_gid == group;
    });
    if (isIn || name.empty()) return isIn;
    findGroup(group, [&](const struct group& entry) {
        for (char** member = entry.gr_mem; *member != nullptr; ++member) {
            isIn = isIn || name == *member;
        }
    });
    return isIn;
}

}  // namespace tovra
