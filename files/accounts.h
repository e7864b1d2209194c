// The users and groups of the system. May be called from several threads.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tovra {

struct User {
    std::string name;
    std::string home;
    gid_t group;
};

struct Group {
    std::string name;
    std::vector<std::string> members;  // their names, without those whose first group it is
};

// As far as the system's databases tell.
[[nodiscard]] std::optional<User> findUser(uid_t user);
[[nodiscard]] std::optional<Group> findGroup(gid_t group);

// The name, or the number in decimal digits where there is none.
[[nodiscard]] std::string userName(uid_t user);
[[nodiscard]] std::string groupName(gid_t group);

// The home directory of the user under whom the process runs; empty where there is no such user.
[[nodiscard]] std::string accountHome();

[[nodiscard]] bool isInGroup(uid_t user, gid_t group);

}  // namespace tovra
