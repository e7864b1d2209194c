// For a program with shared libraries, which the C library loads for each source of accounts.
#include <grp.h>
#include <pwd.h>

#include <array>

#include "files/accounts.h"

namespace tovra {
namespace {

using Texts = std::array<char, 16384>;

}  // namespace

std::optional<User> findUser(uid_t user) {
    passwd entry{};
    passwd* found = nullptr;
    Texts texts{};
    ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
    if (found == nullptr) return std::nullopt;
    return User{found->pw_name, found->pw_dir, found->pw_gid};
}

std::optional<Group> findGroup(gid_t group) {
    struct group entry {};
    struct group* found = nullptr;
    Texts texts{};
    ::getgrgid_r(group, &entry, texts.data(), texts.size(), &found);
    if (found == nullptr) return std::nullopt;
    Group result{found->gr_name, {}};
    for (char** member = found->gr_mem; *member != nullptr; ++member) {
        result.members.emplace_back(*member);
    }
    return result;
}

}  // namespace tovra
