#include "files/accounts.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <type_traits>
#include <vector>

namespace tovra {
namespace {

using Texts = std::array<char, 16384>;

struct User {
    std::string name;
    std::string home;
    gid_t group;
};

std::optional<User> findUser(uid_t user) {
    passwd entry{};
    passwd* found = nullptr;
    Texts texts{};
    ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
    if (found == nullptr) return std::nullopt;
    return User{found->pw_name, found->pw_dir, found->pw_gid};
}

// getgrouplist takes the numbers as int on macOS.
template <typename Number>
bool isListed(int (*list)(const char*, Number, Number*, int*), const User& user, gid_t group) {
    int count = 1024;
    std::vector<Number> groups(static_cast<std::size_t>(count));
    if (list(user.name.c_str(), static_cast<Number>(user.group), groups.data(), &count) < 0) {
        return false;
    }
    groups.resize(static_cast<std::size_t>(count));
    return std::find(groups.begin(), groups.end(), static_cast<Number>(group)) != groups.end();
}

}  // namespace

std::string userName(uid_t user) {
    const auto found = findUser(user);
    return found ? found->name : std::to_string(user);
}

std::string groupName(gid_t group) {
    struct group entry {};
    struct group* found = nullptr;
    Texts texts{};
    ::getgrgid_r(group, &entry, texts.data(), texts.size(), &found);
    return found == nullptr ? std::to_string(group) : found->gr_name;
}

std::string accountHome() {
    const auto found = findUser(::getuid());
    return found ? found->home : std::string();
}

bool isInGroup(uid_t user, gid_t group) {
    const auto found = findUser(user);
    return found && isListed(::getgrouplist, *found, group);
}

}  // namespace tovra
